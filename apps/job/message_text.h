#pragma once

#include "apps/job/message.h"

#include <string>
#include <string_view>

namespace apps {

/// What a packet between bench and imager says, in words: "imager 101 refused 'load': 846 the engine is loaded", "110
/// asks for the state", "imager 101 exposes: 43 %, plate 2 of 4, Cyan".
/// @param packet a message's text, from whomever
/// @returns one line, fit for a terminal whatever the packet holds; empty for a packet that is none of ours
std::string MessageText(std::string_view packet);
/// The same of a message that is read already.
/// @param message from whomever
/// @returns as above
std::string MessageText(const Message& message);

} // namespace apps
