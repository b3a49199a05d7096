#include "gaizior/comms/channel_objects.h"

#include "gaizior/comms/message_pool.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/section.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <atomic>

namespace gaizior {
namespace {

std::atomic<DWORD> g_channelError{ERROR_SUCCESS};

bool IsAllZero(const ZcChannel& block) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&block);
    return std::all_of(bytes, bytes + sizeof(block), [](unsigned char byte) { return byte == 0; });
}

} // namespace

void RecordChannelError(DWORD error) {
    g_channelError = error;
}

DWORD ChannelError() {
    return g_channelError;
}

void LogFailure(const char* function, const char* what) {
    ZRDBprintf(kFailureLevel, kChannelMode, "%s: ERROR: %s%s", function, what, kLineEnd);
}

void LogRepair(const char* function, const std::string& report) {
    if (!report.empty()) {
        ZRDBprintf(kFailureLevel, kChannelMode, "%s: WARNING: the block was damaged: %s%s", function, report.c_str(),
                   kLineEnd);
    }
}

ZRErrors::ZRErrorT FailWithLastError(const char* function, const char* what, ZRErrors::ZRErrorT code) {
    const DWORD error = ::GetLastError();
    RecordChannelError(error);
    ZRDBprintf(kFailureLevel, kChannelMode, "%s: ERROR: %s failed with system error %u%s", function, what,
               static_cast<unsigned>(error), kLineEnd);
    return code;
}

ZRErrors::ZRErrorT FailTimedOut(const char* function, const char* what) {
    RecordChannelError(WAIT_TIMEOUT);
    ZRDBprintf(kStepLevel, kChannelMode, "%s: timed out: %s%s", function, what, kLineEnd);
    return ZRErrors::e_Command_TimedOut;
}

ZRErrors::ZRErrorT FailNotOpen(const char* function) {
    RecordChannelError(ERROR_INVALID_HANDLE);
    LogFailure(function, "the channel is not open");
    return ZRErrors::e_Command_Aborted;
}

ChannelLock::~ChannelLock() {
    if (m_mutex) {
        ::ReleaseMutex(m_mutex);
    }
}

ZRErrors::ZRErrorT ChannelMutex::Create() {
    m_mutex = UniqueHandle(::CreateMutexA(nullptr, FALSE, kChannelMutexName));
    if (!m_mutex && ::GetLastError() == ERROR_ALREADY_EXISTS) {
        m_mutex = UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, TRUE, kChannelMutexName));
    }
    return m_mutex ? ZRErrors::e_General_NoError
                   : FailWithLastError("ZcOpenComms", "creating the mutex", ZRErrors::e_Resource_AllocationFailed);
}

ZRErrors::ZRErrorT ChannelMutex::Open(const char* function) {
    m_mutex = UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kChannelMutexName));
    return m_mutex ? ZRErrors::e_General_NoError
                   : FailWithLastError(function, "opening the mutex", ZRErrors::e_Resource_AllocationFailed);
}

ChannelLock ChannelMutex::Lock(const char* function, DWORD timeout) const {
    switch (WaitFor(m_mutex.Get(), timeout)) {
    case WAIT_OBJECT_0:
        return ChannelLock(m_mutex.Get(), false);
    case WAIT_ABANDONED:
        return ChannelLock(m_mutex.Get(), true);
    case WAIT_TIMEOUT:
        return ChannelLock(FailTimedOut(function, "the mutex was not free"));
    default:
        return ChannelLock(FailWithLastError(function, "waiting for the mutex", ZRErrors::e_Command_Aborted));
    }
}

ChannelSection::~ChannelSection() {
    if (m_pBlock) {
        ::UnmapViewOfFile(m_pBlock);
    }
}

ZRErrors::ZRErrorT ChannelSection::Create() {
    m_mapping = UniqueHandle(
        ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(ZcChannel), kChannelSectionName));
    if (!m_mapping) {
        return FailWithLastError("ZcOpenComms", "creating the shared memory", ZRErrors::e_File_MappingFailed);
    }
    const DWORD error = ::GetLastError();
    RecordChannelError(error);
    m_bExisted = error == ERROR_ALREADY_EXISTS;
    return Map("ZcOpenComms");
}

ZRErrors::ZRErrorT ChannelSection::Open(const char* function) {
    m_mapping = UniqueHandle(::OpenFileMappingA(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, kChannelSectionName));
    if (!m_mapping) {
        return FailWithLastError(function, "opening the shared memory", ZRErrors::e_File_MappingFailed);
    }
    return Map(function);
}

ZRErrors::ZRErrorT ChannelSection::Map(const char* function) {
    m_pBlock = static_cast<ZcChannel*>(MapWhole(m_mapping.Get(), sizeof(ZcChannel)));
    return m_pBlock ? ZRErrors::e_General_NoError
                    : FailWithLastError(function, "mapping all of the shared memory, and no more,",
                                        ZRErrors::e_File_MappingFailed);
}

ChannelLock ChannelObjects::Open(const char* function, DWORD timeout, std::string& takeover) {
    if (const ZRErrors::ZRErrorT error = mutex.Open(function)) {
        return ChannelLock(error);
    }
    ChannelLock lock = mutex.Lock(function, timeout);
    if (!lock) {
        return lock;
    }
    if (const ZRErrors::ZRErrorT error = section.Open(function)) {
        return ChannelLock(error);
    }
    event = UniqueHandle(::OpenEventA(EVENT_ALL_ACCESS, FALSE, kChannelEventName));
    if (!event) {
        return ChannelLock(FailWithLastError(function, "opening the event", ZRErrors::e_Resource_AllocationFailed));
    }
    takeover = MendIfAbandoned(lock, function);
    return lock;
}

ChannelLock ChannelObjects::Lock(const char* function, DWORD timeout) const {
    ChannelLock lock = mutex.Lock(function, timeout);
    MendIfAbandoned(lock, function);
    return lock;
}

std::string ChannelObjects::Mend(const char* function) const {
    std::string found = "the block is in order";
    if (IsAllZero(*section.Block())) {
        // Its maker's mutex is free before its memory is gone.
        MessagePool::Initialise(*section.Block());
        found = "the block was half made and has been begun anew";
    } else if (section.Block()->magic != kZcMagic) {
        found = "the block is no channel's and stays as it is";
    } else if (const std::string repaired = Repair(); !repaired.empty()) {
        found = "the block was damaged: " + repaired;
    }
    ZRDBprintf(kFailureLevel, kChannelMode, "%s: WARNING: the mutex's owner died: %s%s", function, found.c_str(),
               kLineEnd);
    return found;
}

std::string ChannelObjects::Repair() const {
    MessagePool pool(*section.Block());
    pool.Repair();
    if (!pool.IsEmpty()) {
        ::SetEvent(event.Get());
    }
    return pool.Report();
}

} // namespace gaizior
