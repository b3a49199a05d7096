#pragma once

#include "gaizior/platform/windows_api.h"

/// Where the library lets time pass and reads it. In the build for tests (GAIZIOR_SEAMS) time can be made to run faster
/// and the clocks be set; in the one that ships these are the system's calls and nothing else.
namespace gaizior {

/// Time-outs are unsigned milliseconds. Where `unsigned long` has 64 bits, everything from 0xFFFFFFFF up waits for
/// ever.
constexpr DWORD ToTimeout(unsigned long long milliseconds) {
    return milliseconds >= INFINITE ? INFINITE : static_cast<DWORD>(milliseconds);
}

#ifdef GAIZIOR_SEAMS

namespace seams {

/// Divides every wait and sleep of the library by `divisor` (1 or more); as many times faster runs TickCount. Any
/// thread.
void SetTimeDivisor(unsigned divisor);
/// Stops the clocks: LocalNow answers `time` until this is called with null, and Universal time is `minutesEast`
/// minutes behind it. Any thread.
void SetLocalTime(const SYSTEMTIME* time, int minutesEast = 0);
DWORD Shortened(DWORD milliseconds);

} // namespace seams

SYSTEMTIME LocalNow();
FILETIME UtcNow();
ULONGLONG TickCount();

inline DWORD WaitFor(HANDLE handle, DWORD milliseconds) {
    return ::WaitForSingleObject(handle, seams::Shortened(milliseconds));
}
inline DWORD WaitForAny(DWORD count, const HANDLE* handles, DWORD milliseconds) {
    return ::WaitForMultipleObjects(count, handles, FALSE, seams::Shortened(milliseconds));
}
inline DWORD SleepFor(DWORD milliseconds, bool alertable = false) {
    return ::SleepEx(seams::Shortened(milliseconds), alertable);
}

#else

/// The local clock's date and time.
inline SYSTEMTIME LocalNow() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return now;
}
/// Universal time; FileTimeToSystemTime makes a date of it.
inline FILETIME UtcNow() {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    return now;
}
/// Milliseconds on a clock that nobody sets: what time-outs are counted with.
inline ULONGLONG TickCount() {
    return ::GetTickCount64();
}
/// Waits for one object; answers as WaitForSingleObject does.
inline DWORD WaitFor(HANDLE handle, DWORD milliseconds) {
    return ::WaitForSingleObject(handle, milliseconds);
}
/// Waits for any of up to 64 objects; answers as WaitForMultipleObjects does.
inline DWORD WaitForAny(DWORD count, const HANDLE* handles, DWORD milliseconds) {
    return ::WaitForMultipleObjects(count, handles, FALSE, milliseconds);
}
/// Sleeps; an alertable sleep may be ended by the completion of an operation that the calling thread began.
/// @returns 0 after the whole time, WAIT_IO_COMPLETION when it was ended.
inline DWORD SleepFor(DWORD milliseconds, bool alertable = false) {
    return ::SleepEx(milliseconds, alertable);
}

#endif

} // namespace gaizior
