#include "gaizior/config/history.h"

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/line_end.h"
#include "gaizior/platform/timing.h"
#include "tests/config/plate_history.h"
#include "tests/support/child.h"
#include "tests/support/log_capture.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>
#include <tuple>
#include <vector>

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;

const std::string kNone = "(no file)";
const std::string kStamp = "01/02/2026\t03:04:05\t";
const std::string kHeader = "0x00000001\nFirst created: (mm/dd/yyyy): 01/02/2026 03:04:05\ndate\ttime\tplate\tby\n\n";

class History : public testing::Test {
protected:
    History() {
        const SYSTEMTIME now{.wYear = 2026,
                             .wMonth = 1,
                             .wDayOfWeek = 5,
                             .wDay = 2,
                             .wHour = 3,
                             .wMinute = 4,
                             .wSecond = 5,
                             .wMilliseconds = 6};
        seams::SetLocalTime(&now);
    }
    ~History() override {
        seams::SetLocalTime(nullptr);
        seams::FailFileCall(0, NO_ERROR);
    }
    std::string Contents() const {
        std::string contents;
        return ReadWholeFile(m_path.c_str(), contents, 1 << 20) ? contents : kNone;
    }
    void Put(const std::string& contents) const {
        fs::remove(m_folder.Path() / "plates.log");
        ASSERT_TRUE(contents == kNone || SaveFile(m_path.c_str(), contents));
    }
    /// What the system's text files look like.
    static std::string Text(const std::string& text) {
        return ReplaceLineEnds(text, "\n", kLineEnd);
    }
    bool IsAlone() const {
        return std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator()) ==
               (Contents() == kNone ? 0 : 1);
    }
    /// What a history with room for `limit` lines makes of a file by logging a line to it.
    std::string Logged(const std::string& before, unsigned limit, const char* line) {
        Put(before);
        PlateHistory history;
        EXPECT_EQ(history.Create(m_path.c_str(), "plate\tby", limit), 0);
        EXPECT_EQ(history.LogIt(line), 0);
        return Contents();
    }

    Watchdog m_watchdog;
    LogCapture m_log;
    ScratchFolder m_folder;
    std::string m_path = m_folder.Path().string() + "\\plates.log";
};

TEST_F(History, KeepsTheHeaderAndTheNewestLines) {
    const auto lines = [](std::initializer_list<const char*> texts) {
        std::string result = kHeader;
        for (const char* const text : texts) {
            result += kStamp + text + '\n';
        }
        return Text(result);
    };
    PlateHistory history;
    EXPECT_EQ(history.LogIt("too early"), ZRErrors::e_File_InvalidName);
    ASSERT_EQ(history.Create(m_path.c_str(), "plate\tby", 3), 0);
    EXPECT_EQ(history.Create("elsewhere", nullptr, 9), 0);
    EXPECT_STREQ(history.GetFilePath(), m_path.c_str());
    EXPECT_EQ(Contents(), lines({}));
    for (const char* const text : {"A", "B\tme", "C", "D", "E"}) {
        EXPECT_EQ(PlateHistory(history).LogIt(text), 0);
    }
    EXPECT_EQ(Contents(), lines({"C", "D", "E"}));
    EXPECT_EQ(Logged(lines({"A"}), 2, "of a\nfew\nlines"), lines({"A", "of a\nfew\nlines"}));
    EXPECT_EQ(Logged(lines({"A", "of a\nfew\nlines"}), 2, nullptr), lines({"of a\nfew\nlines", ""}));
    EXPECT_EQ(Logged(kNone, 0, "gone at once"), lines({}));
    EXPECT_EQ(Logged("of another kind", 1, "!"), "of another kind" + Text(kStamp + "!\n")) << "joins its last line";
}

TEST_F(History, TellsDataLinesByTheirLook) {
    // What is in the file, and what becomes of it when all but one data line go.
    const std::string line = Text(kStamp + "x\n");
    const std::pair<std::string, std::string> cases[] = {
        {"", line},
        {"ab\nc/d\nef\n\n", "ab\nc/d\nef\n\n" + line}, // nothing is cut off
        {"01/no\nab\n02/yes\n", "01/no\n\n" + line},
        {"ab\r\n\rc\n01/\r\n\r\nde\r\n", "\r\n\r\n" + line},
        {"head\r01/a\r02/b\r", "head\r" + line},
        {"///\n///\n/\n", "///\n" + line},
        {"head\n01/a\nshort\nab\n03/\n", "head\n" + line},
        {std::string("he\0d\n0\0/a\n0\0/b\n", 15), std::string("he\0d\n", 5) + line}};
    for (const auto& [before, after] : cases) {
        EXPECT_EQ(Logged(before, 1, "x"), after);
    }
    EXPECT_EQ(Logged("head\n01/a\n02/b\nab\nlong\n", 2, "x"), "head\n02/b\n\nlong\n" + line);
    const std::string longest(2000, 'l');
    EXPECT_EQ(Logged("head\n01/a\n02/" + longest + "\r\n", 2, "x"), "head\n02/" + longest + "\r\n" + line);
}

TEST_F(History, IsReadLineByLine) {
    const std::pair<std::string, std::vector<const char*>> cases[] = {
        {kHeader, {}},
        {kHeader + "01/A\tB\n02/C\n", {"01/A\tB", "02/C"}},
        {"01/no\r\n01/A\r\n\r\nab\r\n02/C", {"01/A", "02/C"}},
        {"head\r01/A\r02/C\r", {"01/A", "02/C"}},
        {"head\n01/A\nand more\n03/", {"01/A", "03/"}},
        {kNone, {}}};
    for (const auto& [contents, lines] : cases) {
        Put(contents);
        PlateHistory history;
        EXPECT_EQ(history.GetEnumerator().NextElement(*std::make_unique<ZRCString>()), ZRErrors::e_File_EndOfFile);
        Put(kHeader), history.Create(m_path.c_str(), nullptr, 9), Put(contents);
        ZRHistoryC::HistoryEnumeratorC enumerator = history.GetEnumerator();
        ZRCString line = "before";
        for (const char* const expected : lines) {
            ZRHistoryC::HistoryEnumeratorC copy = enumerator;
            EXPECT_EQ(enumerator.NextElement(line), 0);
            EXPECT_STREQ(line, expected);
            EXPECT_TRUE(copy.NextElement(line) == 0 && line == expected);
        }
        EXPECT_EQ(enumerator.NextElement(line), ZRErrors::e_File_EndOfFile);
        EXPECT_STREQ(line, "");
        seams::FailFileCall(2, ERROR_CANCELLED);
        enumerator = history.GetEnumerator();
        EXPECT_EQ(enumerator.NextElement(line), contents == kNone ? 2007 : 2056);
        EXPECT_EQ(enumerator.NextElement(line), ZRErrors::e_File_EndOfFile);
    }
}

TEST_F(History, IsWholeWhicheverCallFails) {
    const std::string old = Text(kHeader + kStamp + "A\n"), line = Text(kStamp + "B\n");
    const auto create = [this](PlateHistory& history) { return history.Create(m_path.c_str(), "plate\tby", 1); };
    const auto log = [](PlateHistory& history) { return history.LogIt("B"); };
    const std::tuple<std::function<ZRErrors::ZRErrorT(PlateHistory&)>, std::string, std::vector<std::string>, unsigned>
        cases[] = {{create, kNone, {kNone, Text(kHeader)}, 6}, {log, old, {old, old + line, Text(kHeader) + line}, 12}};
    for (const auto& [operation, before, states, leastCalls] : cases) {
        unsigned call = 0;
        for (bool failed = true; failed;) {
            Put(before);
            PlateHistory history;
            ASSERT_TRUE(before == kNone || create(history) == 0);
            m_log.Take();
            seams::FailFileCall(++call, ERROR_CANCELLED);
            const ZRErrors::ZRErrorT code = operation(history);
            failed = seams::HasFileCallFailed();
            seams::FailFileCall(0, NO_ERROR);
            const std::string logged = m_log.Take(), contents = Contents();
            EXPECT_NE(std::ranges::find(states, contents), states.end()) << call << contents;
            EXPECT_TRUE(IsAlone()) << call;
            EXPECT_TRUE(code == 0 ? contents != before : code == 1001 || code == 2055) << call << ' ' << code;
            EXPECT_TRUE(logged.find(m_path) != logged.npos || (code == 0 && contents == states.back())) << call;
        }
        EXPECT_GT(call, leastCalls);
    }
    PlateHistory lost;
    EXPECT_EQ(lost.Create((m_path + "\\below").c_str(), nullptr, 1), ZRErrors::e_File_OpenFailed);
    EXPECT_EQ(m_log.Take(), "0 ERROR: ZRHistoryC::Create(): failed to open file:" + m_path + "\\below\n");
    EXPECT_EQ(lost.LogIt("the path stays"), ZRErrors::e_File_OpenFailed);
}

TEST_F(History, IsWholeWhenItsWriterDies) {
    const std::string old = Text(kHeader + kStamp + "A\n" + kStamp + "B\n");
    for (unsigned point = 1, died = 1; died; ++point) {
        Put(old);
        const Child child(SiblingProgram("config_child"),
                          '"' + m_folder.File("plates.log") + "\" 2 " + std::to_string(point));
        died = child.ExitCode();
        const std::string contents = Contents();
        EXPECT_TRUE(contents.ends_with(Text("\tnew\n"))) << point << contents;
        const std::string kept = contents.substr(0, contents.size() - kStamp.size() - Text("new\n").size());
        EXPECT_TRUE((died && kept == old) || kept == Text(kHeader + kStamp + "B\n")) << point << contents;
        EXPECT_TRUE(died || point > 5) << "the append, the temporary file, its text, its identity, its flush, its name";
    }
}

TEST_F(History, LosesNoLineToOthersWhoLog) {
    constexpr unsigned kWriters = 4, kLines = 10;
    std::string old = kHeader;
    for (unsigned i = 0; i < kWriters * kLines; ++i) {
        old += kStamp + "old\n";
    }
    Put(Text(old));
    const auto log = [this](unsigned writer) {
        PlateHistory history;
        EXPECT_EQ(history.Create(m_path.c_str(), nullptr, kWriters * kLines), 0);
        for (unsigned i = 0; i < kLines; ++i) {
            EXPECT_EQ(history.LogIt(std::to_string(writer * kLines + i).c_str()), 0);
        }
    };
    {
        std::vector<std::jthread> writers;
        for (unsigned i = 0; i < kWriters; ++i) {
            writers.emplace_back(log, i);
        }
    }
    const std::string contents = Contents();
    EXPECT_EQ(contents.size(), Text(kHeader).size() + 40 * Text(kStamp + "10\n").size() - 10) << contents;
    for (unsigned i = 0; i < kWriters * kLines; ++i) {
        EXPECT_NE(contents.find(Text('\t' + std::to_string(i) + '\n')), contents.npos) << i;
    }
}

} // namespace
} // namespace gaizior::test
