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

TEST(ErrorTable, DeviceMessagesEndInTheirNameAndRecorderMessagesTellTheSuspectInOneColumn) {
    const std::set<std::string> suspects = {"(HW/SW)", "(HW/  )", "(  /SW)"};
    std::set<std::string> sentences;
    std::set<std::size_t> columns;
    for (const ZRErrorRowT& row : Rows()) {
        const std::string text = row.pText;
        const std::string name = std::string(" Error: ") + (row.pName ? row.pName : "");
        if (row.pName && text.ends_with(name) && row.nCode != ZRErrors::e_DummyLastError) {
            EXPECT_EQ(text.find_first_of(".@"), text.size() - name.size() - 1) << text;
            EXPECT_TRUE(sentences.insert(text.substr(0, text.find('.'))).second) << text;
        } else if (row.nCode >= 0x13011 && row.nCode <= 0x130FD) {
            columns.insert(text.size());
            EXPECT_TRUE(suspects.contains(text.substr(text.size() - 7))) << text;
        }
    }
    EXPECT_EQ(sentences.size(), 568u);
    EXPECT_EQ(columns.size(), 1u);
}

} // namespace
} // namespace gaizior
