#pragma once

#include "gaizior/platform/thread_safety.h"

#include <mutex>

namespace gaizior {

/// The standard library's mutex, which data can name as its guard (thread_safety.h).
class GAIZIOR_CAPABILITY("mutex") Mutex {
public:
    void Lock() GAIZIOR_ACQUIRE() {
        m_mutex.lock();
    }
    [[nodiscard]] bool TryLock() GAIZIOR_TRY_ACQUIRE(true) {
        return m_mutex.try_lock();
    }
    void Unlock() GAIZIOR_RELEASE() {
        m_mutex.unlock();
    }

private:
    std::mutex m_mutex;
};

/// Holds a mutex for as long as it lives.
class GAIZIOR_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) GAIZIOR_ACQUIRE(mutex) : m_mutex(mutex) {
        m_mutex.Lock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() GAIZIOR_RELEASE() {
        m_mutex.Unlock();
    }

private:
    Mutex& m_mutex;
};

} // namespace gaizior
