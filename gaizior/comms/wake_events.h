#pragma once

#include "gaizior/platform/fork.h"
#include "gaizior/platform/unique_handle.h"

#include <array>
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
    /// Wakes who waits for messages for that ID, one if there are several. Any thread.
    void Wake(const char* function, std::uint16_t id);
    /// The same for the own ID.
    void WakeOwn() const;
    /// Waits for a wake of the own ID; without an event for all of that time. @returns what a wait returns.
    DWORD Wait(DWORD milliseconds) const;

private:
    /// What was found when an addressee's event was looked for; no handle where there was none.
    struct Addressee {
        std::uint16_t id = 0;
        ULONGLONG lookedAt = 0; ///< 0: never
        UniqueHandle event;
    };

    /// @returns 0, also where the addressee has none, or the error with which looking for it failed.
    DWORD Find(Addressee& addressee, std::uint16_t id) GAIZIOR_REQUIRES(s_lock);

    static inline Mutex s_lock;
    static inline const KeepAcrossFork s_keepLock{s_lock};

    const std::uint16_t m_nOwnId;
    UniqueHandle m_own;
    std::array<Addressee, 64> m_addressees GAIZIOR_GUARDED_BY(s_lock); ///< each in the place that its ID names
};

} // namespace gaizior
