#include "gaizior/values/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <initializer_list>
#include <string>

namespace {

std::string Joined(std::initializer_list<ZRCString> parts) {
    std::string joined;
    for (const ZRCString& part : parts) {
        joined.append(part).append("|");
    }
    return joined;
}

TEST(String, GivesPartsAndClampsPositions) {
    const ZRCString text("abcdef");
    EXPECT_EQ(Joined({text.Left(2), text.Left(0), text.Left(-1), text.Left(INT_MAX)}), "ab|||abcdef|");
    EXPECT_EQ(Joined({text.Right(2), text.Right(0), text.Right(INT_MIN), text.Right(INT_MAX)}), "ef|||abcdef|");
    EXPECT_EQ(Joined({text.Mid(2, 10), text.Mid(2, -1), text.Mid(-2, 3), text.Mid(INT_MAX, INT_MAX)}), "cdef||abc||");
    EXPECT_EQ(Joined({text.Mid(2), text.Mid(6)}), "c||") << "one character, not the rest";
    EXPECT_EQ(std::string({text[5], text.GetAt(6), text[-1], text[INT_MAX]}), std::string("f\0\0\0", 4));
    const long last = 5;
    EXPECT_EQ(std::string({text[last], text[5ul], text[-1L], text[(1ll << 32) + 5]}), std::string("ff\0\0", 4));
}

TEST(String, FindsCharactersAndTexts) {
    const ZRCString text("abcabc");
    EXPECT_TRUE(text.Find('b') == 1 && text.Find('b', 2) == 4 && text.Find('b', -9) == 1);
    EXPECT_TRUE(text.Find("ca") == 2 && text.Find("bc", 2) == 4 && text.Find(nullptr) == 0);
    EXPECT_TRUE(text.Find('b', INT_MAX) == -1 && text.Find("ca", 3) == -1);
}

TEST(String, ComparesWithAndWithoutCase) {
    const ZRCString text("Plate");
    EXPECT_TRUE(text.Compare("Plate") == 0 && text.Compare("plate") < 0 && text.Compare(nullptr) > 0);
    EXPECT_TRUE(text.CompareNoCase("pLATE") == 0 && text.CompareNoCase("plates") < 0);
    EXPECT_GT(text.CompareNoCase("PL_TE"), 0) << "lower case: _ sorts before a";
    EXPECT_LT(text.CompareNoCase("\xE9"), 0) << "bytes are unsigned";
    EXPECT_TRUE(text == ZRCString("Plate") && text == "Plate" && "Plate" == text && ZRCString() == nullptr);
    EXPECT_TRUE(text != ZRCString("Plat") && text != "plate");
}

TEST(String, GrowsAndJoinsInTheOrderWritten) {
    const ZRCString b("b");
    ZRCString text = "a" + b + 'c' + "d" + b;
    text += 'e';
    text += nullptr;
    ZRCString copy('<' + text + "f");
    EXPECT_STREQ(copy, "<abcdbef");
    ZRCString nul = 'N' + ZRCString();
    nul += '\0';
    EXPECT_TRUE(("a" + nul + nul).GetLength() == 5 && nul != "N") << "a text goes on behind a NUL";
    text = 'x';
    copy = text;
    text.Empty();
    EXPECT_STREQ(copy, "x");
    EXPECT_TRUE(text.IsEmpty() && !copy.IsEmpty() && copy.GetLength() == 1 && ZRCString(nullptr).IsEmpty());
}

TEST(String, FormatsWhateverThePrintfFamilyMakes) {
    ZRCString text;
    for (const int width : {1, 254, 255, 256, 5000}) {
        text.Format("%*d|%.3f|%lld", width, 7, 0.5, 1ll << 40);
        EXPECT_EQ(std::string(text), std::string(static_cast<std::size_t>(width) - 1, ' ') + "7|0.500|1099511627776");
    }
    text = 'a';
    text.Format("%s %s %%", static_cast<const char*>(text), static_cast<const char*>(text));
    EXPECT_STREQ(text, "a a %");
    const wchar_t unpaired[] = {0xD800, 0}; // no character: some formatters fail at it
    char expected[16] = "";
    const bool failed = std::snprintf(expected, sizeof expected, "a%ls", unpaired) < 0;
    text.Format("a%ls", unpaired);
    EXPECT_STREQ(text, failed ? "" : expected);
}

} // namespace
