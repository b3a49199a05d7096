#pragma once

#include <span>
#include <string>
#include <string_view>

namespace apps {

/// The candidate nearest to a mistyped word; empty when none is near. Capitals do not count.
std::string Nearest(std::string_view word, std::span<const std::string> candidates);

/// " (did you mean 'status'?)" for the nearest candidate; empty when none is near.
std::string Suggestion(std::string_view word, std::span<const std::string> candidates);

} // namespace apps
