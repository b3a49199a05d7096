// The log file. Runs on both systems; Windows decides.

#include "gaizior/logging/log_file.h"

#include "gaizior/logging/log_utils.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/files.h"
#include "gaizior/platform/line_end.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "gaizior/values/time.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <thread>

#ifndef _WIN32
#include <sys/mount.h>
#endif

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kHour = 3600, kDay = 24 * kHour, kBeginOf1970 = 11'644'473'600;
constexpr std::uint64_t kMonday = kBeginOf1970 + 12'422 * kDay + 12 * kHour;
const std::string kRule = std::string(64, '*') + '\n';

void Log(const std::string& text) {
    ZRLogStreamC(nullptr, nullptr, nullptr, nullptr) << text << std::endl;
}

/// @returns how often it was there.
int Replace(std::string& text, const std::string& from, const std::string& to = "") {
    int count = 0;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()), ++count) {
        text.replace(at, from.size(), to);
    }
    return count;
}

/// It is noon of Monday, 5 January 2004, lines have no tags, standard error is captured.
struct LogFileTest : testing::Test, ZRLogFileC {
    LogFileTest() : ZRLogFileC(false) {
        SetTagLog(false);
        Pass(0);
        testing::internal::CaptureStderr();
    }
    ~LogFileTest() override {
        seams::SetLocalTime(nullptr);
        testing::internal::GetCapturedStderr();
    }
    const char* GetExtraHeaderInfo() override {
        return m_inHeader();
    }
    void Begin(const char* name, bool autoDelete, bool daily) const {
        SetName(nullptr, false, false);
        SetName((m_root + name).c_str(), autoDelete, daily);
    }
    /// Lets so many seconds pass, or takes them back; summer time changes the zone by minutes.
    void Pass(std::uint64_t seconds, int zone = 0) {
        const SYSTEMTIME now = ToSystemTime(m_now += seconds);
        seams::SetLocalTime(&now, m_zone += zone);
    }
    /// Does what each character stands for; a digit is a line, whose file is as old then as the turned clock has it.
    void Run(const char* script) {
        for (; *script; ++script) {
            if (const auto action = m_actions.find(*script); action != m_actions.end()) {
                action->second();
                continue;
            }
            Log({*script});
            const auto age = std::chrono::seconds(std::time(nullptr) -
                                                  static_cast<std::int64_t>(GetSystemTimeInSeconds() - kBeginOf1970));
            std::error_code isMissing;
            fs::last_write_time(GetLogName(), fs::file_time_type::clock::now() - age, isMissing);
        }
    }
    /// All files in short, "i_Mon{<i_Mon 05\01\2004>first;second;}", and what standard error got; then a new beginning.
    std::string Outcome() {
        std::map<std::string, std::string> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_folder.Path())) {
            std::ostringstream contents;
            contents << std::ifstream(entry.path()).rdbuf();
            files[entry.path().filename().string()] = contents.str();
            fs::remove(entry);
        }
        std::string all;
        for (const auto& [name, contents] : files) {
            all.append(name).append("{").append(contents).append("}");
        }
        all += testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        for (const auto& [from, to] : std::initializer_list<std::pair<std::string, std::string>>{
                 {m_root, ""},
                 {kRule + "** ", "<"},
                 {" Created on:", ""},
                 {" \n** No extra header info available.\n" + kRule, ">"},
                 {"TagFields:\nTimeStamp Level Thread ThreadPriority Message\n", "|"},
                 {"\n", ";"},
                 {"Log file day has changed: switching to:", "to"},
                 {"Log output continuing from:", "from"},
                 {"Previous log file was deleted during this session", "gone"},
                 {"ZRLogFileC::WriteToFileFailed to ", "!"}}) {
            Replace(all, from, to);
        }
        return all;
    }

    const Watchdog m_watchdog;
    ScratchFolder m_folder;
    const std::string m_root = m_folder.Path().string() + '/', m_file = m_root + "i_Mon.a", m_aside = m_root + "j",
                      m_away = m_folder.Path().string() + "-away";
    std::uint64_t m_now = kMonday;
    int m_zone = 0;
    std::function<const char*()> m_inHeader = [] { return nullptr; };
    const std::map<char, std::function<void()>> m_actions = {
        {'n', [this] { Begin("i.a", false, true); }},
        {'N', [this] { Begin("i.a", true, true); }},
        {'P', [this] { Begin("i.a", true, false); }},
        {'u', [] { SetName(nullptr, true, true); }},
        {'S', [this] { SetName((m_root + "i.a").c_str(), true, true); }},
        {'L', [this] { SetLogName((m_root + "j.b").data()); }},
        {'>', [this] { Pass(12 * kHour); }},
        {'<', [this] { Pass(0 - 12 * kHour); }},
        {'w', [this] { Pass(7 * kDay); }},
        {'m', [this] { Pass(31 * kDay); }},
        {'s', [this] { Pass(kHour, 60); }},
        {'t', [this] { Pass(0 - kHour, -60); }},
        {'r', [this] { fs::rename(m_file, m_aside); }},
        {'x', [this] { fs::rename(m_folder.Path(), m_away); }},
        {'y', [this] { fs::rename(m_away, m_folder.Path()); }}};
};

TEST_F(LogFileTest, FollowsTheDayAndWhateverIsDoneToItsFile) {
    const std::pair<const char*, const char*> cases[] = {
        {"n1>2", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;to i_Tue.a;}i_Tue.a{<i_Tue.a 06\01\2004>from i_Mon.a;|2;})"},
        {"n1w2", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;to i_Mon.a;<i_Mon.a 12\01\2004>from i_Mon.a;|2;})"},
        {"N1w2", R"(i_Mon.a{<i_Mon.a 12\01\2004>from i_Mon.a;|2;})"},
        {"N1m2", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;to i_Thu.a;}i_Thu.a{<i_Thu.a 05\02\2004>from i_Mon.a;|2;})"},
        {"N>1<2>3", R"(i_Mon.a{<i_Mon.a 05\01\2004>from i_Tue.a;|2;to i_Tue.a;})"
                    R"(i_Tue.a{<i_Tue.a 06\01\2004>|1;to i_Mon.a;<i_Tue.a 06\01\2004>from i_Mon.a;|3;})"},
        {"N1s2t3", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;2;3;})"},
        {"N1ws2", R"(i_Mon.a{<i_Mon.a 12\01\2004>from i_Mon.a;|2;})"},
        {"N1N2", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;<i_Mon.a 05\01\2004>|2;})"},
        {"N1wN2", R"(i_Mon.a{<i_Mon.a 12\01\2004>|2;})"},
        {"N1N>2", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;}i_Tue.a{<i_Tue.a 06\01\2004>|2;})"},
        {"n1r2", R"(i_Mon.a{<i_Mon.a 05\01\2004>gone;|2;}j{<i_Mon.a 05\01\2004>|1;})"},
        {"P1P2>3x4y5", R"(i.a{<i.a 05\01\2004>|2;3;<i.a 06\01\2004>gone;|5;}!open:i.a;)"},
        {"n1S2wS3", R"(i_Mon.a{<i_Mon.a 12\01\2004>from i_Mon.a;|3;})"},
        {"n1uL2", R"(i_Mon.a{<i_Mon.a 05\01\2004>|1;}j_Mon.b{<j_Mon.b 05\01\2004>|2;})"}};
    for (const auto& [script, expected] : cases) {
        Run(script);
        EXPECT_EQ(Outcome(), expected) << script;
        Pass(kMonday - m_now, -m_zone);
    }
}

TEST_F(LogFileTest, LosesAtMostTheLineThatCannotBeWrittenAndTellsSo) {
    unsigned calls = 0;
    for (bool failed = true; failed; ++calls) {
        std::ofstream(m_file) << "last week\n";
        seams::FailFileCall(calls + 1, ERROR_DISK_FULL);
        Run("N12>3");
        failed = seams::HasFileCallFailed();
        seams::FailFileCall(0, NO_ERROR);
        Run("4<");
        std::string rest = Outcome();
        const int kept = Replace(rest, "|1;", "|") + Replace(rest, "|2;", "|") + Replace(rest, "|3;", "|") +
                         Replace(rest, "|4;", "|");
        EXPECT_EQ(Replace(rest, "from i_Mon.a;"), 1) << calls;
        const int told = Replace(rest, "!open:") + Replace(rest, "!write to:");
        EXPECT_TRUE(kept == 4 || (failed && kept == 3 && told > 0)) << kept << " after call " << calls;
        for (const char* piece :
             {"i_Mon.a{", "i_Tue.a{", "last week;", R"(<i_Mon.a 05\01\2004>)", R"(<i_Tue.a 06\01\2004>)", "to i_Tue.a;",
              "|", "}", "i_Mon.a;", "i_Tue.a;", "ZRLogFileC::DeleteLog: ERROR: ", "deleting file;", "opening file;"}) {
            EXPECT_LE(Replace(rest, piece), *piece == '|' || *piece == '}' ? 2 : 1) << piece << calls;
        }
        EXPECT_EQ(rest, "") << "half a line after call " << calls;
    }
    EXPECT_GT(calls, 9u);
}

DWORD LogAfterEvent(void* event) {
    ::WaitForSingleObject(event, INFINITE);
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(1000) << "one" << std::endl << ZRLevel(1001) << "dropped" << std::endl;
    return 0;
}

TEST_F(LogFileTest, TagsItsLinesAndCopiesThemWithoutTags) {
    const SYSTEMTIME time{2004, 1, 3, 7, 9, 5, 3, 42};
    seams::SetLocalTime(&time);
    Begin("i", false, false);
    m_inHeader = [] {
        Log("from within");
        WriteToFile(0, std::string("and directly\n").data());
        return "press 7";
    };
    SetTagLog(true);
    SetTagLogShowDate(true);
    SetTeeCerr(true);
    SetDebugLevel(1001);
    const UniqueHandle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    DWORD id = 0;
    const UniqueHandle thread(::CreateThread(nullptr, 0, &LogAfterEvent, event.Get(), 0, &id));
    EXPECT_TRUE(::SetThreadPriority(thread.Get(), THREAD_PRIORITY_LOWEST) && ::SetEvent(event.Get()));
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), INFINITE), WAIT_OBJECT_0);
    std::ostringstream stamps;
    ZRLogUtilsC::TimeStamp(TagLog(stamps << std::setw(9), 7));
    SetTagLogShowDate(false);
    SetTeeCerr(false);
    SetDebugLevel(1);
    char tag[64];
    std::snprintf(tag, sizeof tag, R"(09:05:03.042  07\01\2004 1000 0x%04x 0xfffffffe )", static_cast<unsigned>(id));
    const std::string expected = tag + kRule + tag + "** " + m_root + R"(i Created on: 07\01\2004 )" + '\n' + tag +
                                 "** press 7\n" + tag + kRule +
                                 "TagFields:\nTimeStamp Level Thread ThreadPriority Message\n" + tag + "one\n";
    std::string contents;
    EXPECT_TRUE(ReadWholeFile((m_root + "i").c_str(), contents, 10'000));
    EXPECT_EQ(contents, ReplaceLineEnds(expected, kUnixLineEnd, kLineEnd));
    EXPECT_TRUE(Outcome().ends_with("}from within;and directly;one;"));
    EXPECT_EQ(stamps.str().find(R"(09:05:03.042  07\01\2004 007 0x)"), 0u);
    EXPECT_TRUE(stamps.str().ends_with(" 0x00 09:05:03.042 ")) << stamps.str();
    EXPECT_EQ(ZRLogUtilsC::GetDayOfWeek(nullptr), ZRLogUtilsC::DayOfWeek[3]);
}

TEST_F(LogFileTest, KeepsTheLinesOfThreadsApartWhileTheNameIsSet) {
    const auto write = [this](int thread) {
        for (int i = 0; i < 200; ++i) {
            if (i % 50 == 0) {
                SetName((m_root + "a").c_str(), true, false);
            }
            Log(std::to_string(thread) + std::string(60, '-'));
        }
    };
    {
        std::jthread threads[8];
        for (int i = 0; i < 8; ++i) {
            threads[i] = std::jthread(write, i);
        }
    }
    std::string all = Outcome();
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(Replace(all, std::to_string(i) + std::string(60, '-') + ';'), 200);
    }
    EXPECT_EQ(all, R"(a{<a 05\01\2004>|})");
}

TEST_F(LogFileTest, DropsWhatWaitsTooLongAndAllWhenItIsGone) {
    Begin("i", false, false);
    const UniqueHandle isIn(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle mayLeave(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    m_inHeader = [&]() -> const char* {
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
    { const ZRLogFileC another((m_root + "j").c_str(), false, false, false); }
    Log("into nothing");
    EXPECT_EQ(GetLogName(), nullptr);
    EXPECT_EQ(Outcome(), "i{}ZRLogFileC::DebugOut: ERROR: Timed out waitng for logfile mutex on:i;!write to:i;");
}

TEST(LogFileDeathTest, TakesLinesOfStaticDestructors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct Late {
        ~Late() {
            Log("too late");
        }
    };
    const auto logAtExit = [] {
        static const Late s_late;
        static const ZRLogFileC s_log("no folder/i", false, false, true);
        std::exit(0);
    };
    EXPECT_EXIT(logAtExit(), testing::ExitedWithCode(0), "^$");
}

#ifndef _WIN32

TEST_F(LogFileTest, CutsOffWhatAFullDiskTookOfALine) {
    if (::mount("tmpfs", m_folder.Path().c_str(), "tmpfs", 0, "size=8k") != 0) {
        GTEST_SKIP() << "takes the right to mount";
    }
    Begin("i", false, false);
    std::ofstream(m_aside) << "one page";
    Log("1");
    Log(std::string(5000, 'x'));
    fs::remove(m_aside);
    Log("3");
    EXPECT_EQ(Outcome(), R"(i{<i 05\01\2004>|1;3;}!write to:i;)");
    EXPECT_EQ(::umount(m_folder.Path().c_str()), 0);
}

TEST_F(LogFileTest, ShowsBoxesWhileOthersLog) {
    static std::string s_shown;
    s_shown.clear();
    Begin("i", false, false);
    ::SetMessageBoxHandler([](HWND, const char* text, const char* caption, UINT type) {
        s_shown += std::string(caption) + ' ' + std::to_string(type) + ' ' + text;
        std::thread([] { Log("meanwhile"); }).join();
        return IDOK;
    });
    ZRLogStreamC(nullptr, nullptr, nullptr, nullptr).Format(0, 15, "all");
    ::SetMessageBoxHandler(nullptr);
    EXPECT_EQ(s_shown, "ZRLogFileC::WriteToImmediate 0 all\nZRLogFileC::WriteToSystem 4112 all\n"
                       "ZRLogFileC::WriteToUser 0 all\n");
    EXPECT_EQ(Outcome(), R"(i{<i 05\01\2004>|all;meanwhile;meanwhile;meanwhile;})");
}

#endif

} // namespace
} // namespace gaizior::test
