#pragma once

#include "apps/support/worker.h"
#include "gaizior/threads/critical_section.h"

#include <atomic>
#include <optional>
#include <string>

namespace apps {

/// How long a lock is waited for, in milliseconds, before that is logged and told. Our locks are held for microseconds.
inline constexpr DWORD kPatienceForLock = 3000;

/// A lock that tells its name, its holder and since when. Entered with LockUser.
class WatchedLock {
public:
    /// `name` is borrowed: one word.
    explicit WatchedLock(const char* name) : m_pName(name) {}

    const char* Name() const {
        return m_pName;
    }
    struct Hold {
        DWORD thread = 0;        ///< 0: it is free
        const char* locker = ""; ///< the name under which it was locked
        ULONGLONG milliseconds = 0;
    };
    /// Never waits. Any thread.
    Hold Holder() const;

private:
    friend class LockUser;

    const char* m_pName;
    ZRCriticalSectionC m_section;
    std::atomic<ULONGLONG> m_nSince{0}; ///< of the present hold; 0 while it begins or ends
};

/// Enters a lock once and leaves it with the scope. One thread uses it.
class LockUser {
public:
    /// `worker`: the thread, null for one that is none. `locker`: who enters, "Class::Method(): ", borrowed.
    LockUser(WatchedLock& lock, Worker* worker, const char* locker);
    ~LockUser();
    LockUser(const LockUser&) = delete;
    LockUser& operator=(const LockUser&) = delete;

    /// @returns 0; e_CriticalSection_TimeOut after so many milliseconds, logged with the holder: it may be tried again;
    ///   e_CriticalSection_KillSignalled as soon as the worker is asked to end.
    ZRErrors::ZRErrorT Enter(DWORD timeout);
    /// "the lock 'outbox' is held by thread 4711 as Server::Send()".
    std::string Obstacle() const;

private:
    WatchedLock& m_lock;
    Worker* m_pWorker;
    const char* m_pLocker;
    ULONGLONG m_nBegin = 0; ///< when it was entered first
    bool m_bHeld = false;
    std::optional<ZRCriticalSectionC::ZRCriticalSectionUserC> m_user;
};

/// The name of a locker as people read it: "Server::Send()" for "Server::Send(): ".
std::string LockerText(std::string_view locker);

} // namespace apps
