#include "gaizior/platform/timing.h"
#include "tests/config/config_files.h"
#include "tests/config/plate_history.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/child.h"
#include "tests/support/watchdog.h"

#include <algorithm>
#include <thread>

namespace gaizior::test {
namespace {

const std::string kHeader = "0x00000001\nFirst created: (mm/dd/yyyy): 01/02/2026 03:04:05\ndate\ttime\tplate\tby\n\n";

/// What the system's text files look like.
std::string Text(const std::string& text) {
    return ReplaceLineEnds(text, "\n", kLineEnd);
}

std::string Line(const std::string& text) {
    return Text("01/02/2026\t03:04:05\t" + text + '\n');
}

class History : public ConfigFiles {
protected:
    History() {
        const SYSTEMTIME now{2026, 1, 5, 2, 3, 4, 5, 6};
        seams::SetLocalTime(&now);
    }
    ~History() override {
        seams::SetLocalTime(nullptr);
    }
    PlateHistory Open(unsigned lines) const {
        PlateHistory history;
        EXPECT_EQ(history.Create(m_path.c_str(), "plate\tby", lines), 0);
        return history;
    }

    const Watchdog m_watchdog;
    const std::string m_header = Text(kHeader);
};

TEST_F(History, KeepsTheHeaderAndTheNewestLines) {
    const std::string longest(2000, 'l');
    const std::tuple<std::string, unsigned, const char*, std::string> cases[] = {
        {kNone, 0, "gone at once", m_header},
        {kNone, 2, "B\tme", m_header + Line("B\tme")},
        {m_header + Line("A") + Line("B") + Line("C"), 3, nullptr, m_header + Line("B") + Line("C") + Line("")},
        {m_header + Line("A"), 2, "of a\nfew\nlines", m_header + Line("A") + Line("of a\nfew\nlines")},
        {"of another kind", 1, "!", "of another kind" + Line("!")}, // joins the last line
        {"", 1, "x", Line("x")},
        // A data line's third character is a slash; cuts lose lines of one or two characters.
        {"ab\nc/d\nef\n\n", 1, "x", "ab\nc/d\nef\n\n" + Line("x")},
        {"01/no\nab\n02/yes\n", 1, "x", "01/no\n\n" + Line("x")},
        {"ab\r\n\rc\n01/\r\n\r\nde\r\n", 1, "x", "\r\n\r\n" + Line("x")},
        {"head\r01/a\r02/b\r", 1, "x", "head\r" + Line("x")},
        {"///\n///\n/\n", 1, "x", "///\n" + Line("x")},
        {"head\n01/a\n02/b\nab\nlong\n", 2, "x", "head\n02/b\n\nlong\n" + Line("x")},
        {"head\n01/a\n02/" + longest + "\r\n", 2, "x", "head\n02/" + longest + "\r\n" + Line("x")}};
    for (const auto& [before, limit, text, after] : cases) {
        Put(before);
        PlateHistory history = Open(limit);
        EXPECT_EQ(history.Create("elsewhere", nullptr, 9), 0);
        EXPECT_EQ(PlateHistory(history).LogIt(text), 0);
        EXPECT_EQ(Contents(), after);
    }
    Put(kNone);
    std::error_code isRefused; // on Windows
    std::filesystem::create_symlink("elsewhere", m_folder.Path() / "file", isRefused);
    Open(1);
    EXPECT_EQ(Contents(), m_header);
}

TEST_F(History, IsReadLineByLine) {
    const std::pair<std::string, std::vector<const char*>> cases[] = {
        {kHeader, {}},
        {"01/no\r\n01/A\tB\r\n\r\nab\r\n02/C", {"01/A\tB", "02/C"}},
        {"head\r01/A\r02/C\r", {"01/A", "02/C"}},
        {"head\n01/A\nand more\n03/", {"01/A", "03/"}}};
    for (const auto& [contents, lines] : cases) {
        Put(contents);
        ZRHistoryC::HistoryEnumeratorC enumerator = Open(9).GetEnumerator();
        ZRCString line = "before";
        for (const char* const expected : lines) {
            ZRHistoryC::HistoryEnumeratorC copy = enumerator;
            EXPECT_TRUE(enumerator.NextElement(line) == 0 && line == expected) << line;
            EXPECT_TRUE(copy.NextElement(line) == 0 && line == expected) << line;
        }
        EXPECT_TRUE(enumerator.NextElement(line) == ZRErrors::e_File_EndOfFile && line.IsEmpty());
    }
    std::vector<unsigned> codes;
    const auto read = [this] {
        ZRHistoryC::HistoryEnumeratorC enumerator = Open(9).GetEnumerator();
        ZRCString line;
        const unsigned code = enumerator.NextElement(line);
        EXPECT_EQ(enumerator.NextElement(line), ZRErrors::e_File_EndOfFile);
        return code;
    };
    FailEachCall(m_header + Line("A"), read, [&](unsigned code, auto&&...) { codes.push_back(code); });
    EXPECT_EQ(codes, (std::vector<unsigned>{0, 2007, 2056, 2056, 0})); // the first one is Create's
}

TEST_F(History, IsWholeWhicheverCallFails) {
    const std::string old = m_header + Line("A"), longer = old + Line("B"), cut = m_header + Line("B");
    PlateHistory lost;
    EXPECT_EQ(lost.LogIt("too early"), ZRErrors::e_File_InvalidName);
    EXPECT_EQ(lost.Create(Path("lost\\file").c_str(), nullptr, 1), ZRErrors::e_File_OpenFailed);
    EXPECT_NE(m_log.Take().find("Create(): failed to open file:" + Path("lost\\file") + ", reason: "), old.npos);
    EXPECT_TRUE(lost.LogIt("the path stays") == 1001 && lost.GetFilePath() == Path("lost\\file"));
    const auto check = [](const std::vector<std::string>& states, const std::string& line) {
        return [=](unsigned code, const std::string& logged, const std::string& contents) {
            EXPECT_TRUE(code == 0 || code == 1001 || code == 2055) << code;
            EXPECT_NE(std::find(states.begin(), states.end(), contents), states.end()) << contents;
            EXPECT_TRUE(code == 0 ? contents != states.front() : logged.find(line) != logged.npos) << logged;
            EXPECT_TRUE(contents == states.back() || logged.find(line) != logged.npos) << logged;
        };
    };
    const auto create = [this] { return PlateHistory().Create(m_path.c_str(), "plate\tby", 1); };
    const auto log = [this] { return Open(1).LogIt("B"); };
    EXPECT_GT(FailEachCall(kNone, create, check({kNone, m_header}, " ERROR: ZRHistoryC::Create(): failed ")), 5u);
    EXPECT_GT(FailEachCall(old, log, check({old, longer, cut}, " ERROR: ZRHistoryC::")), 12u);
    PlateHistory history = Open(1);
    unsigned code = 0;
    const auto logAndRead = [&] { code = history.LogIt("B"), history.GetEnumerator(); };
    for (int n = 1; Put(old), FailAllocation(n, logAndRead); ++n) {
        EXPECT_EQ(code == 0, Contents() != old) << code << " after allocation " << n;
    }
}

TEST_F(History, IsWholeWhenItsWriterDies) {
    const std::string old = m_header + Line("A") + Line("B");
    unsigned point = 1;
    for (unsigned died = 1; died; ++point) {
        Put(old);
        died = Child(SiblingProgram("config_child"), '"' + m_path + "\" " + std::to_string(point)).ExitCode();
        const std::string contents = Contents();
        const std::string kept = contents.substr(0, contents.size() - Line("new").size());
        EXPECT_TRUE(contents.ends_with(Text("\tnew\n"))) << contents;
        EXPECT_TRUE((died && kept == old) || kept == m_header + Line("B")) << point << contents;
    }
    EXPECT_GT(point, 7u) << "the append, the temporary file, its text, its identity, its flush, its name";
}

TEST_F(History, LosesNoLineToOthersWhoLog) {
    std::string old = m_header;
    for (unsigned i = 0; i < 40; ++i) {
        old += Line("old");
    }
    Put(old);
    const auto log = [this](unsigned first) {
        PlateHistory history = Open(40);
        for (unsigned i = first; i < first + 10; ++i) {
            EXPECT_EQ(history.LogIt(std::to_string(i).c_str()), 0);
        }
    };
    { const std::jthread one(log, 10), two(log, 20), three(log, 30), four(log, 40); }
    EXPECT_EQ(Contents().size(), m_header.size() + 40 * Line("10").size()) << "an old line is longer";
}

} // namespace
} // namespace gaizior::test
