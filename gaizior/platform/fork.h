#pragma once

#include <mutex>

namespace gaizior {

/// Keeps a mutex usable in a process that is forked, where the threads that held it are missing: fork() takes it first,
/// and parent and child leave it again. Nothing where processes do not fork. Stands beside the mutex for as long as the
/// process lives; made while the program or the library is loaded. Who holds the mutex takes none that was kept before
/// it, and may call the platform's functions.
class KeepAcrossFork {
public:
#ifdef _WIN32
    explicit KeepAcrossFork(std::mutex& /*lock*/) {}
#else
    explicit KeepAcrossFork(std::mutex& lock);
    KeepAcrossFork* Next() const {
        return m_pNext;
    }
    std::mutex& Lock() const {
        return m_lock;
    }

private:
    std::mutex& m_lock;
    KeepAcrossFork* const m_pNext;
#endif
};

} // namespace gaizior
