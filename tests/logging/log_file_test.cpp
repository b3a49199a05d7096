// The log file. Runs on both systems; Windows decides.

#include "gaizior/logging/log_file.h"

#include "gaizior/logging/log_utils.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/files.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <thread>
#include <tuple>
#include <vector>

#ifndef _WIN32
#include <sys/mount.h>
#include <unistd.h>
#endif

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;

void Log(const std::string& text) {
    ZRLogStreamC(nullptr, nullptr, nullptr, nullptr) << text << std::endl;
}

void Replace(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/// Tells the header's extra line.
struct TellingLog : ZRLogFileC {
    TellingLog() : ZRLogFileC(false) {}
    const char* GetExtraHeaderInfo() override {
        return inHeader();
    }
    std::function<const char*()> inHeader = [] { return nullptr; };
};

/// Lines have no tags here but where they are looked at.
struct LogFileTest : testing::Test {
    LogFileTest() {
        ZRLogFileC::SetTagLog(false);
        ZRLogFileC::SetDebugLevel(1);
        testing::internal::CaptureStderr();
    }
    ~LogFileTest() override {
        seams::SetLocalTime(nullptr);
        std::cerr << testing::internal::GetCapturedStderr();
    }
    /// What standard error got since the last call, without the folder's name.
    std::string StandardError() const {
        std::string text = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        Replace(text, m_root, "");
        Replace(text, "logs/", "");
        return text;
    }
    /// Sets the clock to so many minutes after the beginning of Monday, 5 January 2004.
    static void SetClock(int minutes, int minutesEast = 0) {
        const FILETIME monday = [] {
            const SYSTEMTIME date{.wYear = 2004,
                                  .wMonth = 1,
                                  .wDayOfWeek = 0,
                                  .wDay = 5,
                                  .wHour = 0,
                                  .wMinute = 0,
                                  .wSecond = 0,
                                  .wMilliseconds = 0};
            FILETIME time{};
            ::SystemTimeToFileTime(&date, &time);
            return time;
        }();
        const auto ticks = (std::uint64_t{monday.dwHighDateTime} << 32 | monday.dwLowDateTime) +
                           static_cast<std::uint64_t>(minutes) * 600'000'000;
        const FILETIME then{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        SYSTEMTIME local{};
        ::FileTimeToSystemTime(&then, &local);
        seams::SetLocalTime(&local, minutesEast);
    }
    /// Makes the files that were changed last look as old as the turned clock has it.
    void Date(const std::string& name) const {
        const FILETIME turned = UtcNow();
        FILETIME real{};
        ::GetSystemTimeAsFileTime(&real);
        const auto ticks = [](const FILETIME& time) {
            return std::int64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
        };
        const auto age = std::chrono::microseconds((ticks(real) - ticks(turned)) / 10);
        fs::last_write_time(name, fs::file_time_type::clock::now() - age);
    }
    /// All files with their contents in short: "imager_Mon.log{<05\01\2004>first;second;}".
    std::string Files() const {
        std::map<std::string, std::string> files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_folder.Path())) {
            if (entry.is_regular_file()) {
                std::ostringstream contents;
                contents << std::ifstream(entry.path()).rdbuf();
                std::string text = contents.str();
                const std::string rule = std::string(64, '*') + '\n';
                for (const auto& [from, to] : std::initializer_list<std::pair<std::string, std::string>>{
                         {m_root, ""},
                         {"logs/", ""},
                         {rule + "** i.log Created on: ", "<"},
                         {rule + "** " + entry.path().filename().string() + " Created on: ", "<"},
                         {" \n** No extra header info available.\n" + rule, ">"},
                         {"\n", ";"},
                         {"TagFields:;TimeStamp Level Thread ThreadPriority Message;", "|"},
                         {"Log file day has changed: switching to: ", "to "},
                         {"Log output continuing from: ", "from "},
                         {"Previous log file was deleted during this session", "deleted"}}) {
                    Replace(text, from, to);
                }
                files[entry.path().filename().string()] = text;
            }
        }
        std::string all;
        for (const auto& [name, contents] : files) {
            all += name + '{' + contents + '}';
        }
        return all;
    }

    const Watchdog m_watchdog;
    ScratchFolder m_folder;
    const std::string m_root = m_folder.Path().string() + '/';
    TellingLog m_log;
};

constexpr int kHour = 60, kDay = 24 * kHour;

TEST_F(LogFileTest, HasAFileForEachDayOfTheWeek) {
    struct Step {
        int minutes; // since Monday
        int minutesEast = 0;
        bool isNewRun = false;
    };
    constexpr int kSpring = 83 * kDay, kAutumn = 300 * kDay; // 28 March, 31 October: Sundays
    const std::tuple<const char*, bool, std::vector<Step>, const char*> cases[] = {
        {"midnight",
         false,
         {{kDay - 1}, {kDay}},
         R"(i_Mon.a.b{<05\01\2004>|1;to i_Tue.a.b;}i_Tue.a.b{<06\01\2004>from i_Mon.a.b;|2;})"},
        {"days",
         true,
         {{0}, {3 * kDay}, {3 * kDay + 1}},
         R"(i_Mon.a.b{<05\01\2004>|1;to i_Thu.a.b;}i_Thu.a.b{<08\01\2004>from i_Mon.a.b;|2;3;})"},
        {"a week, kept",
         false,
         {{0}, {7 * kDay}},
         R"(i_Mon.a.b{<05\01\2004>|1;to i_Mon.a.b;<12\01\2004>from i_Mon.a.b;|2;})"},
        {"a week",
         true,
         {{0}, {7 * kDay}, {8 * kDay}},
         R"(i_Mon.a.b{<12\01\2004>from i_Mon.a.b;|2;to i_Tue.a.b;}i_Tue.a.b{<13\01\2004>from i_Mon.a.b;|3;})"},
        {"a month",
         true,
         {{0}, {31 * kDay}},
         R"(i_Mon.a.b{<05\01\2004>|1;to i_Thu.a.b;}i_Thu.a.b{<05\02\2004>from i_Mon.a.b;|2;})"},
        {"clock set back",
         true,
         {{kDay + 5}, {kDay - 5}, {kDay + 6}},
         R"(i_Mon.a.b{<05\01\2004>from i_Tue.a.b;|2;to i_Tue.a.b;})"
         R"(i_Tue.a.b{<06\01\2004>|1;to i_Mon.a.b;<06\01\2004>from i_Mon.a.b;|3;})"},
        {"summer time", true, {{kSpring + 119, 60}, {kSpring + 180, 120}}, R"(i_Sun.a.b{<28\03\2004>|1;2;})"},
        {"winter time", true, {{kAutumn + 179, 120}, {kAutumn + 120, 60}}, R"(i_Sun.a.b{<31\10\2004>|1;2;})"},
        {"another run on the same day", true, {{0}, {kHour, 0, true}}, R"(i_Mon.a.b{<05\01\2004>|1;<05\01\2004>|2;})"},
        {"another run a week later", true, {{0}, {7 * kDay, 0, true}}, R"(i_Mon.a.b{<12\01\2004>|2;})"},
        {"a name that waits over midnight",
         true,
         {{0}, {kDay, 0, true}, {2 * kDay}},
         R"(i_Mon.a.b{<05\01\2004>|1;}i_Tue.a.b{<06\01\2004>|2;to i_Wed.a.b;}i_Wed.a.b{<07\01\2004>from i_Tue.a.b;|3;})"}};
    for (const auto& [name, autoDelete, steps, expected] : cases) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            const Step& step = steps[i];
            if (i == 0 || step.isNewRun) {
                ZRLogFileC::SetName(nullptr, false, false);
                ZRLogFileC::SetName((m_root + "i.a.b").c_str(), autoDelete, true);
            }
            SetClock(step.minutes, step.minutesEast);
            Log(std::to_string(i + 1));
            Date(ZRLogFileC::GetLogName());
        }
        EXPECT_EQ(Files(), expected) << name;
        for (const fs::path& file : fs::directory_iterator(m_folder.Path())) {
            fs::remove(file);
        }
    }
}

TEST_F(LogFileTest, LosesAtMostTheLineThatCannotBeWrittenAndTellsSo) {
    unsigned calls = 0;
    for (bool failed = true; failed; ++calls) {
        SetClock(0);
        std::ofstream(m_root + "i_Mon.txt") << "last week\n";
        ZRLogFileC::SetName(nullptr, false, false);
        ZRLogFileC::SetName((m_root + "i").c_str(), true, true);
        StandardError();
        seams::FailFileCall(calls + 1, ERROR_DISK_FULL);
        Log("first");
        Log("second");
        SetClock(kDay);
        Log("third");
        failed = seams::HasFileCallFailed();
        seams::FailFileCall(0, NO_ERROR);
        Log("fourth");
        const std::string files = Files(), errors = StandardError();
        for (const char* line : {"first", "second", "third", "fourth"}) {
            const bool isThere = files.find(line + std::string(";")) != std::string::npos;
            EXPECT_TRUE(isThere || (failed && line != std::string("fourth") &&
                                    errors.find("WriteToFileFailed to") != std::string::npos))
                << line << ' ' << calls << files << errors;
        }
        std::string rest = files;
        for (const char* piece : {"i_Mon.txt{", "i_Tue.txt{", "last week;", "<05\\01\\2004>", "<06\\01\\2004>", "|",
                                  "first;", "second;", "to i_Tue.txt;", "from i_Mon.txt;", "third;", "fourth;", "}"}) {
            Replace(rest, piece, "");
        }
        EXPECT_EQ(rest, "") << "half a line? " << calls;
    }
    EXPECT_GT(calls, 9u);
}

/// While it lives the file cannot be written.
class Refusal {
public:
#ifdef _WIN32
    explicit Refusal(const fs::path& file)
        : m_held(::CreateFileA(file.string().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {}

private:
    UniqueHandle m_held;
#else
    explicit Refusal(const fs::path& file) : m_user(::geteuid()) {
        fs::permissions(file, fs::perms::owner_read);
        EXPECT_EQ(m_user == 0 ? ::seteuid(65534) : 0, 0);
    }
    ~Refusal() {
        EXPECT_EQ(::seteuid(m_user), 0);
        fs::permissions(ZRLogFileC::GetLogName(), fs::perms::owner_all);
    }

private:
    uid_t m_user;
#endif
};

TEST_F(LogFileTest, GoesOnWhenItsFileIsThereAgain) {
    const fs::path folder = m_folder.Path() / "logs", file = folder / "i.log", aside = m_folder.Path() / "aside";
    const std::string refused = "ZRLogFileC::WriteToFileFailed to open:i.log\n";
    std::optional<Refusal> refusal;
    SetClock(0);
    // What is done to the file, what undoes it, what standard error tells meanwhile, what is in the files then.
    const std::tuple<const char*, std::function<void()>, std::function<void()>, std::string, const char*> cases[] = {
        {"deleted", [&] { fs::remove(file); }, [] {}, "", "i.log{<05\\01\\2004>deleted;|2;3;}"},
        {"renamed", [&] { fs::rename(file, aside); }, [] {}, "",
         "aside{<05\\01\\2004>|1;}i.log{<05\\01\\2004>deleted;|2;3;}"},
        {"deleted with its folder", [&] { fs::remove_all(folder); }, [&] { fs::create_directory(folder); }, refused,
         "i.log{<05\\01\\2004>deleted;|3;}"},
        {"a folder instead", [&] { fs::remove(file), fs::create_directory(file); }, [&] { fs::remove(file); }, refused,
         "i.log{<05\\01\\2004>deleted;|3;}"},
        {"a name again", [] {}, [&] { ZRLogFileC::SetName((m_root + "logs/i.log").c_str(), true, false); }, "",
         "i.log{<05\\01\\2004>|1;2;3;}"},
        {"another name", [] {},
         [&] { ZRLogStreamC(nullptr, nullptr, nullptr, nullptr).SetLogFileName((m_root + "aside").data()); }, "",
         "aside{<05\\01\\2004>|3;}i.log{<05\\01\\2004>|1;2;}"},
        {"refused", [&] { refusal.emplace(file); }, [&] { refusal.reset(); }, refused, "i.log{<05\\01\\2004>|1;3;}"},
    };
    for (const auto& [name, damage, repair, error, expected] : cases) {
        fs::create_directory(folder);
        ZRLogFileC::SetName(nullptr, false, false);
        std::ofstream(file) << "another run";
        ZRLogFileC::SetName((m_root + "logs/i.log").c_str(), true, false);
        Log("1");
        StandardError();
        damage();
        Log("2");
        repair();
        EXPECT_EQ(StandardError(), error) << name;
        Log("3");
        EXPECT_EQ(Files(), expected) << name;
        fs::remove_all(folder);
        fs::remove(aside);
    }
}

DWORD LogWhenSet(void* event) {
    ::WaitForSingleObject(event, INFINITE);
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(1000) << "2" << std::endl << ZRLevel(1001) << "dropped" << std::endl;
    return 0;
}

TEST_F(LogFileTest, TagsItsLinesAndCopiesThemWithoutTags) {
    const SYSTEMTIME time{.wYear = 2004,
                          .wMonth = 1,
                          .wDayOfWeek = 3,
                          .wDay = 7,
                          .wHour = 9,
                          .wMinute = 5,
                          .wSecond = 3,
                          .wMilliseconds = 42};
    seams::SetLocalTime(&time);
    ZRLogFileC::SetName((m_root + "i.log").c_str(), false, false);
    m_log.inHeader = [] {
        Log("from within");
        return "press 7";
    };
    ZRLogFileC::SetTagLog(true);
    ZRLogFileC::SetTeeCerr(true);
    std::ostringstream tag, stamps;
    stamps << std::setw(40) << std::hex;
    ZRLogFileC::TagLog(tag, 0);
    Log("1");
    ZRLogFileC::SetTagLogShowDate(true);
    ZRLogFileC::SetDebugLevel(1001);
    const UniqueHandle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    DWORD other = 0;
    const UniqueHandle thread(::CreateThread(nullptr, 0, &LogWhenSet, event.Get(), 0, &other));
    EXPECT_TRUE(::SetThreadPriority(thread.Get(), THREAD_PRIORITY_LOWEST) && ::SetEvent(event.Get()));
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), INFINITE), WAIT_OBJECT_0);
    ZRLogFileC::SetTagLogShowDate(false);
    char id[16], otherId[16];
    std::snprintf(id, sizeof id, "0x%04x", static_cast<unsigned>(::GetCurrentThreadId()));
    std::snprintf(otherId, sizeof otherId, "0x%04x", static_cast<unsigned>(other));
    const std::string start = std::string("09:05:03.042 000 ") + id + " 0x00 ",
                      rule = start + std::string(64, '*') + '\n';
    EXPECT_EQ(tag.str(), start);
    EXPECT_EQ(StandardError(), "from within\n1\n2\n");
    std::string expected = rule + start + "** " + m_root + "i.log Created on: 07\\01\\2004 \n" + start +
                           "** press 7\n" + rule + "TagFields:\nTimeStamp Level Thread ThreadPriority Message\n" +
                           start + "1\n" + "09:05:03.042  07\\01\\2004 1000 " + otherId + " 0xfffffffe 2\n";
    UseSystemLineEnds(expected);
    std::string contents;
    EXPECT_TRUE(ReadWholeFile((m_root + "i.log").c_str(), contents, 10'000));
    EXPECT_EQ(contents, expected);
    SYSTEMTIME now{};
    EXPECT_EQ(ZRLogUtilsC::GetDayOfWeek(&now), std::string("Wed"));
    EXPECT_EQ(now.wMilliseconds, 42);
    ZRLogUtilsC::DateStamp(ZRLogUtilsC::TimeStamp(stamps));
    EXPECT_EQ(stamps.str(), "09:05:03.042  07\\01\\2004 ");
    EXPECT_STREQ(ZRLogUtilsC::MonthOfYear[12], "Dec");
}

TEST_F(LogFileTest, KeepsTheLinesOfThreadsApartWhileNamesChange) {
    constexpr int kThreads = 8, kLines = 200;
    const auto write = [this](int thread) {
        for (int i = 0; i < kLines; ++i) {
            if (i % 50 == 10) {
                ZRLogFileC::SetName((m_root + (i % 100 == 10 ? "a" : "b")).c_str(), false, i % 3 == 0);
            }
            Log("line " + std::to_string(thread) + std::string(40, '-'));
        }
    };
    ZRLogFileC::SetName((m_root + "a").c_str(), false, false);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back(write, i);
        }
    }
    std::string all = Files();
    for (int i = 0; i < kThreads; ++i) {
        const std::string line = "line " + std::to_string(i) + std::string(40, '-') + ';';
        const std::size_t before = all.size();
        Replace(all, line, "");
        EXPECT_EQ(before - all.size(), kLines * line.size());
    }
    EXPECT_EQ(all.find('-'), std::string::npos) << all;
}

TEST_F(LogFileTest, DropsALineThatWaitsTooLongAndOthersWhenItIsGone) {
    ZRLogFileC::SetName((m_root + "i.log").c_str(), false, false);
    const UniqueHandle isIn(::CreateEventA(nullptr, TRUE, FALSE, nullptr)),
        mayLeave(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    m_log.inHeader = [&]() -> const char* {
        ::SetEvent(isIn.Get());
        ::WaitForSingleObject(mayLeave.Get(), INFINITE);
        throw 1;
    };
    std::thread slow([] { Log("slow"); });
    ::WaitForSingleObject(isIn.Get(), INFINITE);
    seams::SetTimeDivisor(10'000);
    Log("dropped");
    seams::SetTimeDivisor(1);
    ::SetEvent(mayLeave.Get());
    slow.join();
    EXPECT_EQ(StandardError(), "ZRLogFileC::DebugOut: ERROR: Timed out waitng for logfile mutex on:i.log\n"
                               "ZRLogFileC::WriteToFileFailed to write to:i.log\n");
    { const ZRLogFileC another((m_root + "j").c_str(), false, false, false); }
    EXPECT_EQ(ZRLogFileC::GetLogName(), nullptr);
    Log("into nothing");
    EXPECT_EQ(StandardError() + Files(), "i.log{}");
}

TEST_F(LogFileTest, DeletesNoFileThatAnotherHasJustBegun) {
    const std::string file = m_root + "file";
    std::mutex oneAtATime; // Wine's appending is not
    const auto begin = [&] {
        RemoveFileIf(file.c_str(), [](const FileStatus& status) { return status.size == 3; });
        const std::lock_guard lock(oneAtATime);
        EXPECT_TRUE(File::OpenToAppend(file.c_str()).Write("fresh;")) << ::GetLastError();
    };
    for (int i = 0; i < 20; ++i) {
        std::ofstream(file) << "old";
        { const std::jthread one(begin), two(begin), three(begin); }
        ASSERT_EQ(Files(), "file{fresh;fresh;fresh;}");
        fs::remove(file);
    }
}

#ifndef _WIN32

TEST_F(LogFileTest, CutsOffWhatAFullDiskTookOfALine) {
    if (::mount("tmpfs", m_folder.Path().c_str(), "tmpfs", 0, "size=8k") != 0) {
        GTEST_SKIP() << "takes the right to mount";
    }
    SetClock(0);
    ZRLogFileC::SetName((m_root + "i").c_str(), false, false);
    std::ofstream(m_root + "other") << "one page";
    Log("1");
    Log(std::string(5000, 'x'));
    fs::remove(m_root + "other");
    Log("3");
    EXPECT_EQ(StandardError() + Files(), "ZRLogFileC::WriteToFileFailed to write to:i\ni{<05\\01\\2004>|1;3;}");
    EXPECT_EQ(::umount(m_folder.Path().c_str()), 0);
}

TEST_F(LogFileTest, ShowsBoxesWhileOthersLog) {
    static std::string s_shown;
    ZRLogFileC::SetName((m_root + "i").c_str(), false, false);
    SetClock(0);
    ::SetMessageBoxHandler([](HWND owner, const char* text, const char* caption, UINT type) {
        s_shown += std::string(caption) + ' ' + std::to_string(type) + (owner ? "?" : " ") + text;
        std::thread([] { Log("meanwhile"); }).join();
        return IDOK;
    });
    for (const unsigned mode : {15u, 4u, 0u}) {
        ZRLogStreamC(nullptr, nullptr, nullptr, nullptr).Format(0, mode, "mode %u", mode);
    }
    ::SetMessageBoxHandler(nullptr);
    EXPECT_EQ(s_shown, "ZRLogFileC::WriteToImmediate 0 mode 15\nZRLogFileC::WriteToSystem 4112 mode 15\n"
                       "ZRLogFileC::WriteToUser 0 mode 15\nZRLogFileC::WriteToSystem 4112 mode 4\n");
    EXPECT_EQ(Files(), "i{<05\\01\\2004>|mode 15;meanwhile;meanwhile;meanwhile;meanwhile;}");
}

#endif

TEST(LogFileDeathTest, TakesLinesOfStaticDestructors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto logAtExit = [] {
        struct Late {
            ~Late() {
                Log("too late");
                std::fputs("done", stderr);
            }
        };
        static const Late s_late;
        static const ZRLogFileC s_log("unused.log", false, false, true);
        std::exit(0);
    };
    EXPECT_EXIT(logAtExit(), testing::ExitedWithCode(0), "^done$");
    EXPECT_FALSE(fs::exists("unused.log"));
}

} // namespace
} // namespace gaizior::test
