#include "apps/bench/output.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace apps {
namespace {

std::string Formatted(const char* format, unsigned value) {
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, value);
    return buffer.data();
}

std::string_view WithoutBlanksBehind(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Puts pieces of text, which end with blanks or not, into lines.
class LineBreaker {
public:
    LineBreaker(std::string_view head, std::size_t indent, std::size_t columns)
        : m_line(head), m_nUsed(Characters(head)), m_nIndent(indent), m_nColumns(std::max(columns, indent + 1)) {}

    void Add(std::string_view piece) {
        MakeRoomFor(piece);
        if (HasRoomFor(piece)) {
            Append(piece);
            return;
        }
        while (!piece.empty()) {
            const std::string_view word = piece.substr(0, std::min(piece.find(' '), piece.size() - 1) + 1);
            MakeRoomFor(word);
            Append(word);
            piece.remove_prefix(word.size());
        }
    }

    std::string End() {
        Break();
        return m_lines;
    }

private:
    bool HasRoomFor(std::string_view piece) const {
        return m_nUsed + Characters(WithoutBlanksBehind(piece)) <= m_nColumns;
    }

    void MakeRoomFor(std::string_view piece) {
        if (m_bBegun && !HasRoomFor(piece)) {
            Break();
        }
    }

    /// Breaks what is longer than a line.
    void Append(std::string_view piece) {
        ForEachCharacter(piece, [&](std::string_view character, bool) {
            if (m_nUsed >= m_nColumns && character != " ") {
                Break();
            }
            m_line += character;
            ++m_nUsed;
        });
        m_bBegun = true;
    }

    void Break() {
        m_lines += std::string(WithoutBlanksBehind(m_line)) + "\n";
        m_line.assign(m_nIndent, ' ');
        m_nUsed = m_nIndent;
        m_bBegun = false;
    }

    std::string m_lines; ///< those that have ended
    std::string m_line;
    std::size_t m_nUsed;   ///< characters of the line
    bool m_bBegun = false; ///< the line has some of the text
    std::size_t m_nIndent;
    std::size_t m_nColumns;
};

} // namespace

std::string Painted(Stream stream, Colour colour, std::string_view text) {
    const char* noColour = std::getenv("NO_COLOR");
    if ((noColour && *noColour) || !HasColour(stream)) {
        return std::string(text);
    }
    const char* begin = colour == Colour::kGood     ? "\x1b[32m"
                        : colour == Colour::kNotice ? "\x1b[33m"
                        : colour == Colour::kBad    ? "\x1b[31m"
                                                    : "\x1b[2m";
    return begin + std::string(text) + "\x1b[0m";
}

std::string Shortened(std::string_view text, std::size_t columns) {
    constexpr std::string_view kDots = "...";
    std::size_t characters = 0;
    std::size_t cut = 0; // bytes that leave room for the dots
    ForEachCharacter(text, [&](std::string_view character, bool) {
        if (++characters + kDots.size() <= columns) {
            cut += character.size();
        }
    });
    if (characters <= columns) {
        return std::string(text);
    }
    return std::string(text.substr(0, cut)) + std::string(kDots.substr(0, columns));
}

std::string Padded(std::string_view text, std::size_t columns) {
    const std::size_t characters = Characters(text);
    return std::string(text) + std::string(columns > characters ? columns - characters : 0, ' ');
}

std::string Wrapped(std::string_view head, std::string_view text, std::string_view separator, std::size_t indent,
                    std::size_t columns) {
    LineBreaker lines(head, indent, columns);
    while (!text.empty()) {
        const std::size_t at = text.find(separator);
        const std::size_t end = at == text.npos ? text.size() : at + separator.size();
        lines.Add(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines.End();
}

void Narrow(std::vector<std::size_t>& widths, std::size_t room) {
    constexpr std::size_t kLeast = 5; // a letter or two and "..."
    std::size_t needed = 0;
    for (const std::size_t width : widths) {
        needed += 2 + width;
    }
    for (; needed > room; --needed) {
        const auto widest = std::ranges::max_element(widths);
        if (*widest <= kLeast) {
            return;
        }
        --*widest;
    }
}

std::size_t OutputColumns() {
    return IsTerminal(Stream::kOutput) ? TerminalColumns(Stream::kOutput) : kAnyColumns;
}

void Warn(const std::string& text) {
    std::fprintf(stderr, "%s %s\n", Painted(Stream::kError, Colour::kNotice, "bench:").c_str(),
                 Printable(text).c_str());
    std::fflush(stderr);
}

std::string Counted(long long count, const char* thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string Duration(double seconds) {
    const long long whole = std::llround(std::max(seconds, 0.0));
    std::array<char, 40> buffer{};
    if (whole >= 3600) {
        std::snprintf(buffer.data(), buffer.size(), "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    } else {
        std::snprintf(buffer.data(), buffer.size(), "%lld:%02lld", whole / 60, whole % 60);
    }
    return buffer.data();
}

std::string Span(long long milliseconds) {
    constexpr long long kSecond = 1000;
    constexpr long long kMinute = 60 * kSecond;
    constexpr long long kHour = 60 * kMinute;
    const auto parts = [&](long long unit, const char* name, long long next, const char* nextName) {
        return std::to_string(milliseconds / unit) + name + std::to_string(milliseconds % unit / next) + nextName;
    };
    if (milliseconds < kSecond) {
        return std::to_string(milliseconds) + " ms";
    }
    return milliseconds < kMinute ? parts(kSecond, ".", kSecond / 10, " s")
           : milliseconds < kHour ? parts(kMinute, " min ", kSecond, " s")
                                  : parts(kHour, " h ", kMinute, " min");
}

long long Now() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

std::string TimeText(long long moment, const char* format) {
    const auto time = static_cast<std::time_t>(moment / 1000);
    const std::tm* const localTime = std::localtime(&time);
    const std::tm local = localTime ? *localTime : std::tm();
    const std::tm* const universal = std::gmtime(&time);
    std::array<char, 64> text{};
    if (!localTime || !universal || std::strftime(text.data(), text.size(), format, &local) == 0) {
        return {};
    }
    // Windows' own strftime knows the zone's long name only.
    const int days = local.tm_year == universal->tm_year  ? local.tm_yday - universal->tm_yday
                     : local.tm_year > universal->tm_year ? 1
                                                          : -1;
    const int minutes = 60 * (24 * days + local.tm_hour - universal->tm_hour) + local.tm_min - universal->tm_min;
    std::array<char, 16> zone{};
    std::snprintf(zone.data(), zone.size(), "%c%02d%02d", minutes < 0 ? '-' : '+', std::abs(minutes) / 60,
                  std::abs(minutes) % 60);
    return text.data() + std::string(zone.data());
}

std::string ExactTimeText(long long moment) {
    constexpr long long kSecond = 1000;
    const long long rest = (moment % kSecond + kSecond) % kSecond;
    return TimeText(moment, (kTimeForPrograms + Formatted(".%03u", static_cast<unsigned>(rest))).c_str());
}

std::string ClockText(long long moment, long long now, bool exact) {
    constexpr const char* kDay = "%Y-%m-%d";
    constexpr std::size_t kTimeBegin = 11;
    constexpr std::size_t kSeconds = 8;
    constexpr std::size_t kMilliseconds = 12;
    const std::size_t width = exact ? kMilliseconds : kSeconds;
    if (moment == 0) {
        return std::string(width, ' ');
    }
    if (TimeText(moment, kDay) == TimeText(now, kDay)) {
        return ExactTimeText(moment).substr(kTimeBegin, width);
    }
    return Padded(TimeText(moment, "%d %b      ").substr(0, kSeconds), width);
}

std::string ProgressLine(std::string_view label, int permille, std::string_view time, std::size_t columns) {
    constexpr std::size_t kLeastBar = 8;
    constexpr std::size_t kMostBar = 40;
    const int done = std::clamp(permille, 0, 1000);
    const std::string percent = Formatted("%3u %%", static_cast<unsigned>(done / 10));
    const std::string end = percent + (time.empty() ? "" : "  " + std::string(time));
    constexpr std::size_t kFrame = 4; // blank and brackets, blank
    const std::size_t needed = Characters(label) + kFrame + end.size();
    if (needed + kLeastBar > columns && !time.empty()) {
        return ProgressLine(label, permille, {}, columns);
    }
    if (needed + kLeastBar > columns) {
        const std::size_t room = columns - std::min(columns, percent.size() + 1);
        return Shortened(Shortened(label, room) + " " + percent, columns);
    }
    const std::size_t bar = std::min(columns - needed, kMostBar);
    const std::size_t full = bar * static_cast<std::size_t>(done) / 1000;
    return std::string(label) + " [" + std::string(full, '#') + std::string(bar - full, '-') + "] " + end;
}

void ProgressBar::Show(std::string_view label, int permille, std::string_view time) {
    if (!m_bLive) {
        return;
    }
    // The last column stays free, since some terminals wrap when it is written.
    const unsigned columns = std::max(TerminalColumns(Stream::kError), 1U);
    Draw(ProgressLine(label, permille, time, columns - 1));
}

void ProgressBar::Clear() {
    if (m_nShown > 0) {
        Draw({});
    }
}

/// The cursor rests at the line's beginning: when the terminal gets narrower and wraps the line, it stays there, and
/// all below is wiped with the line. Terminals without sequences get blanks over what is left of a longer line.
void ProgressBar::Draw(const std::string& line) {
    const std::size_t characters = Characters(line);
    if (HasColour(Stream::kError)) {
        // Not from the screen's corner: there some terminals take the wiped for what their history is to keep.
        // A terminal that has just got narrower cuts the line instead of wrapping it.
        std::fprintf(stderr, "\r\x1b[?7l%s\x1b[J\x1b[?7h\r", line.empty() ? " " : line.c_str());
    } else {
        const std::string rest(m_nShown - std::min(m_nShown, characters), ' ');
        std::fprintf(stderr, "\r%s%s\r", line.c_str(), rest.c_str());
    }
    std::fflush(stderr);
    m_nShown = characters;
}

JsonObject& JsonObject::Value(const char* key, std::string_view json) {
    m_members += (m_members.empty() ? "" : ",") + JsonText(key) + ":" + std::string(json);
    return *this;
}

JsonObject& JsonObject::Text(const char* key, std::string_view value) {
    return Value(key, JsonText(value));
}

JsonObject& JsonObject::TextOrNull(const char* key, std::string_view value) {
    return value.empty() ? Null(key) : Text(key, value);
}

JsonObject& JsonObject::Number(const char* key, std::int64_t value) {
    return Value(key, std::to_string(value));
}

JsonObject& JsonObject::Real(const char* key, double value) {
    if (!std::isfinite(value)) {
        return Null(key); // JSON has no such numbers
    }
    std::array<char, 32> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.3f", value);
    return Value(key, buffer.data());
}

JsonObject& JsonObject::Bool(const char* key, bool value) {
    return Value(key, value ? "true" : "false");
}

JsonObject& JsonObject::Null(const char* key) {
    return Value(key, "null");
}

JsonArray& JsonArray::Add(std::string_view json) {
    m_elements += (m_elements.empty() ? "" : ",") + std::string(json);
    return *this;
}

std::string JsonText(std::string_view text) {
    std::string json = "\"";
    ForEachCharacter(text, [&](std::string_view character, bool valid) {
        const auto first = static_cast<unsigned char>(character.front());
        if (first == '"' || first == '\\') {
            json += '\\';
            json += character;
        } else if (!valid || IsControl(character)) {
            // A control character of two bytes has its number in the second.
            json += Formatted("\\u%04x", static_cast<unsigned char>(character.back()));
        } else {
            json += character;
        }
    });
    return json + "\"";
}

} // namespace apps
