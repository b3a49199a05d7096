#pragma once

#include "apps/bench/message_watcher.h"
#include "gaizior/comms/channel_users.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace apps {

/// The unread messages of one ID.
struct WatchedQueue {
    unsigned id = 0;
    unsigned messages = 0;
    long long oldest = 0; ///< when the oldest of them was posted, in ms since 1970; 0 where it is not known
};

/// A message in words, or what befell the channel.
struct NotedMessage {
    long long time = 0; ///< when that was, in ms since 1970; 0 where it is not known
    std::string text;
    bool isFailure = false;  ///< a refusal, or worse
    unsigned progressOf = 0; ///< the ID whose progress it tells; 0 for all other messages
};

/// An imager as far as the messages that pass tell of it.
struct WatchedImager {
    unsigned id = 0;
    std::string state;           ///< "exposing" and so on; empty while nothing was heard from it
    std::string plate;           ///< in words; empty without one
    std::optional<int> permille; ///< how far its operation is; nothing while it is at rest
    std::string step;            ///< "plate 2 of 4, Magenta"; may be empty
    bool isLost = false;         ///< it has left the channel in the middle of an operation
};

/// All that is known of the channel from looking at it.
struct Watched {
    long long now = 0; ///< of the last look, in ms since 1970
    bool isThere = false;
    std::string trouble; ///< why the channel cannot be looked at, or what is wrong with it; may be empty
    bool areUsersKnown = false;
    std::vector<ZcUserT> users;
    unsigned taken = 0; ///< slots of the pool
    std::vector<WatchedQueue> queues;
    WatchedImager imager;
    std::deque<NotedMessage> messages;   ///< the newest last
    std::optional<NotedMessage> failure; ///< the last one
};

/// What a person reads of a message: its words, or for a packet that is none of ours its addressee and text.
NotedMessage Noted(const SeenMessage& seen);

/// So many taken slots are trouble: where none is left nobody can send.
inline constexpr unsigned kNearlyAllSlots = kZcSlotCount * 9 / 10;

/// What is the matter with the channel, or that nobody has it open; empty when all is well.
std::string TroubleText(const Watched& watched);

/// Takes over what waits in the pool.
void NoteQueues(Watched& watched, const Look& look, const std::array<long long, kZcSlotCount>& postTimes);

/// Adds a line of its own to the messages.
void NoteFailure(Watched& watched, const std::string& text);

/// Takes over messages that came, and what they tell of the imager. Of an operation's progress only the newest stays.
void NoteMessages(Watched& watched, const std::vector<SeenMessage>& seen);

/// Takes over who has the channel open; an imager that is not among them any more has no state.
void NoteUsers(Watched& watched, std::vector<ZcUserT> users);

/// Who takes the messages of an ID: a process that is gone takes none. Null where nobody does.
const ZcUserT* FindHolder(const std::vector<ZcUserT>& users, unsigned id);

/// "runs", "stopped by a signal", "waits for the lock since 02:14:07", "gone without closing the channel".
std::string StateText(const ZcUserT& user, long long now);

/// What became of one who has, or had, the channel open.
struct UserChange {
    const char* event; ///< "opened", "closed", "stopped", "continued" or "gone"
    ZcUserT user;
};
std::vector<UserChange> ChangesOf(const std::vector<ZcUserT>& before, const std::vector<ZcUserT>& after);

} // namespace apps
