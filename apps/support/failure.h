#pragma once

#include "gaizior/errors/error_codes.h"

#include <optional>
#include <string>

namespace apps {

// Codes of the table that have no enumerator and that the programs return.
inline constexpr auto kUnknownError = static_cast<ZRErrors::ZRErrorT>(0x0014);
inline constexpr auto kJobStopped = static_cast<ZRErrors::ZRErrorT>(0x0039);
inline constexpr auto kInvalidParameter = static_cast<ZRErrors::ZRErrorT>(0x0078);
inline constexpr auto kDeviceBusy = static_cast<ZRErrors::ZRErrorT>(0x008F);
inline constexpr auto kResolutionNotSet = static_cast<ZRErrors::ZRErrorT>(0x0141);
inline constexpr auto kCommandRejected = static_cast<ZRErrors::ZRErrorT>(0x034E);
inline constexpr auto kWrongSeparations = static_cast<ZRErrors::ZRErrorT>(0x03C6);
inline constexpr auto kFileFormat = static_cast<ZRErrors::ZRErrorT>(0x07DF);
inline constexpr auto kNameNotFound = static_cast<ZRErrors::ZRErrorT>(0x07EA);
inline constexpr auto kMessageNotMade = static_cast<ZRErrors::ZRErrorT>(0x07F5);
inline constexpr auto kUserAborted = static_cast<ZRErrors::ZRErrorT>(0x0803);
inline constexpr auto kFileNotWritten = static_cast<ZRErrors::ZRErrorT>(0x0807);
inline constexpr auto kFileNotRead = static_cast<ZRErrors::ZRErrorT>(0x0808);
inline constexpr auto kInvalidData = static_cast<ZRErrors::ZRErrorT>(0x084B);
inline constexpr auto kImagerDied = static_cast<ZRErrors::ZRErrorT>(0x089F);
inline constexpr auto kUnimplemented = static_cast<ZRErrors::ZRErrorT>(0x251C);
inline constexpr auto kImageTooBig = static_cast<ZRErrors::ZRErrorT>(0x822F);

/// How the programs end.
enum class Exit { kDone = 0, kFailed = 1, kUsage = 2, kNotFound = 3, kTimedOut = 4 };

/// Why an operation was given up: a code for programs, one line for people.
struct Failure {
    ZRErrors::ZRErrorT code;
    Exit exit;
    std::string text; ///< what, where and what to do next
};

/// Nothing when an operation succeeded.
using Outcome = std::optional<Failure>;

/// Writes a failure to the log, puts it on the error stack and returns it. `function` is "Class::Method(): ".
[[nodiscard]] Failure Fail(const char* function, ZRErrors::ZRErrorT code, Exit exit, std::string text);

/// The exit that fits a channel's code: a time-out is told apart from other failures.
Exit ExitOf(ZRErrors::ZRErrorT code);

/// A code's text in a string of its own.
std::string ErrorText(ZRErrors::ZRErrorT code);

/// A code's enumerator; empty where it has none.
std::string ErrorName(ZRErrors::ZRErrorT code);

} // namespace apps
