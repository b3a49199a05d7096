#pragma once

#include "gaizior/platform/linux/api/types.h"
#include "gaizior/platform/linux/objects/take_result.h"
#include "gaizior/platform/linux/system/futex.h"

#include <atomic>
#include <cstdint>

#include <pthread.h>

namespace gaizior::platform {

/// How long a thread sleeps on a named mutex before it looks again: a wake is lost with a process that dies between
/// being woken and taking the mutex.
inline constexpr DWORD kLongestMutexSleep = 100; // ms

/// A recursive mutex as it lies in the memory that processes share. The kernel knows its owner's death.
class RobustMutex {
public:
    /// Makes it free, before anybody else uses it.
    void Begin();
    /// Whether the calling thread owns it.
    bool IsMine() const;
    Take TryTake();
    /// Undoes one acquisition of the calling thread, which must own it.
    void Release();

    struct Owner {
        DWORD thread;       ///< 0 for none
        bool hasDied;       ///< and nobody has taken the mutex over yet
        std::int64_t since; ///< milliseconds since 1970; 0 where the file tells no moment that has been
    };
    /// Who has it, at a glance.
    Owner CurrentOwner() const;

    /// Announces a sleeper. @returns what to sleep on; its `word` is null when the mutex can be taken now.
    FutexWord PrepareSleep();
    /// Has whoever slept beside the caller woken when it gives the mutex back: taking it forgets its sleepers.
    void RemindOfSleepers();
    /// Passes on a wake that a sleeper got and did not use.
    void PassWakeOn();

private:
    std::atomic<std::uint32_t>& Word();
    const std::atomic<std::uint32_t>& Word() const;

    pthread_mutex_t m_mutex;
    std::atomic<std::int64_t> m_nTakenAt; ///< when its owner took it, in milliseconds since 1970
};
static_assert(sizeof(RobustMutex) <= 64 && std::atomic<std::int64_t>::is_always_lock_free);

} // namespace gaizior::platform
