#include "gaizior/errors/error_text.h"

#include "gaizior/errors/bounded_text.h"
#include "gaizior/errors/error_row.h"
#include "gaizior/errors/error_text_format.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/platform/error_keeper.h"
#include "gaizior/platform/thread_local.h"

#include <array>
#include <cstring>

namespace gaizior {
namespace {

static_assert(kErrorTextSize + kLastErrorMessageSize <= kThreadMemorySize, "a thread's two texts stand side by side");

/// Writes the system's text of a number, as the system ends it. @returns whether it has one.
bool AppendSystemText(BoundedText& text, DWORD number) {
    std::array<char, kLastErrorMessageSize> message;
    const DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, number,
                                          0, message.data(), static_cast<DWORD>(message.size()), nullptr);
    text.Append({message.data(), length});
    return length != 0;
}

std::string_view WithoutLineEnd(std::string_view text) {
    return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

std::string_view CopyText(std::string_view from, std::span<char> buffer) {
    BoundedText text(buffer);
    text.Append(from);
    return text.View();
}

std::string_view FormatRunTimeMessage(int number, std::span<char> buffer) {
    const ErrorKeeper keeper;
    // The run-time libraries of both systems answer from memory of the calling thread.
    return CopyText(std::strerror(number), buffer);
}

} // namespace

std::string_view FormatLastErrorMessage(DWORD number, std::span<char> buffer) {
    const ErrorKeeper keeper;
    // Composed at its full length first: a small buffer gets the beginning of the text, not the text of a failure.
    std::array<char, kLastErrorMessageSize> whole;
    BoundedText text(whole);
    text.Append("Error: ");
    text.AppendDecimal(number);
    text.Append(" (0x");
    text.AppendHexadecimal(number);
    text.Append(") ");
    if (AppendSystemText(text, number)) {
        return CopyText(WithoutLineEnd(text.View()), buffer);
    }
    BoundedText failure(buffer);
    failure.Append("Format message failed.  Error: ");
    failure.AppendDecimal(number);
    return failure.View();
}

std::string_view FormatErrorText(ZRErrors::ZRErrorT code, std::span<char> buffer) {
    if (IsFoldedErrno(code)) {
        return FormatRunTimeMessage(static_cast<int>(FoldedNumber(code)), buffer);
    }
    if (IsFolded(code)) {
        return FormatLastErrorMessage(FoldedNumber(code), buffer);
    }
    const ZRErrorRowT* row = FindErrorRow(code);
    BoundedText text(buffer);
    text.Append(row ? std::string_view(row->pText, row->nTextLength) : "Unrecognised Error Code");
    text.Append(": ");
    text.AppendDecimal(code);
    return text.View();
}

} // namespace gaizior

const char* ZRErrToStr(ZRErrors::ZRErrorT code) {
    const gaizior::ErrorKeeper keeper;
    return gaizior::FormatErrorText(code, gaizior::ThreadMemory().first<gaizior::kErrorTextSize>()).data();
}

int DetermineErrorClass(ZRErrors::ZRErrorT code) {
    return code >= 823 && code < 825 ? 4 : 2;
}

const char* ZRGetLastErrorMsg(const DWORD* number) {
    const gaizior::ErrorKeeper keeper;
    const DWORD asked = number ? *number : ::GetLastError();
    return gaizior::FormatLastErrorMessage(asked, gaizior::ThreadMemory().last<gaizior::kLastErrorMessageSize>())
        .data();
}

int ZROSError(const char* text) {
    std::array<char, gaizior::kErrorTextSize> buffer;
    std::array<char, gaizior::kLastErrorMessageSize> message;
    gaizior::BoundedText whole(buffer);
    const std::string_view systemText = gaizior::FormatLastErrorMessage(::GetLastError(), message);
    whole.Append(text ? text : "");
    whole.Append(" ");
    whole.Append(systemText);
    return ZROSErrorAlert(buffer.data());
}

int ZROSErrorAlert(const char* text) {
    return ::MessageBoxA(nullptr, text ? text : "", "Program Error",
                         MB_OK | MB_ICONSTOP | MB_TASKMODAL | MB_SETFOREGROUND | MB_TOPMOST);
}
