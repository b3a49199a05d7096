#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/windows_api.h"

#include <cstddef>
#include <span>
#include <string_view>

/// The texts of error_text.h in buffers of the caller's: for the library itself, whose calls must not overwrite the
/// text that a host holds.
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
