#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace apps {

/// How a process came to its end, in words.
/// @param process its handle, with the right to ask for its exit code; borrowed
/// @returns "was killed by signal 9 (SIGKILL)", "ended with exit code 2"; "ended" where the system does not tell more.
///   Any thread.
std::string ExitText(HANDLE process);

/// The same for an exit code.
/// @param exitCode as GetExitCodeProcess gives it
/// @returns as above.
std::string ExitText(DWORD exitCode);

} // namespace apps
