#include "gaizior/platform/linux/system/futex.h"

#include "gaizior/platform/windows_api.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace gaizior::platform {
namespace {

constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::size_t kMaximumWords = MAXIMUM_WAIT_OBJECTS + 1;

#ifdef __SANITIZE_THREAD__
constexpr bool kSignalsAreKeptBack = true;
#else
constexpr bool kSignalsAreKeptBack = false;
#endif
constexpr std::uint32_t kLongestSleep = 2; // ms, where they are

std::int64_t Now() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

/// Sleeps in the system call.
void SleepOn(std::span<const FutexWord> words, const Deadline& deadline) {
    timespec end{};
    if (!deadline.IsInfinite()) {
        end.tv_sec = deadline.Nanoseconds() / kNanosecondsPerSecond;
        end.tv_nsec = deadline.Nanoseconds() % kNanosecondsPerSecond;
    }
    const timespec* limit = deadline.IsInfinite() ? nullptr : &end;
    if (words.size() == 1) {
        const int operation = FUTEX_WAIT_BITSET | (words[0].isShared ? 0 : FUTEX_PRIVATE_FLAG);
        ::syscall(SYS_futex, words[0].word, operation, words[0].expected, limit, nullptr, FUTEX_BITSET_MATCH_ANY);
        return;
    }
    std::array<futex_waitv, kMaximumWords> waiters{};
    std::transform(words.begin(), words.end(), waiters.begin(), [](const FutexWord& word) {
        const unsigned flags = FUTEX_32 | (word.isShared ? 0u : static_cast<unsigned>(FUTEX_PRIVATE_FLAG));
        return futex_waitv{word.expected, reinterpret_cast<std::uintptr_t>(word.word), flags, 0};
    });
    const long woken = ::syscall(SYS_futex_waitv, waiters.data(), words.size(), 0, limit, CLOCK_MONOTONIC);
    if (woken < 0 && (errno == ENOSYS || errno == EPERM)) {
        // Kernels before 5.16 and some sandboxes do not have it: the words are looked at now and then.
        SleepOn(words.first(1), deadline.AtMost(1));
    }
}

} // namespace

Deadline::Deadline(std::uint32_t milliseconds) {
    if (milliseconds != INFINITE) {
        m_nanoseconds = Now() + milliseconds * kNanosecondsPerMillisecond;
    }
}

bool Deadline::HasPassed() const {
    return m_nanoseconds && Now() >= *m_nanoseconds;
}

Deadline Deadline::AtMost(std::uint32_t milliseconds) const {
    Deadline earlier(milliseconds);
    if (m_nanoseconds) {
        earlier.m_nanoseconds = std::min(*earlier.m_nanoseconds, *m_nanoseconds);
    }
    return earlier;
}

void FutexWait(std::span<const FutexWord> words, const Deadline& deadline) {
    SleepOn(words, kSignalsAreKeptBack ? deadline.AtMost(kLongestSleep) : deadline);
    LetSignalsIn();
}

void LetSignalsIn() {
    if constexpr (kSignalsAreKeptBack) {
        ::usleep(0);
    }
}

void FutexSetAndWake(std::atomic<std::uint32_t>& word, std::uint32_t bits) {
    const auto operation = static_cast<std::uint32_t>(FUTEX_OP(FUTEX_OP_OR, bits, FUTEX_OP_CMP_EQ, 0u));
    if (::syscall(SYS_futex, &word, FUTEX_WAKE_OP, INT_MAX, nullptr, &word, operation) < 0) {
        word.fetch_or(bits);
        FutexWake(word, INT_MAX, true);
    }
}

void FutexWake(const std::atomic<std::uint32_t>& word, int count, bool isShared) {
    ::syscall(SYS_futex, &word, FUTEX_WAKE | (isShared ? 0 : FUTEX_PRIVATE_FLAG), count, nullptr, nullptr, 0);
}

} // namespace gaizior::platform
