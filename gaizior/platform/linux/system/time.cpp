#include "gaizior/platform/coarse_clock.h"
#include "gaizior/platform/linux/system/file_time.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <thread>

#include <sched.h>
#include <unistd.h>

namespace {

using gaizior::platform::Fail;
using gaizior::platform::ToFileTime;
using gaizior::platform::ToTicks;

using Ticks =
    std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>; // a FILETIME counts 100 ns, as the counter does

constexpr std::chrono::sys_days kFileTimeEpoch = std::chrono::year(1601) / 1 / 1;
constexpr clockid_t kRunningClock = CLOCK_BOOTTIME; // goes on while the machine is suspended, as on Windows
constexpr WORD kLastYear = 30827; // Windows takes no later one, though its file times reach into 30828

timespec Now(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return now;
}

constexpr WORD ToWord(std::int64_t value) {
    return static_cast<WORD>(value);
}

/// The date and time of day `sinceEpoch` after the beginning of 1601.
SYSTEMTIME ToSystemTime(Ticks sinceEpoch) {
    const auto days = std::chrono::floor<std::chrono::days>(sinceEpoch);
    const std::chrono::year_month_day date(kFileTimeEpoch + days);
    const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::milliseconds>(sinceEpoch - days));
    return {.wYear = ToWord(static_cast<int>(date.year())),
            .wMonth = ToWord(static_cast<unsigned>(date.month())),
            .wDayOfWeek = ToWord(std::chrono::weekday(kFileTimeEpoch + days).c_encoding()),
            .wDay = ToWord(static_cast<unsigned>(date.day())),
            .wHour = ToWord(time.hours().count()),
            .wMinute = ToWord(time.minutes().count()),
            .wSecond = ToWord(time.seconds().count()),
            .wMilliseconds = ToWord(time.subseconds().count())};
}

/// Has the machine's zone read again in each second in which it is asked for: localtime_r alone would not see that it
/// was changed, and looking at its file costs more than all else of a log line's time.
void FollowZone(std::time_t second) {
    static std::atomic<std::time_t> s_looked{-1};
    std::time_t before = s_looked.load(std::memory_order_relaxed);
    if (before != second && s_looked.compare_exchange_strong(before, second, std::memory_order_relaxed)) {
        ::tzset();
    }
}

} // namespace

inline namespace gaizior_windows_api {

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) {
        ::sched_yield();
        return;
    }
    while (milliseconds == INFINITE) {
        ::pause();
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::this_thread::sleep_until(end); // goes on after signals
}

DWORD SleepEx(DWORD milliseconds, BOOL /*alertable*/) {
    Sleep(milliseconds);
    return 0;
}

ULONGLONG GetTickCount64() {
    const timespec now = Now(kRunningClock);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1'000'000;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    const timespec now = Now(kRunningClock);
    count->QuadPart = now.tv_sec * Ticks::period::den + now.tv_nsec / 100;
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* countsPerSecond) {
    countsPerSecond->QuadPart = Ticks::period::den;
    return TRUE;
}

void GetLocalTime(SYSTEMTIME* time) {
    const timespec now = Now(CLOCK_REALTIME);
    FollowZone(now.tv_sec);
    tm local{};
    ::localtime_r(&now.tv_sec, &local);
    *time = {.wYear = ToWord(local.tm_year + 1900),
             .wMonth = ToWord(local.tm_mon + 1),
             .wDayOfWeek = ToWord(local.tm_wday),
             .wDay = ToWord(local.tm_mday),
             .wHour = ToWord(local.tm_hour),
             .wMinute = ToWord(local.tm_min),
             .wSecond = ToWord(local.tm_sec),
             .wMilliseconds = ToWord(now.tv_nsec / 1'000'000)};
}

void GetSystemTime(SYSTEMTIME* time) {
    *time = ToSystemTime(Ticks(ToTicks(Now(CLOCK_REALTIME))));
}

void GetSystemTimeAsFileTime(FILETIME* time) {
    *time = ToFileTime(ToTicks(Now(CLOCK_REALTIME)));
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime) {
    const SYSTEMTIME& from = *systemTime;
    // Bounds first: the calendar's types are narrower than these fields.
    if (from.wYear < 1601 || from.wYear > kLastYear || from.wMonth > 12 || from.wDay > 31 || from.wHour > 23 ||
        from.wMinute > 59 || from.wSecond > 59 || from.wMilliseconds > 999) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const auto date = std::chrono::year(from.wYear) / from.wMonth / from.wDay;
    if (!date.ok()) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const Ticks sinceEpoch = Ticks(std::chrono::sys_days(date) - kFileTimeEpoch) + std::chrono::hours(from.wHour) +
                             std::chrono::minutes(from.wMinute) + std::chrono::seconds(from.wSecond) +
                             std::chrono::milliseconds(from.wMilliseconds);
    *fileTime = ToFileTime(sinceEpoch.count());
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime) {
    const auto count =
        static_cast<std::int64_t>(std::uint64_t{fileTime->dwHighDateTime} << 32 | fileTime->dwLowDateTime);
    if (count < 0) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    *systemTime = ToSystemTime(Ticks(count));
    return TRUE;
}

} // namespace gaizior_windows_api

LONGLONG gaizior::CoarseNow() {
    const timespec now = Now(CLOCK_REALTIME_COARSE);
    return LONGLONG{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}
