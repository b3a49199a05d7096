#pragma once

#include "gaizior/platform/linux/objects/completion.h"
#include "gaizior/platform/linux/system/unique_fd.h"
#include "gaizior/platform/mutex.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include <sys/types.h>

namespace gaizior::platform {

class Process;

/// The one thread that sees processes end, collects their exit codes and completes their handles. A forked child has
/// its own, which takes over what it inherited.
class ProcessWatcher {
public:
    /// Starts it at the first call; it is never destroyed. @returns null with errno set.
    static ProcessWatcher* Instance();

    /// The process of this id, watched from now on. @returns null with errno set.
    std::shared_ptr<Process> Watch(pid_t id, bool isChild);
    /// Completes `waiting` when the process ends, at once when it has.
    void CompleteAtEnd(Process& process, CompletionRef waiting);

    static void PrepareFork() GAIZIOR_ACQUIRE(s_lock);
    static void ContinueInParent() GAIZIOR_RELEASE(s_lock);
    static void ContinueInChild() GAIZIOR_RELEASE(s_lock);

private:
    friend class Process;
    static ProcessWatcher& TheOne();
    bool Start();
    int Epoll() const;
    bool Add(int fd) const GAIZIOR_REQUIRES(s_lock);
    std::shared_ptr<Process> FindRunning(pid_t id) const GAIZIOR_REQUIRES(s_lock);
    /// Lets go of what only closed handles stood for, so that opening and closing for ever costs nothing.
    void ForgetUnobserved() GAIZIOR_REQUIRES(s_lock);
    [[noreturn]] void Run();
    void End(int fd);

    static inline constinit Mutex s_lock;
    UniqueFd m_epoll GAIZIOR_GUARDED_BY(s_lock);
    std::map<int, std::shared_ptr<Process>> m_running GAIZIOR_GUARDED_BY(s_lock); // by descriptor
};

/// A process that handles stand for; all its handles share one. Refers to the process itself, never to a later one
/// that got the same id.
class Process {
public:
    Process(pid_t id, bool isChild, UniqueFd fd) : m_id(id), m_bIsChild(isChild), m_fd(std::move(fd)) {}

    pid_t Id() const {
        return m_id;
    }
    /// Kills it and remembers the exit code that it shall have had; the first caller's stays. @returns false with
    /// errno set.
    bool Kill(DWORD exitCode);
    /// Whether it could be signalled; false with errno set.
    bool MayKill() const;
    /// The exit code is known of children only, and of those only when nobody else collected it.
    bool IsExitCodeKnown() const {
        return m_bIsCodeKnown;
    }

private:
    friend class ProcessWatcher;
    bool HasEnded() const;
    DWORD CollectExitCode() GAIZIOR_REQUIRES(ProcessWatcher::s_lock);

    const pid_t m_id;
    bool m_bIsChild GAIZIOR_GUARDED_BY(ProcessWatcher::s_lock);
    const UniqueFd m_fd;
    std::atomic<std::int64_t> m_nKillCode{-1}; // -1: nobody has killed it
    std::atomic<bool> m_bIsCodeKnown{false};
    std::vector<CompletionRef> m_waiting GAIZIOR_GUARDED_BY(ProcessWatcher::s_lock);
    bool m_bIsOver GAIZIOR_GUARDED_BY(ProcessWatcher::s_lock) = false;
    DWORD m_dwExitCode GAIZIOR_GUARDED_BY(ProcessWatcher::s_lock) = 0;
};

} // namespace gaizior::platform
