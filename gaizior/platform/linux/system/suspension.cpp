#include "gaizior/platform/linux/system/suspension.h"

#include "gaizior/platform/linux/system/futex.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <span>

#include <sys/syscall.h>
#include <unistd.h>

namespace gaizior::platform {

constinit thread_local InsideState t_inside;

namespace {

/// Takes the highest real-time signal that nobody else uses. @returns 0 when there is none.
int ClaimSignal() {
    struct sigaction mine {};
    mine.sa_handler = &Suspension::OnSignal;
    mine.sa_flags = SA_RESTART;
    ::sigfillset(&mine.sa_mask); // a suspended thread handles no other signal either
    for (int signal = SIGRTMAX; signal >= SIGRTMIN; --signal) {
        struct sigaction before {};
        if (::sigaction(signal, nullptr, &before) == 0 && !(before.sa_flags & SA_SIGINFO) &&
            before.sa_handler == SIG_DFL && ::sigaction(signal, &mine, nullptr) == 0) {
            return signal;
        }
    }
    return 0;
}

int SuspendSignal() {
    static const int signal = ClaimSignal();
    return signal;
}

void Sleep(const std::atomic<std::uint32_t>& word, std::uint32_t value) {
    const FutexWord futex{&word, value, false};
    FutexWait(std::span(&futex, 1), Deadline(INFINITE));
}

} // namespace

void Suspension::Adopt() {
    m_nThread = ::gettid();
    t_inside.suspension = this;
    // A host that handles signals on a thread of its own starts all others with signals blocked.
    sigset_t mine;
    ::sigemptyset(&mine);
    ::sigaddset(&mine, SuspendSignal());
    ::pthread_sigmask(SIG_UNBLOCK, &mine, nullptr);
    LetSignalsIn();
}

DWORD Suspension::Suspend(DWORD& previous) {
    const int signal = SuspendSignal();
    if (signal == 0) {
        return ERROR_NO_SYSTEM_RESOURCES;
    }
    std::uint32_t word = m_word.load();
    do {
        if (word & kEnded) {
            return ERROR_ACCESS_DENIED;
        }
        if ((word & kCount) == kMaximum) {
            return ERROR_SIGNAL_REFUSED;
        }
    } while (!m_word.compare_exchange_weak(word, word + 1));
    previous = word & kCount;
    if (t_inside.suspension == this) {
        Stop();
        return ERROR_SUCCESS;
    }
    // Everybody sends one until one was seen: who counted first may itself have been stopped before it could. The
    // thread cannot end, and its id be another's, as long as it is counted.
    if (!(word & kSeen) && ::syscall(SYS_tgkill, ::getpid(), m_nThread, signal) != 0) {
        const DWORD error = ErrorOfErrno(errno);
        Resume();
        return error;
    }
    for (word = m_word.load(); (word & kCount) && !(word & kSeen); word = m_word.load()) {
        Sleep(m_word, word);
    }
    return ERROR_SUCCESS;
}

DWORD Suspension::Resume() {
    std::uint32_t word = m_word.load();
    std::uint32_t left = 0;
    do {
        if ((word & kCount) == 0) {
            return 0;
        }
        left = (word & kCount) == 1 ? 0 : word - 1;
    } while (!m_word.compare_exchange_weak(word, left));
    if (left == 0) {
        FutexWake(m_word, INT_MAX, false);
    }
    return word & kCount;
}

/// Tells those who suspend the calling thread that it knows. @returns the word as it is then.
std::uint32_t Suspension::Acknowledge() {
    std::uint32_t word = m_word.load();
    while ((word & kCount) && !(word & kSeen)) {
        if (m_word.compare_exchange_weak(word, word | kSeen)) {
            FutexWake(m_word, INT_MAX, false);
            return word | kSeen;
        }
    }
    return word;
}

void Suspension::Stop() {
    const int error = errno;
    for (std::uint32_t word = Acknowledge(); word & kCount; word = Acknowledge()) {
        Sleep(m_word, word);
    }
    errno = error;
}

void Suspension::OnSignal(int) {
    const int error = errno;
    if (Suspension* const suspension = t_inside.suspension.load(std::memory_order_relaxed)) {
        if (t_inside.depth.load(std::memory_order_relaxed) == 0) {
            suspension->Stop();
        } else {
            suspension->Acknowledge();
        }
    }
    errno = error;
}

void Suspension::ContinueInChild() {
    m_word = 0;
    m_nThread = ::gettid();
}

void Suspension::End() {
    std::uint32_t nobody = 0;
    while (!m_word.compare_exchange_weak(nobody, kEnded)) {
        Stop();
        nobody = 0;
    }
    t_inside.suspension = nullptr;
}

} // namespace gaizior::platform
