#include "apps/log/log_set.h"
#include "apps/support/diagnostics.h"
#include "tests/apps/program.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <tuple>

namespace apps::test {
namespace {

const std::string kStars(64, '*');

/// What a log begins with.
std::string Header(const std::string& time, const std::string& date) {
    const std::string tag = time + " 000 0x0a1c 0x00 ";
    return tag + kStars + "\n" + tag + "** imager.log Created on: " + date + " \n" + tag + kStars +
           "\nTagFields:\nTimeStamp Level Thread ThreadPriority Message\n";
}

/// A line as a log has it.
std::string Line(const std::string& time, const std::string& text, const char* level = "000") {
    return time + ".000 " + level + " 0x0a1c 0x00 " + text + "\n";
}

long long At(unsigned year, unsigned month, unsigned day, int time) {
    return DayMoments(*DayOf(year, month, day)).At(time, 0);
}

class Log : public testing::Test {
protected:
    static void SetUpTestSuite() {
        SetUpDiagnostics("apps_test", false); // failures are expected here: no lines about them
    }
    // On Windows these fail while somebody has the file open, if only to look into it: hence they try again.
    void Write(const char* name, const std::string& text, std::ios::openmode mode = std::ios::app) const {
        while (!(std::ofstream(m_folder.File(name), std::ios::binary | mode) << text)) {
        }
    }
    void Remove(const char* name) const {
        for (std::error_code error; !std::filesystem::remove(m_folder.File(name), error);) {
        }
    }
    void Rename(const char* name, const char* newName) const {
        std::error_code error;
        do {
            std::filesystem::rename(m_folder.File(name), m_folder.File(newName), error);
        } while (error);
    }
    std::string Folder() const {
        return m_folder.File(".");
    }
    /// All that logs say, as "22 14:03 text".
    std::vector<std::string> Read(const std::string& path, const std::string& process = {}) const {
        std::vector<std::string> lines;
        LogSet logs(process, false);
        EXPECT_FALSE(logs.Open({path}));
        for (LogEntry entry; logs.Next(entry);) {
            const std::chrono::year_month_day date{entry.day};
            std::array<char, 32> head{};
            std::snprintf(head.data(), head.size(), "%02u %02d:%02d ", unsigned{date.day()}, entry.tag.time / kHour,
                          entry.tag.time / kMinute % 60);
            lines.push_back((entry.hasTag ? head.data() : "") + entry.text);
        }
        EXPECT_FALSE(logs.ReadFailure());
        return lines;
    }

    Watchdog m_watchdog{std::chrono::seconds(120)};
    ScratchFolder m_folder;
};

TEST_F(Log, ALinesTagIsTakenOffOrItHasNone) {
    const std::tuple<std::string_view, int, unsigned, int, std::string_view, bool> tagged[] = {
        {"14:03:07.042 000 0x0a1c 0x00 clamp", 50587042, 0, 0, "clamp", false},
        {"00:00:00.000  22\\11\\2026 1234 0xFFFFFFFF 0xfffffff1  ERROR: x", 0, 1234, -15, " ERROR: x", true},
        {"23:59:59.999 015 0x1234 0x0f", 86399999, 15, 15, "", false}};
    for (auto [line, time, level, priority, text, isDated] : tagged) {
        const auto tag = TakeTag(line);
        ASSERT_TRUE(tag) << line;
        EXPECT_EQ(std::tuple(tag->time, tag->level, tag->priority, line, tag->day.has_value()),
                  std::tuple(time, level, priority, text, isDated));
    }
    for (const char* untagged :
         {"", "14:03", "24:00:00.000 000 0x0a1c 0x00 x", "14:03:07.042 000 0x0a1c", "14:03:07.042 00 0x0a1c 0x00 x",
          "14:03:07.042  31\\02\\2026 000 0x0a1c 0x00 x", "14:03:07.042 000 0x123456789 0x00 x",
          "14:03:07.042 99999999999 0x0a1c 0x00 x", " 14:03:07.042 000 0x0a1c 0x00 x"}) {
        std::string_view line = untagged;
        EXPECT_FALSE(TakeTag(line)) << untagged;
        EXPECT_EQ(line, untagged);
    }
}

TEST_F(Log, TimesAreReadAsPeopleWriteThem) {
    const long long now = At(2026, 11, 22, 15 * kHour);
    const std::pair<const char*, long long> times[] = {
        {"now", now},
        {"10 min ago", now - 10 * kMinute},
        {" 90s ago ", now - 90 * kSecond},
        {"2 Hours  ago", now - 2 * kHour},
        {"1 week ago", now - 7 * 24LL * kHour},
        {"today", At(2026, 11, 22, 0)},
        {"Yesterday", At(2026, 11, 21, 0)},
        {"9:05", At(2026, 11, 22, 9 * kHour + 5 * kMinute)},
        {"2026-03-01", At(2026, 3, 1, 0)},
        {"2026-11-22 14:03", At(2026, 11, 22, 14 * kHour + 3 * kMinute)},
        {"2026-11-22T14:03:07.042", At(2026, 11, 22, 14 * kHour + 3 * kMinute + 7042)},
        {"1971-01-02T00:30:00.000+0130", 23 * kHour + 364LL * 24 * kHour + 24LL * kHour}};
    for (const auto& [text, moment] : times) {
        EXPECT_EQ(ReadMoment(text, now), moment) << text;
    }
    for (const char* text :
         {"", "soon", "10 min", "10 parsecs ago", "ago", "24:00", "14:60", "14:03x", "2026-02-29", "14", "2026-11-22 ",
          "2026-11-22 25:00", "2026-11-2214:03", "9999999 s ago", "14:03+0100"}) {
        EXPECT_EQ(ReadMoment(text, now).has_value(), std::string_view(text) == "2026-11-22 ") << text;
    }
}

TEST_F(Log, SeveralLogsBecomeOneByTime) {
    const std::string zeros(9, '\0');
    Write("imager_Fri.txt", Header("23:00:00.000", "20\\11\\2026") + Line("23:59:58", "last", "002") +
                                Line("00:00:05", "Log file day has changed: switching to: imager_Sun.txt"));
    Write("imager_Sun.txt", Header("00:00:05.000", "22\\11\\2026") +
                                Line("00:00:05", "Log output continuing from: imager_Fri.txt") +
                                Line("00:10:00", "story\r\n  goes on\n") + Line("00:09:59", "late") + "\n half");
    Write("server.log", Header("22:00:00.000", "20\\11\\2026") + Line("22:00:01", "up") + Line("01:00:00", "next day") +
                            Line("00:30:00", "day after") + zeros + Line("00:29:59", "a second less"));
    Write("dated.log", Line("23:59:00", "x").insert(12, "  21\\11\\2026") + Line("00:30:00", "y"));
    Write("notes.txt", "nothing\nto tell\n");
    EXPECT_EQ(Read(Folder()),
              (std::vector<std::string>{
                  R"(20 22:00 ** imager.log Created on: 20\11\2026 )", "20 22:00 up",
                  R"(20 23:00 ** imager.log Created on: 20\11\2026 )", "20 23:59 last", "21 01:00 next day",
                  "21 23:59 x", "22 00:00 Log file day has changed: switching to: imager_Sun.txt",
                  R"(22 00:00 ** imager.log Created on: 22\11\2026 )",
                  "22 00:00 Log output continuing from: imager_Fri.txt", "22 00:10 story\n  goes on\n",
                  "22 00:09 late\n\n half", "22 00:30 y", "22 00:30 day after", "22 00:29 a second less"}));
    EXPECT_EQ(Read(Folder(), "DATED"), (std::vector<std::string>{"21 23:59 x", "22 00:30 y"}));
    LogSet nobody("sever", false);
    const Outcome failure = nobody.Open({Folder()});
    EXPECT_TRUE(failure && failure->exit == Exit::kNotFound && Holds(failure->text, "(did you mean 'server'?)"));
}

TEST_F(Log, AnHourThatTheClockShowsTwiceIsNoNewDay) {
    Write("server.log", Header("00:50:00.000", "01\\11\\2026") + Line("01:59:59", "") + Line("01:00:00", "") +
                            Line("01:30:00", "") + Line("02:00:00", "") + Line("01:50:00", ""));
    const ScopedVariable newYork("TZ", "EST5EDT,M3.2.0,M11.1.0");
    const Ended bench({"log", Folder(), "--json"});
    std::string output = bench.Output();
    for (const char* time :
         {"2026-11-01T00:50:00.000-0400", "2026-11-01T01:59:59.000-0400", "2026-11-01T01:00:00.000-0500",
          "2026-11-01T01:30:00.000-0500", "2026-11-01T02:00:00.000-0500", "2026-11-02T01:50:00.000-0500"}) {
        ASSERT_PRED2(Holds, output, time) << bench.Output();
        output.erase(0, output.find(time));
    }
}

TEST_F(Log, WhatNoLogWouldHoldIsToldAllTheSame) {
    const std::string endless(200000, 'x');
    Write("wild.txt", "no tag\n" + endless + "\n" + Line("10:00:00", endless) + Line("09:00:00", "\xFF\x1b[2J"));
    const std::vector<std::string> lines = Read(m_folder.File("wild.txt"));
    ASSERT_GT(lines.size(), 3U);
    EXPECT_EQ(lines.front(), "no tag");
    std::size_t length = 0;
    for (const std::string& line : lines) {
        length += static_cast<std::size_t>(std::ranges::count(line, 'x'));
    }
    EXPECT_EQ(length, 2 * endless.size());
    EXPECT_TRUE(Holds(lines.back(), " 09:00 \xFF\x1b[2J"));
    const Day today = DayAt(static_cast<long long>(std::time(nullptr)) * kSecond);
    const auto day = static_cast<unsigned>(std::strtoul(lines.back().c_str(), nullptr, 10));
    const auto isOf = [&](Day date) { return unsigned{std::chrono::year_month_day(date).day()} == day; };
    EXPECT_TRUE(isOf(today) || isOf(today - std::chrono::days(1))) << "the last line is of the day of the last write";
}

TEST_F(Log, AFollowedLogGoesOnWhateverHappensToItsFiles) {
    Write("imager_Mon.txt", Line("23:59:58", "old") + Line("23:59:59", "monday"));
    Write("imager_Tue.txt", Line("10:00:00", "of last week"));
    Program bench("bench", {"log", m_folder.File("imager_Mon.txt"), "--follow", "--grep", "a"});
    const auto shows = [&](const std::string& text) {
        EXPECT_TRUE(bench.WaitForOutput(" 0 " + text + "\n")) << bench.Errors();
    };
    shows("monday");
    Write("imager_Mon.txt", "23:59:59.500 000 0x0a1c 0x00 a line in");
    Write("imager_Mon.txt", " two halves\n");
    shows("a line in two halves");
    shows("of last week");
    Remove("imager_Tue.txt");
    Write("imager_Tue.txt", Header("00:00:01.000", "24\\11\\2026") + Line("00:00:01", "tuesday"));
    shows("tuesday");
    Write("imager_Tue.txt", Line("00:00:02", "a truncation"), std::ios::trunc);
    shows("a truncation");
    Remove("imager_Tue.txt");
    EXPECT_NE(bench.WaitForError("imager_Tue.txt is gone"), "");
    Write("imager_Tue.txt", Line("00:00:03", "a new file"));
    shows("a new file");
    Rename("imager_Tue.txt", "imager_Tue.old");
    Write("imager_Tue.old", Line("00:00:04", "after the renaming"));
    Write("imager_Tue.txt", Line("00:00:05", "instead of the renamed"));
    shows("instead of the renamed");
    shows("after the renaming");
    Write("imager_Wed.txt", Line("00:00:01", "wednesday"));
    shows("wednesday");
    EXPECT_FALSE(Holds(bench.Output(), "old"));
    const std::string all = bench.Output();
    EXPECT_EQ(std::ranges::count(all, '\n'), 10) << all; // nine, and a header's
    if (bench.Interrupt()) {
        EXPECT_EQ(bench.Wait(), 0);
    }
}

TEST_F(Log, CommandsSayWhatTheyShowAndWhatIsWrong) {
    Write("imager_Mon.txt", Header("08:00:00.000", "23\\11\\2026") + Line("09:00:00", "a\tb\x1b[2J\nsecond") +
                                Line("10:00:00", " ERROR: clamp", "001"));
    const std::string none = m_folder.File("none");
    std::filesystem::create_directory(none);
    const std::tuple<std::vector<std::string>, Exit, std::string> calls[] = {
        {{Folder(), "--since", "2026-11-23 09:00", "--level", "0"},
         Exit::kDone,
         "2026-11-23 09:00:00.000 imager 0x0a1c 0 a b\\x1B[2J\nsecond\n"},
        {{Folder(), "--grep", "CLAMP", "--until", "now"}, Exit::kDone, ""},
        {{Folder(), "--grep", "CLAMP", "--json"},
         Exit::kDone,
         R"("level":1,"thread":2588,"priority":0,"continued":fal)"},
        {{Folder(), "--since", ""}, Exit::kUsage, "--since: no time"},
        {{Folder(), "--since", "soon"}, Exit::kUsage, "--since: 'soon' is no time: write '10 min ago'"},
        {{Folder(), "--follow", "--until", "now"}, Exit::kUsage, "leave one of them out"},
        {{none}, Exit::kNotFound, "none: there is no log"},
        {{m_folder.File("nowhere")}, Exit::kNotFound, "nowhere: there is no such file or folder"},
    };
    for (auto [arguments, exit, says] : calls) {
        arguments.insert(arguments.begin(), "log");
        const Ended bench(arguments, static_cast<int>(exit));
        EXPECT_PRED2(Holds, exit == Exit::kDone ? bench.Output() : bench.Errors(), says);
    }
}

} // namespace
} // namespace apps::test
