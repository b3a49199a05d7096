#include "gaizior/comms/channel_block.h"
#include "tests/apps/program.h"

#include <array>

namespace apps::test {
namespace {

/// A channel that the test has open under ID 40, with two messages for ID 41.
class ChannelUsersTest : public ChannelTest {
protected:
    ChannelUsersTest() {
        EXPECT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
        for (const char* text : {"first\x1b", "second"}) {
            EXPECT_EQ(ZcSendMessage(text, 1000, 41), ZRErrors::e_General_NoError);
        }
    }

    const std::string own = std::to_string(::GetCurrentProcessId());
};

TEST_F(ChannelUsersTest, BenchTellsWhoIsThereAndThrowsAwayWhatNobodyReads) {
    const std::string json = Ended({"channel", "who", "--json"}).Output();
    EXPECT_PRED2(Holds, json, R"({"usersKnown":true,"ids":[{"id":40,"process":)" + own + R"(,"program":"apps_test)");
    EXPECT_PRED2(Holds, json, R"("state":"runs","waitingSince":null,"unread":0},{"id":41,"process":null,)");
    EXPECT_PRED2(Holds, json, R"("state":"nobody","waitingSince":null,"unread":2}]})");
    EXPECT_PRED2(Holds, Ended({"channel", "purge", "--id", "41"}, 2).Errors(), "add --yes");
    EXPECT_PRED2(Holds, Ended({"channel", "purge", "--id", "40", "--yes"}, 1).Errors(),
                 " (process " + own + ", since ");
    UniqueHandle ofOlderMake(::CreateMutexA(nullptr, FALSE, "Gaizior_Comms_ID_41"));
    EXPECT_PRED2(Holds, Ended({"channel", "who"}).Output(), "  in use, not known by whom\n");
    EXPECT_PRED2(Holds, Ended({"channel", "purge", "--id", "41", "--yes"}, 1).Errors(), "in use by another process, ");
    ofOlderMake = UniqueHandle();
    EXPECT_EQ(Ended({"channel", "purge", "--id", "41", "--yes"}).Output(),
              "2 messages for ID 41 thrown away:\n  first\\x1B\n  second\n");
    EXPECT_EQ(Ended({"channel", "purge", "--id", "41", "--yes", "--json"}).Output(), "{\"id\":41,\"texts\":[]}\n");
}

TEST_F(ChannelUsersTest, WhoAnswersWhileTheChannelIsLocked) {
    const Program imager("imager", {"--id", "42", "--client-id", "40"});
    std::array<char, 256> greeting{};
    ASSERT_EQ(ZcReceiveMessage(greeting.data(), greeting.size(), 20000), ZRErrors::e_General_NoError);
    const UniqueHandle mutex(::CreateMutexA(nullptr, FALSE, "Zircona_Comms_Mutex"));
    ASSERT_EQ(::WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    std::string table;
    for (int i = 0; i < 300 && !Holds(table, "  waits for the lock, "); ++i) {
        table = Ended({"channel", "who"}).Output();
    }
    EXPECT_PRED2(Holds, table, "  waits for the lock, ");
    EXPECT_PRED2(Holds, table, "\n40       ?  ");
    const Ended who({"channel", "who", "--json"});
    EXPECT_PRED2(Holds, who.Output(), R"("state":"waiting","waitingSince":"20)");
    EXPECT_PRED2(Holds, who.Errors(), "'bench channel doctor' tells who holds the lock\n");
    ::ReleaseMutex(mutex.Get());
}

} // namespace
} // namespace apps::test
