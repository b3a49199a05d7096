#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace gaizior::platform {

/// Splits a command line as Windows' C run-time library does. The program's name ends at the first blank outside
/// quotes, and backslashes in it stand for themselves. In the words after it backslashes count only before a quote:
/// two make one, an odd one makes the quote literal; inside quotes a doubled quote is a literal one.
/// @returns at least the program's name, empty when the line begins with a blank or is empty.
std::vector<std::string> SplitCommandLine(std::string_view line);

} // namespace gaizior::platform
