#include "gaizior/threads/lock.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"

ZRLockC::ZRLockC() : ZRLockC(nullptr, INFINITE) {}

ZRLockC::ZRLockC(const char* const owner, unsigned long timeout)
    : m_hMutex(::CreateMutexA(nullptr, FALSE, nullptr)), m_dwTimeout(gaizior::ToTimeout(timeout)),
      m_pOwner(owner ? owner : "unknown") {
    if (!m_hMutex) {
        gaizior::LogError("ZRLockC::ZRLockC(): ", "owner: ", m_pOwner, "failed to create m_hMutex");
    }
}

ZRLockC::~ZRLockC() {
    if (m_hMutex) {
        ::CloseHandle(m_hMutex);
    }
}

ZRErrors::ZRErrorT ZRLockC::fail() const {
    if (m_hMutex) {
        return ZRErrors::e_General_NoError;
    }
    // Decisions of this system: the error stack's name, and the mark behind it.
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(0) << "ZRErrorC::fail(): " << ZRErrorMark << "m_hMutex == NULL" << std::endl;
    return ZRErrors::e_Resource_AllocationFailed;
}

ZRErrors::ZRErrorT ZRLockC::lock() {
    if (const ZRErrors::ZRErrorT code = fail(); code != ZRErrors::e_General_NoError) {
        return code;
    }
    if (gaizior::WaitFor(m_hMutex, m_dwTimeout) == WAIT_OBJECT_0) {
        return ZRErrors::e_General_NoError;
    }
    return gaizior::Fail("ZRLockC::lock(): ", ZRErrors::e_Command_TimedOut, "owner: ", m_pOwner, "waiting for mutex",
                         gaizior::CodeText(gaizior::LastSystemError()));
}

ZRErrors::ZRErrorT ZRLockC::unlock() {
    if (const ZRErrors::ZRErrorT code = fail(); code != ZRErrors::e_General_NoError) {
        return code;
    }
    if (::ReleaseMutex(m_hMutex)) {
        return ZRErrors::e_General_NoError;
    }
    return gaizior::Fail("ZRLockC::unlock(): ", ZRErrors::e_Mutex_ReleaseFailed, "owner: ", m_pOwner, "releasing mutex",
                         gaizior::CodeText(gaizior::LastSystemError()));
}
