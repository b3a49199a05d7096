#pragma once

#include <string>
#include <string_view>

namespace gaizior::platform {

/// The text of a settings file with one change, all other lines being as they were.
/// @param key null removes the section. @param value null removes the key.
std::string EditProfile(const std::string& text, std::string_view section, const char* key, const char* value);

} // namespace gaizior::platform
