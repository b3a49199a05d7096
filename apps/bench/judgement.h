#pragma once

#include "apps/bench/channel_look.h"
#include "gaizior/comms/channel_users.h"

#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace apps {

/// What is not as it should be on the channel, and what to do.
struct Finding {
    const char* kind;    ///< one word for programs
    std::string text;    ///< one line for people
    std::string command; ///< to be typed next
};

/// What is known of the channel at one moment.
struct Symptoms {
    const Look* look = nullptr; ///< a channel's block; null where it could not be read; borrowed
    ZcHolderT holder{};         ///< who has the lock for so long that it could not
    bool areUsersKnown = false; ///< else the next two may lack somebody
    std::vector<ZcUserT> users;
    std::set<unsigned> heldIds;                     ///< IDs under which somebody receives
    std::array<long long, kZcSlotCount> postedAt{}; ///< for each slot, in ms since 1970; 0 where it is not known
    long long now = 0;                              ///< in ms since 1970
};

/// Judges what is known, what holds everybody up coming first.
std::vector<Finding> Judge(const Symptoms& symptoms);

/// The finding of that kind; null when there is none.
const Finding* FindKind(const std::vector<Finding>& findings, std::string_view kind);

/// When the oldest message was posted, in ms since 1970; nothing where there is none or it is not known.
std::optional<long long> OldestPosted(const Symptoms& symptoms);

bool IsFull(const Look& look);

// The kinds.
inline constexpr const char* kLockFinding = "lock";       ///< somebody has had the channel's lock for seconds
inline constexpr const char* kStoppedFinding = "stopped"; ///< a signal has stopped one who has an ID
inline constexpr const char* kGoneFinding = "gone";       ///< one who had an ID ended without giving it back
inline constexpr const char* kDamageFinding = "damage";   ///< the block is not in order
inline constexpr const char* kPoolFinding = "pool";       ///< three quarters of the slots are taken, or more
inline constexpr const char* kUnheldFinding = "unheld";   ///< messages wait for an ID that nobody has
inline constexpr const char* kOldFinding = "old";         ///< the oldest message has waited for longer than a minute

} // namespace apps
