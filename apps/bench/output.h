#pragma once

#include "apps/bench/terminal.h"
#include "apps/support/text.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace apps {

enum class Colour { kGood, kNotice, kBad, kFaint };

/// The text in a colour where the stream is a terminal and NO_COLOR is not set, else as it is.
std::string Painted(Stream stream, Colour colour, std::string_view text);

/// The text cut to `columns` characters, with "..." where something is missing.
std::string Shortened(std::string_view text, std::size_t columns);

/// The text with blanks behind it, `columns` characters wide at least.
std::string Padded(std::string_view text, std::size_t columns);

/// A text in lines of at most `columns` characters, each with its line feed: the first begins with `head`, the others
/// with `indent` blanks. Lines end behind a `separator`, which ends with a blank; what is longer than a line goes on in
/// the next one.
std::string Wrapped(std::string_view head, std::string_view text, std::string_view separator, std::size_t indent,
                    std::size_t columns);

/// Takes room from the widest columns of a table until all, with two blanks before each, have room in `room`
/// characters.
void Narrow(std::vector<std::size_t>& widths, std::size_t room);

/// Columns for a table on standard output: the terminal's, or no limit where the output goes to a file or a program.
std::size_t OutputColumns();
inline constexpr std::size_t kAnyColumns = 10000; ///< no limit

/// Tells on standard error, in one line, what does not keep a command from going on.
void Warn(const std::string& text);

/// "1 plate", "4 plates".
std::string Counted(long long count, const char* thing);

/// "0:07", "12:30", "1:02:03".
std::string Duration(double seconds);

/// "7 ms", "12.3 s", "5 min 3 s", "2 h 5 min".
std::string Span(long long milliseconds);

/// Milliseconds since 1970.
long long Now();
inline constexpr const char* kTimeForPeople = "%Y-%m-%d %H:%M:%S ";
inline constexpr const char* kTimeForPrograms = "%Y-%m-%dT%H:%M:%S";
/// A moment, in milliseconds since 1970, as local time in a format of strftime, and behind it the zone: "+0100".
std::string TimeText(long long moment, const char* format);
/// The same for programs, with milliseconds.
std::string ExactTimeText(long long moment);
/// A moment for a table, in local time: "14:03:07" of today, with milliseconds where `exact`, "22 Nov" of another day;
/// blanks where it is 0, which is not known. As wide in each case.
std::string ClockText(long long moment, long long now, bool exact = false);

/// One line that shows how far something is, in at most `columns` characters: "label [####------]  43 %  0:07 left".
/// Without room for it, first the time goes, then the bar, then the label's end.
std::string ProgressLine(std::string_view label, int permille, std::string_view time, std::size_t columns);

/// A progress line on standard error that is drawn over itself. Shows nothing unless `live`.
class ProgressBar {
public:
    explicit ProgressBar(bool live) : m_bLive(live) {}
    ~ProgressBar() {
        Clear();
    }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(std::string_view label, int permille, std::string_view time);
    void Clear();

private:
    void Draw(const std::string& line);

    bool m_bLive;
    std::size_t m_nShown = 0; ///< characters of the line that stands there
};

/// A JSON object that is written key by key.
class JsonObject {
public:
    JsonObject& Text(const char* key, std::string_view value);
    /// Null where it is empty.
    JsonObject& TextOrNull(const char* key, std::string_view value);
    JsonObject& Number(const char* key, std::int64_t value);
    /// With three decimals; null where it is no number.
    JsonObject& Real(const char* key, double value);
    JsonObject& Bool(const char* key, bool value);
    JsonObject& Null(const char* key);
    /// A value that is JSON already.
    JsonObject& Value(const char* key, std::string_view json);
    std::string Json() const {
        return "{" + m_members + "}";
    }

private:
    std::string m_members;
};

/// A JSON array, element by element.
class JsonArray {
public:
    JsonArray& Add(std::string_view json);
    std::string Json() const {
        return "[" + m_elements + "]";
    }

private:
    std::string m_elements;
};

/// The text as a JSON string. What is no UTF-8 is taken as single bytes, so that the result always is.
std::string JsonText(std::string_view text);

} // namespace apps
