// GUIDs, and which texts are some. Runs on both systems; Windows decides.

#include "gaizior/values/guid.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/uuid_call.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

#ifndef _WIN32
#include "tests/support/forked_child.h"

#include <sys/mman.h>
#endif

namespace gaizior::test {
namespace {

constexpr GUID kGuid{0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
const std::string kText = "00112233-4455-6677-8899-aabbccddeeff";
const std::string kBraced = "{" + kText + "}";
const std::string kZeros = "{00000000-0000-0000-0000-000000000000}";

struct OpenGuid : GuidC {
    using GuidC::FromString;
};

std::string Refusal(const std::string& text) {
    return "0 ERROR: GuidC::FromStream(): Invalid Uuid String: " + text + "\n";
}

/// What becomes of a stream (at its end, failed), of a value of 7, and of the rest of the stream.
template <class Guid>
std::string Read(const std::string& text) {
    std::istringstream stream(text);
    Guid guid(GUID{7, 0, 0, {}});
    stream >> guid;
    std::string rest, result = Composed(stream.eof(), stream.fail(), guid);
    stream.clear();
    std::getline(stream, rest);
    return result + rest;
}

TEST(Guids, AreReadFromExactlyTheTextsThatWindowsTakes) {
    LogCapture log;
    for (unsigned i = 0; i < 255 * 36; ++i) {
        const unsigned at = i / 255;
        const int code = static_cast<int>(i % 255) + 1;
        std::string text = kText;
        text[at] = static_cast<char>(code);
        const bool isTaken = kText[at] == '-' ? code == '-' : code < 128 && std::isxdigit(code);
        GUID guid = kGuid;
        ASSERT_EQ(OpenGuid::FromString(text.c_str(), guid), isTaken ? 0u : 9400u) << text;
        text[at] = static_cast<char>(isTaken ? std::tolower(code) : kText[at]); // a refused one changes nothing
        ASSERT_EQ(Composed(guid), "{" + text + "}");
    }
    EXPECT_EQ(GuidC().FromString(("}0{0}" + kText.substr(2) + "{{}").c_str()), 0u);
    log.Take();
    for (const std::string& refused : {std::string(), std::string("{}"), kText.substr(1), kText + "0", kBraced + " ",
                                       " " + kText, "(" + kText + ")", kText + std::string(5000, 'f')}) {
        GuidC guid(kGuid);
        EXPECT_EQ(guid.FromString(refused.empty() ? nullptr : refused.c_str()), 9400u);
        EXPECT_EQ(log.Take(), Refusal(refused));
        EXPECT_EQ(Composed(guid, guid.IsValid()), kZeros + "1") << "zeros are a GUID";
    }
}

TEST(Guids, AreReadFromStreamsUpToTheirBrace) {
    LogCapture log;
    for (const auto& [text, result] : {std::pair{kBraced + "} 7", "00" + kBraced + "} 7"},
                                       {"}" + kBraced, "00" + kBraced},
                                       {kText, "10" + kBraced},
                                       {" " + kBraced, "01" + kZeros},
                                       {"{{", "11" + kZeros},
                                       {"", "11{00000007-0000-0000-0000-000000000000}"}}) {
        EXPECT_EQ(Read<GuidC>(text), result);
        EXPECT_EQ(Read<GUID>(text), result);
        EXPECT_EQ(log.Take(), result.ends_with(kZeros) ? Refusal(text) + Refusal(text) : "");
    }
}

TEST(Guids, AreWrittenAsOneTextAndTellTheirStateAndWhatFailed) {
    LogCapture log;
    std::ostringstream stream;
    GuidC unset, guid(kGuid);
    EXPECT_EQ(Composed(std::setw(40), std::setfill('*'), std::left, guid), kBraced + "**");
    EXPECT_EQ(unset.IsValid(), 0);
    EXPECT_EQ((unset = std::as_const(guid)).IsValid(), 1);
    EXPECT_TRUE(unset == guid && !(unset == GuidC()));
    seams::FailUuidCall(UuidCall::kFromText, 1705);
    EXPECT_EQ(guid.IsValid(), 0);
    EXPECT_EQ(log.Take(), "0 ERROR: GuidC::IsValid(): this GUID is uninitialised: " + kZeros + "\n" + Refusal(kBraced) +
                              "0 ERROR: GuidC::IsValid(): this GUID is invalid: " + kBraced + "\n");
    const std::tuple<UuidCall, DWORD, std::function<DWORD()>, DWORD, const char*> cases[] = {
        {UuidCall::kCreate, 8, [&] { return guid.CreateGUID(); }, 0x20000008, "CreateGUID(): "},
        {UuidCall::kToText, 14, [&] { return guid.ToString(stream, true); }, 2001, "ToString(): "},
        {UuidCall::kToText, 87, [&] { return guid.ToString(stream, true); }, 9400, "ToString(): UuidToString failed: "},
        {UuidCall::kFreeText, 8, [&] { return guid.ToString(stream, false); }, 0, "ToString(): RpcStringFree failed: "},
        {UuidCall::kFromText, 14, [&] { return unset.FromString("{x"); }, 14,
         "FromStream(): UuidFromString failed for: {x, reason: "}};
    for (const auto& [call, error, operation, result, line] : cases) {
        seams::FailUuidCall(call, error);
        EXPECT_EQ(operation(), result) << line;
        EXPECT_EQ(log.Take(), Composed("0 ERROR: GuidC::", line, CodeText(FoldSystemError(error)), '\n'));
    }
    EXPECT_EQ(Composed(stream.str(), guid, unset), kText + kBraced + kZeros);
}

TEST(Guids, AreMadeAtRandomAndAllDiffer) {
    std::set<std::string> made;
    for (int i = 0; i < 1000; ++i) {
        GuidC guid;
        ASSERT_EQ(guid.CreateGUID(), 0u);
        const std::string text = Composed(guid);
        ASSERT_TRUE(text[15] == '4' && std::strchr("89ab", text[20]) && made.insert(text).second) << text;
    }
#ifndef _WIN32
    static void* const s_shared = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    GuidC& ofChild = *new (s_shared) GuidC; // shared with the child
    GuidC ofParent;
    ForkedChild child([&] { EXPECT_EQ(ofChild.CreateGUID(), 0u); });
    EXPECT_EQ(ofParent.CreateGUID() + static_cast<unsigned>(child.ExitCode()), 0u);
    EXPECT_NE(Composed(ofChild), Composed(ofParent));
#endif
}

} // namespace
} // namespace gaizior::test
