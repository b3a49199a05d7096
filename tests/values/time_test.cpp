#include "gaizior/values/time.h"

#include "gaizior/platform/timing.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <locale>
#include <sstream>
#include <string>

namespace gaizior::test {
namespace {

constexpr std::uint64_t kMost = ~std::uint64_t{0};

FILETIME Of(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

template <class T>
std::string Printed(const T& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

RealSecondsC Stamp(double secondsFromNow) {
    LARGE_INTEGER count{}, frequency{};
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&count);
    count.QuadPart += static_cast<LONGLONG>(secondsFromNow * static_cast<double>(frequency.QuadPart));
    return RealSecondsC(count);
}

TEST(Stamps, TellWhatHasPassedAndWhatIsLeft) {
    const RealSecondsC past = Stamp(-6.5);
    const RealSecondsC future = Stamp(86400.0);
    EXPECT_GE(past.Ago(), 6.5);
    EXPECT_NEAR(future.Time() - past.Time(), 86406.5, 1.0);
    EXPECT_EQ(future.Ago(), 0.0);
    EXPECT_TRUE(Printed(future).ends_with(" (0 mSec ago)")) << Printed(future);
    LARGE_INTEGER first{};
    first.QuadPart = LLONG_MIN;
    EXPECT_GT(RealSecondsC(first).Ago(), 9e8);

    EXPECT_EQ(past.NextTimeOut(6500), 0u);
    EXPECT_EQ(future.NextTimeOut(5000), 5001u);
    EXPECT_EQ(future.NextTimeOut(INFINITE - 1), INFINITE - 1) << "one more would wait for ever";
    for (const unsigned long unchanged : {0UL, 0xFFFFFFFFUL, ULONG_MAX}) {
        EXPECT_EQ(past.NextTimeOut(unchanged), unchanged);
    }
    RealSecondsC stamp = future;
    stamp.Reset();
    const unsigned long left = RealSecondsC().NextTimeOut(3'600'000);
    EXPECT_TRUE(stamp.Time() < future.Time() && left > 0 && left <= 3'600'001) << left;
}

TEST(Clocks, TellUniversalAndLocalTimeInEachForm) {
    const SYSTEMTIME local{2004, 1, 3, 7, 0, 5, 3, 500};
    seams::SetLocalTime(&local, 60);
    EXPECT_EQ(Printed(::GetLocalTime()), "Wed Jan 07 00:05:03.500 2004");
    EXPECT_EQ(Printed(::GetSystemTime()), "Tue Jan 06 23:05:03.500 2004");
    EXPECT_EQ(Printed(::GetLocalTimeAsFileTime()), Printed(local));
    EXPECT_EQ(Printed(::GetSystemTimeAsFileTime()), Printed(::GetSystemTime()));
    EXPECT_EQ(ZRTimeC::GetTimeMS(), 12'717'907'503'500);
    EXPECT_EQ(GetLocalTimeInSeconds(), 12'717'907'504u);
    EXPECT_EQ(GetSystemTimeInSeconds(), 12'717'907'504u - 3600);
    EXPECT_EQ(ZRTimeC::Difference(-2, 3), -5);
    seams::SetLocalTime(nullptr);
}

TEST(Conversions, AreRightUpToTheLastDateAndAnswerWithZerosBeyond) {
    const struct {
        std::uint64_t seconds, ticks;
        const char* text;
    } cases[] = {
        {0, 0, "Mon Jan 01 00:00:00.000 1601"},
        {12'717'939'903, 127'179'399'030'000'000, "Wed Jan 07 09:05:03.000 2004"},
        {922'314'988'799, 9'223'149'887'990'000'000, "Fri Dec 31 23:59:59.000 30827"},
        {922'337'203'685, 9'223'372'036'850'000'000, "Thu Sep 14 02:48:05.000 30828"},
        {922'337'203'686, 9'223'372'036'860'000'000u, "Sun ??? 00 00:00:00.000 0000"},
        {1'844'674'407'370, 18'446'744'073'700'000'000u, "Sun ??? 00 00:00:00.000 0000"},
        {1'844'674'407'371, 0, "Sun ??? 00 00:00:00.000 0000"},
        {kMost, 0, "Sun ??? 00 00:00:00.000 0000"},
    };
    for (const auto& [seconds, ticks, text] : cases) {
        EXPECT_EQ(Ticks(ToFileTime(seconds)), ticks);
        EXPECT_EQ(Printed(ToSystemTime(seconds)), text);
        EXPECT_EQ(ToSeconds(Of(ticks)), ticks == 0 ? 0 : seconds);
    }
    EXPECT_EQ(ToSeconds(SYSTEMTIME{30827, 12, 0, 31, 23, 59, 59, 500}), 922'314'988'800u);
    for (const SYSTEMTIME& none : {SYSTEMTIME{1600, 12, 0, 31, 23, 59, 59, 999}, {2004, 1, 0, 7, 24, 0, 0, 0}, {}}) {
        EXPECT_EQ(ToSeconds(none), 0u);
    }
    EXPECT_EQ(ToSeconds(Of(14'999'999)) * 10 + ToSeconds(Of(15'000'000)), 12u);
    EXPECT_EQ(ToSeconds(Of(kMost)), 1'844'674'407'371u);
    EXPECT_TRUE(IsZero({}) && !IsZero({1, 0}) && !IsZero({0, 1}));

    std::tm time{};
    time.tm_year = 104, time.tm_mon = 1, time.tm_mday = 29, time.tm_hour = 23, time.tm_min = 59, time.tm_sec = 60;
    EXPECT_EQ(Printed(ToSystemTime(time)), "Sun Feb 29 23:59:60.000 2004");
    for (const int year : {INT_MAX, INT_MIN, 65536 - 1900}) {
        time.tm_year = year;
        EXPECT_EQ(Printed(ToSystemTime(time)), "Sun ??? 00 00:00:00.000 0000") << year;
    }
}

TEST(Seconds, AreSplit) {
    const std::pair<double, std::array<unsigned, 5>> cases[] = {{0.0, {}},
                                                                {90061.5, {1, 1, 1, 1, 500}},
                                                                {std::nextafter(3600.0, 0.0), {0, 0, 59, 59, 999}},
                                                                {-1.0, {}},
                                                                {std::nan(""), {}},
                                                                {HUGE_VAL, {}},
                                                                {86400e9 * 5, {}},
                                                                {4294967295.0 * 86400, {UINT_MAX, 0}}};
    for (const auto& [seconds, parts] : cases) {
        std::array<unsigned, 5> five{9, 9, 9, 9, 9}, four{0, 9, 9, 9, 9};
        Split(seconds, five[0], five[1], five[2], five[3], five[4]);
        Split(seconds, four[1], four[2], four[3], four[4]);
        EXPECT_EQ(five, parts) << seconds;
        four[0] = parts[0];
        EXPECT_EQ(four, parts) << "the days are lost: " << seconds;
    }
}

TEST(PrintedTimes, AreTheSameOnEveryStreamAndLeaveItsFlags) {
    struct Grouped : std::numpunct<char> {
        std::string do_grouping() const override {
            return "\1";
        }
    };
    std::ostringstream text;
    text.imbue(std::locale(std::locale::classic(), new Grouped));
    text << std::hex << std::left << std::showpos << SYSTEMTIME{65535, 13, 7, 1, 2, 3, 4, 5} << '|' << 31 << '|';
    text.width(3);
    text << 1 << '|' << Of(std::uint64_t{1} << 63);
    EXPECT_EQ(text.str(), "??? ??? 01 02:03:04.005 65535|1,f|100|Invalid File Time");
}

} // namespace
} // namespace gaizior::test
