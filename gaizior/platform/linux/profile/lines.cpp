#include "gaizior/platform/linux/profile/lines.h"

#include <algorithm>

namespace gaizior::platform {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

constexpr bool IsBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

constexpr char ToLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
}

/// The length of the first line with its end.
std::size_t LengthOfLine(std::string_view text) {
    const std::size_t feed = text.find('\n');
    const std::size_t length = feed == std::string_view::npos ? text.size() : feed + 1;
    const std::size_t mark = text.substr(0, length).find('\r');
    return mark == std::string_view::npos || mark + 1 == feed ? length : mark + 1;
}

} // namespace

ProfileLine TakeLine(std::string_view& text) {
    ProfileLine line{};
    line.whole = text.substr(0, LengthOfLine(text));
    text.remove_prefix(line.whole.size());
    line.name = TrimBlanks(line.whole.substr(0, line.whole.find('\0')));
    const std::size_t close = line.name.starts_with('[') ? line.name.rfind(']') : std::string_view::npos;
    line.isSection = close != std::string_view::npos;
    const std::size_t equals = line.isSection ? std::string_view::npos : line.name.find('=');
    line.hasValue = equals != std::string_view::npos;
    if (line.isSection) {
        line.name = TrimBlanks(line.name.substr(1, close - 1));
    } else if (line.hasValue) {
        line.value = TrimBlanks(line.name.substr(equals + 1));
        line.name = TrimBlanks(line.name.substr(0, equals));
    }
    return line;
}

std::string_view TakeMark(std::string_view& text) {
    const std::string_view mark = text.substr(0, text.starts_with(kMark) ? kMark.size() : 0);
    text.remove_prefix(mark.size());
    return mark;
}

std::string_view LineEndOf(std::string_view text) {
    const std::string_view line = text.substr(0, LengthOfLine(text));
    const std::size_t end = std::min(line.find('\r'), line.find('\n'));
    return end == std::string_view::npos ? "\n" : line.substr(end);
}

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view Unquoted(std::string_view text) {
    const bool isQuoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

bool IsSameName(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, ToLower, ToLower);
}

} // namespace gaizior::platform
