#include "apps/log/local_time.h"

#include "gaizior/values/ascii.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <limits>
#include <string>

namespace apps {
namespace {

using std::chrono::days;

constexpr long long kDay = 24LL * kHour;
constexpr long long kAnyTime = std::numeric_limits<long long>::min();

std::tm ClockAt(std::time_t time) {
    const std::tm* const clock = std::localtime(&time);
    return clock ? *clock : std::tm();
}

/// When the clock showed a time, if it ever did with `isSummer`; -1 leaves that to the system. Milliseconds since 1970.
std::optional<long long> MomentAt(Day day, int time, int isSummer) {
    const std::chrono::year_month_day date{day};
    std::tm clock{};
    clock.tm_year = int{date.year()} - 1900;
    clock.tm_mon = static_cast<int>(unsigned{date.month()}) - 1;
    clock.tm_mday = static_cast<int>(unsigned{date.day()});
    clock.tm_hour = time / kHour;
    clock.tm_min = time / kMinute % 60;
    clock.tm_sec = time / kSecond % 60;
    clock.tm_isdst = isSummer;
    std::tm wanted = clock;
    const std::time_t moment = std::mktime(&wanted);
    const std::tm shown = ClockAt(moment);
    const bool isShown = shown.tm_mday == clock.tm_mday && shown.tm_hour == clock.tm_hour &&
                         shown.tm_min == clock.tm_min && (isSummer < 0 || shown.tm_isdst == isSummer);
    if (!isShown && isSummer >= 0) {
        return std::nullopt;
    }
    return static_cast<long long>(moment) * kSecond + time % kSecond;
}

std::optional<Day> TakeDate(Scanner& scanner) {
    const auto year = scanner.TakeNumber(4, 4);
    const auto month = year && scanner.Take("-") ? scanner.TakeNumber(2, 2) : std::nullopt;
    const auto day = month && scanner.Take("-") ? scanner.TakeNumber(2, 2) : std::nullopt;
    return day ? DayOf(*year, *month, *day) : std::nullopt;
}

/// "+0100", as milliseconds.
std::optional<int> TakeZone(Scanner& scanner) {
    const int sign = scanner.Take("+") ? 1 : scanner.Take("-") ? -1 : 0;
    const auto hours = sign != 0 ? scanner.TakeNumber(4, 4) : std::nullopt;
    return hours && *hours <= 1500 && *hours % 100 < 60
               ? std::optional(sign * static_cast<int>(*hours / 100 * kHour + *hours % 100 * kMinute))
               : std::nullopt;
}

/// "10 min ago".
std::optional<long long> ReadAgo(std::string_view text, long long now) {
    struct Unit {
        std::string_view name;
        long long milliseconds;
    };
    constexpr std::array kUnits = {Unit{"s", kSecond}, Unit{"sec", kSecond},  Unit{"second", kSecond},
                                   Unit{"m", kMinute}, Unit{"min", kMinute},  Unit{"minute", kMinute},
                                   Unit{"h", kHour},   Unit{"hour", kHour},   Unit{"d", kDay},
                                   Unit{"day", kDay},  Unit{"week", 7 * kDay}};
    Scanner scanner(text);
    const auto count = scanner.TakeNumber(1, 6);
    scanner.TakeBlanks();
    const std::string_view word = scanner.Rest().substr(0, scanner.Rest().find(' '));
    if (!count || !scanner.Take(word) || !scanner.TakeBlanks() || scanner.Rest() != "ago") {
        return std::nullopt;
    }
    const auto* const unit = std::ranges::find_if(kUnits, [=](const Unit& u) {
        return u.name == word ||
               (u.name.size() > 1 && word.ends_with('s') && u.name == word.substr(0, word.size() - 1));
    });
    return unit == kUnits.end() ? std::nullopt : std::optional(now - *count * unit->milliseconds);
}

} // namespace

std::optional<int> TakeTime(Scanner& scanner) {
    const auto hour = scanner.TakeNumber(1, 2);
    const auto minute = hour && scanner.Take(":") ? scanner.TakeNumber(2, 2) : std::nullopt;
    const auto second = minute && scanner.Take(":") ? scanner.TakeNumber(2, 2) : minute ? std::optional(0U) : minute;
    const auto millisecond = second && scanner.Take(".") ? scanner.TakeNumber(3, 3)
                             : second                    ? std::optional(0U)
                                                         : second;
    if (!millisecond || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    return static_cast<int>(((*hour * 60 + *minute) * 60 + *second) * kSecond + *millisecond);
}

std::optional<Day> DayOf(unsigned year, unsigned month, unsigned day) {
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                           std::chrono::day(day)};
    return date.ok() && year >= 1971 && year <= 2999 ? std::optional(Day(date)) : std::nullopt;
}

Day DayAt(long long moment) {
    const std::tm clock = ClockAt(static_cast<std::time_t>(moment / kSecond));
    return DayOf(static_cast<unsigned>(clock.tm_year + 1900), static_cast<unsigned>(clock.tm_mon + 1),
                 static_cast<unsigned>(clock.tm_mday))
        .value_or(Day(days(365)));
}

Day LatestUpTo(Day day, std::chrono::weekday name) {
    return day - (std::chrono::weekday(day) - name);
}

DayMoments::DayMoments(Day day)
    : m_day(day), m_nBegin(MomentAt(day, 0, -1).value_or(0)),
      m_bIsEven(MomentAt(day + days(1), 0, -1).value_or(0) - m_nBegin == kDay) {}

long long DayMoments::At(int time, long long notBefore) const {
    if (m_bIsEven) {
        return m_nBegin + time;
    }
    const auto summer = MomentAt(m_day, time, 1); // comes before the winter's on a day that has both
    const auto winter = MomentAt(m_day, time, 0);
    const auto first = summer ? summer : winter;
    if (!first) {
        return MomentAt(m_day, time, -1).value_or(0); // what the clock skipped
    }
    return *first < notBefore && winter && *winter >= notBefore ? *winter : *first;
}

std::optional<long long> ReadMoment(std::string_view text, long long now) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), gaizior::ToLowerAscii);
    Scanner whole(lower);
    whole.TakeBlanks();
    const std::string_view words = whole.Rest().substr(0, whole.Rest().find_last_not_of(' ') + 1);
    const Day today = DayAt(now);
    if (words == "now") {
        return now;
    }
    if (words == "today" || words == "yesterday") {
        return DayMoments(today - days(words == "today" ? 0 : 1)).At(0, kAnyTime);
    }
    if (const auto moment = ReadAgo(words, now)) {
        return moment;
    }
    Scanner scanner(words);
    const std::optional<Day> day = TakeDate(scanner);
    if (day && scanner.Rest().empty()) {
        return DayMoments(*day).At(0, kAnyTime);
    }
    if (day && !scanner.TakeBlanks() && !scanner.Take("t")) {
        return std::nullopt;
    }
    Scanner clock(day ? scanner.Rest() : words);
    const std::optional<int> time = TakeTime(clock);
    if (time && clock.Rest().empty()) {
        return DayMoments(day.value_or(today)).At(*time, kAnyTime);
    }
    const std::optional<int> zone = day && time ? TakeZone(clock) : std::nullopt;
    if (!zone || !clock.Rest().empty()) {
        return std::nullopt;
    }
    return day->time_since_epoch() / std::chrono::milliseconds(1) + *time - *zone;
}

} // namespace apps
