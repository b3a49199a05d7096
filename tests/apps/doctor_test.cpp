#include "gaizior/comms/channel_block.h"
#include "tests/apps/program.h"
#include "tests/support/shared_view.h"

#include <array>

namespace apps::test {
namespace {

/// The doctor visits a channel with one message.
class DoctorTest : public ChannelTest {
protected:
    DoctorTest() {
        EXPECT_EQ(ZcSendMessage("kept", 1000, 40), ZRErrors::e_General_NoError);
    }
    ~DoctorTest() override {
        std::array<char, 256> buffer{};
        ZcReceiveMessage(buffer.data(), buffer.size(), 0);
        EXPECT_STREQ(buffer.data(), "kept") << "whatever the doctor did";
    }

    const ZRErrors::ZRErrorT opened = ZcOpenComms(40);
    const SharedView<ZcChannel> block{"Zircona_Comms_Queue"};
    const UniqueHandle mutex{::CreateMutexA(nullptr, FALSE, "Zircona_Comms_Mutex")};
};

TEST_F(DoctorTest, TellsOfDamageAndRepairsItWhenAsked) {
    block->nMessages = 9;
    const std::string damage = "the count says 9, 1 slots are taken";
    const Ended sick({"channel", "doctor", "--json"}, 1);
    EXPECT_PRED2(Holds, sick.Output(),
                 R"("readable":true,"consistent":false,"damage":")" + damage + R"(","taken":1,"slots":200,)");
    EXPECT_PRED2(Holds, sick.Errors(), "--repair");
    EXPECT_EQ(block->nMessages, 9) << "nothing is changed unasked";
    EXPECT_EQ(Ended({"channel", "doctor", "--repair"}).Output(),
              "mutex     free\nblock     consistent, repaired: " + damage +
                  "; list rebuilt from 1 messages, 0 slots freed\n"
                  "messages  1 of 200 slots taken, oldest for ID 40\n");
    EXPECT_PRED2(Holds, Ended({"channel", "doctor", "--json"}).Output(),
                 R"("consistent":true,"damage":null,"taken":1,"slots":200,"oldest_id":40,"taken_over":null,)");
}

TEST_F(DoctorTest, NamesWhoeverHoldsTheChannelAndTakesItOverFromTheDead) {
    ASSERT_EQ(::WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    const Ended busy({"channel", "doctor", "--repair"}, 4);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    EXPECT_PRED2(Holds, busy.Output(), "mutex     held by ");
    EXPECT_PRED2(Holds, busy.Output(), "block     cannot be read");
    EXPECT_PRED2(Holds, busy.Errors(), "the message channel is locked by ");
#ifndef _WIN32
    EXPECT_PRED2(Holds, busy.Output(),
                 "apps_test (process " + std::to_string(::GetCurrentProcessId()) + ", thread " +
                     std::to_string(::GetCurrentThreadId()) + ") since 20");
#endif
    const auto dieWithTheMutex = [] { EXPECT_NE(Child(SiblingProgram("comms_child"), "crash send 1").ExitCode(), 0u); };
    dieWithTheMutex();
    const Ended dead({"channel", "doctor", "--json"});
    EXPECT_PRED2(Holds, dead.Output(), R"("held":false,"abandoned":true,)");
    EXPECT_PRED2(Holds, dead.Output(), R"("taken_over":"the block is in order","repaired":null})");
    dieWithTheMutex();
    EXPECT_PRED2(Holds, Ended({"channel", "status"}).Errors(),
                 "bench: the channel was taken over from a process that died: the block is in order\n");
}

TEST_F(DoctorTest, LeavesAloneWhatIsNoChannel) {
    block->magic = 1;
    const Ended visit({"channel", "doctor", "--repair"}, 1);
    block->magic = kZcMagic;
    EXPECT_PRED2(Holds, visit.Output(), "DAMAGED: the magic number is wrong");
    EXPECT_PRED2(Holds, visit.Errors(), "is not a message channel's");
}

} // namespace
} // namespace apps::test
