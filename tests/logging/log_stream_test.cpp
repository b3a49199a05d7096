#include "gaizior/logging/log_stream.h"

#include "gaizior/platform/windows_api.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <locale>
#include <sstream>
#include <string>
#include <thread>

namespace {

struct Host {
    std::string text;
    void (*inHooks)() = [] {};
    unsigned level = 5;
    int queries = 0;
} g_host;

void Print(unsigned level, int mode, char* text) {
    g_host.text += std::to_string(level) + ',' + std::to_string(mode) + ' ' + text;
    g_host.inHooks();
}

unsigned QueryLevel() {
    ++g_host.queries;
    g_host.inHooks();
    return g_host.level;
}

struct LogStream : testing::Test {
    LogStream() {
        g_host = {};
    }
    ZRLogStreamC m_log{Print, nullptr, [](unsigned level) { g_host.level = level; }, QueryLevel};
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
    EXPECT_EQ(g_host.queries, 3) << "one level query for each insertion";
    m_log.SetMode(3);
    m_log.Format(5, 9, "dropped %d", 1);
    m_log << ZRLevel(4) << "kept" << std::endl;
    m_log.Format(4, 9, "kept %d", 2);
    EXPECT_EQ(g_host.text, "4,3 kept\n4,9 kept 2\n");
    EXPECT_TRUE(ZRLogStreamC::IsLevelEnabled(4) && !ZRLogStreamC::IsLevelEnabled(5));
    EXPECT_EQ(m_log.SetDebugLevel(2), 5u);
    EXPECT_FALSE(m_log.IsValidDebugLevel());
    static std::atomic<unsigned> variable;
    variable = 9;
    const int queries = g_host.queries;
    m_log.SetDBGetLevelFn(QueryLevel, variable);
    EXPECT_TRUE(m_log.IsValidDebugLevel());
    variable = 4;
    EXPECT_TRUE(!m_log.IsValidDebugLevel() && g_host.queries == queries);
    g_host.level = 9;
    m_log.SetDBGetLevelFn(QueryLevel);
    EXPECT_TRUE(m_log.IsValidDebugLevel());
}

struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override {
        return "\3";
    }
};

TEST_F(LogStream, WritesEveryTypeAlikeWithAndWithoutAnOstream) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    std::ostringstream expected;
    expected.imbue(before);
    expected
        << "0,1 abc1-12345674294967295 ERROR:  INFO:  WARNING: -21474836481-922337203685477580818446744073709551615 "
        << "1.5";
    const double numbers[] = {-0.0, 123456.5, 999999.5, 1e-4, 9.999994e-5, 4.9e-324, 1.7e308, HUGE_VAL, -std::nan("")};
    for (const double number : numbers) {
        expected << ' ' << number;
    }
    expected << "\n0,1 " << static_cast<void*>(this) << "0xffffffff....10\n";
    for (const bool withOstream : {false, true}) {
        g_host.text.clear();
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        if (withOstream) {
            log.GetOstream();
        }
        const char* nothing = nullptr;
        log << "a" << nothing << std::string("b") << 'c' << true << -1234567 << 4294967295u << ZRErrorMark << ZRInfoMark
            << ZRWarningMark << -2147483648L << 1ul << INT64_MIN << UINT64_MAX << ' ' << 1.5f;
        for (const double number : numbers) {
            log << ' ' << number;
        }
        log << std::endl
            << static_cast<void*>(this) << std::hex << std::showbase << -1 << std::setw(6) << std::setfill('.')
            << std::dec << 10L << std::endl;
        EXPECT_EQ(g_host.text, expected.str());
    }
    std::locale::global(before);
}

TEST_F(LogStream, HandsOverEachLineOnceAndWhole) {
    const std::string longText(40000, 'x');
    {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << "" << std::flush;
        log.SetMode(7);
        log << ZRLevel(2) << longText << std::endl << "short" << std::endl;
        log.GetOstream() << ZRLevel(1) << "piece" << std::flush;
        log.Format(0, 6, "%s", longText.c_str());
        log.SetMode(6);
        log << "never copied";
        const ZRLogStreamC copy(log);
        ZRLogStreamC assigned(nullptr, nullptr, nullptr, nullptr);
        (assigned = copy) << "copy";
    }
    EXPECT_EQ(g_host.text, "2,7 " + longText + "\n2,1 short\n1,1 piece0,6 " + longText.substr(0, 32767) +
                               "\n0,6 copy\n0,6 never copied\n");
}

TEST_F(LogStream, KeepsALineThatOutgrowsTheObjectWhole) {
    for (const std::size_t length : {254u, 255u, 256u, 257u, 511u, 512u}) {
        g_host.text.clear();
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        for (std::size_t n = 0; n < length; ++n) {
            log << 'x';
        }
        log << std::endl << "short" << std::endl;
        EXPECT_EQ(g_host.text, std::string("0,1 ").append(length, 'x').append("\n0,1 short\n"));
    }
}

TEST_F(LogStream, GivesATextAwayThatOutlivesTheBuffer) {
    ZRLogStrstreambufC buffer;
    buffer.sputn("hello", 6);
    const char* const text = buffer.str();
    EXPECT_STREQ(text, "hello");
    EXPECT_TRUE(std::less()(text, reinterpret_cast<char*>(&buffer)) ||
                !std::less()(text, reinterpret_cast<char*>(&buffer + 1)));
    buffer.freeze(false);
}

TEST_F(LogStream, SurvivesHooksThatLogThrowAndSpoilTheErrorNumbers) {
    g_host.inHooks = [] {
        ZRLogStreamC(nullptr, nullptr, nullptr, nullptr) << "from within" << std::endl;
        errno = ERANGE;
        ::SetLastError(ERROR_ACCESS_DENIED);
        throw 1;
    };
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
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(lastError, ERROR_ALREADY_EXISTS);
    // A line that its hook threw away is not lost.
    const std::string all = testing::internal::GetCapturedStderr() + g_host.text;
    for (const char* line :
         {"from within\n", "\n12.5\n", "0,1 12.5\n", "0,1 second\n", "unfinished3\n", "unfinished\n"}) {
        EXPECT_NE(all.find(line), std::string::npos) << line << "not in: " << all;
    }
}

TEST_F(LogStream, LetsThreadsLogWhileHooksAreReplaced) {
    static std::atomic<int> lines;
    static std::atomic<unsigned> level{1};
    lines = 0;
    const auto log = [] {
        for (int n = 0; n < 500; ++n) {
            ZRLogStreamC line([](unsigned, int, char* text) { lines += std::string_view(text) == "line 1\n"; }, nullptr,
                              nullptr, nullptr);
            line.SetDBGetLevelFn([] { return 1u; }, level);
            line << "line " << 1 << std::endl;
        }
    };
    { const std::jthread one(log), two(log), three(log); }
    EXPECT_EQ(lines, 1500);
}

} // namespace
