#pragma once

#include "apps/log/local_time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace apps {

/// What stands before a line's text: "14:03:07.042 000 0x0a1c 0x00 ", with a date behind the time where the log has
/// them.
struct LogTag {
    int time = 0; ///< milliseconds since 0:00
    std::optional<Day> day;
    unsigned level = 0; ///< 0 is the most important
    std::uint32_t thread = 0;
    std::int32_t priority = 0;
};

/// Takes the tag off a line. @returns nothing, and leaves the line as it is, where there is none.
std::optional<LogTag> TakeTag(std::string_view& line);

/// The day that a header's line "** NAME Created on: 22\11\2026 " tells.
std::optional<Day> CreationDay(std::string_view text);

/// The file in the last line of a day's file: "Log file day has changed: switching to: NAME"; else empty.
std::string_view NextDaysFile(std::string_view text);

/// Whether a line only frames the words of a header.
bool IsFrame(std::string_view text);

/// What the name of a log's file tells: "imager_Mon.txt" is the imager's of a Monday.
struct LogName {
    std::string process;
    std::optional<std::chrono::weekday> weekday; ///< of a log that has a file for each
};
/// @param path paths separate with slashes or backslashes
LogName NameOfLog(std::string_view path);

/// Finds the moments of a file's lines, one after the other. Where a tag has no date, a clock that goes back means the
/// next day, except in a file that holds one day.
class LineClock {
public:
    LineClock(Day first, bool hasOneDay) : m_moments(first), m_bHasOneDay(hasOneDay) {}

    /// Milliseconds since 1970.
    long long MomentOf(const LogTag& tag);
    void SetDay(Day day);
    Day Date() const {
        return m_moments.Date();
    }

private:
    DayMoments m_moments;
    bool m_bHasOneDay;
    std::optional<long long> m_last;
};

} // namespace apps
