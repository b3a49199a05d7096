#pragma once

#include <string>

namespace apps {

/// The local time of day for people, "14:03:07". Any thread.
std::string ClockTime();

} // namespace apps
