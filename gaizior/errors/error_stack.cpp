#include "gaizior/errors/error_stack.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr DWORD kLockTimeout = 60000;

/// An entry that outlives every thread: its destructor never runs.
union Sentinel {
    constexpr Sentinel() : m_entry() {}
    ~Sentinel() {}
    ZRErrorC m_entry;
};
constinit Sentinel g_noError;
constinit Sentinel g_cannotCreate;

/// Where the search for the stack's last entry begins, so that it need not walk the whole stack; null when it is empty.
constinit std::atomic<ZRListLinkC*> g_last{nullptr};

} // namespace

ZRErrorC* const ZRErrorC::NoError = &g_noError.m_entry;
ZRErrorC* const ZRErrorC::ErrCreateZRErr = &g_cannotCreate.m_entry;
constinit std::atomic<ZRErrorC*> ZRErrorC::m_pStack{&g_noError.m_entry};
constinit std::atomic<HANDLE> ZRErrorC::m_hMutex{nullptr};

// --- Entries ---------------------------------------------------------------------------------------------------------

ZRErrorC::~ZRErrorC() {
    delete[] std::exchange(m_pFunction, nullptr);
    delete[] std::exchange(m_pReason, nullptr);
}

ZRErrorC* ZRErrorC::Error(const char* function, ZRErrors::ZRErrorT code, const char* reason, int log) {
    const gaizior::ErrorKeeper keeper;
    if (log == 1) {
        gaizior::LogError(function, static_cast<std::uint32_t>(code), " Reason: ", reason);
    }
    ZRErrorC* const entry = new (std::nothrow) ZRErrorC;
    if (!entry) {
        gaizior::LogError("ZRErrorC::Error(): ", "Allocating an entry");
        return ErrCreateZRErr;
    }
    entry->Initialise(function, code, reason);
    return entry;
}

void ZRErrorC::DisposeHandle(ZRErrorC* handle) {
    if (handle == NoError || handle == ErrCreateZRErr) {
        return;
    }
    while (handle) {
        delete std::exchange(handle, handle->GetNext());
    }
}

ZRErrorC* ZRErrorC::ToHandle() {
    return this;
}

ZRErrorC& ZRErrorC::ToError(ZRErrorC* handle) {
    return *handle;
}

ZRErrors::ZRErrorT ZRErrorC::GetError() const {
    return m_nCode;
}

FILETIME ZRErrorC::GetErrorTime() const {
    return m_Time;
}

void ZRErrorC::Clone(ZRErrorC& source) {
    if (&source != this) {
        Initialise(source.m_pFunction, source.m_nCode, source.m_pReason);
        m_Time = source.m_Time;
    }
}

void ZRErrorC::Initialise(const char* function, ZRErrors::ZRErrorT code, const char* reason) {
    m_Time = GetTime();
    ReplaceText(m_pFunction, function);
    m_nCode = code;
    ReplaceText(m_pReason, reason);
    MakeMutex();
}

/// A plain copy shares its texts with the entry that it is about to be cloned from: those are not its own to free.
void ZRErrorC::ReplaceText(char*& text, const char* source) {
    if (text != source) {
        delete[] text;
    }
    text = source ? CopyString(source) : nullptr;
}

char* ZRErrorC::CopyString(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    char* const copy = new (std::nothrow) char[size];
    if (!copy) {
        gaizior::LogError("ZRErrorC::CopyString(): ", "Allocating a text");
        return nullptr;
    }
    std::memcpy(copy, text, size);
    return copy;
}

const char* ZRErrorC::SafeString(const char* text) {
    return text ? text : "";
}

FILETIME ZRErrorC::GetTime() {
    const SYSTEMTIME now = gaizior::LocalNow();
    FILETIME time{};
    ::SystemTimeToFileTime(&now, &time);
    return time;
}

ZRErrorC* ZRErrorC::GetNext() {
    return static_cast<ZRErrorC*>(std::atomic_ref(m_pNext).load(std::memory_order_acquire));
}

// --- The stack -------------------------------------------------------------------------------------------------------

ZRErrors::ZRErrorT ZRErrorC::Stack(const char* function, ZRErrors::ZRErrorT code, const char* reason) {
    ZRErrorC* const entry = Error(function, code, reason, 0);
    if (entry == ErrCreateZRErr) {
        return ZRErrors::e_ErrorHandle_CreateFailed;
    }
    entry->m_bOnStack = true;
    AddToStack(entry);
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT ZRErrorC::Stack(ZRErrorC* chain) {
    const gaizior::ErrorKeeper keeper;
    if (chain == NoError || chain == ErrCreateZRErr) {
        return ZRErrors::e_General_NoError;
    }
    for (ZRErrorC* entry = chain; entry; entry = entry->GetNext()) {
        if (entry->m_bOnStack) {
            continue;
        }
        ZRErrorC* const copy = new (std::nothrow) ZRErrorC;
        if (!copy) {
            return gaizior::Fail("ZRErrorC::Stack: ", ZRErrors::e_Memory_AllocationFailed, "Allocating copy for stack");
        }
        copy->Clone(*entry);
        copy->m_bOnStack = true;
        AddToStack(copy);
        entry->m_bOnStack = true;
    }
    return ZRErrors::e_General_NoError;
}

void ZRErrorC::ClearStack() {
    const gaizior::ErrorKeeper keeper;
    LockStack();
    g_last = nullptr;
    DisposeHandle(m_pStack.exchange(NoError));
    UnlockStack();
}

int ZRErrorC::IsEmpty() {
    return IsEmpty(GetStack());
}

int ZRErrorC::IsEmpty(ZRErrorC* const handle) {
    return !handle || handle == NoError;
}

ZRErrorC* ZRErrorC::GetStack() {
    return m_pStack.load(std::memory_order_acquire);
}

/// Goes ahead without the lock when that cannot be had. The link to the new entry is made in one step from null, so
/// that nobody who walks the stack, and no other who adds to it without the lock, finds it half made.
void ZRErrorC::AddToStack(ZRErrorC* entry) {
    const gaizior::ErrorKeeper keeper;
    LockStack();
    ZRErrorC* head = NoError;
    if (!m_pStack.compare_exchange_strong(head, entry)) {
        ZRListLinkC* const begin = g_last.load();
        ZRListLinkC* next = begin ? begin : head;
        do {
            entry->m_pPrev = std::exchange(next, nullptr);
        } while (!std::atomic_ref(entry->m_pPrev->m_pNext).compare_exchange_strong(next, entry));
    }
    g_last = entry;
    UnlockStack();
}

void ZRErrorC::MakeMutex() {
    if (m_hMutex.load()) {
        return;
    }
    HANDLE const mutex = ::CreateMutexA(nullptr, TRUE, nullptr);
    if (!mutex) {
        gaizior::LogError("ZRErrorC::Initialise: ", "creating mutex");
        return;
    }
    ::ReleaseMutex(mutex);
    HANDLE made = nullptr;
    if (!m_hMutex.compare_exchange_strong(made, mutex)) {
        ::CloseHandle(mutex); // another thread was first
    }
}

ZRErrors::ZRErrorT ZRErrorC::LockStack() {
    const HANDLE mutex = m_hMutex.load();
    const DWORD result = mutex ? gaizior::WaitFor(mutex, kLockTimeout) : WAIT_OBJECT_0;
    if (result == WAIT_OBJECT_0) {
        return ZRErrors::e_General_NoError;
    }
    const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
    if (result == WAIT_ABANDONED) {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(1) << ZRWarningMark << "ZRErrorC::LockStack(): m_hMutex was abandoned" << std::endl;
        return ZRErrors::e_General_NoError;
    }
    // A decision of this system: the number 1 stands before the text, with nothing between.
    constexpr const char* kFunction = "ZRErrorC::LockStack(): ";
    return result == WAIT_TIMEOUT
               ? gaizior::Fail(kFunction, ZRErrors::e_Command_TimedOut, 1, "Timed out waiting for m_hMutex")
               : gaizior::Fail(kFunction, code, 1, "waiting for m_hMutex: ", gaizior::CodeText(code));
}

ZRErrors::ZRErrorT ZRErrorC::UnlockStack() {
    if (const HANDLE mutex = m_hMutex.load()) {
        ::ReleaseMutex(mutex);
    }
    return ZRErrors::e_General_NoError;
}

// --- The text --------------------------------------------------------------------------------------------------------

char* ZRErrorC::ToString(bool thisOnly, bool clear) {
    char* result = nullptr;
    try {
        std::string text;
        ZRErrorC* const start = thisOnly ? this : GetStack();
        if (start == NoError) {
            text = "<Error Stack Empty>\n";
        } else {
            for (ZRErrorC* entry = start; entry; entry = thisOnly ? nullptr : entry->GetNext()) {
                entry->AppendTo(text);
            }
        }
        result = CopyString(text.c_str());
    } catch (const std::bad_alloc&) {
        gaizior::LogError("ZRErrorC::ToString(): ", "Allocating the text");
    }
    if (result && clear) {
        ClearStack();
    }
    return result;
}

void ZRErrorC::AppendTo(std::string& text) {
    SYSTEMTIME time{};
    ::FileTimeToSystemTime(&m_Time, &time);
    char begin[96];
    std::snprintf(begin, sizeof begin, "At: %02d:%02d:%02d.%03d on: %02d/%02d/%04d, ERROR: 0x%08x ", time.wHour,
                  time.wMinute, time.wSecond, time.wMilliseconds, time.wDay, time.wMonth, time.wYear,
                  static_cast<unsigned>(m_nCode));
    char codeText[gaizior::kErrorTextSize];
    text.append(begin).append(gaizior::FormatErrorText(m_nCode, codeText));
    text.append(", in FUNCTION: ").append(SafeString(m_pFunction));
    text.append(" REASON: ").append(SafeString(m_pReason)).append("\r\n");
}

void ZRErrorC::FreeString(char* text) {
    delete[] text;
}
