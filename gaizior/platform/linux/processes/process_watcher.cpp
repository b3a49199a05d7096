#include "gaizior/platform/linux/processes/process_watcher.h"

#include "gaizior/platform/linux/system/fork.h"
#include "gaizior/platform/linux/system/service_thread.h"
#include "gaizior/platform/linux/system/suspension.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace gaizior::platform {
namespace {

constexpr DWORD kEndedBySignal = 128; // plus the signal's number, as shells count

// The C library's header for these cannot be included from C++ in every version.
UniqueFd OpenPidFd(pid_t id) {
    return UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
}
bool SendSignal(const UniqueFd& fd, int signal) {
    return ::syscall(SYS_pidfd_send_signal, fd.Get(), signal, nullptr, 0) == 0;
}

} // namespace

bool Process::Kill(DWORD exitCode) {
    std::int64_t nobody = -1;
    m_nKillCode.compare_exchange_strong(nobody, exitCode);
    return SendSignal(m_fd, SIGKILL);
}

bool Process::MayKill() const {
    return SendSignal(m_fd, 0);
}

bool Process::HasEnded() const {
    pollfd end{.fd = m_fd.Get(), .events = POLLIN, .revents = 0};
    return ::poll(&end, 1, 0) == 1;
}

DWORD Process::CollectExitCode() {
    siginfo_t end{};
    if (!m_bIsChild || ::waitid(P_PIDFD, static_cast<id_t>(m_fd.Get()), &end, WEXITED | WNOHANG) != 0) {
        return 0;
    }
    m_bIsCodeKnown = true;
    if (end.si_code == CLD_EXITED) {
        return static_cast<DWORD>(end.si_status);
    }
    const std::int64_t killCode = m_nKillCode;
    return end.si_status == SIGKILL && killCode >= 0 ? static_cast<DWORD>(killCode)
                                                     : kEndedBySignal + static_cast<DWORD>(end.si_status);
}

ProcessWatcher& ProcessWatcher::TheOne() {
    const InsideLayer inside;
    static ProcessWatcher* const watcher = new ProcessWatcher;
    return *watcher;
}

ProcessWatcher* ProcessWatcher::Instance() {
    return TheOne().Start() ? &TheOne() : nullptr;
}

bool ProcessWatcher::Start() {
    const LayerLock lock(s_lock);
    if (m_epoll) {
        return true;
    }
    m_epoll = UniqueFd(::epoll_create1(EPOLL_CLOEXEC));
    // A forked child has inherited processes to watch.
    bool isReady = static_cast<bool>(m_epoll);
    for (auto entry = m_running.begin(); isReady && entry != m_running.end(); ++entry) {
        isReady = Add(entry->first);
    }
    if (isReady) {
        const auto run = [](void* watcher) -> void* { static_cast<ProcessWatcher*>(watcher)->Run(); };
        errno = StartServiceThread("process watch", run, this);
        isReady = errno == 0;
    }
    if (!isReady) {
        m_epoll = UniqueFd();
    }
    return isReady;
}

bool ProcessWatcher::Add(int fd) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    return ::epoll_ctl(m_epoll.Get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

std::shared_ptr<Process> ProcessWatcher::FindRunning(pid_t id) const {
    const auto found = std::ranges::find_if(m_running, [id](const auto& entry) { return entry.second->Id() == id; });
    // A child's id is its own until its exit code is collected; another's may be somebody else's once it has ended.
    return found != m_running.end() && (found->second->m_bIsChild || !found->second->HasEnded()) ? found->second
                                                                                                 : nullptr;
}

std::shared_ptr<Process> ProcessWatcher::Watch(pid_t id, bool isChild) {
    const LayerLock lock(s_lock);
    ForgetUnobserved();
    if (auto known = FindRunning(id)) {
        return known;
    }
    UniqueFd fd = OpenPidFd(id);
    if (!fd) {
        return nullptr;
    }
    const int number = fd.Get();
    auto process = std::make_shared<Process>(id, isChild, std::move(fd));
    m_running.emplace(number, process);
    if (!Add(number)) {
        m_running.erase(number);
        return nullptr;
    }
    return process;
}

void ProcessWatcher::ForgetUnobserved() {
    std::erase_if(m_running, [this](const auto& entry) GAIZIOR_REQUIRES(s_lock) {
        Process& process = *entry.second;
        std::erase_if(process.m_waiting, [](const CompletionRef& waiting) { return waiting.IsUnobserved(); });
        // A child stays until its exit code is collected, and what a caller is just being given a handle of.
        if (process.m_bIsChild || !process.m_waiting.empty() || entry.second.use_count() > 1) {
            return false;
        }
        ::epoll_ctl(m_epoll.Get(), EPOLL_CTL_DEL, entry.first, nullptr);
        return true;
    });
}

void ProcessWatcher::CompleteAtEnd(Process& process, CompletionRef waiting) {
    const LayerLock lock(s_lock);
    if (process.m_bIsOver) {
        waiting.Complete(process.m_dwExitCode);
    } else {
        process.m_waiting.push_back(std::move(waiting));
    }
}

int ProcessWatcher::Epoll() const {
    const LayerLock lock(s_lock);
    return m_epoll.Get();
}

void ProcessWatcher::Run() {
    const int epoll = Epoll();
    for (;;) {
        epoll_event ended[16];
        const int count = ::epoll_wait(epoll, ended, std::ssize(ended), -1);
        for (int i = 0; i < count; ++i) {
            End(ended[i].data.fd);
        }
    }
}

void ProcessWatcher::End(int fd) {
    const LayerLock lock(s_lock);
    const auto found = m_running.find(fd);
    if (found == m_running.end() || !found->second->HasEnded()) {
        return; // forgotten a moment ago; the descriptor may be another's by now
    }
    const std::shared_ptr<Process> process = std::move(found->second);
    m_running.erase(found);
    ::epoll_ctl(m_epoll.Get(), EPOLL_CTL_DEL, fd, nullptr);
    process->m_dwExitCode = process->CollectExitCode();
    process->m_bIsOver = true;
    for (const CompletionRef& waiting : process->m_waiting) {
        waiting.Complete(process->m_dwExitCode);
    }
    process->m_waiting.clear();
}

void ProcessWatcher::PrepareFork() {
    TheOne(); // made here, since a child must not find it half made
    s_lock.Lock();
}

void ProcessWatcher::ContinueInParent() {
    s_lock.Unlock();
}

/// Its parent's children are not the child's, and neither is the thread. What it watches from now on must not be added
/// to its parent's list.
void ProcessWatcher::ContinueInChild() {
    ProcessWatcher& watcher = TheOne();
    watcher.m_epoll = UniqueFd();
    for (const auto& [fd, process] : watcher.m_running) {
        process->m_bIsChild = false;
    }
    s_lock.Unlock();
}

const ForkPart kWatcherForkPart = {&ProcessWatcher::PrepareFork, &ProcessWatcher::ContinueInParent,
                                   &ProcessWatcher::ContinueInChild};

} // namespace gaizior::platform
