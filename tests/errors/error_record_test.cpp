#include "gaizior/errors/error_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(ErrorRecord, KeepsTheTailOfALongTextAndNothingBeyondItsBytes) {
    const std::string digits = "0123456789012345678901234567890123456789";
    for (const char* const text :
         {digits.c_str(), digits.c_str() + 8, digits.c_str() + 9, "", static_cast<const char*>(nullptr)}) {
        const std::string kept = text && *text ? digits.substr(9) : "";
        unsigned char bytes[48];
        std::memset(bytes, 0xEE, sizeof bytes);
        auto* const record = reinterpret_cast<ZRErrors::ZRErrorRecordT*>(bytes + 1);
        EXPECT_EQ(ZRFillError(record, ZRErrors::e_Buffer_TooSmall, 0x11223344, text, 0x5566), 124u);
        std::string expected("\xEE\x7C\0\0\0\x7C\0\0\0\x44\x33\x22\x11\x66\x55", 15);
        expected.append(kept).append(32 - kept.size(), '\0').append("\xEE");
        EXPECT_EQ(std::string(bytes, std::end(bytes)), expected);
    }
    ZRErrors::ZRErrorRecordT own{{}, {}, 0, 0, "its own text"};
    ZRFillError(&own, ZRErrors::e_Buffer_TooSmall, 0, own.m_szText + 4, 0);
    EXPECT_STREQ(own.m_szText, "own text");
    EXPECT_EQ(ZRFillError(nullptr, ZRErrors::e_Buffer_TooSmall, 0, "x", 0), 124u);
}

} // namespace
