#pragma once

#include "apps/support/channel_access.h"
#include "gaizior/comms/channel_status.h"

#include <cstddef>
#include <map>
#include <string>

namespace apps {

/// A look at the channel's block and what an examination of it found.
struct Look {
    ZcChannel block;
    ZcFindingsT findings;
    std::string takeover; ///< told where the look took the channel over from a process that died; else empty
};
/// How many messages wait for each ID.
std::map<unsigned, unsigned> CountById(const ZcChannel& block);

/// Tells it on standard error.
void PrintTakeover(const Look& look);

/// Room for what the channel's functions tell of their repairs.
inline constexpr std::size_t kReportSize = 512;

inline constexpr const char* kRepairCommand = "bench channel doctor --repair";

bool IsConsistent(const Look& look);

enum class Presence { kThere, kAbsent };

/// The failure of whoever cannot get at the channel.
Failure CannotRead(const char* function, ZRErrors::ZRErrorT code);

/// The failure that a look found, where it found damage: a block that is not a channel's, or one that --repair mends.
Outcome DamageFailure(const char* function, const Look& look);

/// Copies the block and examines the copy; waits up to `timeoutMs` for the channel's mutex. That there is none, or that
/// it is damaged, is an answer and no failure.
Outcome TakeLook(ZcViewerC& viewer, Look& look, Presence& presence, unsigned long timeoutMs);

/// The same where a channel is needed; prints what a takeover found.
/// @param look receives it
/// @param hInterrupt an event that ends the wait for the channel's lock; null for none
/// @param patience for that wait, in milliseconds
Outcome TakeLook(Look& look, HANDLE hInterrupt = nullptr, DWORD patience = kLockTimeout);

} // namespace apps
