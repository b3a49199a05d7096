#include "gaizior/logging/log_stream.h"

#include "gaizior/platform/windows_api.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Line {
    unsigned level;
    int mode;
    std::string text;
    bool operator==(const Line&) const = default;
};

std::vector<Line> g_lines;
std::function<void()> g_inPrint, g_inLevelQuery;
unsigned g_debugLevel;
int g_queries;

void Print(unsigned level, int mode, char* text) {
    g_lines.push_back({level, mode, text});
    if (g_inPrint) {
        g_inPrint();
    }
}

unsigned QueryLevel() {
    ++g_queries;
    if (g_inLevelQuery) {
        g_inLevelQuery();
    }
    return g_debugLevel;
}

void SetLevel(unsigned level) {
    g_debugLevel = level;
}

class LogStream : public testing::Test {
protected:
    void SetUp() override {
        g_lines.clear();
        g_inPrint = g_inLevelQuery = nullptr;
        g_debugLevel = 5;
        g_queries = 0;
        m_log.SetDBFn(Print);
        m_log.SetDBSetLevelFn(SetLevel);
        m_log.SetDBGetLevelFn(QueryLevel);
    }
    ZRLogStreamC m_log{nullptr, nullptr, nullptr, nullptr};
};

TEST(LogStreamDeathTest, WritesToStandardErrorUntilAHookIsInstalled) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a process of its own: no hook can be removed
    EXPECT_EXIT(
        {
            ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
            log << ZRLevel(20) << "ZRFooC::Bar(): " << 7 << std::endl;
            std::_Exit(ZRLogStreamC::GetDebugLevel() == 1 && log.GetBuffer().GetDebugLevel() == 21 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "ZRFooC::Bar\\(\\): 7\n");
}

TEST_F(LogStream, DeliversALineBelowTheDebugLevelOnly) {
    m_log << ZRLevel(5) << "dropped" << 1 << std::endl;
    EXPECT_EQ(g_queries, 3) << "one level query for each insertion";
    m_log.SetMode(3);
    m_log.Format(5, 9, "dropped %d", 1);
    m_log << ZRLevel(4) << "kept" << std::endl;
    m_log.Format(4, 9, "kept %d", 2);
    EXPECT_EQ(g_lines, (std::vector<Line>{{4, 3, "kept\n"}, {4, 9, "kept 2\n"}}));
    EXPECT_TRUE(ZRLogStreamC::IsLevelEnabled(4) && !ZRLogStreamC::IsLevelEnabled(5));
    EXPECT_EQ(m_log.SetDebugLevel(2), 5u);
    EXPECT_FALSE(m_log.IsValidDebugLevel());
    m_log.SetTrustedDBGetLevelFn([] { return 9u; });
    EXPECT_TRUE(m_log.IsValidDebugLevel());
    m_log.SetDBGetLevelFn(QueryLevel);
    EXPECT_FALSE(m_log.IsValidDebugLevel());
}

struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override {
        return "\3";
    }
};

TEST_F(LogStream, WritesEveryTypeAlikeWithAndWithoutAnOstream) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    for (const bool withOstream : {false, true}) {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        if (withOstream) {
            log.GetOstream();
        }
        const char* nothing = nullptr;
        log << "a" << nothing << std::string("b") << 'c' << true << -1234567 << 4294967295u << ZRErrorMark << ZRInfoMark
            << ZRWarningMark << -2147483648L << 1ul << INT64_MIN << UINT64_MAX << ' ' << 1.5f << std::endl;
        log << static_cast<void*>(&log) << std::hex << std::showbase << -1 << std::setw(6) << std::setfill('.')
            << std::dec << 10L << std::endl;
        std::ostringstream pointer;
        pointer.imbue(std::locale::classic());
        pointer << static_cast<void*>(&log) << "0xffffffff....10\n";
        ASSERT_EQ(g_lines.size(), 2u);
        EXPECT_EQ(g_lines[0].text, "abc1-12345674294967295 ERROR:  INFO:  WARNING: -21474836481-9223372036854775808"
                                   "18446744073709551615 1.5\n");
        EXPECT_EQ(g_lines[1].text, pointer.str());
        g_lines.clear();
    }
    std::locale::global(before);
}

TEST_F(LogStream, HandsOverEachLineOnceAndWhole) {
    const std::string longText(5000, 'x');
    {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log.flush();
        log << "" << std::flush;
        log.SetMode(7);
        log << ZRLevel(2) << longText << std::endl << "short" << std::endl;
        log.GetOstream() << ZRLevel(1) << "piece" << std::flush;
        log.SetMode(6);
        log << "never copied";
        const ZRLogStreamC copy(log);
        ZRLogStreamC assigned(nullptr, nullptr, nullptr, nullptr);
        (assigned = copy) << "copy";
    }
    const std::vector<Line> expected{
        {2, 7, longText + '\n'}, {2, 1, "short\n"}, {1, 1, "piece"}, {1, 6, "copy\n"}, {1, 6, "never copied\n"}};
    EXPECT_EQ(g_lines, expected);
    g_lines.clear();
    m_log.Format(0, 1, "%s", std::string(40000, 'x').c_str());
    EXPECT_EQ(g_lines.at(0).text, std::string(32767, 'x') + '\n');
}

TEST_F(LogStream, SurvivesHooksThatLogThrowAndSpoilTheErrorNumbers) {
    const auto misbehave = [] {
        ZRLogStreamC(nullptr, nullptr, nullptr, nullptr) << "from within" << std::endl;
        errno = ERANGE;
        ::SetLastError(ERROR_ACCESS_DENIED);
        throw std::runtime_error("hook");
    };
    g_inPrint = g_inLevelQuery = misbehave;
    errno = ENOENT;
    ::SetLastError(ERROR_ALREADY_EXISTS);
    testing::internal::CaptureStderr();
    {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << 1 << 2.5 << std::endl << std::hex << "second" << std::endl << "unfinished";
        log.Format(0, 1, "%d", 3);
        log << "unfinished";
    }
    const DWORD lastError = ::GetLastError();
    const int number = errno;
    EXPECT_EQ(number, ENOENT);
    EXPECT_EQ(lastError, ERROR_ALREADY_EXISTS);
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_NE(printed.find("from within\n"), std::string::npos);
    EXPECT_NE(printed.find("12.5\n"), std::string::npos) << "a line that its hook threw away is not lost";
    std::string delivered;
    for (const Line& line : g_lines) {
        delivered += line.text == "from within\n" ? "" : line.text;
    }
    EXPECT_EQ(delivered, "12.5\nsecond\nunfinished3\nunfinished\n");
}

TEST_F(LogStream, KeepsAHookWhenNullIsInstalled) {
    static std::string name;
    m_log.SetDBSetLogNameFn([](char* text) { name = text; });
    const ZRLogStreamC keeps(nullptr, nullptr, nullptr, nullptr);
    ZRDebugPrintHookT print = nullptr;
    ZRSetLogNameHookT setName = nullptr;
    ZRSetLevelHookT setLevel = nullptr;
    ZRGetLevelHookT getLevel = nullptr;
    keeps.GetHooks(print, setName, setLevel, getLevel);
    EXPECT_TRUE(print == Print && setName && setLevel == SetLevel && getLevel == QueryLevel);
    char newName[] = "imager.log";
    m_log.SetLogFileName(newName);
    EXPECT_EQ(name, "imager.log");
}

TEST_F(LogStream, LetsThreadsLogWhileHooksAreReplaced) {
    static std::atomic<int> lines;
    lines = 0;
    const ZRDebugPrintHookT count = [](unsigned, int, char* text) { lines += std::string_view(text) == "line 1\n"; };
    m_log.SetDBFn(count);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([count] {
            for (int n = 0; n < 500; ++n) {
                ZRLogStreamC log(count, nullptr, nullptr, nullptr);
                log.SetTrustedDBGetLevelFn([] { return 1u; });
                log << "line " << 1 << std::endl;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(lines, 2000);
}

} // namespace
