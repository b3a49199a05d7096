#include "gaizior/comms/packet.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace gaizior {
namespace {

using enum ZRErrors::ZRErrorT;
using ZRErrors::ZRErrorT;

struct Fields {
    ZRErrorT error;
    std::vector<long> numbers = {-9, -9, 9, -9}; ///< which none is stored over
    std::string texts = "|";                     ///< "string|qualifier"
    bool operator==(const Fields&) const = default;
};

class Packet : public ::testing::Test {
protected:
    test::LogCapture lines;
};

std::string TextIn(const std::vector<char>& buffer) {
    const auto end = std::ranges::find(buffer, '\0');
    EXPECT_TRUE(end != buffer.end() || buffer.empty()) << "no NUL is left in the buffer";
    return {buffer.begin(), end};
}

/// Everything is exactly sized, so that a sanitizer sees whatever reads or writes beyond; the text has an odd address.
Fields Extract(const std::string& text, unsigned short stringSize, unsigned short qualifierSize) {
    const auto copy = std::make_unique<char[]>(text.size() + 2);
    std::memcpy(copy.get() + 1, text.c_str(), text.size() + 1);
    std::vector<char> string(stringSize, '?'), qualifier(qualifierSize, '?');
    long type = -9, code = -9, value = -9;
    unsigned short id = 9;
    const ZRErrorT error = ZRExtractMessage(copy.get() + 1, &type, &code, &id, &value, string.data(), stringSize,
                                            qualifier.data(), qualifierSize);
    return {error, {type, code, id, value}, TextIn(string) + '|' + TextIn(qualifier)};
}

/// The text as 16-bit units behind their mark.
std::string Units(const std::u16string& text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    }
    return bytes + '\0';
}

TEST_F(Packet, FillsItsBufferToTheLastByteAndPutsTheNulBehind) {
    const struct {
        unsigned short size;
        ZRErrorT error;
        const char* text;
    } cases[] = {
        {16, e_General_NoError, "1;-2;65535;4;A;B"}, {15, e_Buffer_Overflowed, "1;-2;65535;4;A;"},
        {14, e_Buffer_Overflowed, "1;-2;65535;4;B"}, {13, e_Buffer_Overflowed, "1;-2;65535;4;"},
        {12, e_Buffer_TooSmall, "1;-2;65535;"},      {1, e_Buffer_TooSmall, ""},
    };
    for (const auto& room : cases) {
        const auto buffer = std::make_unique<char[]>(room.size + 1u);
        EXPECT_EQ(ZRCreateMessage(1, -2, 65535, 4, "A", "B", buffer.get(), room.size), room.error) << room.size;
        EXPECT_STREQ(buffer.get(), room.text);
    }
    lines.Take();
    EXPECT_EQ(ZRCreateMessage(1, 2, 3, 4, "A", "B", nullptr, 99), e_Buffer_TooSmall);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCreateMessage(): Buffer too small: 124\n");
}

TEST_F(Packet, GivesItsFieldsBack) {
    const std::string ones(100, '1');
    const struct {
        std::string text;
        Fields fields;
        unsigned short stringSize = 64;
        unsigned short qualifierSize = 64;
    } cases[] = {
        {"1;2;70000;-4;A;B;C", {e_General_NoError, {1, 2, 4464, -4}, "A|B;C"}},
        {"1;2;3;4;;", {e_General_NoError, {1, 2, 3, 4}, "|"}},
        {"\t+7;\n-08;3-4;4;;", {e_General_NoError, {7, -8, 3, -4}, "|"}},
        {"1;2;0x3;4;;", {e_General_NoError, {1, 2, 0, 0}, "|"}}, // nothing behind what is no number
        {"4294967301;-2147483649;3;99999999999999999999999;;",   // too large: the low 32 bits, as on Windows
         {e_General_NoError, {5, 2147483647, 3, -159383553}, "|"}},
        {"1;2;3;4;A;" + ones, {e_Buffer_TooSmall, {1, 2, 3, 4}, "A|"}},
        {"1;2;3;4;" + ones + ";B", {e_Buffer_TooSmall, {1, 2, 3, 4}, "|"}},
        {"1;2;3;4;;" + std::string(1019, 'q'), {e_Buffer_TooSmall}},
        {"1;2;3;4;;" + ones, {e_General_NoError, {1, 2, 3, 4}, "|" + ones}, 1, 101},
        // a separator is missing: fields start at the code of the last character, once the numbers are read
        {"1234567890123\x05", {e_General_NoError, {1912276171, 0, 0, 0}, "67890123\x05|67890123\x05"}},
        {"1;2;3;4;....................\x0C", {e_General_NoError, {1, 2, 3, 4}, "...|................\x0C"}},
        {"1;2;3;4;A", {e_General_NoError, {1, 2, 3, 4}, "A|"}},
        {"", {e_General_NoError, {0, 0, 0, 0}, "|"}},
        {"\xFF", {e_General_NoError, {0, 0, 0, 0}, "|"}},
        {"\xFE\xFF", {e_Text_ReverseByteOrderMark}},
        {Units(u"1;2;3;4;A;B"), {e_General_NoError, {1, 2, 3, 4}, "A|B"}, 11},
        {Units(u"1;2;3;4;A;B"), {e_Buffer_TooSmall}, 10}, // the string's size is the limit
        {Units(std::u16string(2000, u'1')), {e_Buffer_TooSmall}},
        {Units(u"1\x0100"), {e_Name_NotAscii}},
        {"\xFF\xFE", {e_General_NoError, {0, 0, 0, 0}, "|"}},       // an 8-bit text that ends at its NUL
        {Units(u"\x0100"), {e_General_NoError, {0, 0, 0, 0}, "|"}}, // which is also what this begins with
    };
    for (const auto& given : cases) {
        EXPECT_EQ(Extract(given.text, given.stringSize, given.qualifierSize), given.fields) << given.text;
    }
    EXPECT_EQ(ZRExtractMessage(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0), e_Arguments_Bad);
}

TEST_F(Packet, TravelsInARecordAndIsLogged) {
    std::string string(3000, 'S');
    ZRErrors::ZRMessagePacketT packet{17, 2, 3, -4, string.data(), 3001, nullptr, 0};
    {
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << std::hex << packet << std::endl;
    }
    EXPECT_EQ(lines.Take(), "017;2;3;-4;" + string + ";\n");
    string = "START";
    char text[64];
    ASSERT_EQ(ZRCreateMessageFromPacket(packet, text, sizeof(text) - 1), e_General_NoError);
    EXPECT_STREQ(text, "17;2;3;-4;START;");
    packet = {0, 0, 0, 0, nullptr, 64, nullptr, 64};
    EXPECT_EQ(ZRExtractMessagePacket(text, packet), e_General_NoError);
    EXPECT_EQ(std::vector<int>({packet.nType, packet.nCode, packet.nID, packet.nVal}),
              std::vector<int>({17, 2, 3, -4}));
}

} // namespace
} // namespace gaizior
