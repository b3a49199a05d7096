#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>

namespace gaizior::platform {

/// A moment of the monotonic clock up to which to wait; none waits for ever.
class Deadline {
public:
    /// `milliseconds` from now; INFINITE (all ones) has no end.
    explicit Deadline(std::uint32_t milliseconds);
    bool IsInfinite() const {
        return !m_nanoseconds;
    }
    bool HasPassed() const;
    /// The earlier of this one and `milliseconds` from now.
    Deadline AtMost(std::uint32_t milliseconds) const;
    /// Nanoseconds of the monotonic clock; not to be asked of an infinite one.
    std::int64_t Nanoseconds() const {
        return *m_nanoseconds;
    }

private:
    std::optional<std::int64_t> m_nanoseconds;
};

/// A word that a thread sleeps on while it holds `expected`.
struct FutexWord {
    const std::atomic<std::uint32_t>* word;
    std::uint32_t expected;
    bool isShared; ///< other processes wake it too
};

/// Sleeps until one of the words (1 to 65) changes and is woken, or the deadline; may return for no reason at all.
void FutexWait(std::span<const FutexWord> words, const Deadline& deadline);

/// The thread sanitizer keeps a signal from a thread until that makes a call which the sanitizer watches, and loses one
/// that comes before the first of those: this is such a call, which waits make often. Nothing in other builds.
void LetSignalsIn();

/// Sets bits (at most the lowest 11) of a word that processes share and wakes all who sleep on it, in one step: a death
/// leaves both undone or none.
void FutexSetAndWake(std::atomic<std::uint32_t>& word, std::uint32_t bits);

/// Wakes up to `count` threads that sleep on the word.
void FutexWake(const std::atomic<std::uint32_t>& word, int count, bool isShared);

} // namespace gaizior::platform
