#include "gaizior/comms/channel_objects.h"

#include "gaizior/comms/message_pool.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/section.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <atomic>

namespace gaizior {
namespace {

constexpr DWORD kLookInterval = 100; // ms

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

ChannelFailure FailedWithLastError(const char* what, ZRErrors::ZRErrorT code) {
    const DWORD error = ::GetLastError();
    RecordChannelError(error);
    return {code, what, error};
}

ChannelFailure TimedOut(const char* what) {
    RecordChannelError(WAIT_TIMEOUT);
    return {ZRErrors::e_Command_TimedOut, what};
}

ChannelFailure NotOpen() {
    RecordChannelError(ERROR_INVALID_HANDLE);
    return {ZRErrors::e_Command_Aborted, "the channel is not open"};
}

ZRErrors::ZRErrorT Tell(const char* function, const ChannelFailure& failure, int level) {
    if (failure.systemError != ERROR_SUCCESS) {
        ZRDBprintf(level, kChannelMode, "%s: ERROR: %s failed with system error %u%s", function, failure.what,
                   static_cast<unsigned>(failure.systemError), kLineEnd);
    } else {
        const bool hasTimedOut = failure.code == ZRErrors::e_Command_TimedOut;
        ZRDBprintf(level, kChannelMode, "%s: %s%s%s%s", function, level == kFailureLevel ? "ERROR: " : "",
                   hasTimedOut ? "timed out: " : "", failure.what, kLineEnd);
    }
    return failure.code;
}

ChannelLock::~ChannelLock() {
    if (!m_mutex) {
        return;
    }
    if (!::ReleaseMutex(m_mutex)) {
        Tell(m_pFunction, FailedWithLastError("releasing the mutex", ZRErrors::e_Command_Aborted));
    }
    if (!m_report.empty()) {
        ZRDBprintf(kFailureLevel, kChannelMode, "%s: WARNING: %s%s%s", m_pFunction, m_pOccasion, m_report.c_str(),
                   kLineEnd);
    }
}

ChannelFailure ChannelMutex::Create() {
    m_mutex = UniqueHandle(::CreateMutexA(nullptr, FALSE, kChannelMutexName));
    if (!m_mutex && ::GetLastError() == ERROR_ALREADY_EXISTS) {
        m_mutex = UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, TRUE, kChannelMutexName));
    }
    return m_mutex ? ChannelFailure()
                   : FailedWithLastError("creating the mutex", ZRErrors::e_Resource_AllocationFailed);
}

ChannelFailure ChannelMutex::Open() {
    m_mutex = UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kChannelMutexName));
    return m_mutex ? ChannelFailure() : FailedWithLastError("opening the mutex", ZRErrors::e_Resource_AllocationFailed);
}

/// Only who finds it taken is noted.
DWORD ChannelMutex::Wait(DWORD timeout, const ChannelLedger* ledger) const {
    DWORD woken = WaitFor(m_mutex.Get(), 0);
    if (woken == WAIT_TIMEOUT && timeout != 0) {
        if (ledger) {
            ledger->NoteWait(timeout);
        }
        woken = WaitFor(m_mutex.Get(), timeout);
    }
    if (ledger && woken != WAIT_TIMEOUT) {
        ledger->NoteNoWait();
    }
    return woken;
}

ChannelLock ChannelMutex::Lock(const char* function, DWORD timeout, const ChannelLedger* ledger) const {
    switch (Wait(timeout, ledger)) {
    case WAIT_OBJECT_0:
        return {function, m_mutex.Get(), false};
    case WAIT_ABANDONED:
        return {function, m_mutex.Get(), true};
    case WAIT_TIMEOUT:
        return ChannelLock(TimedOut("the mutex was not free"));
    default:
        return ChannelLock(FailedWithLastError("waiting for the mutex", ZRErrors::e_Command_Aborted));
    }
}

ChannelSection::~ChannelSection() {
    if (m_pBlock) {
        ::UnmapViewOfFile(m_pBlock);
    }
}

ChannelFailure ChannelSection::Create() {
    m_mapping = UniqueHandle(
        ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(ZcChannel), kChannelSectionName));
    if (!m_mapping) {
        return FailedWithLastError("creating the shared memory", ZRErrors::e_File_MappingFailed);
    }
    m_bExisted = ::GetLastError() == ERROR_ALREADY_EXISTS;
    return Map();
}

ChannelFailure ChannelSection::Open() {
    m_mapping = UniqueHandle(::OpenFileMappingA(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, kChannelSectionName));
    if (!m_mapping) {
        return FailedWithLastError("opening the shared memory", ZRErrors::e_File_MappingFailed);
    }
    m_bExisted = true;
    return Map();
}

ChannelFailure ChannelSection::Map() {
    m_pBlock = static_cast<ZcChannel*>(MapWhole(m_mapping.Get(), sizeof(ZcChannel)));
    return m_pBlock
               ? ChannelFailure()
               : FailedWithLastError("mapping all of the shared memory, and no more,", ZRErrors::e_File_MappingFailed);
}

ChannelLock ChannelObjects::Open(const char* function, DWORD timeout) {
    if (const ChannelFailure failure = mutex.Open()) {
        return ChannelLock(failure);
    }
    ChannelLock lock = OpenAndLock(function, timeout);
    if (!lock) {
        return lock;
    }
    if (const ChannelFailure failure = OpenExisting()) { // whoever held the mutex may have been about to make it
        return ChannelLock(failure);
    }
    MendIfAbandoned(lock);
    return lock;
}

ChannelLock ChannelObjects::OpenAndLock(const char* function, DWORD timeout) {
    for (DWORD waited = 0;; waited += kLookInterval) {
        const ChannelFailure failure = OpenExisting();
        if (failure && !IsMissing(failure)) {
            return ChannelLock(failure);
        }
        const DWORD left = timeout == INFINITE ? INFINITE : timeout - waited;
        const bool isLast = !failure || left <= kLookInterval;
        ChannelLock lock = Lock(function, isLast ? left : kLookInterval);
        if (isLast || lock || lock.Failure().code != ZRErrors::e_Command_TimedOut) {
            return lock;
        }
    }
}

ChannelFailure ChannelObjects::OpenExisting() {
    if (!section) {
        if (const ChannelFailure failure = section.Open()) {
            return failure;
        }
    }
    if (!event) {
        event = UniqueHandle(::OpenEventA(EVENT_ALL_ACCESS, FALSE, kChannelEventName));
    }
    return event ? ChannelFailure() : FailedWithLastError("opening the event", ZRErrors::e_Resource_AllocationFailed);
}

ChannelFailure ChannelObjects::CreateMissing() {
    if (!event) {
        event = UniqueHandle(::CreateEventA(nullptr, TRUE, FALSE, kChannelEventName));
    }
    if (!event) {
        return FailedWithLastError("creating the event", ZRErrors::e_Resource_AllocationFailed);
    }
    CrashPoint();
    const ChannelFailure failure = section ? ChannelFailure() : section.Create();
    CrashPoint();
    if (!failure) {
        RecordChannelError(section.Existed() ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    }
    return failure;
}

ChannelLock ChannelObjects::Lock(const char* function, DWORD timeout) {
    ledger.JoinAfterFork(function);
    ChannelLock lock = mutex.Lock(function, timeout, &ledger);
    MendIfAbandoned(lock);
    return lock;
}

bool ChannelObjects::Take(ChannelLock& lock, std::uint16_t id, char* buffer, std::size_t size) const {
    MessagePool pool(*section.Block());
    const bool taken = pool.Take(id, buffer, size);
    lock.NoteRepair(pool.Report());
    if (taken && pool.IsEmpty()) {
        ::ResetEvent(event.Get());
        CrashPoint();
    }
    return taken;
}

void ChannelObjects::Mend(ChannelLock& lock) const {
    ShortText found;
    found.Format("the block is in order");
    if (IsAllZero(*section.Block())) {
        // Its maker's mutex is free before its memory is gone.
        MessagePool::Initialise(*section.Block());
        found.Format("the block was half made and has been begun anew");
    } else if (section.Block()->magic != kZcMagic) {
        found.Format("the block is no channel's and stays as it is");
    } else if (const ShortText repaired = Repair(); !repaired.empty()) {
        found.Format("the block was damaged: %s", repaired.c_str());
    }
    lock.Note("the mutex's owner died: ", found);
}

ShortText ChannelObjects::Repair() const {
    MessagePool pool(*section.Block());
    pool.Repair();
    if (!pool.IsEmpty()) {
        ::SetEvent(event.Get());
    }
    return pool.Report();
}

} // namespace gaizior
