#include "gaizior/errors/error_text.h"

#include <gtest/gtest.h>

#include <string>

namespace gaizior {
namespace {

std::string g_sBox; ///< what the message box showed

int Record(HWND owner, const char* text, const char* caption, UINT type) {
    g_sBox = std::string(caption) + "|" + text + "|" + std::to_string(type) + (owner ? "|owned" : "");
    return 17;
}

TEST(ErrorAlert, ShowsTheTextAndTheLastErrorInABoxOfItsOwn) {
    const MessageBoxHandler before = ::SetMessageBoxHandler(Record);
    ::SetLastError(0x0FFFFFFF);
    EXPECT_EQ(ZROSErrorAlert("Door open"), 17);
    EXPECT_EQ(g_sBox, "Program Error|Door open|335888");
    EXPECT_EQ(ZROSError("No log"), 17);
    EXPECT_EQ(g_sBox, "Program Error|No log Format message failed.  Error: 268435455|335888");
    ZROSErrorAlert(nullptr);
    EXPECT_EQ(g_sBox, "Program Error||335888");
    ZROSError(std::string(100'000, 'x').c_str());
    EXPECT_EQ(g_sBox, "Program Error|" + std::string(kErrorTextSize - 1, 'x') + "|335888");
    ::SetMessageBoxHandler(before);
}

} // namespace
} // namespace gaizior
