#include "gaizior/values/text_file.h"

#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>

#include <sys/stat.h>

using namespace std::string_literals;

namespace {

class TextFile : public testing::Test {
protected:
    using File = std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })>;

    File Open(const char* mode, int* isUnicode) {
        return File(FOpen(m_path.c_str(), mode, isUnicode));
    }
    void Write(std::string_view bytes) {
        std::ofstream(m_path, std::ios::binary) << bytes;
    }
    /// The lines of a file of these bytes as FGets gives them with a buffer of `size`, each ended by '|'.
    std::string Lines(std::string_view bytes, unsigned size, const char* mode = "rb") {
        int isUnicode = -7;
        Write(bytes);
        const File file = Open(mode, &isUnicode);
        std::string lines;
        for (std::string buffer(size, '#'); FGets(buffer.data(), size, file.get(), isUnicode);) {
            lines += buffer.c_str() + "|"s;
        }
        return lines;
    }

    gaizior::test::ScratchFolder m_folder;
    std::string m_path = m_folder.File("text.txt");
};

TEST_F(TextFile, TellsUnicodeByItsMarkAndStaysWhereItIs) {
    const struct {
        std::string bytes;
        int mark, isUnicode;
        long position;
    } cases[] = {{"\xFF\xFE"s + "a\0"s, 1, 1, 2}, {"\xFE\xFF", -1, 0, 0}, {"\xFF", 0, 0, 0}, {"ab", 0, 0, 0}};
    for (const auto& given : cases) {
        SCOPED_TRACE(given.bytes);
        int isUnicode = -7;
        Write(given.bytes);
        const File file = Open("r", &isUnicode);
        EXPECT_EQ(isUnicode, given.isUnicode);
        EXPECT_EQ(FileIsUnicode(file.get()), given.mark);
        EXPECT_EQ(std::ftell(file.get()), given.position);
        EXPECT_TRUE(Open("a", &isUnicode) && isUnicode == given.isUnicode) << "also for appending";
    }
    EXPECT_EQ(FileIsUnicode(nullptr), 0);
}

#ifndef _WIN32 // There pipes have no place among the files.

TEST_F(TextFile, IsOpenedOnce) {
    const gaizior::test::Watchdog watchdog;
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    const std::jthread writer([this] { EXPECT_GE(std::fputs("a short\nwriter", Open("w", nullptr).get()), 0); });
    int isUnicode = -7;
    const File file = Open("r", &isUnicode);
    char line[16] = "";
    EXPECT_STREQ(FGets(line, sizeof line, file.get(), isUnicode), "a short");
    EXPECT_STREQ(FGets(line, sizeof line, file.get(), isUnicode), "writer");
}

#endif

TEST_F(TextFile, OpensUnderEitherSeparatorOrNotAtAll) {
    int isUnicode = -7;
    Write("x");
    std::string path = m_path;
    std::ranges::replace(path, '/', '\\');
    EXPECT_NE(File(FOpen(path.c_str(), "r", nullptr)), nullptr) << path;
    std::ranges::replace(path, '\\', '/');
    EXPECT_NE(File(FOpen(path.c_str(), "r", nullptr)), nullptr) << path;
    EXPECT_EQ(FOpen(m_folder.File("missing").c_str(), "r", &isUnicode), nullptr);
    EXPECT_TRUE(!FOpen(nullptr, "r", &isUnicode) && !Open("", &isUnicode) && !Open(nullptr, &isUnicode));
    EXPECT_EQ(isUnicode, -7);
}

TEST_F(TextFile, GivesLineAfterLine) {
    EXPECT_EQ(Lines("abc\r\n\nlast", 64), "abc\r||last|");
    EXPECT_EQ(Lines("abc\r\n\nlast", 4), "abc|\r||las|t|");
    const std::string unicode =
        "\xFF\xFE" + "a\0b\0\xE9\0\r\0\n\0"s + "\n\0"s + "\xAC\x20"s + "\0\x01"s + "\x0D\x0A"s + "\x1A\0z"s;
    EXPECT_EQ(Lines(unicode, 64, "r"), "ab\xE9\r||???\x1A|")
        << "units that are no byte, one of them a line end's bytes, and half a unit";
    EXPECT_EQ(Lines(unicode, 4), "ab\xE9|\r||???|\x1A|");
    char untouched = '#';
    EXPECT_TRUE(!FGets(&untouched, 1, nullptr, 1) && !FGets(&untouched, 0, stdin, 1) && !FGets(nullptr, 9, stdin, 0));
    EXPECT_EQ(untouched, '#');
}

TEST_F(TextFile, TakesFormattedText) {
    const struct {
        int isUnicode;
        unsigned size;
        const char* text;
        int result;
        std::string bytes;
    } cases[] = {
        {0, 64, "100%%%%\xE9", 6, "100%%\xE9"}, // the formatted text is a format again
        {0, 64, "%n%s%", 5, "%n%s%"},           // and has no arguments
        {0, 3, "ab", 2, "ab"},
        {0, 2, "ab", -1, ""},
        {1, 64, "1%%\n\xE9", 5, "\xFF\xFE"s + "1\0%\0%\0\n\0\xE9\0"s},
        {1, 2, "ab", -1, "\xFF\xFE"},
    };
    for (const auto& given : cases) {
        SCOPED_TRACE(given.text);
        int isUnicode = given.isUnicode;
        EXPECT_EQ(FPrint(Open("w", &isUnicode).get(), isUnicode, given.size, "%s", given.text), given.result);
        std::ostringstream bytes;
        bytes << std::ifstream(m_path, std::ios::binary).rdbuf();
        EXPECT_EQ(bytes.str(), given.bytes);
    }
    const File readOnly = Open("r", nullptr);
    EXPECT_LT(FPrint(readOnly.get(), 0, 64, "%d", 1), 0);
    EXPECT_EQ(FPrint(readOnly.get(), 1, 64, "%d", 1), 0);
    EXPECT_EQ(FPrint(nullptr, 0, 64, "%d", 1), -1);
}

} // namespace
