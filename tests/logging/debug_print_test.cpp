#include "gaizior/logging/debug_print.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string g_text;

void Collect(int level, int mode, const char* text) {
    g_text = std::to_string(level) + ',' + std::to_string(mode) + ',' + text;
}

TEST(DebugPrint, PrintsUpToItsLevelWhenItIsNotNegative) {
    const std::string longText(2052, 'y');
    const struct {
        int threshold, level;
        const char* printed;
        std::string text;
    } cases[] = {{0, 0, "x", "0,2,x"},
                 {0, 1, "x", ""},
                 {5, 5, "x", "5,2,x"},
                 {5, 6, "x", ""},
                 {-1, -1, "x", ""},
                 {0, -3, "x", "-3,2,x"},
                 {0, 0, longText.c_str(), "0,2," + longText.substr(1)}};
    EXPECT_EQ(ZRDBGetLevel(), 0);
    ZRDBprintf(0, 2, "nobody listens yet");
    for (const auto& [threshold, level, printed, text] : cases) {
        g_text.clear();
        EXPECT_TRUE(ZRDBNewRegisterCallback(Collect) == Collect);
        EXPECT_EQ(ZRDBSetLevel(threshold), threshold);
        EXPECT_EQ(ZRDBGetLevel(), threshold);
        ZRDBprintf(level, 2, "%s", printed);
        EXPECT_TRUE(ZRDBNewRegisterCallback(nullptr) == nullptr);
        ZRDBprintf(0, 2, "nobody listens any more");
        EXPECT_EQ(g_text, text) << threshold << ' ' << level;
    }
}

TEST(DebugPrint, SurvivesACallbackThatPrintsAndThrows) {
    ZRDBNewRegisterCallback([](int level, int mode, const char* text) {
        Collect(level, mode, text);
        ZRDBprintf(0, 1, "from within");
        throw 1;
    });
    testing::internal::CaptureStderr();
    ZRDBprintf(0, 1, "a");
    EXPECT_EQ(testing::internal::GetCapturedStderr() + g_text, "from withina0,1,a");
    ZRDBNewRegisterCallback(nullptr);
}

} // namespace
