#include "gaizior/comms/packet.h"

#include "gaizior/logging/log_stream.h"
#include "tests/comms/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

const unsigned short* AsUnits(const void* text) {
    return static_cast<const unsigned short*>(text);
}

struct Fields {
    long type = -9, code = -9, value = -9;
    unsigned short id = 9;
    std::string string, qualifier;
};

ZRErrorT Extract(const std::string& text, Fields& fields, unsigned short stringSize = 64,
                 unsigned short qualifierSize = 64) {
    // Exactly sized, so that a sanitizer sees whatever reads or writes beyond, and at an odd address.
    const auto copy = std::make_unique<char[]>(text.size() + 2);
    std::memcpy(copy.get() + 1, text.c_str(), text.size() + 1);
    std::vector<char> string(stringSize, '?');
    std::vector<char> qualifier(qualifierSize, '?');
    const ZRErrorT error = ZRExtractMessage(AsUnits(copy.get() + 1), &fields.type, &fields.code, &fields.id,
                                            &fields.value, string.data(), stringSize, qualifier.data(), qualifierSize);
    fields.string = {string.begin(), std::find(string.begin(), string.end(), '\0')};
    fields.qualifier = {qualifier.begin(), std::find(qualifier.begin(), qualifier.end(), '\0')};
    EXPECT_TRUE(fields.string.size() < stringSize || stringSize == 0) << "no NUL is left in the buffer";
    EXPECT_TRUE(fields.qualifier.size() < qualifierSize || qualifierSize == 0);
    return error;
}

TEST(Packet, IsSixFieldsWithSemicolonsBetween) {
    char buffer[64];
    EXPECT_EQ(ZRCreateMessage(1, 2, 3, 4, "A", "B", buffer, sizeof(buffer)), ZRErrors::e_General_NoError);
    EXPECT_STREQ(buffer, "1;2;3;4;A;B");
    EXPECT_EQ(ZRCreateMessage(-2147483647 - 1, 17, 65535, -1, nullptr, nullptr, buffer, sizeof(buffer)),
              ZRErrors::e_General_NoError);
    EXPECT_STREQ(buffer, "-2147483648;17;65535;-1;;");
    char string[] = "START";
    ZRErrors::ZRMessagePacketT packet{3, 17, 2, -1, string, 0, nullptr, 0};
    EXPECT_EQ(ZRCreateMessageFromPacket(packet, buffer, sizeof(buffer)), ZRErrors::e_General_NoError);
    EXPECT_STREQ(buffer, "3;17;2;-1;START;");
}

struct Room {
    unsigned short size;
    ZRErrorT error;
    const char* text;
};

TEST(Packet, FillsItsBufferToTheLastByteAndPutsTheNulBehind) {
    const Room rooms[] = {
        {11, ZRErrors::e_General_NoError, "1;2;3;4;A;B"}, {10, ZRErrors::e_Buffer_Overflowed, "1;2;3;4;A;"},
        {9, ZRErrors::e_Buffer_Overflowed, "1;2;3;4;B"},  {8, ZRErrors::e_Buffer_Overflowed, "1;2;3;4;"},
        {7, ZRErrors::e_Buffer_TooSmall, "1;2;3;"},       {1, ZRErrors::e_Buffer_TooSmall, ""},
        {0, ZRErrors::e_Buffer_TooSmall, "????????????"}};
    for (const Room& room : rooms) {
        const auto buffer = std::make_unique<char[]>(room.size + 1u);
        std::memset(buffer.get(), '?', room.size + 1u);
        EXPECT_EQ(ZRCreateMessage(1, 2, 3, 4, "A", "B", buffer.get(), room.size), room.error) << room.size;
        EXPECT_EQ(room.size == 0 ? room.text : buffer.get(), std::string(room.text)) << room.size;
    }
    EXPECT_EQ(ZRCreateMessage(1, 2, 3, 4, "A", "B", nullptr, 99), ZRErrors::e_Buffer_TooSmall);
}

TEST(Packet, GivesItsFieldsBack) {
    Fields fields;
    ASSERT_EQ(Extract("1;2;70000;-4;A;B;C", fields), ZRErrors::e_General_NoError);
    EXPECT_EQ(std::vector<long>({fields.type, fields.code, fields.id, fields.value}),
              std::vector<long>({1, 2, 70000 & 0xFFFF, -4}));
    EXPECT_EQ(fields.string, "A");
    EXPECT_EQ(fields.qualifier, "B;C");
    EXPECT_EQ(Extract("1;2;3;4;A;BCD", fields, 1, 4), ZRErrors::e_Buffer_TooSmall);
    EXPECT_EQ(Extract("1;2;3;4;A;BCD", fields, 2, 3), ZRErrors::e_Buffer_TooSmall);
    EXPECT_EQ(fields.string + fields.qualifier, "A");
    EXPECT_EQ(Extract("1;2;3;4;A;BCD", fields, 2, 4), ZRErrors::e_General_NoError);
    EXPECT_EQ(ZRExtractMessage(AsUnits("1;2;3;4;A;B"), nullptr, nullptr, nullptr, nullptr, nullptr, 9, nullptr, 9),
              ZRErrors::e_General_NoError);
    EXPECT_EQ(ZRExtractMessage(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0),
              ZRErrors::e_Arguments_Bad);
}

TEST(Packet, ReadsNumbersAsTheCLibraryDoes) {
    for (const char* text : {" 1;\t2;+3;-4;;", "1;x;3;4;;", "1;2 3;4;5;;", "-;1;2;3;;", "1;;2;3;4;;", "007;1;2;3;;",
                             "1.5;2;3;4;;", "+-1;2;3;4;;", ";;;;;", "12a;3;4;5;;"}) {
        std::string blanked = text;
        std::size_t position = 0;
        for (int i = 0; i < 5 && (position = blanked.find(';')) != std::string::npos; ++i) {
            blanked[position] = ' ';
        }
        int expected[4] = {};
        ASSERT_LE(std::sscanf(blanked.c_str(), "%d%d%d%d", &expected[0], &expected[1], &expected[2], &expected[3]), 4);
        Fields fields;
        ASSERT_EQ(Extract(text, fields), ZRErrors::e_General_NoError) << text;
        EXPECT_EQ(std::vector<long>({fields.type, fields.code, fields.id, fields.value}),
                  std::vector<long>(expected, expected + 4))
            << text;
    }
    Fields fields; // too large for 32 bits: the low ones, as on Windows
    ASSERT_EQ(Extract("4294967301;-2147483649;70000;99999999999999999999999;;", fields), ZRErrors::e_General_NoError);
    EXPECT_EQ(std::vector<long>({fields.type, fields.code, fields.id, fields.value}),
              std::vector<long>({5, 2147483647, 4464, -159383553}));
}

TEST(Packet, ReadsUnitsBehindAByteOrderMark) {
    const auto units = [](std::initializer_list<unsigned> values) {
        std::string bytes;
        for (const unsigned value : values) {
            bytes += static_cast<char>(value & 0xFF);
            bytes += static_cast<char>(value >> 8);
        }
        return bytes + '\0';
    };
    Fields fields;
    const std::string text = units({0xFEFF, '1', ';', '2', ';', '3', ';', '4', ';', 'A', ';', 'B'});
    ASSERT_EQ(Extract(text, fields), ZRErrors::e_General_NoError);
    EXPECT_EQ(fields.value, 4);
    EXPECT_EQ(fields.string + fields.qualifier, "AB");
    EXPECT_EQ(Extract(text, fields, 11), ZRErrors::e_General_NoError);
    EXPECT_EQ(Extract(text, fields, 10), ZRErrors::e_Buffer_TooSmall)
        << "the conversion is limited to the string's size";
    EXPECT_EQ(Extract(units({0xFFFE, '1'}), fields), ZRErrors::e_Text_ReverseByteOrderMark);
    EXPECT_EQ(Extract(units({0xFEFF, '1', 0x20AC}), fields), ZRErrors::e_Name_NotAscii);
    EXPECT_EQ(Extract(units({0xFEFF, '1', 0x0100}), fields), ZRErrors::e_Name_NotAscii);
    EXPECT_EQ(Extract("\xFF\xFE", fields), ZRErrors::e_General_NoError) << "an 8-bit text ends at its NUL";
}

TEST(Packet, RefusesWhatItsWorkingCopyCannotHold) {
    Fields fields;
    EXPECT_EQ(Extract("1;2;3;4;S;" + std::string(1017, 'q'), fields, 9, 2000), ZRErrors::e_General_NoError);
    EXPECT_EQ(Extract("1;2;3;4;S;" + std::string(1018, 'q'), fields, 9, 2000), ZRErrors::e_Buffer_TooSmall);
}

/// Where separators are missing, the fields start at the code of the text's last character.
TEST(Packet, WithoutItsSeparatorsStartsFieldsAtTheLastCharactersCode) {
    Fields fields;
    std::string text = "1;2;3;4;" + std::string(60, '.') + "\x28"; // 40: the qualifier starts there, the string at 8
    ASSERT_EQ(Extract(text, fields), ZRErrors::e_General_NoError);
    EXPECT_EQ(fields.string, std::string(31, '.'));
    EXPECT_EQ(fields.qualifier, std::string(28, '.') + "\x28");
    ASSERT_EQ(Extract("1234567890123\x05", fields), ZRErrors::e_General_NoError);
    EXPECT_EQ(fields.type, 1912276171) << "the string is ended after the numbers are read";
    EXPECT_EQ(fields.string, "67890123\x05");
    ASSERT_EQ(Extract("", fields), ZRErrors::e_General_NoError);
    ASSERT_EQ(Extract("\xFF", fields, 64, 64), ZRErrors::e_General_NoError);
    EXPECT_EQ(fields.string + fields.qualifier, "");
}

TEST(Packet, TouchesNothingOutsideItsBuffersWhateverTheBytes) {
    const test::LogCapture quiet;
    std::mt19937 random(20);
    const char alphabet[] = ";;;;0123456789- +A\xFE\xFF\x80\x01";
    for (int round = 0; round < 20'000; ++round) {
        std::string text(random() % (round % 50 == 0 ? 1500 : 40), ' ');
        for (char& c : text) {
            c = alphabet[random() % (sizeof(alphabet) - 1)];
        }
        if (text.size() >= 2 && text[0] == '\xFF' && text[1] == '\xFE') {
            text += std::string("\0\0\0", 3);
        }
        Fields fields;
        const ZRErrorT error = Extract(text, fields, static_cast<unsigned short>(random() % 50),
                                       static_cast<unsigned short>(random() % 50));
        ASSERT_TRUE(error == ZRErrors::e_General_NoError || error == ZRErrors::e_Buffer_TooSmall ||
                    error == ZRErrors::e_Text_ReverseByteOrderMark || error == ZRErrors::e_Name_NotAscii)
            << error;
    }
}

TEST(Packet, CanBeLogged) {
    test::LogCapture lines;
    std::string string(3000, 'S');
    const ZRErrors::ZRMessagePacketT packet{17, 2, 3, -4, string.data(), 0, nullptr, 0};
    {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << std::hex << packet << std::endl;
    }
    EXPECT_EQ(lines.Take(), "017;2;3;-4;" + string + ";\n");
    ZRCreateMessage(1, 2, 3, 4, "", "", nullptr, 9);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCreateMessage(): Buffer too small: 124\n");
}

} // namespace
} // namespace gaizior
