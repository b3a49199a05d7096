#pragma once

/// @file
/// Codes and the system's error numbers in words.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/windows_api.h"

extern "C" {

/// Turns any code into text: "MESSAGE: CODE" with the code as a signed decimal for a code of the table,
/// "Unrecognised Error Code: CODE" for one that is not there, and the system's own text for a folded
/// operating-system number (bit 29: Windows, bits 29 and 30: errno).
/// @param code any 32-bit value.
/// @returns a text of the library's, in a buffer of 2,560 bytes, never null. It lives until the thread that asked asks
///   again or ends; callers rely on less: that it is theirs until the next call from any thread.
/// The last error and errno are left as they were. Any thread may call it.
GAIZIOR_API const char* ZRErrToStr(ZRErrors::ZRErrorT code);

/// Tells the class of a code: 4 for an imagesetter that is offline for want of a cassette or of media (0x337 and
/// 0x338), 2 for every other code. Any thread may call it.
GAIZIOR_API int DetermineErrorClass(ZRErrors::ZRErrorT code);

/// Gives "Error: NUMBER (0xNUMBER) " and the system's text of a Windows error number, without the line end; for a
/// number without a text "Format message failed.  Error: NUMBER".
/// @param number the number, or null for the calling thread's last error.
/// @returns a text of the library's, in a buffer of 1,024 bytes, never null; it lives as long as ZRErrToStr's.
/// The last error and errno are left as they were. Any thread may call it.
GAIZIOR_API const char* ZRGetLastErrorMsg(const DWORD* number);

/// Shows the caller's text, a blank and the text of the thread's last error with ZROSErrorAlert.
/// @param text what failed; null counts as empty; the caller's.
/// @returns the message box's result. Waits until the box is closed. Any thread may call it.
GAIZIOR_API int ZROSError(const char* text);

/// Shows a text in a modal message box of its own (caption "Program Error", OK button, stop icon, topmost).
/// @param text null counts as empty; the caller's.
/// @returns the message box's result. Waits until the box is closed. Any thread may call it.
GAIZIOR_API int ZROSErrorAlert(const char* text);

} // extern "C"
