#include "gaizior/platform/linux/system/fork.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/linux/system/service_thread.h"
#include "gaizior/platform/linux/system/suspension.h"
#include "gaizior/platform/linux/system/unique_fd.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using gaizior::platform::Fail;
using gaizior::platform::FailErrno;
using gaizior::platform::InsideLayer;
using gaizior::platform::LayerLock;
using gaizior::platform::NoThrow;
using gaizior::platform::StartServiceThread;
using gaizior::platform::UniqueFd;

struct ConsoleSignal {
    int number;
    DWORD event;
};
constexpr ConsoleSignal kSignals[] = {
    {SIGINT, CTRL_C_EVENT}, {SIGQUIT, CTRL_BREAK_EVENT}, {SIGTERM, CTRL_CLOSE_EVENT}, {SIGHUP, CTRL_CLOSE_EVENT}};

std::atomic<int> g_pipeIn{-1};
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads it");

/// Runs in whichever thread the signal interrupts: it only passes the number on.
void OnSignal(int number) {
    const int before = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(g_pipeIn, &byte, 1); // a full pipe holds signals enough
    errno = before;
}

/// The handlers, and what the process did with each signal before there were any.
class Console {
public:
    /// One for the process, never destroyed: its thread may outlive every other object.
    static Console& Instance() {
        const InsideLayer inside;
        static Console* const console = new Console;
        return *console;
    }

    BOOL Add(PHANDLER_ROUTINE handler) {
        const LayerLock lock(s_lock);
        if (!Start()) {
            return FailErrno();
        }
        m_handlers.push_back(handler);
        Apply();
        return TRUE;
    }

    BOOL Remove(PHANDLER_ROUTINE handler) {
        const LayerLock lock(s_lock);
        const auto found = std::find(m_handlers.rbegin(), m_handlers.rend(), handler);
        if (found == m_handlers.rend()) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        m_handlers.erase(std::next(found).base());
        Apply();
        return TRUE;
    }

    BOOL IgnoreCtrlC(bool ignore) {
        const LayerLock lock(s_lock);
        m_bIgnoreCtrlC = ignore;
        Apply();
        return TRUE;
    }

    /// Signals wait while the process forks: one that the child gets must not reach the parent's handlers.
    static void PrepareFork() GAIZIOR_ACQUIRE(s_lock) {
        Console& console = Instance(); // made here, since a child must not find it half made
        s_lock.Lock();
        sigset_t ours;
        ::sigemptyset(&ours);
        for (const ConsoleSignal& signal : kSignals) {
            ::sigaddset(&ours, signal.number);
        }
        ::pthread_sigmask(SIG_BLOCK, &ours, &console.m_maskBeforeFork);
    }

    static void ContinueAfterFork() GAIZIOR_RELEASE(s_lock) {
        ::pthread_sigmask(SIG_SETMASK, &Instance().m_maskBeforeFork, nullptr);
        s_lock.Unlock();
    }

    /// A child begins without handlers. Pipe and thread of its own come with the first that it adds.
    static void ContinueInChild() GAIZIOR_RELEASE(s_lock) {
        Console& console = Instance();
        console.m_handlers.clear();
        console.Apply();
        console.ClosePipe(0);
        ContinueAfterFork();
    }

private:
    /// Makes pipe and thread at the first call. @returns false with errno set.
    bool Start() GAIZIOR_REQUIRES(s_lock) {
        if (m_pipeOut) {
            return true;
        }
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            return false;
        }
        m_pipeOut = UniqueFd(ends[0]);
        m_pipeIn = UniqueFd(ends[1]);
        const auto run = [](void* console) -> void* { return static_cast<Console*>(console)->Run(); };
        // The signal handler must never wait.
        if (!m_pipeOut || !m_pipeIn || ::fcntl(m_pipeIn.Get(), F_SETFL, O_NONBLOCK) != 0) {
            return ClosePipe(errno);
        }
        g_pipeIn = m_pipeIn.Get();
        const int error = StartServiceThread("console events", run, this);
        return error == 0 || ClosePipe(error);
    }

    /// @returns false with that errno value.
    bool ClosePipe(int error) GAIZIOR_REQUIRES(s_lock) {
        g_pipeIn = -1;
        m_pipeOut = UniqueFd();
        m_pipeIn = UniqueFd();
        errno = error;
        return false;
    }

    /// Gives each signal the disposition that the handlers and the ignoring of Ctrl-C ask for.
    void Apply() GAIZIOR_REQUIRES(s_lock) {
        for (std::size_t i = 0; i < std::size(kSignals); ++i) {
            struct sigaction wanted {};
            if (kSignals[i].number == SIGINT && m_bIgnoreCtrlC) {
                wanted.sa_handler = SIG_IGN; // children inherit that, as on Windows
            } else if (!m_handlers.empty()) {
                wanted.sa_handler = OnSignal;
                wanted.sa_flags = SA_RESTART;
            } else {
                Restore(i);
                continue;
            }
            struct sigaction before {};
            ::sigaction(kSignals[i].number, nullptr, &before);
            if (!m_before[i]) {
                m_before[i] = before;
            }
            const bool detached = kSignals[i].number == SIGHUP && m_before[i]->sa_handler == SIG_IGN;
            if (!detached) { // started under nohup: it stays deaf to the terminal's end
                ::sigaction(kSignals[i].number, &wanted, nullptr);
            }
        }
    }

    void Restore(std::size_t i) GAIZIOR_REQUIRES(s_lock) {
        if (m_before[i]) {
            ::sigaction(kSignals[i].number, &*m_before[i], nullptr);
            m_before[i].reset();
        }
    }

    int PipeOut() GAIZIOR_EXCLUDES(s_lock) {
        const LayerLock lock(s_lock);
        return m_pipeOut.Get();
    }

    /// Ends only in a child that a handler forks: the pipe is closed there.
    void* Run() {
        for (;;) {
            unsigned char number = 0;
            const ssize_t count = ::read(PipeOut(), &number, 1);
            if (count == 1 && !Ask(number)) {
                EndBy(number);
            } else if (count != 1 && errno != EINTR) {
                return nullptr;
            }
        }
    }

    /// Asks the handlers, the last added first. They may add and remove handlers.
    bool Ask(int number) GAIZIOR_EXCLUDES(s_lock) {
        std::vector<PHANDLER_ROUTINE> handlers;
        {
            const LayerLock lock(s_lock);
            handlers = m_handlers;
        }
        const DWORD event = std::ranges::find(kSignals, number, &ConsoleSignal::number)->event;
        return std::any_of(handlers.rbegin(), handlers.rend(),
                           [&](PHANDLER_ROUTINE handler) { return handler(event) != FALSE; });
    }

    /// Lets the signal do what it would have done, so that whoever waits for this process sees its true end.
    static void EndBy(int number) {
        std::signal(number, SIG_DFL);
        sigset_t only;
        ::sigemptyset(&only);
        ::sigaddset(&only, number);
        ::pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
        std::raise(number);
    }

    static inline constinit gaizior::Mutex s_lock;
    std::vector<PHANDLER_ROUTINE> m_handlers GAIZIOR_GUARDED_BY(s_lock);
    std::optional<struct sigaction> m_before[std::size(kSignals)] GAIZIOR_GUARDED_BY(s_lock);
    bool m_bIgnoreCtrlC GAIZIOR_GUARDED_BY(s_lock) = false;
    sigset_t m_maskBeforeFork GAIZIOR_GUARDED_BY(s_lock) = {};
    UniqueFd m_pipeOut GAIZIOR_GUARDED_BY(s_lock);
    UniqueFd m_pipeIn GAIZIOR_GUARDED_BY(s_lock); ///< g_pipeIn's owner
};

} // namespace

const gaizior::platform::ForkPart gaizior::platform::kConsoleForkPart = {
    &Console::PrepareFork, &Console::ContinueAfterFork, &Console::ContinueInChild};

inline namespace gaizior_windows_api {

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
    return NoThrow([=] {
        Console& console = Console::Instance();
        if (!handler) {
            return console.IgnoreCtrlC(add != FALSE);
        }
        return add ? console.Add(handler) : console.Remove(handler);
    });
}

} // namespace gaizior_windows_api
