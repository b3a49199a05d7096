#include "apps/support/branding.h"
#include "tests/apps/program.h"

#include <filesystem>

namespace apps::test {
namespace {

const std::string kSample = GAIZIOR_SAMPLES "/newspaper.job";
const std::string kKey = "Platesetter/Imager/301";

class RecordsTest : public ChannelTest {
protected:
    /// Where the programs leave their records in this test.
    static std::filesystem::path Folder() {
        return std::getenv("GAIZIOR_STATE_DIR");
    }
};

TEST_F(RecordsTest, AnImagerLeavesItsLogItsHistoryAndItsCounts) {
    const auto exposed = [] {
        const Program prefs("bench", {"prefs", "get", "PlatesExposed", "--key", kKey});
        prefs.Wait();
        return std::atoi(prefs.Output().c_str());
    };
    const int before = exposed(); // Windows has but one registry for all tests
    const Ended run({"image", kSample, "--speed", "1000", "--id", "300"});
    EXPECT_EQ(exposed(), before + 4);
    const Ended prefs({"prefs", "list", "--key", kKey, "--json"});
    EXPECT_PRED2(Holds, prefs.Output(), R"({"name":"LastJob","value":"Morning edition, front page","from":"user"})");

    const Ended history({"history", "list", (Folder() / "imager-301.history").string(), "--last", "1", "--json"});
    EXPECT_PRED2(Holds, history.Output(),
                 R"("columns":{"job":"Morning edition, front page","plate":"Daily news",)"
                 R"("width":"345","length":"580","separation":"Black","number":"4/4",)"
                 R"("result":"exposed"}})");
    const Ended log({"log", "--process", "imager-301", "--grep", "RECEIVED"});
    EXPECT_PRED2(Holds, log.Output(), "Server::Receive(): received 1;3;300;");
}

TEST_F(RecordsTest, WhatIsSetIsGotBackAndNothingElseChanges) {
    const std::string ini = (Folder() / "oem.ini").string(), cfg = (Folder() / "drum.cfg").string();
    const Ended encode({"ini", "encode", GAIZIOR_SAMPLES "/oemconfig.ini", ini});
    const struct {
        std::vector<std::string> set, get;
        const char* answer;
    } rounds[] = {
        {{"ini", "set", ini, "mail", "subject", "a new one"}, {"ini", "get", ini, "MAIL", "Subject"}, "a new one\n"},
        {{"ini", "set", ini, "manufacturer", "product", "P9"}, {"ini", "get", ini, "mail", "subject"}, "a new one\n"},
        {{"cfg", "set", cfg, "gain", "1.5"}, {"cfg", "get", cfg, "gain"}, "1.5\n"},
        {{"cfg", "set", cfg, "offset", "1", "-2"}, {"cfg", "get", cfg, "offset", "--count", "2"}, "1 -2\n"},
        {{"cfg", "set", cfg, "gain", "-12.0625"}, {"cfg", "get", cfg, "offset", "--json"}, R"("values":[1]})"},
        {{"cfg", "set", cfg, "gain", "3"}, {"cfg", "get", cfg, "offset", "--count", "2"}, "1 -2\n"},
        {{"prefs", "set", "Owner", "2", "--type", "text", "--key", kKey},
         {"prefs", "get", "owner", "--key", kKey, "--json"},
         R"({"name":"Owner","value":"2","from":"user"})"},
        {{"prefs", "set", "owner", "Press 7", "--key", kKey}, {"prefs", "get", "Owner", "--key", kKey}, "Press 7\n"},
        {{"ini", "list", ini},
         {"ini", "set", ini, "a", "b", "1", "--json"},
         R"("key":"b","value":"1","encoded":true})"},
        {{"ini", "decode", ini}, {"cfg", "set", cfg, "x", "1", "2", "--json"}, R"("token":"x","values":[1,2]})"},
    };
    for (const auto& [set, get, answer] : rounds) {
        const Ended setting(set);
        EXPECT_PRED2(Holds, Ended(get).Output(), answer);
    }
    const Branding branding = ReadBranding(ini, "");
    EXPECT_EQ(branding.product + branding.manufacturer + branding.subject, "P9Example Press Equipmenta new one");
    EXPECT_EQ(ReadBranding(cfg, "").code, ZRErrors::e_Object_BadMagic);
    EXPECT_PRED2(Holds, Ended({"ini", "encode", ini, cfg}, 1).Errors(), "oem.ini: the file is encoded already");
}

} // namespace
} // namespace apps::test
