#pragma once

#include "gaizior/platform/windows_api.h"

namespace gaizior {

/// Milliseconds since 1970 UTC as of the system's last tick, which is a few of them ago: precise enough for people, and
/// hardly more than a load. Any thread.
LONGLONG CoarseNow();

#ifdef _WIN32
inline LONGLONG CoarseNow() {
    constexpr LONGLONG kPerMillisecond = 10'000;             // of 100 ns
    constexpr LONGLONG kFrom1601To1970 = 11'644'473'600'000; // ms
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    return (LONGLONG{now.dwHighDateTime} << 32 | now.dwLowDateTime) / kPerMillisecond - kFrom1601To1970;
}
#endif

} // namespace gaizior
