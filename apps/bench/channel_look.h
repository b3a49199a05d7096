#pragma once

#include "apps/support/failure.h"
#include "gaizior/comms/channel_status.h"

#include <cstddef>

namespace apps {

/// A look at the channel's block and what an examination of it found.
struct Look {
    ZcChannel block;
    ZcFindingsT findings;
};

/// How long bench waits for the channel's mutex, in milliseconds.
inline constexpr unsigned long kLockTimeout = 2000;

/// Room for what the channel's functions tell of their repairs.
inline constexpr std::size_t kReportSize = 512;

bool IsConsistent(const Look& look);

enum class Presence { kThere, kAbsent };

/// Whether a call on the channel failed because no process has it open.
bool IsAbsent(ZRErrors::ZRErrorT code);

/// The failure of whoever needs a channel where there is none.
Failure NoChannel(const char* function);

/// The failure of whoever cannot get at the channel; `advice` says what to do next.
Failure CannotRead(const char* function, ZRErrors::ZRErrorT code, const char* advice);

/// Copies the block and examines the copy. That there is none, or that it is damaged, is an answer and no failure.
Outcome TakeLook(ZcViewerC& viewer, Look& look, Presence& presence);

/// The same where a channel is needed.
Outcome TakeLook(Look& look);

} // namespace apps
