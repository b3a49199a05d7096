#include "apps/support/watched_lock.h"

namespace apps {

WatchedLock::Hold WatchedLock::Holder() const {
    // The owner first: what is read behind it belongs to the same hold or a later one, and so is never too old.
    const auto thread = static_cast<DWORD>(m_section.GetOwnerTID());
    if (thread == 0) {
        return {};
    }
    const ULONGLONG since = m_nSince;
    return {thread, m_section.GetSafeOwnerName(), since == 0 ? 0 : ::GetTickCount64() - since};
}

LockUser::LockUser(WatchedLock& lock, Worker* worker, const char* locker)
    : m_lock(lock), m_pWorker(worker), m_pLocker(locker) {}

LockUser::~LockUser() {
    if (m_bHeld) {
        m_lock.m_nSince = 0;
    } else if (m_pWorker && m_nBegin != 0) {
        m_pWorker->EndWait();
    }
}

ZRErrors::ZRErrorT LockUser::Enter(DWORD timeout) {
    if (m_nBegin == 0) {
        m_nBegin = ::GetTickCount64();
        m_user.emplace(&m_lock.m_section);
        if (m_pWorker) {
            m_pWorker->BeginWait(m_lock, m_nBegin);
        }
    }
    const auto code = m_user->EnterCriticalSection(m_pLocker, m_pWorker ? m_pWorker->EndEvent() : nullptr, timeout);
    if (code == ZRErrors::e_General_NoError) {
        m_bHeld = true;
        m_lock.m_nSince = ::GetTickCount64();
        if (m_pWorker) {
            m_pWorker->EndWait();
        }
    }
    return code;
}

std::string LockUser::Obstacle() const {
    const WatchedLock::Hold hold = m_lock.Holder();
    const std::string lock = std::string("the lock '") + m_lock.Name() + "' ";
    return hold.thread == 0
               ? lock + "was not to be had"
               : lock + "is held by thread " + std::to_string(hold.thread) + " as " + LockerText(hold.locker);
}

std::string LockerText(std::string_view locker) {
    const std::size_t end = locker.find_last_not_of(": ");
    return std::string(locker.substr(0, end == locker.npos ? 0 : end + 1));
}

} // namespace apps
