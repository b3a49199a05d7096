#include "apps/log/log_line.h"

#include <algorithm>
#include <array>
#include <limits>

namespace apps {
namespace {

/// "22\11\2026".
std::optional<Day> TakeDateStamp(Scanner& scanner) {
    Scanner ahead = scanner;
    const auto day = ahead.TakeNumber(2, 2);
    const auto month = day && ahead.Take("\\") ? ahead.TakeNumber(2, 2) : std::nullopt;
    const auto year = month && ahead.Take("\\") ? ahead.TakeNumber(4, 4) : std::nullopt;
    const std::optional<Day> date = year ? DayOf(*year, *month, *day) : std::nullopt;
    if (date) {
        scanner = ahead;
    }
    return date;
}

std::optional<std::uint32_t> TakeHexadecimal(Scanner& scanner, std::size_t leastDigits) {
    return scanner.TakeBlanks() && scanner.Take("0x") ? scanner.TakeNumber(leastDigits, 8, 16) : std::nullopt;
}

} // namespace

std::optional<LogTag> TakeTag(std::string_view& line) {
    Scanner scanner(line);
    const std::optional<int> time = TakeTime(scanner);
    if (!time || !scanner.TakeBlanks()) {
        return std::nullopt;
    }
    const std::optional<Day> day = TakeDateStamp(scanner);
    if (day && !scanner.TakeBlanks()) {
        return std::nullopt;
    }
    const auto level = scanner.TakeNumber(3, 10);
    const auto thread = level ? TakeHexadecimal(scanner, 4) : std::nullopt;
    const auto priority = thread ? TakeHexadecimal(scanner, 2) : std::nullopt;
    if (!priority || !(scanner.Take(" ") || scanner.Rest().empty())) {
        return std::nullopt;
    }
    line = scanner.Rest();
    return LogTag{*time, day, *level, *thread, static_cast<std::int32_t>(*priority)};
}

std::optional<Day> CreationDay(std::string_view text) {
    constexpr std::string_view kMark = " Created on:";
    const std::size_t at = text.rfind(kMark);
    if (!text.starts_with("** ") || at == text.npos) {
        return std::nullopt;
    }
    Scanner scanner(text.substr(at + kMark.size()));
    scanner.TakeBlanks();
    return TakeDateStamp(scanner);
}

std::string_view NextDaysFile(std::string_view text) {
    Scanner scanner(text);
    return scanner.Take("Log file day has changed: switching to: ") ? scanner.Rest() : std::string_view();
}

bool IsFrame(std::string_view text) {
    return (text.size() == 64 && text.find_first_not_of('*') == text.npos) || text == "TagFields:" ||
           text == "TimeStamp Level Thread ThreadPriority Message";
}

LogName NameOfLog(std::string_view path) {
    constexpr std::array<std::string_view, 7> kWeekdays = {"_Sun", "_Mon", "_Tue", "_Wed", "_Thu", "_Fri", "_Sat"};
    const std::string_view name = path.substr(path.find_last_of("/\\") + 1);
    const std::string_view base = name.substr(0, name.find('.'));
    for (unsigned i = 0; i < kWeekdays.size(); ++i) {
        if (base.ends_with(kWeekdays[i]) && base.size() > kWeekdays[i].size()) {
            return {std::string(base.substr(0, base.size() - kWeekdays[i].size())), std::chrono::weekday(i)};
        }
    }
    return {std::string(base.empty() ? name : base), std::nullopt};
}

long long LineClock::MomentOf(const LogTag& tag) {
    if (tag.day) {
        SetDay(*tag.day);
    }
    // Processes that write to one file, and clocks that are corrected, go back a little.
    const long long least = m_last ? *m_last - kMinute : std::numeric_limits<long long>::min();
    long long moment = m_moments.At(tag.time, least);
    if (moment < least && !tag.day && !m_bHasOneDay) {
        m_moments = DayMoments(Date() + std::chrono::days(1));
        moment = m_moments.At(tag.time, least);
    }
    m_last = moment;
    return moment;
}

void LineClock::SetDay(Day day) {
    if (day != Date()) {
        m_moments = DayMoments(day);
        m_last.reset();
    }
}

} // namespace apps
