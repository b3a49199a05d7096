#pragma once

/// @file
/// Texts in buffers of the caller's.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

extern "C" {

/// Copies a text that is plain 7-bit ASCII, at most `len` bytes; like the C library's bounded copy it adds no NUL when
/// the text has `len` or more characters, and fills up with NULs when it has fewer. Null texts copy
/// nothing. Any thread.
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
