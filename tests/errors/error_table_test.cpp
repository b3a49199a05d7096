#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <span>
#include <string>

namespace gaizior {
namespace {

std::span<const ZRErrorRowT> Rows() {
    unsigned count = 0;
    const ZRErrorRowT* rows = ZRErrorRows(&count);
    return {rows, count};
}

TEST(ErrorTable, EveryRowIsFoundByItsCodeAndByItsName) {
    std::array<char, kErrorTextSize> buffer;
    for (const ZRErrorRowT& row : Rows()) {
        EXPECT_EQ(FormatErrorText(row.nCode, buffer), std::string(row.pText) + ": " + std::to_string(row.nCode));
        if (row.pName) {
            ZRErrors::ZRErrorT code = ZRErrors::e_LastErrorCode;
            EXPECT_TRUE(ZRErrorFromName(row.pName, &code)) << row.pName;
            EXPECT_EQ(code, row.nCode) << row.pName;
        }
    }
}

TEST(ErrorTable, ANameOfNoRowFindsNothing) {
    for (const char* name : {"", "e_", "e_Phs_NoPlat", "e_Phs_NoPlate ", "E_PHS_NOPLATE", "sme_DeviceBusy",
                             static_cast<const char*>(nullptr)}) {
        ZRErrors::ZRErrorT code = ZRErrors::e_Phs_CoverOpen;
        EXPECT_FALSE(ZRErrorFromName(name, &code));
        EXPECT_EQ(code, ZRErrors::e_Phs_CoverOpen);
    }
    EXPECT_TRUE(ZRErrorFromName("e_Phs_NoPlate", nullptr));
}

TEST(ErrorTable, EachDeviceMessageIsASentenceOfItsOwnThatEndsInItsName) {
    std::set<std::string> sentences;
    for (const ZRErrorRowT& row : Rows()) {
        const std::string text = row.pText;
        const std::size_t end = row.pName ? text.rfind(std::string(" Error: ") + row.pName) : text.npos;
        if (end != text.npos && row.nCode != ZRErrors::e_DummyLastError) {
            EXPECT_EQ(text.substr(end), std::string(" Error: ") + row.pName);
            EXPECT_EQ(text.find_first_of(".@"), end - 1) << text;
            EXPECT_TRUE(sentences.insert(text.substr(0, end)).second) << text;
        }
    }
    EXPECT_EQ(sentences.size(), 568u);
}

TEST(ErrorTable, RecorderMessagesTellTheSuspectInOneColumn) {
    const std::set<std::string> tags = {"(HW/SW)", "(HW/  )", "(  /SW)"};
    std::set<std::size_t> columns;
    for (const ZRErrorRowT& row : Rows()) {
        if (row.nCode >= 0x13011 && row.nCode <= 0x130FD) {
            const std::string text = row.pText;
            columns.insert(text.size() - 7);
            EXPECT_TRUE(tags.contains(text.substr(text.size() - 7))) << text;
        }
    }
    EXPECT_EQ(columns.size(), 1u);
}

} // namespace
} // namespace gaizior
