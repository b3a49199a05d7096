#pragma once

#include "apps/log/scanner.h"

#include <chrono>
#include <optional>
#include <string_view>

namespace apps {

/// A date of the local calendar.
using Day = std::chrono::local_days;

inline constexpr int kSecond = 1000;
inline constexpr int kMinute = 60 * kSecond;
inline constexpr int kHour = 60 * kMinute;

/// The day, where there is one of these numbers and clocks can show it: from 1971 to 2999.
std::optional<Day> DayOf(unsigned year, unsigned month, unsigned day);

/// "14:03", "14:03:07" or "14:03:07.042". @returns milliseconds since 0:00
std::optional<int> TakeTime(Scanner& scanner);

/// The local date at a moment, in milliseconds since 1970.
Day DayAt(long long moment);

/// The last of that name up to `day`.
Day LatestUpTo(Day day, std::chrono::weekday name);

/// Moments of a local date. A day's length is looked up once, so that a line costs no call of the system's.
class DayMoments {
public:
    explicit DayMoments(Day day);

    Day Date() const {
        return m_day;
    }
    /// What the clock showed twice, when it was set back for the winter, is the first moment that is not before
    /// `notBefore`, where there is one. @param time milliseconds of the clock since 0:00
    /// @returns milliseconds since 1970
    long long At(int time, long long notBefore) const;

private:
    Day m_day;
    long long m_nBegin;
    bool m_bIsEven; ///< no clock is put forward or back on it
};

/// What people write for a moment.
inline constexpr const char* kMomentExamples = "'10 min ago', '2 h ago', 'today', 'yesterday', '14:03', "
                                               "'2026-11-22' or '2026-11-22 14:03:07'";

/// Understands what kMomentExamples shows, and a time as --json writes it. @returns milliseconds since 1970
std::optional<long long> ReadMoment(std::string_view text, long long now);

} // namespace apps
