#include "apps/bench/output.h"
#include "apps/support/suggest.h"
#include "apps/support/version.h"

#include <vector>

#include <gtest/gtest.h>

namespace apps {
namespace {

TEST(Output, AProgressLineFitsEveryWidth) {
    const std::string label = "expose plate 2 of 4: Magenta";
    EXPECT_EQ(ProgressLine(label, 437, "0:07 left", 57), label + " [###------]  43 %  0:07 left") << "60 columns";
    EXPECT_EQ(ProgressLine(label, 437, "0:07 left", 50), label + " [#####--------]  43 %") << "the time goes first";
    EXPECT_EQ(ProgressLine(label, 437, "0:07 left", 20), "expose plat...  43 %");
    for (std::size_t columns = 0; columns < 200; ++columns) {
        EXPECT_LE(ProgressLine(label, 437, "0:07 left", columns).size(), columns);
    }
    EXPECT_EQ(ProgressLine("x", 5000, "", 30), "x [####################] 100 %");
}

TEST(Output, TheVersionIsTheLibrarysAndTheProgramsOwnWhereThatIsAnother) {
    EXPECT_EQ(VersionText("bench", "2.10.0", "2.10.0"), "bench (gaizior) 2.10.0");
    EXPECT_EQ(VersionText("imager", "2.10.0", "2.9.1"), "imager (gaizior) 2.10.0, built with 2.9.1");
    EXPECT_EQ(VersionText("bench"), std::string("bench (gaizior) ") + GAIZIOR_VERSION) << "the one it is built with";
}

TEST(Output, TextFromElsewhereCannotSteerATerminal) {
    EXPECT_EQ(Printable("a\x1b[2J\r\nb\x7f"), "a\\x1B[2J\\x0D\\x0Ab\\x7F");
    EXPECT_EQ(Printable("M\xC3\xBCller"), "M\xC3\xBCller");
    EXPECT_EQ(Printable("\xC2\x9B"
                        "2J"),
              "\\xC2\\x9B2J")
        << "a control character of two bytes";
    EXPECT_EQ(Printable("\xFF\xC3"), "\\xFF\\xC3");
}

TEST(Output, JsonIsValidWhateverTheBytes) {
    EXPECT_EQ(JsonText("say \"\\\"\n"), "\"say \\\"\\\\\\\"\\u000a\"");
    EXPECT_EQ(JsonText("\xFF\xC0\x80\xED\xA0\x80"), "\"\\u00ff\\u00c0\\u0080\\u00ed\\u00a0\\u0080\"");
    EXPECT_EQ(JsonText("\xC3\xBC\xF0\x9F\x98\x80"), "\"\xC3\xBC\xF0\x9F\x98\x80\"");
}

TEST(Output, WhatIsTooWideIsShortenedByCharactersNotBytes) {
    EXPECT_EQ(Shortened("\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC", 4), "\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC");
    EXPECT_EQ(Shortened("\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC", 4), "\xC3\xBC...");
    EXPECT_EQ(Shortened("abcdef", 2), "..");
    std::vector<std::size_t> columns = {20, 8, 3, 30};
    Narrow(columns, 35);
    EXPECT_EQ(columns, (std::vector<std::size_t>{8, 8, 3, 8}));
}

TEST(Output, WhatIsWrappedLosesNothing) {
    EXPECT_EQ(Wrapped("7  ", "one two three", " ", 3, 10), "7  one two\n   three\n");
    EXPECT_EQ(Wrapped("", "A, Width 3.00 mm, Type", ", ", 4, 16), "A,\n    Width 3.00\n    mm, Type\n")
        << "a field that is longer than a line goes on in the next one";
    EXPECT_EQ(Wrapped("", "\xC3\xBC\xC3\xBC \xC3\xBC\xC3\xBC", " ", 0, 5), "\xC3\xBC\xC3\xBC \xC3\xBC\xC3\xBC\n");
    EXPECT_EQ(Wrapped("head  ", "", " ", 2, 80), "head\n");
    const std::string name = "e_AutoUnloader_CrossBarSafetyLimitBeforeBridge";
    for (std::size_t columns = 0; columns < 100; ++columns) {
        std::string joined = Wrapped("0xC021  ", name, " ", 4, columns);
        std::erase_if(joined, [](char c) { return c == ' ' || c == '\n'; });
        EXPECT_EQ(joined, "0xC021" + name) << columns;
    }
}

TEST(Suggestion, NamesTheNearestWordOrNone) {
    const std::vector<std::string> words = {"status", "send", "receive", "watch"};
    for (const char* typed : {"staus", "STATUS", "stauts", "sttatus", "setatus"}) {
        EXPECT_EQ(Suggestion(typed, words), " (did you mean 'status'?)") << typed;
    }
    EXPECT_EQ(Suggestion("recieve", words), " (did you mean 'receive'?)");
    for (const std::string& typed : {std::string("image"), std::string("x"), std::string(), std::string(5000, 's')}) {
        EXPECT_EQ(Suggestion(typed, words), "") << typed.substr(0, 20);
    }
}

} // namespace
} // namespace apps
