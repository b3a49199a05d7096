#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"
#include "gaizior/comms/channel_block.h"
#include "tests/apps/program.h"
#include "tests/support/shared_view.h"

#include <array>

namespace apps::test {
namespace {

/// Whether something that another process does comes true.
template <typename Condition>
bool IsComing(const Condition& condition) {
    for (int looks = 0; looks < 300 && !condition(); ++looks) {
        ::Sleep(50);
    }
    return condition();
}

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
                 R"("consistent":true,"damage":null,"taken":1,"slots":200,"oldestId":40,"oldestPosted":"20)");
}

TEST_F(DoctorTest, NamesWhoeverHoldsTheChannelAndTakesItOverFromTheDead) {
    ASSERT_EQ(::WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    const Ended busy({"channel", "doctor", "--repair"}, 4);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    EXPECT_PRED2(Holds, busy.Output(), "mutex     held by ");
    EXPECT_PRED2(Holds, busy.Output(), "block     cannot be read");
    EXPECT_PRED2(Holds, busy.Errors(), "the message channel is locked by ");
    EXPECT_PRED2(Holds, busy.Output(), "\nfinding   ");
#ifndef _WIN32
    EXPECT_PRED2(Holds, busy.Output(),
                 "apps_test (process " + std::to_string(::GetCurrentProcessId()) + ", thread " +
                     std::to_string(::GetCurrentThreadId()) + ") since 20");
#endif
    const auto dieWithTheMutex = [] { EXPECT_NE(Child(SiblingProgram("comms_child"), "crash send 1").ExitCode(), 0u); };
    dieWithTheMutex();
    const Ended dead({"channel", "doctor", "--json"});
    EXPECT_PRED2(Holds, dead.Output(), R"("held":false,"abandoned":true,)");
    EXPECT_PRED2(
        Holds, dead.Output(),
        R"("takenOver":"the block is in order","repaired":null,"findings":[{"kind":"gone","text":"comms_child)");
    dieWithTheMutex();
    EXPECT_PRED2(Holds, Ended({"channel", "status"}).Errors(),
                 "bench: the channel was taken over from a process that died: the block is in order\n");
}

/// The channel itself waits for its lock for 20 s when it is opened, for ever when it is closed, and nothing ends that.
TEST_F(DoctorTest, WhoOpensOrClosesUnderAHeldLockHearsItsTimeoutAndCtrlC) {
    EXPECT_EQ(ZcSendMessage("old", 1000, 353), ZRErrors::e_General_NoError);
    const Program closing("bench", {"channel", "receive", "--id", "353", "--timeout", "2"});
    EXPECT_TRUE(IsComing([] { return CountWaiting(353).forId == 0; })) << "its open has thrown it away";
    ASSERT_EQ(::WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    const Ended impatient({"channel", "receive", "--id", "351", "--timeout", "0.2"}, 4);
    EXPECT_PRED2(Holds, impatient.Errors(), "cannot be opened under ID 351: it is locked by ");
    const Program patient("bench", {"channel", "receive", "--id", "352", "--timeout", "300"});
    EXPECT_TRUE(IsComing([] { return IsIdInUse(352); }));
    if (patient.Interrupt()) {
        EXPECT_EQ(patient.Wait(), 1) << "as long as the lock is held";
        EXPECT_PRED2(Holds, patient.Errors(), "interrupted while waiting for the channel's lock");
    }
    EXPECT_EQ(closing.Wait(), 4);
    EXPECT_PRED2(Holds, closing.Errors(), "no message came for ID 353");
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
}

TEST_F(DoctorTest, LeavesAloneWhatIsNoChannel) {
    block->magic = 1;
    const Ended visit({"channel", "doctor", "--repair"}, 1);
    block->magic = kZcMagic;
    EXPECT_PRED2(Holds, visit.Output(), "DAMAGED: the magic number is wrong");
    EXPECT_PRED2(Holds, visit.Errors(), "is not a message channel's");
    block->magic = 1;
    const Ended status({"channel", "status"}, 1);
    block->magic = kZcMagic;
    EXPECT_PRED2(Holds, status.Errors(), "is not a message channel's");
    EXPECT_FALSE(Holds(status.Errors(), "--repair")) << "which would refuse";
}

TEST_F(DoctorTest, FindsWhoIsStoppedAndWhatNobodyTakes) {
    const Program imager("imager", {"--id", "351"});
    ASSERT_TRUE(IsComing([] { return IsIdInUse(351); }));
    SuspendProcess(imager.Id());
    for (int i = 1; i < kZcSlotCount; ++i) {
        ASSERT_EQ(ZcSendMessage("lost", 1000, 352), ZRErrors::e_General_NoError);
    }
    const Ended full({"channel", "doctor"}, 1);
    const Ended json({"channel", "doctor", "--json"}, 1);
    imager.Kill();
    EXPECT_PRED2(Holds, full.Output(),
                 "\nfinding   199 messages wait for ID 352, which nobody has: bench channel purge --id 352\n");
    EXPECT_PRED2(Holds, full.Errors(), "is full, nobody can send: bench channel purge --id 352\n");
    EXPECT_PRED2(Holds, json.Output(), R"({"kind":"unheld","text":"199 messages wait for)");
#ifndef _WIN32
    const std::string process = std::to_string(imager.Id());
    EXPECT_PRED2(Holds, full.Output(), "), which has ID 351, was stopped by a signal: kill -CONT " + process + "\n");
#endif
}

} // namespace
} // namespace apps::test
