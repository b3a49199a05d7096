#pragma once

namespace apps {

/// Where a program's log lines go: to standard error after the program's name when `verbose`, the channel's own lines
/// among them; otherwise only its failures, and those only where it `tellsFailures`, as who says what went wrong in one
/// line of its own does not. Call it at the start; `program` is borrowed.
void SetUpDiagnostics(const char* program, bool verbose, bool tellsFailures = false);

/// Has the channel's own lines written to the log: its failures, or every step where `verbose`.
void LogChannelLines(bool verbose);

/// Writes the error stack to standard error.
void PrintErrorStack();

} // namespace apps
