#pragma once

#include "gaizior/errors/error_stack.h"
#include "gaizior/errors/error_text_format.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/platform/error_keeper.h"

#include <locale>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

/// The one way to fail: the log line, the entry on the error stack where the caller is to learn the story, the code.
/// (The channel alone tells its lines through ZRDBprintf and has its own way to do so, in channel_objects.h.)
///
///     if (!m_hEndEvent) {
///         return Fail("ZRThreadC::start(): ", ZRErrors::e_Resource_AllocationFailed, "while creating m_hEndEvent: ",
///                     CodeText(LastSystemError()));
///     }
///
/// Lines of failures stand at level 0 behind the mark " ERROR: ". `function` is the text that names the method, as
/// above; `what` are the pieces of the line behind it, whatever a log stream takes; a null text counts as empty. The
/// last error and errno stay as they were, and nothing is thrown. Any thread.
namespace gaizior {

/// The text of a code, as ZRErrToStr has it, in a line or another stream.
class CodeText {
public:
    explicit constexpr CodeText(ZRErrors::ZRErrorT code) : m_nCode(code) {}

    template <class Stream>
    friend Stream& operator<<(Stream& stream, CodeText text) {
        char buffer[kErrorTextSize];
        stream << FormatErrorText(text.m_nCode, buffer);
        return stream;
    }

private:
    ZRErrors::ZRErrorT m_nCode;
};

/// Logs a line that is no failure, at its level; nothing is formatted where that does not pass.
template <class... Pieces>
void LogAt(unsigned level, const char* function, const Pieces&... what) {
    if (ZRLogStreamC::IsLevelEnabled(level)) {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(level) << function;
        (log << ... << what) << std::endl;
    }
}

/// Logs a failure that has no code.
template <class... Pieces>
void LogError(const char* function, const Pieces&... what) {
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(0) << ZRErrorMark << function;
    (log << ... << what) << std::endl;
}

/// Logs a failure; where no line is stated, the code's text. @returns the code.
template <class... Pieces>
[[nodiscard]] ZRErrors::ZRErrorT Fail(const char* function, ZRErrors::ZRErrorT code, const Pieces&... what) {
    if constexpr (sizeof...(what) == 0) {
        LogError(function, CodeText(code));
    } else {
        LogError(function, what...);
    }
    return code;
}

/// A piece of a line as it can be inserted into any stream: a null text, which would end the stream, counts as empty.
template <class Piece>
constexpr decltype(auto) OrEmpty(Piece& piece) {
    if constexpr (std::is_convertible_v<Piece&, const char*>) {
        const char* const text = piece;
        return text ? text : "";
    } else {
        return (piece);
    }
}

/// The pieces as one text; an empty one when memory does not suffice.
template <class... Pieces>
std::string Composed(const Pieces&... what) noexcept {
    try {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        (text << ... << OrEmpty(what));
        return std::move(text).str();
    } catch (const std::bad_alloc&) {
        return {};
    }
}

/// Puts a failure on the error stack, the pieces being its reason, and logs it as Fail does. @returns the code.
template <class... Pieces>
[[nodiscard]] ZRErrors::ZRErrorT FailAndStack(const char* function, ZRErrors::ZRErrorT code, const Pieces&... what) {
    const ErrorKeeper keeper;
    const std::string reason = Composed(what...);
    ZRErrorC::Stack(function, code, reason.c_str());
    return Fail(function, code, what...);
}

} // namespace gaizior
