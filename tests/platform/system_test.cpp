// What the system tells: error texts, clocks and dates, paths. Runs on both systems; Windows decides.

#include "gaizior/platform/linux/message_texts.h"
#include "gaizior/platform/windows_api.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

namespace {

constexpr DWORD kUntouched = 777;
constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

DWORD Format(DWORD flags, DWORD number, char* buffer, std::size_t size) {
    ::SetLastError(kUntouched);
    return ::FormatMessageA(flags, nullptr, number, 0, buffer, static_cast<DWORD>(size), nullptr);
}

TEST(LastError, BelongsToItsThread) {
    std::atomic<int> step{0};
    DWORD inOther = 0;
    std::thread other([&] {
        ::SetLastError(6);
        step = 1;
        while (step != 2) {
        }
        inOther = ::GetLastError();
    });
    while (step != 1) {
    }
    ::SetLastError(5);
    step = 2;
    EXPECT_EQ(::GetLastError(), 5u);
    other.join();
    EXPECT_EQ(inOther, 6u);
}

TEST(MessageText, EveryNumberOfTheTableReadsAsTheSystemSaysIt) {
    for (const auto& [number, text] : gaizior::platform::kMessageTexts) {
        std::array<char, 512> buffer{};
        const DWORD length = Format(kFlags, number, buffer.data(), buffer.size());
#ifdef _WIN32
        if (length == 0 && number == WAIT_TIMEOUT) {
            continue; // Wine has no text for it
        }
#endif
        EXPECT_EQ(std::string(buffer.data(), length), std::string(text) + "\r\n") << number;
        EXPECT_EQ(buffer[length], '\0') << number;
        EXPECT_EQ(::GetLastError(), kUntouched) << number;
    }
}

TEST(MessageText, IsRefusedWithTheReason) {
    struct Case {
        DWORD flags;
        DWORD number;
        std::size_t size;
        DWORD length;
        DWORD error;
    };
    constexpr DWORD kLength = sizeof "Access denied.\r\n" - 1;
    const Case cases[] = {
        {kFlags, 5, kLength + 1, kLength, kUntouched},
        {kFlags, 5, kLength, 0, ERROR_INSUFFICIENT_BUFFER},
        {kFlags, 5, 0, 0, ERROR_INSUFFICIENT_BUFFER},
        {kFlags, 123456, 64, 0, ERROR_MR_MID_NOT_FOUND},
        {kFlags, 0xFFFFFFFF, 0, 0, ERROR_MR_MID_NOT_FOUND},
        {FORMAT_MESSAGE_IGNORE_INSERTS, 5, 64, 0, ERROR_INVALID_PARAMETER},
        {FORMAT_MESSAGE_FROM_SYSTEM, 5, 64, kLength, kUntouched},
        {FORMAT_MESSAGE_FROM_SYSTEM, ERROR_BAD_EXE_FORMAT, 64, 0, ERROR_INVALID_PARAMETER},
    };
    for (const Case& c : cases) {
        std::array<char, 64> buffer;
        buffer.fill('#');
        EXPECT_EQ(Format(c.flags, c.number, buffer.data(), c.size), c.length) << c.number << ' ' << c.size;
        EXPECT_EQ(::GetLastError(), c.error) << c.number << ' ' << c.size;
        EXPECT_EQ(buffer[c.length], c.length ? '\0' : '#') << c.number << ' ' << c.size;
    }
}

TEST(MessageText, FitsOneLineOnRequest) {
    std::array<char, 64> buffer{};
    const DWORD length = Format(kFlags | FORMAT_MESSAGE_MAX_WIDTH_MASK, 5, buffer.data(), buffer.size());
    EXPECT_EQ(std::string(buffer.data(), length), "Access denied. ");
}

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME ToFileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

TEST(Dates, GoBothWaysAndComputeTheWeekDay) {
    struct Case {
        std::uint64_t ticks;
        SYSTEMTIME time; // year, month, week day, day, hour, minute, second, millisecond
    };
    const Case cases[] = {
        {0, {1601, 1, 1, 1, 0, 0, 0, 0}},
        {10'000, {1601, 1, 1, 1, 0, 0, 0, 1}},
        {0x019DB1DED53E8000, {1970, 1, 4, 1, 0, 0, 0, 0}},
        {0x01BF8247EBCC8000, {2000, 2, 2, 29, 0, 0, 0, 0}},
        {0x01DA6AA23CE90000, {2024, 2, 4, 29, 0, 0, 0, 0}},
        {0x7FFF35F4F06C58F0, {30827, 12, 5, 31, 23, 59, 59, 999}},
    };
    for (const Case& c : cases) {
        const FILETIME expected = ToFileTime(c.ticks);
        SYSTEMTIME time{};
        EXPECT_TRUE(::FileTimeToSystemTime(&expected, &time));
        EXPECT_EQ(std::memcmp(&time, &c.time, sizeof time), 0) << std::hex << c.ticks;
        time.wDayOfWeek = 9999; // ignored on the way in
        FILETIME back{};
        EXPECT_TRUE(::SystemTimeToFileTime(&time, &back));
        EXPECT_EQ(Ticks(back), c.ticks);
    }
}

TEST(Dates, ThatDoNotExistAreRefused) {
    const SYSTEMTIME wrong[] = {
        {1600, 12, 0, 31, 23, 59, 59, 999}, {65535, 1, 0, 1, 0, 0, 0, 0},  {2024, 0, 0, 1, 0, 0, 0, 0},
        {2024, 13, 0, 1, 0, 0, 0, 0},       {2024, 257, 0, 1, 0, 0, 0, 0}, {2024, 1, 0, 0, 0, 0, 0, 0},
        {2024, 1, 0, 257, 0, 0, 0, 0},      {2024, 4, 0, 31, 0, 0, 0, 0},  {2024, 1, 0, 1, 24, 0, 0, 0},
        {2024, 1, 0, 1, 0, 60, 0, 0},       {2024, 1, 0, 1, 0, 0, 60, 0},  {2024, 1, 0, 1, 0, 0, 0, 1000},
#ifndef _WIN32 // Wine takes these, Windows does not
        {2023, 2, 0, 29, 0, 0, 0, 0},       {1900, 2, 0, 29, 0, 0, 0, 0},  {30828, 1, 0, 1, 0, 0, 0, 0},
#endif
    };
    for (const SYSTEMTIME& time : wrong) {
        FILETIME untouched{1, 2};
        ::SetLastError(kUntouched);
        EXPECT_FALSE(::SystemTimeToFileTime(&time, &untouched)) << time.wYear << '-' << time.wMonth << '-' << time.wDay;
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
        EXPECT_EQ(Ticks(untouched), 0x2'00000001u);
    }
}

TEST(Dates, OfNegativeFileTimesAreRefused) {
    SYSTEMTIME time{};
    const FILETIME last = ToFileTime(0x7FFFFFFFFFFFFFFF);
    EXPECT_TRUE(::FileTimeToSystemTime(&last, &time));
    EXPECT_EQ(time.wYear, 30828);
    const FILETIME beyond = ToFileTime(0x8000000000000000);
    EXPECT_FALSE(::FileTimeToSystemTime(&beyond, &time));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(Clocks, AgreeWithEachOther) {
    FILETIME before{};
    SYSTEMTIME system{};
    FILETIME between{};
    FILETIME after{};
    ::GetSystemTimeAsFileTime(&before);
    ::GetSystemTime(&system);
    ::GetSystemTimeAsFileTime(&after);
    ASSERT_TRUE(::SystemTimeToFileTime(&system, &between));
    EXPECT_LE(Ticks(before), Ticks(between) + 10'000); // a SYSTEMTIME ends at the millisecond
    EXPECT_LE(Ticks(between), Ticks(after));

    SYSTEMTIME local{};
    ::GetLocalTime(&local);
    FILETIME localTicks{};
    ASSERT_TRUE(::SystemTimeToFileTime(&local, &localTicks));
    const auto offset = static_cast<std::int64_t>(Ticks(localTicks) - Ticks(after)) / 600'000'000;
    EXPECT_LE(std::abs(offset), 14 * 60) << "minutes from universal time";
}

TEST(Clocks, CountASleepInFull) {
    const ULONGLONG before = ::GetTickCount64();
    ::Sleep(0);
    ::Sleep(60);
    const ULONGLONG passed = ::GetTickCount64() - before;
    EXPECT_GE(passed, 45u); // Windows counts in steps of up to 16 ms
    EXPECT_LT(passed, 30'000u);
}

TEST(ModulePath, IsCutWhenTheBufferIsTooSmall) {
    std::array<char, 4096> buffer{};
    const DWORD length = ::GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    const std::string path(buffer.data(), length);
    EXPECT_TRUE(std::filesystem::exists(path)) << path;
    EXPECT_EQ(std::filesystem::path(path).stem(), "platform_test");
    EXPECT_EQ(buffer[length], '\0');

    const DWORD sizes[] = {length, 2, 1, 0};
    for (const DWORD size : sizes) {
        buffer.fill('#');
        ::SetLastError(kUntouched);
        EXPECT_EQ(::GetModuleFileNameA(nullptr, buffer.data(), size), size);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER)) << size;
        EXPECT_EQ(std::string(buffer.data(), size ? size - 1 : 0), path.substr(0, size ? size - 1 : 0));
        EXPECT_EQ(buffer[size], '#');
    }
}

} // namespace
