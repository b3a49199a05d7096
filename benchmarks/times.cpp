#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"
#include "gaizior/platform/windows_api.h"

#include <ctime>

namespace benchmarks {
namespace {

constexpr ULONGLONG kTicksPerSecond = 10'000'000;
constexpr ULONGLONG kBegin = 11'644'473'600 * kTicksPerSecond; // of 1970, as a FILETIME
constexpr ULONGLONG kStep = 12'345'678 * kTicksPerSecond;      // some 143 days
constexpr ULONGLONG kEnd = kBegin + 256 * kStep;               // a century later

/// Dates all over a century, as no table of the last one helps with.
struct FileTimes {
    void operator()() {
        ticks = ticks < kEnd ? ticks + kStep : kBegin;
        const FILETIME from{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        SYSTEMTIME date{};
        FILETIME back{};
        ::FileTimeToSystemTime(&from, &date);
        ::SystemTimeToFileTime(&date, &back);
        Keep(back);
    }
    ULONGLONG ticks = kBegin;
};

struct StandardTimes {
    void operator()() {
        ticks = ticks < kEnd ? ticks + kStep : kBegin;
        const auto from = static_cast<std::time_t>((ticks - kBegin) / kTicksPerSecond);
        tm date{};
        ::gmtime_r(&from, &date);
        std::time_t back = ::timegm(&date);
        Keep(back);
    }
    ULONGLONG ticks = kBegin;
};

} // namespace

void Times() {
    Compare("FILETIME to SYSTEMTIME and back", Repeat(FileTimes()),
            {{"gmtime_r and timegm", Repeat(StandardTimes()), 0.5}});
}

} // namespace benchmarks
