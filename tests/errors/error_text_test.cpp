#include "gaizior/errors/error_text.h"

#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text_format.h"
#include "gaizior/errors/folded_code.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <utility>

namespace gaizior {
namespace {

constexpr ZRErrors::ZRErrorT Code(std::uint32_t number) {
    return static_cast<ZRErrors::ZRErrorT>(number);
}

TEST(ErrorText, CodesGiveTheirMessageAndNumberAndFoldedOnesTheSystemsText) {
    const std::pair<std::uint32_t, const char*> cases[] = {
        {0, "No Error: 0"},
        {0xFFFF, "Last Error Code: 65535"},
        {0x80FF, " Error: e_DummyLastError: 33023"},
        {0x9022, "A bad magic number has been passed into an exposer operation. Error: e_ZRExposer_BadMagic: 36898"},
        {0x13011, "Unkown recorder frequency selection             (  /SW): 77841"},
        {5000, "Unrecognised Error Code: 5000"},
        {0x40000002, "Unrecognised Error Code: 1073741826"},
        {0x80000000, "Unrecognised Error Code: -2147483648"},
        {0xDFFFFFFF, "Unrecognised Error Code: -536870913"},
        {0x2FFFFFFF, "Format message failed.  Error: 268435455"},
        {0xBFFFFFFE, "Format message failed.  Error: -1610612738"},
    };
    for (const auto& [code, text] : cases) {
        EXPECT_STREQ(ZRErrToStr(Code(code)), text);
    }
    EXPECT_STREQ(ZRErrToStr(FoldErrno(2)), std::string(std::strerror(2)).c_str());
    const std::string text = ZRErrToStr(FoldSystemError(2));
    EXPECT_TRUE(text.starts_with("Error: 2 (0x2) ") && text.size() > 15 && text.find_first_of("\r\n") == text.npos);
    const DWORD number = 2;
    EXPECT_EQ(text, ZRGetLastErrorMsg(&number));
}

TEST(ErrorText, OnlyAnImagesetterWithoutMediaHasItsOwnClass) {
    for (const std::uint32_t code : {0x0u, 0x336u, 0x337u, 0x338u, 0x339u, 0x20000337u, 0xFFFFFFFFu}) {
        EXPECT_EQ(DetermineErrorClass(Code(code)), code == 0x337 || code == 0x338 ? 4 : 2) << code;
    }
}

TEST(ErrorText, AskingForATextKeepsTheNumbersOfTheFailureAndOtherThreadsTexts) {
    const char* text = ZRErrToStr(Code(57));
    // The first call of a thread makes its buffers, which must not show either.
    std::thread([] {
        ::SetLastError(5);
        errno = EDOM;
        EXPECT_TRUE(std::string(ZRGetLastErrorMsg(nullptr)).starts_with("Error: 5 (0x5) "));
        for (const std::uint32_t code : {0u, 0x20000002u, 0x2FFFFFFFu, 0x60000002u, 0x60FFFFFFu}) {
            ZRErrToStr(Code(code));
        }
        EXPECT_TRUE(errno == EDOM && ::GetLastError() == 5);
    }).join();
    EXPECT_STREQ(text, "Job Stopped: 57");
}

TEST(ErrorTable, EveryRowAndNoOtherIsFoundByItsCodeAndByItsName) {
    unsigned count = 0;
    const ZRErrorRowT* const rows = ZRErrorRows(&count);
    std::set<std::string> sentences, suspects;
    std::set<std::size_t> columns;
    for (const ZRErrorRowT& row : std::span(rows, count)) {
        const std::string text = row.pText;
        const std::string name = std::string(" Error: ") + (row.pName ? row.pName : "");
        ZRErrors::ZRErrorT code = ZRErrors::e_LastErrorCode;
        EXPECT_EQ(ZRErrToStr(row.nCode), text + ": " + std::to_string(row.nCode));
        EXPECT_TRUE(!row.pName || (ZRErrorFromName(row.pName, &code) && code == row.nCode)) << text;
        if (row.pName && text.ends_with(name) && row.nCode != ZRErrors::e_DummyLastError) {
            EXPECT_EQ(text.find_first_of(".@"), text.size() - name.size() - 1) << text;
            sentences.insert(text.substr(0, text.find('.')));
        } else if (row.nCode >= 0x13011 && row.nCode <= 0x130FD) {
            columns.insert(text.size());
            suspects.insert(text.substr(text.size() - 7));
        }
    }
    EXPECT_EQ(sentences.size(), 568u) << "each device's message tells its own story";
    EXPECT_EQ(columns.size(), 1u) << "a recorder's message ends with the suspect, all in one column";
    EXPECT_EQ(suspects, (std::set<std::string>{"(HW/SW)", "(HW/  )", "(  /SW)"}));
    for (const char* name : {"", "e_", "e_Phs_NoPlat", "e_Phs_NoPlate ", "E_PHS_NOPLATE", "sme_DeviceBusy",
                             static_cast<const char*>(nullptr)}) {
        ZRErrors::ZRErrorT code = ZRErrors::e_Phs_CoverOpen;
        EXPECT_TRUE(!ZRErrorFromName(name, &code) && code == ZRErrors::e_Phs_CoverOpen);
    }
    EXPECT_TRUE(ZRErrorFromName("e_Phs_NoPlate", nullptr));
}

#ifndef _WIN32 // Only there can the message box be replaced.

TEST(ErrorAlert, ShowsTheTextAndTheLastErrorInABoxOfItsOwn) {
    static std::string shown;
    const MessageBoxHandler record = [](HWND owner, const char* text, const char* caption, UINT type) {
        shown = std::string(caption) + "|" + text + "|" + std::to_string(type) + (owner ? "|owned" : "");
        return 17;
    };
    const MessageBoxHandler before = ::SetMessageBoxHandler(record);
    ::SetLastError(0x0FFFFFFF);
    EXPECT_EQ(ZROSErrorAlert("Door open"), 17);
    EXPECT_EQ(shown, "Program Error|Door open|335888");
    EXPECT_EQ(ZROSError("No log"), 17);
    EXPECT_EQ(shown, "Program Error|No log Format message failed.  Error: 268435455|335888");
    ZROSErrorAlert(nullptr);
    EXPECT_EQ(shown, "Program Error||335888");
    ZROSError(std::string(100'000, 'x').c_str());
    EXPECT_EQ(shown, "Program Error|" + std::string(kErrorTextSize - 1, 'x') + "|335888");
    EXPECT_EQ(::SetMessageBoxHandler(before), record);
}

#endif

} // namespace
} // namespace gaizior
