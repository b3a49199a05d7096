#pragma once

#include "gaizior/platform/fork.h"
#include "gaizior/platform/unique_handle.h"

#include <array>
#include <atomic>
#include <cstdint>

/// The events by which a receiver learns at once that there is something for it: one for each communications ID,
/// auto-reset, made by whoever opens the channel under that ID and set by those who post for it. They only hasten what
/// goes without them too, since a receiver that waits looks every now and then: whatever fails here is told and makes
/// nothing else fail.
namespace gaizior {

class WakeEvents {
public:
    explicit WakeEvents(std::uint16_t ownId) : m_nOwnId(ownId) {}
    WakeEvents(const WakeEvents&) = delete;
    WakeEvents& operator=(const WakeEvents&) = delete;
    ~WakeEvents();

    /// Makes the event of the own ID and removes what killed processes left.
    void Open(const char* function);
    /// Wakes who waits for messages for that ID, one if there are several. Does not wait for anybody. Any thread.
    void Wake(const char* function, std::uint16_t id);
    /// Whether there is an event of the own ID to wait for.
    bool HasOwn() const {
        return static_cast<bool>(m_own);
    }
    /// Wakes one who waits for messages for the own ID.
    void WakeOwn() const;
    /// Takes a wake back that was none: the event of another maker may not reset itself.
    void ResetOwn() const;
    /// Waits for a wake of the own ID; where that is impossible for all of that time. @returns whether it was woken.
    bool Wait(const char* function, DWORD milliseconds);

private:
    /// What was found when an addressee's event was looked for; no handle where there was none.
    struct Addressee {
        std::uint16_t id = 0;
        ULONGLONG lookedAt = 0; ///< 0: never
        UniqueHandle event;
    };

    bool WakeKnown(std::uint16_t id, DWORD& error);
    DWORD LookFor(std::uint16_t id);
    Addressee& PlaceOf(std::uint16_t id) GAIZIOR_REQUIRES(s_lock) {
        return m_addressees[id % m_addressees.size()];
    }

    static inline Mutex s_lock;
    static inline const KeepAcrossFork s_keepLock{s_lock};

    const std::uint16_t m_nOwnId;
    UniqueHandle m_own;
    std::atomic<bool> m_bFailureTold{false};                           ///< of a wait, which would fail again and again
    std::array<Addressee, 64> m_addressees GAIZIOR_GUARDED_BY(s_lock); ///< each in the place that its ID names
};

} // namespace gaizior
