#include "apps/bench/error_guide.h"
#include "apps/support/failure.h"
#include "gaizior/errors/error_table.h"
#include "gaizior/errors/folded_code.h"
#include "tests/apps/program.h"

#include <algorithm>
#include <span>

namespace apps::test {
namespace {

std::span<const ZRErrorRowT> Rows() {
    unsigned count = 0;
    const ZRErrorRowT* const rows = ZRErrorRows(&count);
    return {rows, count};
}

bool IsCode(std::uint32_t code) {
    return gaizior::IsFolded(static_cast<ZRErrors::ZRErrorT>(code)) ||
           std::ranges::find(Rows(), static_cast<ZRErrors::ZRErrorT>(code), &ZRErrorRowT::nCode) != Rows().end();
}

TEST(ErrorGuide, EveryStepIsForCodesThatAreAndForNoOthersStep) {
    std::uint32_t last = 0;
    for (const CodeRange& step : NextSteps()) {
        EXPECT_TRUE(IsCode(step.first) && IsCode(step.last)) << step.text;
        EXPECT_TRUE(last < step.first && step.first <= step.last) << std::hex << step.first << " stands out of turn";
        last = step.last;
    }
}

TEST(ErrorGuide, EveryCodeComesFromSomewhereAndItsDeviceIsInItsText) {
    for (const ZRErrorRowT& row : Rows()) {
        const std::string text = row.pText;
        const char* const device = DeviceOf(row.nCode);
        const std::string word = device ? std::string(device).substr(0, std::string(device).find(" (")) : "";
        EXPECT_TRUE(OriginOf(row.nCode) || row.nCode == 0xFFFF) << text;
        EXPECT_TRUE(Holds(text, word) || word == "ballscrew") << text << " is not about the " << word;
    }
    EXPECT_STREQ(DeviceOf(0xA314), "clamp");
    EXPECT_STREQ(DeviceOf(0x9216), "ballscrew (carriage)");
    EXPECT_STREQ(DeviceOf(0xCB21), "tilt table") << "the auto-unloader's only one with a device";
    for (const std::uint32_t code : {0x0135u, 0x5003u, 0x8025u, 0xA015u, 0x15110u, 0x20000005u}) {
        EXPECT_EQ(DeviceOf(code), nullptr) << std::hex << code;
    }
    for (const std::uint32_t code : {5000u, 0x8016u, 0x0900u, 0x80000000u}) {
        EXPECT_EQ(OriginOf(code), nullptr) << std::hex << code;
    }
}

TEST_F(ChannelTest, CodesAreExplainedHoweverTheyAreWritten) {
    const std::string clamp = "The clamp does not find a plate where there should be one. Error: e_Phs_NoPlate\n"
                              "  code    41748, 0xA314\n  name    e_Phs_NoPlate\n  origin  plate handling system\n"
                              "  device  clamp\n  next    look whether the plate reaches the clamp";
    const std::tuple<std::vector<std::string>, Exit, std::string, std::string> calls[] = {
        {{"41748"}, Exit::kDone, clamp, ""},
        {{"0xa314"}, Exit::kDone, clamp, ""},
        {{"A314"}, Exit::kDone, clamp, ""},
        {{"e_phs_noplate"}, Exit::kDone, clamp, ""},
        {{"57", "E_PHS_NOPLATE"}, Exit::kDone, "Job Stopped\n  code    57, 0x39\n  origin  d", ""},
        {{"57", "5000", "822F"}, Exit::kNotFound, "\n\nImage is too big to fit on the plate\n", "0x1388"},
        {{"5000"}, Exit::kNotFound, "", "5000 (0x1388) is no code of this system (did you mean 0x5000?): search"},
        {{"33000"}, Exit::kNotFound, "", "33000 (0x80E8) is no code of this system (about there: CAN bus): search"},
        {{"-1"}, Exit::kNotFound, "", "-1 (0xFFFFFFFF) is no code of this system: search"},
        {{"0x3FFFFFFF"}, Exit::kNotFound, "", "is number 536870911 of the operating system, which has no text"},
        {{"0x60000FFF"}, Exit::kNotFound, "", "is number 4095 of the C run-time library, which has no text"},
        {{"57", "clamp"}, Exit::kNotFound, "", "no code has '57 clamp' in its text or its name"},
        {{"feed"}, Exit::kDone, "   0x17C    380  No Feed Port\n", ""}, // a word, though of hexadecimal digits
        {{"ffff"}, Exit::kDone, "Last Error Code\n  code    65535", ""},
        {{""}, Exit::kUsage, "", "an empty word explains nothing"},
        {{"0x20000070"}, Exit::kDone, "\n  next    free space on the disk", ""},
    };
    for (const auto& [words, exit, output, errors] : calls) {
        std::vector<std::string> arguments = {"error"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const Ended bench(arguments, static_cast<int>(exit));
        EXPECT_PRED2(Holds, bench.Output(), output);
        EXPECT_PRED2(Holds, bench.Errors(), errors);
        EXPECT_EQ(bench.Output().empty(), output.empty()) << bench.Output();
        EXPECT_EQ(bench.Errors().empty(), errors.empty()) << bench.Errors();
    }
}

} // namespace
} // namespace apps::test
