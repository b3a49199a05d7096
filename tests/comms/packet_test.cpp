#include "gaizior/comms/packet.h"

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

using enum ZRErrors::ZRErrorT;
using ZRErrors::ZRErrorT;
using namespace std::string_literals;

struct Fields {
    ZRErrorT error;
    std::vector<long> numbers;
    std::string texts; ///< "string|qualifier"
    bool operator==(const Fields&) const = default;
};

Fields UntouchedAfter(ZRErrorT error) {
    return {error, {-9, -9, 9, -9}, "|"};
}

class Packet : public ::testing::Test {
protected:
    test::LogCapture lines;
};

/// Everything is exactly sized, so that a sanitizer sees whatever reads or writes beyond; the text has an odd address.
Fields Extract(const std::string& text, unsigned short stringSize = 64, unsigned short qualifierSize = 64) {
    const auto copy = std::make_unique<char[]>(text.size() + 2);
    std::memcpy(copy.get() + 1, text.c_str(), text.size() + 1);
    std::vector<char> string(stringSize, '?'), qualifier(qualifierSize, '?');
    long type = -9, code = -9, value = -9;
    unsigned short id = 9;
    const ZRErrorT error = ZRExtractMessage(reinterpret_cast<const unsigned short*>(copy.get() + 1), &type, &code, &id,
                                            &value, string.data(), stringSize, qualifier.data(), qualifierSize);
    std::string texts;
    for (const std::vector<char>* buffer : {&string, &qualifier}) {
        const auto end = std::ranges::find(*buffer, '\0');
        EXPECT_TRUE(end != buffer->end() || buffer->empty()) << "no NUL is left in the buffer";
        texts.append(buffer->begin(), end).append(buffer == &string ? "|" : "");
    }
    return {error, {type, code, id, value}, texts};
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
    } cases[] = {
        {"1;2;70000;-4;A;B;C", {e_General_NoError, {1, 2, 4464, -4}, "A|B;C"}},
        {"1;2;3;4;;", {e_General_NoError, {1, 2, 3, 4}, "|"}},
        {"4294967301;-2147483649;3;99999999999999999999999;;", // too large: the low 32 bits, as on Windows
         {e_General_NoError, {5, 2147483647, 3, -159383553}, "|"}},
        {"1;2;3;4;A;" + ones, {e_Buffer_TooSmall, {1, 2, 3, 4}, "A|"}},
        {"1;2;3;4;" + ones + ";B", {e_Buffer_TooSmall, {1, 2, 3, 4}, "|"}},
        {"1;2;3;4;;" + std::string(1019, 'q'), UntouchedAfter(e_Buffer_TooSmall)},
        // a separator is missing: fields start at the code of the last character, once the numbers are read
        {"1234567890123\x05", {e_General_NoError, {1912276171, 0, 0, 0}, "67890123\x05|67890123\x05"}},
        {"1;2;3;4;....................\x0C", {e_General_NoError, {1, 2, 3, 4}, "...|................\x0C"}},
        {"1;2;3;4;A", {e_General_NoError, {1, 2, 3, 4}, "A|"}},
        {"", {e_General_NoError, {0, 0, 0, 0}, "|"}},
        {"\xFF", {e_General_NoError, {0, 0, 0, 0}, "|"}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(Extract(given.text), given.fields) << given.text;
    }
    EXPECT_EQ(Extract("1;2;3;4;;" + std::string(1018, 'q'), 1, 1019).error, e_General_NoError);
    EXPECT_EQ(ZRExtractMessage(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0), e_Arguments_Bad);
}

TEST_F(Packet, ReadsUnitsBehindAByteOrderMark) {
    const auto units = [](const std::u16string& text) {
        std::string bytes = "\xFF\xFE";
        for (const char16_t unit : text) {
            bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
        }
        return bytes + '\0';
    };
    const std::string text = units(u"1;2;3;4;A;B");
    EXPECT_EQ(Extract(text, 11), (Fields{e_General_NoError, {1, 2, 3, 4}, "A|B"}));
    EXPECT_EQ(Extract(text, 10), UntouchedAfter(e_Buffer_TooSmall)) << "the string's size is the limit";
    EXPECT_EQ(Extract(units(std::u16string(2000, u'1'))), UntouchedAfter(e_Buffer_TooSmall));
    EXPECT_EQ(Extract(units(u"1\x0100")), UntouchedAfter(e_Name_NotAscii));
    EXPECT_EQ(Extract("\xFE\xFF"), UntouchedAfter(e_Text_ReverseByteOrderMark));
    EXPECT_EQ(Extract("\xFF\xFE").error, e_General_NoError) << "an 8-bit text ends at its NUL";
}

TEST_F(Packet, TouchesNothingOutsideItsBuffersWhateverTheBytes) {
    std::mt19937 random(20);
    const char alphabet[] = ";;;;0123456789- +\tA\xFE\xFF\x80\x01";
    for (int round = 0; round < 20'000; ++round) {
        std::string text(random() % (round % 50 == 0 ? 1500 : 40), ' ');
        std::ranges::generate(text, [&] { return alphabet[random() % (sizeof(alphabet) - 1)]; });
        const bool isWide = text.starts_with("\xFF\xFE");
        const auto size = static_cast<unsigned short>(random() % 50);
        const ZRErrorT error = Extract(isWide ? text + "\0\0\0"s : text, size, 50).error;
        ASSERT_TRUE(error == e_General_NoError || error == e_Buffer_TooSmall ||
                    (error == e_Text_ReverseByteOrderMark && text.starts_with("\xFE\xFF")) ||
                    (error == e_Name_NotAscii && isWide))
            << error;
    }
}

TEST_F(Packet, HoldsNumbersAsTheCLibraryReadsThem) {
    std::mt19937 random(19);
    for (int round = 0; round < 5'000; ++round) {
        std::string text(9, ' '); // nine digits at most: too large numbers are Windows' own matter
        std::ranges::generate(text, [&] { return " \t\n+-0123456789x"[random() % 16]; });
        int numbers[4] = {};
        ASSERT_LE(std::sscanf(text.c_str(), "%d%d%d%d", &numbers[0], &numbers[1], &numbers[2], &numbers[3]), 4);
        numbers[2] &= 0xFFFF;
        std::ranges::replace(text, '\t', ';');
        EXPECT_EQ(Extract(text + ";;;;;").numbers, std::vector<long>(numbers, numbers + 4)) << text;
    }
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
    EXPECT_EQ(ZRExtractMessagePacket(reinterpret_cast<const unsigned short*>(text), packet), e_General_NoError);
    EXPECT_EQ(std::vector<int>({packet.nType, packet.nCode, packet.nID, packet.nVal}),
              std::vector<int>({17, 2, 3, -4}));
}

} // namespace
} // namespace gaizior
