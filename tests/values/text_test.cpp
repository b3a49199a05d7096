#include "gaizior/values/text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

using namespace std::string_literals;

namespace {

TEST(Text, BecomesAsciiOrIsRefused) {
    std::setlocale(LC_ALL, ""); // no locale may have a say
    const struct {
        const char* narrow;
        const wchar_t* wide;
        unsigned size;
        bool isAscii;
        std::string expectedNarrow, expectedWide; // of buffers of six '#'
    } cases[] = {
        {"abc", L"abc", 6, true, "abc\0\0\0"s, "abc\0##"s},  {"abc", L"abc", 3, true, "abc###", "abc###"},
        {"abc", L"abc", 2, true, "ab####", "ab####"},        {nullptr, nullptr, 6, true, "######", "######"},
        {"ab\x80", L"ab\x80", 6, false, "######", "ab####"}, {"ab\xFF", L"ab\xFFFF", 1, false, "######", "a#####"},
    };
    for (const auto& given : cases) {
        SCOPED_TRACE(&given - cases);
        const auto code = given.isAscii ? ZRErrors::e_General_NoError : ZRErrors::e_Name_NotAscii;
        std::string narrow(6, '#');
        std::string wide(6, '#');
        EXPECT_EQ(TchrToAscii(narrow.data(), given.narrow, given.size), code);
        EXPECT_EQ(WsToAscii(wide.data(), given.wide, given.size), code);
        EXPECT_EQ(narrow + wide, given.expectedNarrow + given.expectedWide);
    }
}

TEST(Text, IsFoundInEitherCase) {
    const char* const text = "Hello World";
    EXPECT_EQ(UiStrStr(text, "WORLD"), text + 6);
    EXPECT_EQ(UiStrStr(text, "worlds"), nullptr);
    EXPECT_EQ(UiStrStr("[", "{"), nullptr) << "only letters have two cases";
    EXPECT_TRUE(!UiStrStr(text, "") && !UiStrStr("", text) && !UiStrStr(text, nullptr) && !UiStrStr(nullptr, text));
}

} // namespace
