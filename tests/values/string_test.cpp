#include "gaizior/values/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <type_traits>

namespace {

static_assert(std::has_virtual_destructor_v<ZRCString>);

TEST(String, GivesPartsAndClampsPositions) {
    const ZRCString text("abcdef");
    const struct {
        ZRCString part;
        const char* expected;
    } cases[] = {
        {text.Left(2), "ab"},      {text.Left(0), ""},        {text.Left(-1), ""},    {text.Left(INT_MAX), "abcdef"},
        {text.Right(2), "ef"},     {text.Right(0), ""},       {text.Right(-1), ""},   {text.Right(INT_MAX), "abcdef"},
        {text.Right(INT_MIN), ""}, {text.Mid(2, 10), "cdef"}, {text.Mid(1, 2), "bc"}, {text.Mid(2, 0), ""},
        {text.Mid(2, -1), ""},     {text.Mid(-2, 3), "abc"},  {text.Mid(6, 1), ""},   {text.Mid(INT_MAX, INT_MAX), ""},
        {text.Mid(2), "c"},        {text.Mid(6), ""}, // one character, not the rest
    };
    for (const auto& given : cases) {
        EXPECT_STREQ(given.part, given.expected) << &given - cases;
    }
    EXPECT_EQ(std::string({text[5], text.GetAt(6), text[-1], text.GetAt(INT_MAX)}), std::string("f\0\0\0", 4));
}

TEST(String, FindsCharactersAndTexts) {
    const ZRCString text("abcabc");
    EXPECT_EQ(text.Find('b'), 1);
    EXPECT_EQ(text.Find('b', 2), 4);
    EXPECT_EQ(text.Find('b', -9), 1);
    EXPECT_EQ(text.Find('b', 5), -1);
    EXPECT_EQ(text.Find('b', INT_MAX), -1);
    EXPECT_EQ(text.Find("ca"), 2);
    EXPECT_EQ(text.Find("ca", 3), -1);
    EXPECT_EQ(text.Find(nullptr), 0);
}

TEST(String, ComparesWithAndWithoutCase) {
    const ZRCString text("Plate");
    EXPECT_EQ(text.Compare("Plate"), 0);
    EXPECT_LT(text.Compare("plate"), 0);
    EXPECT_GT(text.Compare(nullptr), 0);
    EXPECT_EQ(text.CompareNoCase("pLATE"), 0);
    EXPECT_LT(text.CompareNoCase("plates"), 0);
    EXPECT_GT(text.CompareNoCase("PL_TE"), 0) << "lower case: _ sorts before a";
    EXPECT_LT(text.CompareNoCase("\xE9"), 0) << "bytes are unsigned";
}

TEST(String, GrowsAndJoinsInTheOrderWritten) {
    const ZRCString b("b");
    ZRCString text = "a" + b + 'c' + "d" + b;
    EXPECT_STREQ('<' + text, "<abcdb");
    text += 'e';
    text += "f";
    text += nullptr;
    ZRCString copy(text);
    text = 'x';
    EXPECT_STREQ(copy, "abcdbef");
    copy = text;
    text.Empty();
    EXPECT_STREQ(copy, "x");
    EXPECT_TRUE(text.IsEmpty() && !copy.IsEmpty() && copy.GetLength() == 1 && ZRCString(nullptr).IsEmpty());
}

TEST(String, FormatsWhateverThePrintfFamilyMakes) {
    ZRCString text;
    for (const int width : {1, 254, 255, 256, 257, 5000}) {
        text.Format("%*d|%.3f|%lld", width, 7, 0.5, 1ll << 40);
        EXPECT_EQ(std::string(text), std::string(static_cast<std::size_t>(width) - 1, ' ') + "7|0.500|1099511627776");
    }
    text = ZRCString("again");
    text.Format("%s %s %%", static_cast<const char*>(text), static_cast<const char*>(text));
    EXPECT_STREQ(text, "again again %");
    char expected[16] = "";
    const wchar_t unpaired[] = {0xD800, 0}; // no character: some formatters fail at it
    if (std::snprintf(expected, sizeof expected, "a%ls", unpaired) < 0) {
        expected[0] = '\0';
    }
    text.Format("a%ls", unpaired);
    EXPECT_STREQ(text, expected);
}

} // namespace
