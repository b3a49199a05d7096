#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/timing.h"

#ifdef GAIZIOR_SEAMS

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace gaizior {
namespace {

std::atomic<unsigned> g_timeDivisor{1};
std::atomic<unsigned> g_passesToCrash{0};
std::mutex g_clockLock;
std::optional<SYSTEMTIME> g_localTime;

} // namespace

namespace seams {

void SetTimeDivisor(unsigned divisor) {
    g_timeDivisor = std::max(divisor, 1u);
}

void SetLocalTime(const SYSTEMTIME* time) {
    const std::lock_guard lock(g_clockLock);
    g_localTime = time ? std::optional(*time) : std::nullopt;
}

void CrashAfter(unsigned passes) {
    g_passesToCrash = passes;
}

DWORD Shortened(DWORD milliseconds) {
    return milliseconds == INFINITE ? INFINITE : milliseconds / g_timeDivisor.load();
}

} // namespace seams

void CrashPoint() {
    if (g_passesToCrash != 0 && --g_passesToCrash == 0) {
        const HANDLE self = ::OpenProcess(PROCESS_TERMINATE, FALSE, ::GetCurrentProcessId());
        ::TerminateProcess(self, 9);
        ::Sleep(INFINITE);
    }
}

SYSTEMTIME LocalNow() {
    const std::lock_guard lock(g_clockLock);
    if (g_localTime) {
        return *g_localTime;
    }
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return now;
}

} // namespace gaizior

#endif
