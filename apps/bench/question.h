#pragma once

#include "apps/support/process_events.h"

#include <string>

namespace apps {

/// Whether there is a person who sees standard error and types into standard input.
bool CanAsk();

enum class Reply { kYes, kNo, kInterrupted };

/// Asks a question on standard error; what does not begin with a y is a no.
Reply Ask(const std::string& question, const Interrupt& interrupt);

// What differs between the systems.

bool IsInputTerminal();
/// Waits until a line can be read from standard input. @returns whether Ctrl-C ended that.
bool AwaitLine(const Interrupt& interrupt);

} // namespace apps
