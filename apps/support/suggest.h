#pragma once

#include <span>
#include <string>
#include <string_view>

namespace apps {

/// " (did you mean 'status'?)" for the candidate nearest to a mistyped word; empty when none is near.
/// Capitals do not count.
std::string Suggestion(std::string_view word, std::span<const std::string> candidates);

} // namespace apps
