#include "gaizior/values/time.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>

namespace gaizior {

TEST(Stamps, TellWhatHasPassedAndWhatIsLeft) {
    LARGE_INTEGER counts[3]{}; // of the counter's beginning, of 3 s after it, of never
    ::QueryPerformanceFrequency(&counts[1]);
    counts[1].QuadPart *= 3;
    counts[2].QuadPart = LLONG_MAX;
    const RealSecondsC past(counts[0]), future(counts[2]), before;
    EXPECT_EQ(Composed(RealSecondsC(counts[1])).substr(0, 3) + Composed(future).substr(Composed(future).find('(')),
              "3 ((0 mSec ago)");
    const double ago = past.Ago();
    EXPECT_TRUE(before.Time() <= ago && ago <= RealSecondsC().Time()) << ago;
    EXPECT_EQ(past.NextTimeOut(1), 0u);
    EXPECT_EQ(future.NextTimeOut(5000), 5001u);
    EXPECT_EQ(future.NextTimeOut(INFINITE - 1), INFINITE - 1) << "one more would wait for ever";
    EXPECT_EQ(past.NextTimeOut(INFINITE), INFINITE);
}

TEST(Clocks, TellUniversalAndLocalTimeInEachForm) {
    const SYSTEMTIME local{2004, 1, 3, 7, 0, 5, 3, 500};
    seams::SetLocalTime(&local, 60);
    EXPECT_EQ(Composed(::GetLocalTime(), '|', ::GetLocalTimeAsFileTime(), '|', GetLocalTimeInSeconds()),
              "Wed Jan 07 00:05:03.500 2004|Wed Jan 07 00:05:03.500 2004|12717907504");
    EXPECT_EQ(Composed(::GetSystemTime(), '|', ::GetSystemTimeAsFileTime(), '|', GetSystemTimeInSeconds()),
              "Tue Jan 06 23:05:03.500 2004|Tue Jan 06 23:05:03.500 2004|12717903904");
    EXPECT_EQ(ZRTimeC::GetTimeMS(), 12'717'907'503'500);
    seams::SetLocalTime(nullptr);
}

TEST(Dates, AreRightUpToTheLastAreZeroBeyondAndPrintTheSameWhateverTheFlags) {
    const char* const none = "Sun ??? 00 00:00:00.000 0000";
    for (const auto& [seconds, date] : {std::pair<std::uint64_t, const char*>{0, "Mon Jan 01 00:00:00.000 1601"},
                                        {922'314'988'799, "Fri Dec 31 23:59:59.000 30827"},
                                        {922'337'203'685, "Thu Sep 14 02:48:05.000 30828"},
                                        {922'337'203'686, none},
                                        {1'844'674'407'371, none}}) {
        EXPECT_EQ(Composed(ToSystemTime(seconds)), date);
        EXPECT_EQ(ToSeconds(ToFileTime(seconds)), seconds < 1'844'674'407'371 ? seconds : 0);
    }
    EXPECT_EQ(ToSeconds(SYSTEMTIME{30827, 12, 0, 31, 23, 59, 59, 500}), 922'314'988'800u);
    EXPECT_EQ(ToSeconds(SYSTEMTIME{1600, 12, 0, 31, 23, 59, 59, 999}), 0u);
    EXPECT_EQ(ToSeconds(FILETIME{14'999'999, 0}) * 10 + ToSeconds(FILETIME{15'000'000, 0}), 12u);
    EXPECT_TRUE(IsZero({}) && !IsZero({1, 0}) && !IsZero({0, 1}));
    std::tm time{};
    time.tm_year = 104, time.tm_mon = 1, time.tm_mday = 29, time.tm_sec = 60;
    EXPECT_EQ(Composed(ToSystemTime(time)), "Sun Feb 29 00:00:60.000 2004");
    time.tm_year = INT_MAX;
    EXPECT_EQ(Composed(ToSystemTime(time)), none);
    EXPECT_EQ(Composed(std::hex, std::left, std::setw(5), SYSTEMTIME{65535, 13, 7, 1, 2, 3, 4, 5}, 31, std::setw(3), 1,
                       FILETIME{0, 1u << 31}),
              "00??? ??? 01 02:03:04.005 655351f100Invalid File Time");
}

TEST(Seconds, AreSplitAndWithoutAPlaceForDaysLoseThem) {
    const std::pair<double, std::array<unsigned, 5>> cases[] = {
        {90061.5, {1, 1, 1, 1, 500}}, {-1.0, {}}, {4294967296.0 * 86400, {}}};
    for (const auto& [seconds, parts] : cases) {
        std::array<unsigned, 5> five{9, 9, 9, 9, 9}, four = parts;
        Split(seconds, five[0], five[1], five[2], five[3], five[4]);
        Split(seconds, four[1], four[2], four[3], four[4]);
        EXPECT_TRUE(five == parts && four == parts) << seconds;
    }
}

} // namespace gaizior
