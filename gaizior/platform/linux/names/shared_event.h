#pragma once

#include "gaizior/platform/linux/objects/take_result.h"
#include "gaizior/platform/linux/system/futex.h"

#include <atomic>
#include <cstdint>

namespace gaizior::platform {

/// An event as it lies in the memory that processes share. Any of them may die between any two instructions.
class SharedEvent {
public:
    /// Gives it its first state, before anybody else uses it.
    void Begin(bool isManual, bool isSet);
    /// How often it has been set; a manual-reset event lets everybody go who began to wait at another count.
    std::uint32_t Turn() const {
        return m_nState.load() >> kTurnShift;
    }
    /// @returns whether somebody sleeps: then it is not set before SetAndWakeSleepers.
    [[nodiscard]] bool Set();
    void SetAndWakeSleepers();
    void Reset();
    Take TryTake(std::uint32_t turn);
    /// Announces a sleeper. @returns what to sleep on; its `word` is null when the event can be taken now.
    FutexWord PrepareSleep(std::uint32_t turn);

private:
    static constexpr std::uint32_t kSet = 1;
    static constexpr std::uint32_t kSleepers = 2;
    static constexpr int kTurnShift = 2; // the rest counts how often it was set

    bool LetsGo(std::uint32_t state, std::uint32_t turn) const {
        return (state & kSet) || (m_nIsManual && state >> kTurnShift != turn);
    }

    std::uint32_t m_nIsManual;
    std::atomic<std::uint32_t> m_nState;
};
static_assert(sizeof(SharedEvent) == 8 && std::atomic<std::uint32_t>::is_always_lock_free);

} // namespace gaizior::platform
