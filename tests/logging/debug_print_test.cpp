#include "gaizior/logging/debug_print.h"

#include "gaizior/platform/windows_api.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>

namespace {

std::string g_text;

void Collect(int level, int mode, const char* text) {
    g_text += std::to_string(level) + ',' + std::to_string(mode) + ',' + text;
}

class DebugPrint : public testing::Test {
protected:
    void SetUp() override {
        g_text.clear();
        EXPECT_TRUE(ZRDBNewRegisterCallback(Collect) == Collect);
    }
    void TearDown() override {
        ZRDBNewRegisterCallback(nullptr);
        ZRDBSetLevel(0);
    }
};

TEST_F(DebugPrint, PrintsUpToItsLevelWhenItIsNotNegative) {
    const struct {
        int threshold, level;
        const char* text;
    } cases[] = {{0, 0, "0,2,x7"}, {0, 1, ""}, {5, 5, "5,2,x7"}, {5, 6, ""}, {-1, -1, ""}, {0, -3, "-3,2,x7"}};
    EXPECT_EQ(ZRDBGetLevel(), 0);
    for (const auto& [threshold, level, text] : cases) {
        g_text.clear();
        EXPECT_EQ(ZRDBSetLevel(threshold), threshold);
        EXPECT_EQ(ZRDBGetLevel(), threshold);
        ZRDBprintf(level, 2, "x%d", 7);
        EXPECT_EQ(g_text, text) << threshold << ' ' << level;
    }
    EXPECT_TRUE(ZRDBNewRegisterCallback(nullptr) == nullptr);
    ZRDBprintf(0, 2, "nobody listens");
    EXPECT_EQ(g_text, "-3,2,x7");
}

TEST_F(DebugPrint, CutsALongText) {
    ZRDBprintf(0, 1, "%s", std::string(2051, 'x').c_str());
    ZRDBprintf(0, 1, "%s", std::string(2052, 'y').c_str());
    EXPECT_EQ(g_text, "0,1," + std::string(2051, 'x') + "0,1," + std::string(2051, 'y'));
}

TEST_F(DebugPrint, SurvivesACallbackThatPrintsThrowsAndSpoilsTheErrorNumbers) {
    ZRDBNewRegisterCallback([](int level, int mode, const char* text) {
        Collect(level, mode, text);
        ZRDBprintf(0, 1, "from within");
        errno = ERANGE;
        ::SetLastError(ERROR_ACCESS_DENIED);
        throw std::runtime_error("callback");
    });
    errno = ENOENT;
    ::SetLastError(ERROR_ALREADY_EXISTS);
    testing::internal::CaptureStderr();
    ZRDBprintf(0, 1, "a");
    const DWORD lastError = ::GetLastError();
    const int number = errno;
    EXPECT_EQ(number, ENOENT);
    EXPECT_EQ(lastError, ERROR_ALREADY_EXISTS);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "from withina");
    EXPECT_EQ(g_text, "0,1,a");
}

} // namespace
