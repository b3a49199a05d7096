// Time that tests turn: each clock keeps step with the others.

#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

namespace gaizior::test {
namespace {

TEST(Timing, UniversalTimeFollowsTheLocalClockThatIsSet) {
    const SYSTEMTIME local{2024, 3, 5, 1, 0, 20, 0, 500};
    seams::SetLocalTime(&local, 60);
    const FILETIME universal = UtcNow();
    SYSTEMTIME date{};
    EXPECT_TRUE(::FileTimeToSystemTime(&universal, &date));
    EXPECT_EQ(date.wMonth * 100 + date.wDay, 229);
    EXPECT_EQ(date.wHour * 100 + date.wMinute, 2320);
    EXPECT_EQ(LocalNow().wMilliseconds + date.wMilliseconds, 1000);
    seams::SetLocalTime(nullptr);
    EXPECT_GT(UtcNow().dwHighDateTime, universal.dwHighDateTime);
}

TEST(Timing, AMinutesWaitOrSleepPassesAtOnceAndCountsInFull) {
    const Watchdog watchdog;
    const UniqueHandle unset(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
    const UniqueHandle set(::CreateEventA(nullptr, FALSE, TRUE, nullptr));
    const HANDLE handles[] = {unset.Get(), set.Get()};
    seams::SetTimeDivisor(60'000);
    const ULONGLONG start = TickCount();
    EXPECT_EQ(WaitForAny(2, handles, INFINITE), WAIT_OBJECT_0 + 1);
    while (TickCount() < start + 1'800'000) {
        EXPECT_EQ(WaitForAny(2, handles, 600'000), DWORD{WAIT_TIMEOUT});
    }
    EXPECT_EQ(SleepFor(60'000, true), 0u);
    seams::SetTimeDivisor(1);
    const ULONGLONG before = TickCount();
    EXPECT_GE(before, start + 1'800'000) << "it never turns back";
    seams::AdvanceTicks(86'400'000);
    EXPECT_GE(TickCount(), before + 86'400'000);
}

} // namespace
} // namespace gaizior::test
