// What the system tells: error texts, clocks and dates, paths. Runs on both systems; Windows decides.

#include "gaizior/platform/linux/system/message_texts.h"
#include "gaizior/platform/windows_api.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <utility>

namespace {

constexpr DWORD kUntouched = 777;
constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

DWORD Format(DWORD flags, DWORD number, char* buffer, DWORD size) {
    ::SetLastError(kUntouched);
    return ::FormatMessageA(flags, nullptr, number, 0, buffer, size, nullptr);
}

/// Wine words the texts shorter than Windows does; that every number has one, and how a text ends, it decides too.
TEST(MessageText, EveryNumberOfTheTableHasOne) {
    char buffer[512];
    for (const auto& [number, text] : gaizior::platform::kMessageTexts) {
        const DWORD length = Format(kFlags, number, buffer, sizeof buffer);
#ifdef _WIN32
        if (length == 0 && (number == WAIT_TIMEOUT || number == ERROR_FILE_TOO_LARGE)) {
            continue; // Wine has no text for them
        }
        EXPECT_TRUE(std::string(buffer, length).ends_with("\r\n")) << number;
#else
        EXPECT_EQ(std::string(buffer, length), std::string(text) + "\r\n") << number;
#endif
        EXPECT_EQ(buffer[length], '\0') << number;
    }
    const DWORD length = Format(kFlags | FORMAT_MESSAGE_MAX_WIDTH_MASK, 5, buffer, sizeof buffer);
    EXPECT_TRUE(std::string(buffer, length).ends_with("denied. "));
}

TEST(MessageText, IsRefusedWithTheReason) {
    char whole[64];
    const DWORD kLength = Format(kFlags, 5, whole, sizeof whole);
    // The flags, the number, the buffer's size, the length, the error.
    const std::array<DWORD, 5> cases[] = {
        {kFlags, 5, kLength + 1, kLength, kUntouched},
        {kFlags, 5, kLength, 0, ERROR_INSUFFICIENT_BUFFER},
        {kFlags, 5, 0, 0, ERROR_INSUFFICIENT_BUFFER},
        {kFlags, 123456, 64, 0, ERROR_MR_MID_NOT_FOUND},
        {kFlags, 0xFFFFFFFF, 0, 0, ERROR_MR_MID_NOT_FOUND},
        {FORMAT_MESSAGE_IGNORE_INSERTS, 5, 64, 0, ERROR_INVALID_PARAMETER},
        {FORMAT_MESSAGE_FROM_SYSTEM, ERROR_BAD_EXE_FORMAT, 64, 0, ERROR_INVALID_PARAMETER}};
    for (const auto& [flags, number, size, length, error] : cases) {
        std::string buffer(64, '#');
        EXPECT_EQ(Format(flags, number, buffer.data(), size), length) << number << ' ' << size;
        EXPECT_EQ(::GetLastError(), error) << number << ' ' << size;
        EXPECT_EQ(buffer[length], length ? '\0' : '#') << number << ' ' << size;
    }
}

std::uint64_t Ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

TEST(Dates, GoBothWaysFromTheFirstDayToTheLastAndComputeTheWeekDay) {
    using namespace std::chrono;
    constexpr std::uint64_t kDay = 864'000'000'000, kNextTime = 37'010'000;
    for (std::uint64_t ticks = 0; ticks < 0x7FFF35F4F06C58F0; ticks += kDay + kNextTime) {
        const FILETIME expected{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        SYSTEMTIME time{};
        FILETIME back{};
        ASSERT_TRUE(::FileTimeToSystemTime(&expected, &time));
        const year_month_day date(year(time.wYear), month(time.wMonth), day(time.wDay));
        ASSERT_EQ(sys_days(date), sys_days(1601y / 1 / 1) + days(ticks / kDay)) << ticks;
        ASSERT_EQ(((time.wHour * 60ul + time.wMinute) * 60 + time.wSecond) * 1000 + time.wMilliseconds,
                  ticks % kDay / 10'000);
        ASSERT_TRUE(date.ok() && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000) << ticks;
        ASSERT_EQ(time.wDayOfWeek, (ticks / kDay + 1) % 7);
        time.wDayOfWeek = 9999; // ignored on the way in
        ASSERT_TRUE(::SystemTimeToFileTime(&time, &back));
        ASSERT_EQ(Ticks(back), ticks);
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
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
        EXPECT_EQ(Ticks(untouched), 0x2'00000001u);
    }
}

TEST(Clocks, AgreeAndCountASleepInFull) {
    LARGE_INTEGER frequency{}, first{}, last{};
    ::QueryPerformanceCounter(&first);
    const ULONGLONG start = ::GetTickCount64();
    FILETIME before{}, between{}, after{};
    SYSTEMTIME system{};
    ::GetSystemTimeAsFileTime(&before);
    EXPECT_EQ(::SleepEx(60, TRUE), 0u);
    ::GetSystemTime(&system);
    ::GetSystemTimeAsFileTime(&after);
    ASSERT_TRUE(::SystemTimeToFileTime(&system, &between));
    EXPECT_LE(Ticks(before) + 450'000, Ticks(between)); // Windows counts in steps of up to 16 ms
    EXPECT_LE(Ticks(between), Ticks(after));
    EXPECT_GE(::GetTickCount64() - start, 45u);
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&last);
    EXPECT_EQ(frequency.QuadPart, 10'000'000);
    EXPECT_GE(last.QuadPart, first.QuadPart + 450'000);
}

TEST(ModulePath, IsWholeOrCutToTheBuffer) {
    std::string buffer(4096, '#');
    std::string path(buffer.data(), ::GetModuleFileNameA(nullptr, buffer.data(), 4096));
    EXPECT_TRUE(std::filesystem::path(path).is_absolute() && std::filesystem::exists(path)) << path;
    for (const std::size_t size : {path.size(), std::size_t{1}, std::size_t{0}}) {
        buffer.assign(4096, '#');
        EXPECT_EQ(::GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(size)), size);
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER}) << size;
        EXPECT_EQ(buffer.substr(0, size ? size - 1 : 0), path.substr(0, size ? size - 1 : 0));
        EXPECT_EQ(buffer[size], '#');
    }
#ifndef _WIN32
    const auto ofLibrary = reinterpret_cast<HMODULE>(&path);
    path.assign(buffer.data(), ::GetModuleFileNameA(ofLibrary, buffer.data(), 4096));
    EXPECT_TRUE(std::filesystem::path(path).filename().string().starts_with("libgaizior.so")) << path;
#endif
}

#ifndef _WIN32

/// A new zone is looked for once a second: the second after the change tells it.
TEST(Clocks, FollowTheTimeZone) {
    for (const auto& [zone, minutes] : {std::pair{"UTC0", 0}, {"AAA-5:45", 345}, {"BBB+3:30", -210}}) {
        const gaizior::test::ScopedVariable variable("TZ", zone);
        SYSTEMTIME local{};
        FILETIME from{}, to{};
        ::GetLocalTime(&local);
        for (const WORD second = local.wSecond; local.wSecond == second; ::GetLocalTime(&local)) {
            ::Sleep(20);
        }
        ::GetSystemTimeAsFileTime(&from);
        ASSERT_TRUE(::SystemTimeToFileTime(&local, &to));
        EXPECT_NEAR(static_cast<double>(Ticks(to)) - static_cast<double>(Ticks(from)), minutes * 6e8, 6e7) << zone;
    }
}

/// With a handler: see the error alert.
TEST(MessageBoxes, GoToStandardErrorWithoutAHandler) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(::MessageBoxA(nullptr, "Drum not home", "Program Error", MB_OK), IDOK);
    EXPECT_EQ(::MessageBoxA(nullptr, nullptr, nullptr, MB_OK), IDOK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Program Error: Drum not home\nError: \n");
}

#endif

} // namespace
