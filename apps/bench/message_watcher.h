#pragma once

#include "apps/bench/channel_look.h"
#include "gaizior/platform/windows_api.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace apps {

/// What befell a message.
enum class MessageEvent {
    kWaiting, ///< it was there at the first look
    kSent,
    kTaken
};

/// A message that was seen in the channel's pool.
struct SeenMessage {
    MessageEvent event;
    unsigned slot;
    unsigned id; ///< the addressee's
    std::string text;
    long long time; ///< when that was, in ms since 1970, or at least when it was seen; 0 where it is not known
};

/// A slot's text, however damaged its slot is.
std::string_view TextOf(const ZcMessageSlot& slot);

/// Looks at the channel time and again, without taking part in it, and finds what came into its pool and what was
/// taken from it between two looks. A receiver that waits takes a message long before the next look, but its text
/// stays behind in the free slot. For one thread.
class MessageWatcher {
public:
    /// Takes a look; waits up to `timeoutMs` for the channel's mutex. That no process has the channel open is no
    /// failure.
    Outcome TakeLook(unsigned long timeoutMs = kLockTimeout);
    /// Sleeps until the next look is due, or until `hInterrupt` is set. @returns whether that was set.
    bool Rest(HANDLE hInterrupt);

    /// Whether the last look found a channel; what follows is only then of use.
    bool IsThere() const {
        return m_presence == Presence::kThere;
    }
    const Look& LastLook() const {
        return m_look;
    }
    /// When the message in each slot was posted, in ms since 1970; 0 where it is not known.
    const std::array<long long, kZcSlotCount>& PostTimes() const {
        return m_postTimes;
    }
    /// What it found; the messages that wait come last, the oldest of them first.
    const std::vector<SeenMessage>& Seen() const {
        return m_seen;
    }

private:
    /// A slot at a look.
    struct Entry {
        bool taken = false;
        unsigned id = 0;
        std::string text;
    };

    void Compare();
    void CompareSlot(unsigned slot);
    void Note(MessageEvent event, unsigned slot, const Entry& entry);

    ZcViewerC m_viewer;
    Look m_look{};
    Presence m_presence = Presence::kAbsent;
    bool m_bFirst = true;
    bool m_bChanged = false; ///< the last look found another block than the one before
    bool m_bWoken = false;   ///< a post ended the last rest
    ULONGLONG m_nBusyUntil = 0;
    std::array<Entry, kZcSlotCount> m_before;
    std::array<long long, kZcSlotCount> m_postTimes{};
    std::vector<SeenMessage> m_seen;
};

} // namespace apps
