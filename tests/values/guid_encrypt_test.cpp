// Encoded files: what comes back, and what is told of those that are damaged.

#include "gaizior/platform/files.h"
#include "gaizior/values/guid_encrypt.h"
#include "tests/support/log_capture.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <utility>

namespace gaizior::test {
namespace {

constexpr GUID kKey = {0x04030201, 0x0605, 0x0807, {8, 9, 10, 11, 12, 13, 14, 15}};
constexpr const char* kText = "[mail]\r\nsubject=plates, and a line that is longer than a block of the stream is\r\n";

/// The text as another program encoded it.
std::string EncodedElsewhere() {
    constexpr std::string_view kDigits =
        "5a52454e431a010051000000000000009e4a73694d6dca646465666768696a6b6c6d6e6f00000000cfd5541eb9ce342131b14030"
        "fe44bf2514466c6cbb0c5540f925f390beda93a6d5bcca5c65a3b16dd448e790b96c2d89cd7eb2a8f0143945d462e303f8417635"
        "11f8ec25d634f2fd3fc679227444861d8b5005bbe98265e3b4";
    std::string file;
    for (std::size_t i = 0; i < kDigits.size(); i += 2) {
        file += static_cast<char>(std::stoi(std::string(kDigits.substr(i, 2)), nullptr, 16));
    }
    return file;
}

class GuidEncryptTest : public testing::Test {
protected:
    using Result = std::pair<ZRErrors::ZRErrorT, std::string>;

    Result Decode(const GUID& key = kKey) const {
        std::stringstream stream;
        const auto code = ZRGUIDEncryptC::Decode(m_file.c_str(), stream, key);
        return {code, stream.str()};
    }
    Result DecodeBytes(std::string_view bytes) const {
        std::ofstream(m_file, std::ios::binary) << bytes;
        return Decode();
    }

    ScratchFolder m_folder;
    LogCapture m_log;
    std::string m_file = m_folder.File("encoded");
};

TEST_F(GuidEncryptTest, TellsEachDamage) {
    const std::string file = EncodedElsewhere();
    const Result damaged(ZRErrors::e_Object_InvalidData, ""), foreign(ZRErrors::e_Object_BadMagic, "");
    EXPECT_EQ(DecodeBytes(file), Result(ZRErrors::e_General_NoError, kText));
    EXPECT_EQ(m_log.Take(), "");
    EXPECT_EQ(Decode(ZRGUIDEncryptC::PUBLIC_KEY), Result(ZRErrors::e_Guid_Invalid, ""));
    for (std::size_t i = 0; i < file.size(); ++i) {
        std::string changed = file;
        changed[i] = static_cast<char>(changed[i] ^ 1 << i % 8);
        EXPECT_EQ(DecodeBytes(changed), i < 8 ? foreign : damaged) << i;
        EXPECT_EQ(DecodeBytes(file.substr(0, i)), i < 8 ? foreign : damaged) << i;
    }
    EXPECT_EQ(DecodeBytes(file + '\n'), damaged);
    EXPECT_EQ(DecodeBytes(file + file), damaged);
    EXPECT_TRUE(RemoveFile(m_file.c_str()));
    EXPECT_EQ(Decode(), Result(ZRErrors::e_File_NotFound, ""));
    EXPECT_NE(m_log.Take().find("failed to read " + m_file), std::string::npos);
}

TEST_F(GuidEncryptTest, GivesBackWhatItEncoded) {
    std::string text(100'000, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i * i >> 3);
    }
    std::string before;
    for (const std::string& part : {std::string(), std::string(kText), std::string(kText), text}) {
        std::stringstream stream("skipped" + part);
        stream.ignore(7);
        EXPECT_EQ(ZRGUIDEncryptC::Encode(m_file.c_str(), stream, kKey), ZRErrors::e_General_NoError);
        EXPECT_EQ(Decode(), Result(ZRErrors::e_General_NoError, part));
        std::string file;
        EXPECT_TRUE(ReadWholeFile(m_file.c_str(), file, 200'000));
        EXPECT_EQ(file.find("subject"), std::string::npos);
        EXPECT_NE(file, before) << "the same text looks different each time";
        before = file;
    }
    std::stringstream stream(kText);
    EXPECT_EQ(ZRGUIDEncryptC::Encode(m_folder.File("astray/file").c_str(), stream, kKey), ZRErrors::e_File_WriteFailed);
}

} // namespace
} // namespace gaizior::test
