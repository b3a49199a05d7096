#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <cstddef>
#include <optional>
#include <string_view>

extern "C" {

/// Copies a text that is plain 7-bit ASCII, at most `len` bytes; like the C library's bounded copy it adds no NUL when
/// the text has `len` or more characters, and fills up with NULs when it has fewer. Null texts copy nothing. Any
/// thread.
/// @returns 0; e_Name_NotAscii at the first byte of 128 or more, then nothing is copied.
GAIZIOR_API ZRErrors::ZRErrorT TchrToAscii(char* dst, const char* src, unsigned int len);

/// Converts a wide text of plain 7-bit ASCII, at most `len` bytes, without regard to the locale; no NUL is added when
/// it has `len` or more characters. Null texts convert nothing. Any thread.
/// @returns 0; e_Name_NotAscii when there is a character of 128 or more: only those before the first such one are
///   converted then, at most `len`, and no NUL is added.
GAIZIOR_API ZRErrors::ZRErrorT WsToAscii(char* dst, const wchar_t* src, unsigned int len);

/// Finds `pattern` in `text` without regard to the case of ASCII letters. Any thread.
/// @returns the first position, in `text`; null when there is none or either text is null or empty.
GAIZIOR_API const char* UiStrStr(const char* text, const char* pattern);
}

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
