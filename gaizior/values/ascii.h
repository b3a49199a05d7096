#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace gaizior {

/// The text; a null one counts as empty.
constexpr std::string_view OrEmpty(const char* text) {
    return text ? text : "";
}

/// The lower case of an ASCII letter, any other character as it is, whatever the locale.
constexpr char ToLowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// What WsToAscii does, for 16-bit units that may lie at any address, of which no more than `limit` are looked at.
/// @returns the number of units before the zero, `limit` when there is none; nothing when one is 128 or more.
std::optional<std::size_t> UnitsToAscii(char* dst, std::size_t len, const void* units, std::size_t limit);

} // namespace gaizior
