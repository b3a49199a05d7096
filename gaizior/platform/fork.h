#pragma once

#include "gaizior/platform/mutex.h"

namespace gaizior {

/// Keeps a mutex usable in a process that is forked, where the threads that held it are missing: fork() takes it first,
/// and parent and child leave it again. Nothing where processes do not fork. Stands beside the mutex for as long as the
/// process lives; made while the program or the library is loaded. Who holds the mutex takes none that was kept before
/// it, and may call the platform's functions.
class KeepAcrossFork {
public:
#ifdef _WIN32
    explicit KeepAcrossFork(Mutex& /*lock*/) {}
#else
    explicit KeepAcrossFork(Mutex& lock);
    KeepAcrossFork* Next() const {
        return m_pNext;
    }
    Mutex& Lock() const GAIZIOR_RETURN_CAPABILITY(m_lock) {
        return m_lock;
    }

private:
    Mutex& m_lock;
    KeepAcrossFork* const m_pNext;
#endif
};

/// How many forks lie between this process and the one that loaded the library: who remembers the number notices that
/// it is in a child. Any thread.
#ifdef _WIN32
inline unsigned ForkCount() {
    return 0;
}
#else
unsigned ForkCount();
#endif

} // namespace gaizior
