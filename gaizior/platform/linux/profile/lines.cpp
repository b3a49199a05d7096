#include "gaizior/platform/linux/profile/lines.h"

#include <algorithm>

namespace gaizior::platform {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

constexpr bool IsBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

std::string_view WithoutLeading(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

std::string_view WithoutTrailing(std::string_view text) {
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

constexpr char ToLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
}

constexpr std::size_t kNone = std::string_view::npos;

} // namespace

ProfileLines::ProfileLines(std::string_view text)
    : m_rest(text), m_bHasReturns(text.find('\r') != kNone), m_bHasNuls(text.find('\0') != kNone) {
    TakeMark(m_rest);
}

bool ProfileLines::Next(ProfileLine& line) {
    if (m_rest.empty()) {
        return false;
    }
    const std::size_t feed = m_rest.find('\n');
    std::size_t length = feed == kNone ? m_rest.size() : feed + 1;
    if (const std::size_t mark = m_bHasReturns ? m_rest.substr(0, length).find('\r') : kNone; mark != kNone) {
        length = mark + 1 == feed ? length : mark + 1;
    }
    line.whole = m_rest.substr(0, length);
    m_rest.remove_prefix(length);
    line.name = TrimBlanks(m_bHasNuls ? line.whole.substr(0, line.whole.find('\0')) : line.whole);
    const std::size_t close = line.name.starts_with('[') ? line.name.rfind(']') : kNone;
    line.isSection = close != kNone;
    const std::size_t equals = line.isSection ? kNone : line.name.find('=');
    line.hasValue = equals != kNone;
    if (line.isSection) {
        line.name = TrimBlanks(line.name.substr(1, close - 1));
    } else if (line.hasValue) {
        line.value = WithoutLeading(line.name.substr(equals + 1));
        line.name = WithoutTrailing(line.name.substr(0, equals));
    }
    return true;
}

std::string_view TakeMark(std::string_view& text) {
    const std::string_view mark = text.substr(0, text.starts_with(kMark) ? kMark.size() : 0);
    text.remove_prefix(mark.size());
    return mark;
}

std::string_view LineEndOf(std::string_view text) {
    const std::size_t end = text.find_first_of("\r\n");
    return end == kNone ? "\n" : text.substr(end, text.substr(end).starts_with("\r\n") ? 2 : 1);
}

std::string_view TrimBlanks(std::string_view text) {
    return WithoutTrailing(WithoutLeading(text));
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
