#include "gaizior/errors/error_text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace gaizior {
namespace {

constexpr ZRErrors::ZRErrorT Code(std::uint32_t number) {
    return static_cast<ZRErrors::ZRErrorT>(number);
}

TEST(ErrorText, CodesGiveTheirMessageAndNumber) {
    const struct {
        std::uint32_t code;
        const char* text;
    } cases[] = {
        {0, "No Error: 0"},
        {57, "Job Stopped: 57"},
        {0xFFFF, "Last Error Code: 65535"},
        {0x80FF, " Error: e_DummyLastError: 33023"},
        {0x9022, "A bad magic number has been passed into an exposer operation. Error: e_ZRExposer_BadMagic: 36898"},
        {0x13011, "Unkown recorder frequency selection             (  /SW): 77841"},
        {5000, "Unrecognised Error Code: 5000"},
        {0x40000002, "Unrecognised Error Code: 1073741826"},
        {0x80000000, "Unrecognised Error Code: -2147483648"},
        {0xDFFFFFFF, "Unrecognised Error Code: -536870913"},
        {0x2FFFFFFF, "Format message failed.  Error: 268435455"},
        {0xBFFFFFFE, "Format message failed.  Error: -1610612738"},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(ZRErrToStr(Code(c.code)), c.text);
    }
}

TEST(ErrorText, FoldedNumbersGiveTheSystemsText) {
    EXPECT_STREQ(ZRErrToStr(Code(0x60000002)), std::string(std::strerror(2)).c_str());
    const std::string text = ZRErrToStr(Code(0x20000002));
    const std::string prefix = "Error: 2 (0x2) ";
    EXPECT_EQ(text.substr(0, prefix.size()), prefix);
    EXPECT_GT(text.size(), prefix.size());
    EXPECT_EQ(text.find_first_of("\r\n"), text.npos);
    const DWORD number = 2;
    EXPECT_EQ(text, ZRGetLastErrorMsg(&number));
}

TEST(ErrorText, OnlyAnImagesetterWithoutMediaHasItsOwnClass) {
    for (const std::uint32_t code : {0x0u, 0x336u, 0x339u, 0x20000337u, 0xFFFFFFFFu}) {
        EXPECT_EQ(DetermineErrorClass(Code(code)), 2) << code;
    }
    EXPECT_EQ(DetermineErrorClass(ZRErrors::e_Imagesetter_NoCassette), 4);
    EXPECT_EQ(DetermineErrorClass(ZRErrors::e_Imagesetter_NoMedia), 4);
}

TEST(ErrorText, ABufferTooSmallGetsTheBeginningAndStaysTerminated) {
    for (const std::uint32_t code : {57u, 5000u, 0x80000000u, 0x20000002u, 0x2FFFFFFFu, 0x60000002u}) {
        const std::string whole = ZRErrToStr(Code(code));
        for (std::size_t size = 0; size <= whole.size() + 2; ++size) {
            std::vector<char> buffer(size + 1, '#');
            const std::string_view text = FormatErrorText(Code(code), std::span(buffer).first(size));
            EXPECT_EQ(text, whole.substr(0, size == 0 ? 0 : size - 1));
            EXPECT_EQ(buffer[size], '#');
            EXPECT_TRUE(size == 0 || buffer[text.size()] == '\0');
        }
    }
}

TEST(ErrorText, AskingForATextKeepsTheNumbersOfTheFailureAndOtherThreadsTexts) {
    const DWORD number = 0x0FFFFFFF;
    const char* text = ZRErrToStr(Code(57));
    const char* message = ZRGetLastErrorMsg(&number);
    // The first call of a thread makes its buffers, which must not show either.
    std::thread([] {
        ::SetLastError(5);
        errno = EDOM;
        EXPECT_EQ(std::string(ZRGetLastErrorMsg(nullptr)).find("Error: 5 (0x5) "), 0u);
        for (const std::uint32_t code : {0u, 0x20000002u, 0x2FFFFFFFu, 0x60000002u, 0x60FFFFFFu}) {
            ZRErrToStr(Code(code));
        }
        EXPECT_EQ(errno, EDOM);
        EXPECT_EQ(::GetLastError(), 5u);
    }).join();
    EXPECT_STREQ(text, "Job Stopped: 57");
    EXPECT_STREQ(message, "Format message failed.  Error: 268435455");
}

} // namespace
} // namespace gaizior
