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
constexpr std::string_view kEncoded(
    "\132\122\105\116\103\032\001\000\121\000\000\000\000\000\000\000\236\112\163\151\115\155\312\144\144\145\146\147"
    "\150\151\152\153\154\155\156\157\000\000\000\000\317\325\124\036\271\316\064\041\061\261\100\060\376\104\277\045"
    "\024\106\154\154\273\014\125\100\371\045\363\220\276\332\223\246\325\274\312\134\145\243\261\155\324\110\347\220"
    "\271\154\055\211\315\176\262\250\360\024\071\105\324\142\343\003\370\101\166\065\021\370\354\045\326\064\362\375"
    "\077\306\171\042\164\104\206\035\213\120\005\273\351\202\145\343\264",
    129);

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
    const std::string file(kEncoded);
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
    EXPECT_TRUE(RemoveFile(m_file.c_str()));
    EXPECT_EQ(Decode(), Result(ZRErrors::e_File_NotFound, ""));
    EXPECT_NE(m_log.Take().find("failed to read " + m_file), std::string::npos);
}

TEST_F(GuidEncryptTest, GivesBackWhatItEncoded) {
    std::string before;
    for (const std::string& part :
         {std::string(), std::string(kText), std::string(kText), std::string(100'000, '\0')}) {
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
