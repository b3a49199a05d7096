#pragma once

#include "gaizior/platform/windows_api.h"

/// Where the library lets time pass. In the build for tests (GAIZIOR_SEAMS) time can be made to run faster and the
/// local clock be set; in the one that ships these are the system's calls and nothing else.
namespace gaizior {

/// Time-outs are unsigned milliseconds. Where `unsigned long` has 64 bits, everything from 0xFFFFFFFF up waits for
/// ever.
constexpr DWORD ToTimeout(unsigned long long milliseconds) {
    return milliseconds >= INFINITE ? INFINITE : static_cast<DWORD>(milliseconds);
}

#ifdef GAIZIOR_SEAMS

namespace seams {

/// Divides every wait and sleep of the library by `divisor` (1 or more). Any thread.
void SetTimeDivisor(unsigned divisor);
/// Makes LocalNow answer `time` until it is called with null. Any thread.
void SetLocalTime(const SYSTEMTIME* time);
DWORD Shortened(DWORD milliseconds);

} // namespace seams

SYSTEMTIME LocalNow();

inline DWORD WaitFor(HANDLE handle, DWORD milliseconds) {
    return ::WaitForSingleObject(handle, seams::Shortened(milliseconds));
}
inline void SleepFor(DWORD milliseconds) {
    ::Sleep(seams::Shortened(milliseconds));
}

#else

inline SYSTEMTIME LocalNow() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return now;
}
inline DWORD WaitFor(HANDLE handle, DWORD milliseconds) {
    return ::WaitForSingleObject(handle, milliseconds);
}
inline void SleepFor(DWORD milliseconds) {
    ::Sleep(milliseconds);
}

#endif

} // namespace gaizior
