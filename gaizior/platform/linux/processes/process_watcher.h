#pragma once

#include "gaizior/platform/linux/objects/completion.h"
#include "gaizior/platform/linux/system/unique_fd.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include <sys/types.h>

namespace gaizior::platform {

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
    DWORD CollectExitCode();

    const pid_t m_id;
    bool m_bIsChild; // guarded by the watcher's lock
    const UniqueFd m_fd;
    std::atomic<std::int64_t> m_nKillCode{-1}; // -1: nobody has killed it
    std::atomic<bool> m_bIsCodeKnown{false};
    std::vector<CompletionRef> m_waiting; // likewise
    bool m_bIsOver = false;               // likewise
    DWORD m_dwExitCode = 0;               // likewise
};

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

    static void PrepareFork();
    static void ContinueInParent();
    static void ContinueInChild();

private:
    static ProcessWatcher& TheOne();
    bool Start();
    bool Add(int fd) const;
    std::shared_ptr<Process> FindRunning(pid_t id) const;
    /// Lets go of what only closed handles stood for, so that opening and closing for ever costs nothing.
    void ForgetUnobserved();
    [[noreturn]] void Run();
    void End(int fd);

    std::mutex m_lock;
    UniqueFd m_epoll;
    std::map<int, std::shared_ptr<Process>> m_running; // by descriptor
};

} // namespace gaizior::platform
