#include "gaizior/comms/comm_object.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"

#include <utility>

namespace {

constexpr unsigned kTraceLevel = 15; // shown from debug level 16 on
constexpr std::uint32_t kTooManyReferences = 0x7FFFFFFF;
constexpr const char* kLockFunction = "ZRCommObjectC::Lock(a): ";

const char* OrUnknown(const char* name) {
    return name ? name : "<unknown>";
}

} // namespace

// --- The object ------------------------------------------------------------------------------------------------------

ZRCommObjectC::ZRCommObjectC(const char* name, bool bAutoDelete) : m_pName(name), m_bAutoDelete(bAutoDelete) {}

ZRCommObjectC::~ZRCommObjectC() {
    gaizior::LogAt(kTraceLevel, "ZRCommObjectC::~ZRCommObjectC(): ", "deleting shared object: ", *this);
    if (m_hMutex) {
        ::CloseHandle(m_hMutex);
    }
}

ZRErrors::ZRErrorT ZRCommObjectC::Lock(unsigned long timeoutMs, void* hAbortEvent) {
    if (void* const mutex = m_hMutex) {
        return WaitForMutex(mutex, timeoutMs, hAbortEvent);
    }
    void* const mutex = ::CreateMutexA(nullptr, TRUE, nullptr);
    if (!mutex) {
        return gaizior::Fail(kLockFunction, ZRErrors::e_Resource_AllocationFailed, "object: ", GetSafeName(),
                             " Failed to create mutex");
    }
    void* made = nullptr;
    if (m_hMutex.compare_exchange_strong(made, mutex)) {
        return ZRErrors::e_General_NoError;
    }
    ::CloseHandle(mutex); // another thread was first
    return WaitForMutex(made, timeoutMs, hAbortEvent);
}

ZRErrors::ZRErrorT ZRCommObjectC::WaitForMutex(void* mutex, unsigned long timeoutMs, void* hAbortEvent) {
    const DWORD timeout = gaizior::ToTimeout(timeoutMs);
    const HANDLE handles[] = {mutex, hAbortEvent};
    switch (hAbortEvent ? gaizior::WaitForAny(2, handles, timeout) : gaizior::WaitFor(mutex, timeout)) {
    case WAIT_OBJECT_0:
        return ZRErrors::e_General_NoError;
    case WAIT_OBJECT_0 + 1:
        return ZRErrors::e_Wait_ForcedToExit;
    case WAIT_TIMEOUT:
        return gaizior::Fail(kLockFunction, ZRErrors::e_Command_TimedOut, "object: ", GetSafeName(),
                             "Timeout waiting on object already locked by: ", GetSafeOwnerName(nullptr));
    default:
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return gaizior::Fail(kLockFunction, code, "object: ", GetSafeName(),
                             " waiting on mutex: ", gaizior::CodeText(code));
    }
}

ZRErrors::ZRErrorT ZRCommObjectC::Lock(const char* ownerName, unsigned long timeoutMs, void* hAbortEvent) {
    const ZRErrors::ZRErrorT code = Lock(timeoutMs, hAbortEvent);
    if (code == ZRErrors::e_General_NoError) {
        const char* const previous = m_pCurrentOwnerName.exchange(ownerName);
        gaizior::LogAt(kTraceLevel, "ZRCommObjectC::Lock(b): ", "previous owner=", OrUnknown(previous), ", ", *this);
    }
    return code;
}

ZRErrors::ZRErrorT ZRCommObjectC::Unlock() {
    m_pCurrentOwnerName = nullptr;
    if (::ReleaseMutex(m_hMutex)) {
        return ZRErrors::e_General_NoError;
    }
    const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
    return gaizior::Fail("ZRCommObjectC::Unlock(): ", code, "object: ", GetSafeName(),
                         " releasing mutex: ", gaizior::CodeText(code));
}

ZRErrors::ZRErrorT ZRCommObjectC::IncrementReference() {
    ZRErrors::ZRErrorT result = Lock(INFINITE, nullptr);
    if (result != ZRErrors::e_General_NoError) {
        const gaizior::ErrorKeeper keeper;
        if (::ReleaseMutex(m_hMutex)) { // held all the same where it was abandoned, and its holder is no more
            m_pCurrentOwnerName = nullptr;
        }
        return result;
    }
    if (++m_nRefCount >= kTooManyReferences) {
        result = gaizior::Fail("ZRCommObjectC::IncrementReference(): ", ZRErrors::e_Object_TooManyReferences,
                               "object: ", GetSafeName(), " too many references to object");
    }
    gaizior::LogAt(kTraceLevel, "ZRCommObjectC::IncrementReference(): ", *this);
    const ZRErrors::ZRErrorT unlocked = Unlock();
    return unlocked != ZRErrors::e_General_NoError ? unlocked : result;
}

/// The reference goes also where the lock is abandoned, and where it cannot be had: its holder has given it up.
ZRErrors::ZRErrorT ZRCommObjectC::DecrementReference() {
    constexpr const char* kFunction = "ZRCommObjectC::DecrementReference(): ";
    Lock(INFINITE, nullptr);
    if (--m_nRefCount == 0 && m_bAutoDelete) {
        gaizior::LogAt(kTraceLevel, kFunction, "About to delete: ", *this);
        delete this; // and the lock with it
        return ZRErrors::e_General_NoError;
    }
    gaizior::LogAt(kTraceLevel, kFunction, *this);
    return Unlock();
}

const char* ZRCommObjectC::GetSafeName() const {
    return OrUnknown(m_pName);
}

const char* ZRCommObjectC::GetSafeOwnerName(const char* name) const {
    return OrUnknown(name ? name : m_pCurrentOwnerName.load());
}

ZRLogStreamC& operator<<(ZRLogStreamC& log, const ZRCommObjectC& object) {
    if (log.IsValidDebugLevel()) {
        log << "ZRCommObjectC(\"" << object.GetSafeName()
            << "\") = { m_pCurrentOwnerName=" << object.GetSafeOwnerName(nullptr)
            << ", m_nRefCount=" << object.m_nRefCount.load()
            << " m_hMutex=" << static_cast<const void*>(object.m_hMutex.load())
            << " m_bAutoDelete=" << object.m_bAutoDelete << " }";
    }
    return log;
}

// --- The handle ------------------------------------------------------------------------------------------------------

ZRCommObjectPtrC::~ZRCommObjectPtrC() {
    Detach();
}

ZRErrors::ZRErrorT ZRCommObjectPtrC::Attach(ZRCommObjectC* object) {
    if (object && object == m_pObject) {
        return gaizior::Fail("ZRCommObjectPtrC::Attach(): ", ZRErrors::e_Object_AlreadyAttached,
                             "Already attached to :", *object);
    }
    m_pObject = object;
    return object ? object->IncrementReference() : ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT ZRCommObjectPtrC::Detach() {
    ZRCommObjectC* const object = std::exchange(m_pObject, nullptr);
    return object ? object->DecrementReference() : ZRErrors::e_General_NoError;
}
