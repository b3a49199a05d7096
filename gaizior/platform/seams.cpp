#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/mutex.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/uuid_call.h"

#ifdef GAIZIOR_SEAMS

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <optional>

namespace gaizior {
namespace {

std::atomic<unsigned> g_passesToCrash{0};
std::atomic<unsigned> g_fileCallsToFailure{0};
std::atomic<DWORD> g_fileError{NO_ERROR};
std::atomic<bool> g_hasFileCallFailed{false};

std::atomic<UuidCall> g_uuidCallToFail{};
std::atomic<DWORD> g_uuidError{NO_ERROR};

std::atomic<unsigned> g_timeDivisor{1};

struct StoppedClock {
    SYSTEMTIME local;
    int minutesEast;
};

Mutex g_clockLock;                                             // who sets the divisor holds it too
ULONGLONG g_tickAtDivisor GAIZIOR_GUARDED_BY(g_clockLock) = 0; // the real one when the divisor was set
ULONGLONG g_ticksUpToThere GAIZIOR_GUARDED_BY(g_clockLock) = 0;
std::optional<StoppedClock> g_stoppedClock GAIZIOR_GUARDED_BY(g_clockLock);

ULONGLONG FastTickCount() GAIZIOR_REQUIRES(g_clockLock) {
    const ULONGLONG real = ::GetTickCount64();
    return g_tickAtDivisor == 0 ? real : g_ticksUpToThere + (real - g_tickAtDivisor) * g_timeDivisor;
}

} // namespace

namespace seams {

void SetTimeDivisor(unsigned divisor) {
    const MutexLock lock(g_clockLock);
    g_ticksUpToThere = FastTickCount();
    g_tickAtDivisor = ::GetTickCount64();
    g_timeDivisor = std::max(divisor, 1u);
}

void SetLocalTime(const SYSTEMTIME* time, int minutesEast) {
    const MutexLock lock(g_clockLock);
    g_stoppedClock = time ? std::optional(StoppedClock{*time, minutesEast}) : std::nullopt;
}

DWORD Shortened(DWORD milliseconds) {
    return milliseconds == INFINITE ? INFINITE : milliseconds / g_timeDivisor.load();
}

void CrashAfter(unsigned passes) {
    g_passesToCrash = passes;
}

void FailFileCall(unsigned number, DWORD error) {
    g_hasFileCallFailed = false;
    g_fileError = error;
    g_fileCallsToFailure = number;
}

bool HasFileCallFailed() {
    return g_hasFileCallFailed;
}

void FailUuidCall(UuidCall call, DWORD error) {
    g_uuidCallToFail = call;
    g_uuidError = error;
}

} // namespace seams

void CrashPoint() {
    if (g_passesToCrash != 0 && --g_passesToCrash == 0) {
        const HANDLE self = ::OpenProcess(PROCESS_TERMINATE, FALSE, ::GetCurrentProcessId());
        ::TerminateProcess(self, 9);
        ::Sleep(INFINITE);
    }
}

bool FileCallPasses() {
    if (g_fileCallsToFailure == 0 || --g_fileCallsToFailure != 0) {
        return true;
    }
    g_hasFileCallFailed = true;
    ::SetLastError(g_fileError);
    errno = EIO; // for calls that tell it, too
    return false;
}

DWORD UuidCallError(UuidCall call) {
    return g_uuidCallToFail == call ? g_uuidError.exchange(NO_ERROR) : NO_ERROR;
}

SYSTEMTIME LocalNow() {
    const MutexLock lock(g_clockLock);
    SYSTEMTIME now{};
    if (g_stoppedClock) {
        now = g_stoppedClock->local;
    } else {
        ::GetLocalTime(&now);
    }
    return now;
}

FILETIME UtcNow() {
    const MutexLock lock(g_clockLock);
    FILETIME now{};
    if (!g_stoppedClock) {
        ::GetSystemTimeAsFileTime(&now);
    } else if (::SystemTimeToFileTime(&g_stoppedClock->local, &now)) {
        constexpr std::int64_t kTicksPerMinute = 600'000'000;
        const auto local = static_cast<std::int64_t>(std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime);
        const auto universal = static_cast<std::uint64_t>(local - g_stoppedClock->minutesEast * kTicksPerMinute);
        now = {static_cast<DWORD>(universal), static_cast<DWORD>(universal >> 32)};
    }
    return now;
}

ULONGLONG TickCount() {
    const MutexLock lock(g_clockLock);
    return FastTickCount();
}

} // namespace gaizior

#endif
