#pragma once

#include "apps/bench/output.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace apps {

/// A message as JSON: the addressee's ID, its text, the same in words, and its fields, null where it is no packet.
/// @param id the addressee's
/// @param packet the message's text
JsonObject MessageAsJson(unsigned id, std::string_view packet);

/// A message on one line: `head`, what it says in words, and faint behind that the packet; the packet alone where it is
/// none of ours.
/// @param head stands before it
/// @param packet the message's text, fit for a terminal or not
/// @param columns where the line is cut, kAnyColumns for nowhere
std::string MessageLine(const std::string& head, std::string_view packet, std::size_t columns);

} // namespace apps
