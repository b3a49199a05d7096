#include "gaizior/values/time.h"

#include "gaizior/platform/timing.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr const char* kNoName = "???";

constexpr std::uint64_t kTicksPerMillisecond = 10'000; // of a FILETIME
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kMostSeconds = std::numeric_limits<std::uint64_t>::max() / kTicksPerSecond;

constexpr unsigned kSecondsPerMinute = 60;
constexpr unsigned kSecondsPerHour = 3600;
constexpr unsigned kSecondsPerDay = 86400;

std::uint64_t ToTicks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME ToFileTime(const SYSTEMTIME& time) {
    FILETIME converted{};
    return ::SystemTimeToFileTime(&time, &converted) ? converted : FILETIME{};
}

SYSTEMTIME ToSystemTime(const FILETIME& time) {
    SYSTEMTIME converted{};
    return ::FileTimeToSystemTime(&time, &converted) ? converted : SYSTEMTIME{};
}

LARGE_INTEGER Count() {
    LARGE_INTEGER count{};
    ::QueryPerformanceCounter(&count);
    return count;
}

/// Counts per second; they never change while the system runs. Threads that ask at the same time for the first time
/// find the same.
double Frequency() {
    constinit static std::atomic<double> s_frequency{0.0};
    double frequency = s_frequency.load(std::memory_order_relaxed);
    if (frequency == 0.0) {
        LARGE_INTEGER counts{};
        ::QueryPerformanceFrequency(&counts);
        frequency = static_cast<double>(counts.QuadPart);
        s_frequency.store(frequency, std::memory_order_relaxed);
    }
    return frequency;
}

template <std::size_t Size>
const char* NameAt(const char* const (&names)[Size], std::size_t index) {
    return index < Size ? names[index] : kNoName;
}

} // namespace

// --- Stamps ----------------------------------------------------------------------------------------------------------

RealSecondsC::RealSecondsC() : m_liCount(Count()) {}

RealSecondsC::RealSecondsC(const LARGE_INTEGER& count) : m_liCount(count) {}

void RealSecondsC::Reset() {
    m_liCount = Count();
}

double RealSecondsC::Time() const {
    return static_cast<double>(m_liCount.QuadPart) / Frequency();
}

double RealSecondsC::Ago() const {
    const LONGLONG now = Count().QuadPart;
    const LONGLONG then = m_liCount.QuadPart;
    if (now < then) {
        return 0.0;
    }
    // The distance of any two counts fits, without a sign.
    return static_cast<double>(static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(then)) / Frequency();
}

unsigned long RealSecondsC::NextTimeOut(const unsigned long& ms) const {
    if (ms == 0 || gaizior::ToTimeout(ms) == INFINITE) {
        return ms;
    }
    const double left = static_cast<double>(ms) * 0.001 - Ago();
    if (left <= 0.0) {
        return 0;
    }
    return std::min<unsigned long>(static_cast<unsigned long>(left * 1000.0) + 1, INFINITE - 1);
}

std::ostream& operator<<(std::ostream& stream, const RealSecondsC& stamp) {
    return stream << stamp.Time() << " (" << stamp.Ago() * 1000.0 << " mSec ago)";
}

// --- The local clock in milliseconds ---------------------------------------------------------------------------------

std::int64_t ZRTimeC::GetTimeMS() {
    return static_cast<std::int64_t>(ToTicks(GetLocalTimeAsFileTime()) / kTicksPerMillisecond);
}

std::int64_t ZRTimeC::Difference(std::int64_t a, std::int64_t b) {
    return a - b;
}

// --- Conversions -----------------------------------------------------------------------------------------------------

void Split(double seconds, unsigned int& days, unsigned int& hours, unsigned int& minutes, unsigned int& secs,
           unsigned int& ms) {
    constexpr double kMostDays = std::numeric_limits<unsigned>::max();
    const bool fits = seconds >= 0.0 && seconds < (kMostDays + 1.0) * kSecondsPerDay;
    const double known = fits ? seconds : 0.0;
    const auto whole = static_cast<std::uint64_t>(known);
    ms = static_cast<unsigned>(std::fmod(known, 1.0) * 1000.0);
    secs = static_cast<unsigned>(whole % kSecondsPerMinute);
    minutes = static_cast<unsigned>(whole % kSecondsPerHour / kSecondsPerMinute);
    hours = static_cast<unsigned>(whole % kSecondsPerDay / kSecondsPerHour);
    days = static_cast<unsigned>(whole / kSecondsPerDay);
}

void Split(double seconds, unsigned int& hours, unsigned int& minutes, unsigned int& secs, unsigned int& ms) {
    unsigned days = 0;
    Split(seconds, days, hours, minutes, secs, ms);
}

bool IsZero(const FILETIME& time) {
    return ToTicks(time) == 0;
}

std::uint64_t ToSeconds(const FILETIME& time) {
    const std::uint64_t ticks = ToTicks(time);
    return ticks / kTicksPerSecond + (ticks % kTicksPerSecond >= kTicksPerSecond / 2 ? 1 : 0);
}

std::uint64_t ToSeconds(const SYSTEMTIME& time) {
    return ToSeconds(ToFileTime(time));
}

FILETIME ToFileTime(const std::uint64_t& seconds) {
    const std::uint64_t ticks = seconds <= kMostSeconds ? seconds * kTicksPerSecond : 0;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

SYSTEMTIME ToSystemTime(const std::uint64_t& seconds) {
    // The file time of 0 that stands for too many seconds would be a date.
    return seconds <= kMostSeconds ? ToSystemTime(ToFileTime(seconds)) : SYSTEMTIME{};
}

SYSTEMTIME ToSystemTime(const std::tm& time) {
    const long long fields[] = {time.tm_year + 1900LL, time.tm_mon + 1LL, time.tm_wday, time.tm_mday,
                                time.tm_hour,          time.tm_min,       time.tm_sec};
    if (!std::ranges::all_of(fields, [](long long field) { return std::in_range<WORD>(field); })) {
        return {};
    }
    SYSTEMTIME converted{};
    WORD* const places[] = {&converted.wYear, &converted.wMonth,  &converted.wDayOfWeek, &converted.wDay,
                            &converted.wHour, &converted.wMinute, &converted.wSecond};
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        *places[i] = static_cast<WORD>(fields[i]);
    }
    return converted;
}

// --- The clocks ------------------------------------------------------------------------------------------------------

SYSTEMTIME GetSystemTime() {
    return ToSystemTime(gaizior::UtcNow());
}

SYSTEMTIME GetLocalTime() {
    return gaizior::LocalNow();
}

FILETIME GetSystemTimeAsFileTime() {
    return ToFileTime(GetSystemTime());
}

FILETIME GetLocalTimeAsFileTime() {
    return ToFileTime(GetLocalTime());
}

std::uint64_t GetSystemTimeInSeconds() {
    return ToSeconds(GetSystemTime());
}

std::uint64_t GetLocalTimeInSeconds() {
    return ToSeconds(GetLocalTime());
}

// --- Texts -----------------------------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& stream, const SYSTEMTIME& time) {
    char text[64];
    std::snprintf(text, sizeof text, " %s %02u %02u:%02u:%02u.%03u %04u", NameAt(MonthOfYear, time.wMonth),
                  unsigned{time.wDay}, unsigned{time.wHour}, unsigned{time.wMinute}, unsigned{time.wSecond},
                  unsigned{time.wMilliseconds}, unsigned{time.wYear});
    stream.fill('0');
    const std::ios_base::fmtflags flags = stream.setf(std::ios_base::right, std::ios_base::adjustfield);
    stream << NameAt(DayOfWeek, time.wDayOfWeek); // a width of the caller's is the first word's
    stream.flags(flags);
    return stream << text;
}

std::ostream& operator<<(std::ostream& stream, const FILETIME& time) {
    SYSTEMTIME date{};
    return ::FileTimeToSystemTime(&time, &date) ? stream << date : stream << "Invalid File Time";
}
