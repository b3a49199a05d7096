#pragma once

#include <string>

namespace gaizior {

/// The text with that number in the language that is set; empty when there is none. Any thread.
std::string Label(unsigned int number);

} // namespace gaizior
