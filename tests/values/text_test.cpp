#include "gaizior/values/text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

using namespace std::string_literals;

namespace {

const auto kOk = ZRErrors::e_General_NoError;
const auto kNotAscii = ZRErrors::e_Name_NotAscii;

TEST(Text, BecomesAsciiOrIsRefused) {
    std::setlocale(LC_ALL, ""); // no locale may have a say
    const struct {
        const char* narrow;
        const wchar_t* wide;
        unsigned size;
        ZRErrors::ZRErrorT code;
        std::string expectedNarrow, expectedWide; // of a buffer of six '#'
    } cases[] = {
        {"abc", L"abc", 6, kOk, "abc\0\0\0"s, "abc\0##"s},
        {"abc", L"abc", 4, kOk, "abc\0##"s, "abc\0##"s},
        {"abc", L"abc", 3, kOk, "abc###", "abc###"},
        {"abc", L"abc", 2, kOk, "ab####", "ab####"},
        {"", L"", 1, kOk, "\0#####"s, "\0#####"s},
        {"a", L"a", 0, kOk, "######", "######"},
        {nullptr, nullptr, 6, kOk, "######", "######"},
        {"ab\x80", L"ab\x80", 6, kNotAscii, "######", "ab####"},
        {"ab\xFF", L"ab\xFFFF", 1, kNotAscii, "######", "a#####"},
        {"\x7F\xC3\xA9", L"\x7F\x20AC", 6, kNotAscii, "######", "\x7F#####"},
    };
    for (const auto& given : cases) {
        SCOPED_TRACE(&given - cases);
        std::string narrow(6, '#');
        std::string wide(6, '#');
        EXPECT_EQ(TchrToAscii(narrow.data(), given.narrow, given.size), given.code);
        EXPECT_EQ(WsToAscii(wide.data(), given.wide, given.size), given.code);
        EXPECT_EQ(narrow, given.expectedNarrow);
        EXPECT_EQ(wide, given.expectedWide);
    }
}

TEST(Text, IsFoundInEitherCase) {
    const char* const text = "Hello World";
    EXPECT_EQ(UiStrStr(text, "WORLD"), text + 6);
    EXPECT_EQ(UiStrStr(text, "l"), text + 2);
    EXPECT_EQ(UiStrStr(text, "worlds"), nullptr);
    EXPECT_EQ(UiStrStr("[", "{"), nullptr) << "only letters have two cases";
    for (const char* nothing : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(UiStrStr(text, nothing), nullptr);
        EXPECT_EQ(UiStrStr(nothing, text), nullptr);
    }
}

} // namespace
