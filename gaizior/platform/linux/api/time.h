#pragma once

/// @file
/// Clocks, dates and sleep.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// Sleeps for at least `milliseconds`; 0 gives way to other threads, INFINITE never returns.
GAIZIOR_API void Sleep(DWORD milliseconds);
/// The same. @returns 0: nothing that Windows ends an alertable sleep for (WAIT_IO_COMPLETION) exists here.
GAIZIOR_API DWORD SleepEx(DWORD milliseconds, BOOL alertable);
/// Milliseconds since the machine started, those that it was suspended included; never turns back.
GAIZIOR_API ULONGLONG GetTickCount64();
/// Counts of QueryPerformanceFrequency in a second, on the same clock; for measuring. Both always succeed. Any thread.
GAIZIOR_API BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
/// 10,000,000, as long as the machine runs.
GAIZIOR_API BOOL QueryPerformanceFrequency(LARGE_INTEGER* countsPerSecond);
/// Local time in the machine's (or TZ's) zone; that this was changed is seen within a second.
GAIZIOR_API void GetLocalTime(SYSTEMTIME* time);
/// Universal time, as a date and as 100 ns since the beginning of 1601.
/// @{
GAIZIOR_API void GetSystemTime(SYSTEMTIME* time);
GAIZIOR_API void GetSystemTimeAsFileTime(FILETIME* time);
/// @}
/// The week day of `systemTime` is ignored.
/// @returns FALSE with ERROR_INVALID_PARAMETER for fields that are no date and time between 1601 and 30827.
GAIZIOR_API BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime);
/// Drops what is shorter than a millisecond. @returns FALSE with ERROR_INVALID_PARAMETER above 0x7FFFFFFFFFFFFFFF.
GAIZIOR_API BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime);

} // namespace gaizior_windows_api
