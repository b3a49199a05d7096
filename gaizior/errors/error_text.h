#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/windows_api.h"

#include <cstddef>
#include <span>
#include <string_view>

extern "C" {

/// Turns any code into text: "MESSAGE: CODE" with the code as a signed decimal for a code of the table,
/// "Unrecognised Error Code: CODE" for one that is not there, and the system's own text for a folded
/// operating-system number (bit 29: Windows, bits 29 and 30: errno).
/// @param code any 32-bit value.
/// @returns the calling thread's buffer of 2,560 bytes, the library's, valid until the thread's next call. Never null.
/// The last error and errno are left as they were. Any thread may call it.
GAIZIOR_API const char* ZRErrToStr(ZRErrors::ZRErrorT code);

/// Tells the class of a code: 4 for an imagesetter that is offline for want of a cassette or of media (0x337 and
/// 0x338), 2 for every other code. Any thread may call it.
GAIZIOR_API int DetermineErrorClass(ZRErrors::ZRErrorT code);

/// Gives "Error: NUMBER (0xNUMBER) " and the system's text of a Windows error number, without the line end; for a
/// number without a text "Format message failed.  Error: NUMBER".
/// @param number the number, or null for the calling thread's last error.
/// @returns the calling thread's buffer of 1,024 bytes, the library's, valid until the thread's next call. Never null.
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

namespace gaizior {

/// Holds every text of FormatErrorText.
inline constexpr std::size_t kErrorTextSize = 2560;
/// Holds every text of FormatLastErrorMessage.
inline constexpr std::size_t kLastErrorMessageSize = 1024;

/// Writes the text that ZRErrToStr gives into the caller's buffer, cut where it does not fit and ended by a NUL (an
/// empty buffer is left alone). Keeps the last error and errno. Any thread.
/// @returns the text in `buffer`, without the NUL.
std::string_view FormatErrorText(ZRErrors::ZRErrorT code, std::span<char> buffer);

/// The same for the text that ZRGetLastErrorMsg gives for a Windows error number.
std::string_view FormatLastErrorMessage(DWORD number, std::span<char> buffer);

} // namespace gaizior
