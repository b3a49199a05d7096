#pragma once

namespace apps {

/// Where a program's log lines go: to standard error after the program's name when `verbose`, the channel's own lines
/// among them; nowhere otherwise, since a program says what went wrong in one line of its own. Call it once, at the
/// start; `program` is borrowed.
void SetUpDiagnostics(const char* program, bool verbose);

/// Has the channel's own lines written to the log: its failures, or every step where `verbose`.
void LogChannelLines(bool verbose);

/// Writes the error stack to standard error.
void PrintErrorStack();

} // namespace apps
