#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace gaizior {

/// The name of the account under which a process runs, or on Linux its number where it has no name; empty where the
/// system does not tell. May take the time that the system needs to look the account up. Any thread.
std::string AccountOf(DWORD processId);

} // namespace gaizior
