#include "gaizior/values/text_file.h"

#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

using namespace std::string_literals;

namespace {

class TextFile : public testing::Test {
protected:
    struct Close {
        void operator()(std::FILE* file) const {
            std::fclose(file);
        }
    };
    using File = std::unique_ptr<std::FILE, Close>;

    File Open(const char* mode, int* isUnicode) {
        return File(FOpen(m_path.c_str(), mode, isUnicode));
    }
    void Write(std::string_view bytes) {
        std::ofstream(m_path, std::ios::binary) << bytes;
    }
    std::string Bytes() {
        std::ostringstream bytes;
        bytes << std::ifstream(m_path, std::ios::binary).rdbuf();
        return bytes.str();
    }
    /// The lines as FGets gives them with a buffer of `size`, each ended by '|'.
    std::string Lines(const char* mode, unsigned size) {
        int isUnicode = -7;
        const File file = Open(mode, &isUnicode);
        std::string lines;
        std::string buffer(size, '#');
        while (FGets(buffer.data(), size, file.get(), isUnicode)) {
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
        int mark;
        int unicode;
        long position;
    } cases[] = {
        {"\xFF\xFE", 1, 1, 2},  {"\xFF\xFE"s + "a\0"s, 1, 1, 2},
        {"\xFE\xFF", -1, 0, 0}, {"\xFF", 0, 0, 0},
        {"", 0, 0, 0},          {"ab", 0, 0, 0},
    };
    for (const auto& given : cases) {
        SCOPED_TRACE(&given - cases);
        Write(given.bytes);
        int isUnicode = -7;
        const File file = Open("r", &isUnicode);
        EXPECT_EQ(isUnicode, given.unicode);
        EXPECT_EQ(std::ftell(file.get()), given.position);
        std::getc(file.get());
        const long position = std::ftell(file.get());
        EXPECT_EQ(FileIsUnicode(file.get()), given.mark);
        EXPECT_EQ(std::ftell(file.get()), position);
        EXPECT_EQ(Open("a", &isUnicode) != nullptr && isUnicode == given.unicode, true) << "also for appending";
    }
    EXPECT_EQ(FileIsUnicode(nullptr), 0);
}

TEST_F(TextFile, OpensUnderEitherSeparatorOrNotAtAll) {
    Write("x");
    int isUnicode = -7;
    for (const char separator : {'/', '\\'}) {
        std::string path = m_path;
        std::ranges::replace_if(
            path, [](char c) { return c == '/' || c == '\\'; }, separator);
        EXPECT_NE(File(FOpen(path.c_str(), "r", nullptr)), nullptr) << path;
    }
    isUnicode = -7;
    EXPECT_EQ(FOpen(m_folder.File("missing").c_str(), "r", &isUnicode), nullptr);
    EXPECT_EQ(FOpen(nullptr, "r", &isUnicode), nullptr);
    EXPECT_EQ(FOpen(m_path.c_str(), "", &isUnicode), nullptr);
    EXPECT_EQ(FOpen(m_path.c_str(), nullptr, &isUnicode), nullptr);
    EXPECT_EQ(isUnicode, -7);
}

TEST_F(TextFile, GivesLineAfterLine) {
    Write("abc\r\n\nlast");
    EXPECT_EQ(Lines("rb", 64), "abc\r||last|");
    EXPECT_EQ(Lines("rb", 4), "abc|\r||las|t|");
    Write("\xFF\xFE" + "a\0b\0\xE9\0\r\0\n\0"s + "\n\0"s + "\xAC\x20"s + "\0\x01"s + "\x0A\x0D"s + "z"s);
    EXPECT_EQ(Lines("r", 64), "ab\xE9\r||???|")
        << "units that are no byte, one of them half a line feed, and half a unit";
    EXPECT_EQ(Lines("r", 4), "ab\xE9|\r||???|");
    char untouched = '#';
    EXPECT_EQ(FGets(&untouched, 1, nullptr, 1), nullptr);
    EXPECT_EQ(FGets(&untouched, 0, stdin, 1), nullptr);
    EXPECT_EQ(FGets(nullptr, 9, stdin, 0), nullptr);
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
        {0, 0, "", -1, ""},
        {1, 64, "1%%\n\xE9", 5,
         "\xFF\xFE"
         "1\0%\0%\0\n\0\xE9\0"s},
        {1, 2, "ab", -1, "\xFF\xFE"},
    };
    for (const auto& given : cases) {
        SCOPED_TRACE(&given - cases);
        int isUnicode = given.isUnicode;
        {
            const File file = Open("w", &isUnicode);
            EXPECT_EQ(FPrint(file.get(), isUnicode, given.size, "%s", given.text), given.result);
        }
        EXPECT_EQ(Bytes(), given.bytes);
    }
    EXPECT_EQ(FPrint(nullptr, 0, 64, "%d", 1), -1);
    const File readOnly = Open("r", nullptr);
    EXPECT_LT(FPrint(readOnly.get(), 0, 64, "%d", 1), 0);
    EXPECT_EQ(FPrint(readOnly.get(), 1, 64, "%d", 1), 0);
}

} // namespace
