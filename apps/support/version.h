#pragma once

#include "gaizior/version.h"

#include <string>
#include <string_view>

namespace apps {

/// What a program answers to --version: its name and the version of the library that it has loaded, as in "bench
/// (gaizior) 2.1.0", with ", built with 2.2.0" after it where the program itself is of another version.
std::string VersionText(std::string_view program, std::string_view loaded = ZRGetVersion(),
                        std::string_view built = GAIZIOR_VERSION);

} // namespace apps
