#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_block.h"
#include "tests/apps/program.h"
#include "tests/support/child.h"
#include "tests/support/shared_view.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <array>

namespace gaizior::test {
namespace {

struct Visit {
    int exit;
    std::string output;
    std::string errors;
};

/// A channel with one message.
class Patient {
public:
    Patient() {
        EXPECT_EQ(ZcOpenComms(40), ZRErrors::e_General_NoError);
        EXPECT_EQ(ZcSendMessage("kept", 1000, 40), ZRErrors::e_General_NoError);
    }
    Patient(const Patient&) = delete;
    Patient& operator=(const Patient&) = delete;
    ~Patient() {
        std::array<char, 256> buffer{};
        ZcReceiveMessage(buffer.data(), buffer.size(), 0);
        EXPECT_STREQ(buffer.data(), "kept") << "whatever the doctor did";
        ZcCloseComms();
    }
};

class DoctorTest : public testing::Test {
protected:
    static Visit SeeDoctor(const char* option) {
        Program bench("bench", {"channel", "doctor", option});
        return {bench.Wait().value_or(-1), bench.Output(), bench.Errors()};
    }
    static void ExpectPart(const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << text;
    }

    Watchdog watchdog{std::chrono::seconds(120)};
    PrivateNames names;
    const Patient patient;
    const SharedView<ZcChannel> block{"Zircona_Comms_Queue"};
    const UniqueHandle mutex{::CreateMutexA(nullptr, FALSE, "Zircona_Comms_Mutex")};
};

TEST_F(DoctorTest, TellsOfDamageAndRepairsItWhenAsked) {
    block->nMessages = 9;
    const std::string damage = "the count says 9, 1 slots are taken";
    const Visit sick = SeeDoctor("--json");
    EXPECT_EQ(sick.exit, 1);
    ExpectPart(sick.output,
               R"("readable":true,"consistent":false,"damage":")" + damage + R"(","taken":1,"slots":200,)");
    ExpectPart(sick.errors, "--repair");
    EXPECT_EQ(block->nMessages, 9) << "nothing is changed unasked";
    const Visit repaired = SeeDoctor("--repair");
    EXPECT_EQ(repaired.exit, 0) << repaired.errors;
    EXPECT_EQ(repaired.output, "mutex     free\nblock     consistent, repaired: " + damage +
                                   "; list rebuilt from 1 messages, 0 slots freed\n"
                                   "messages  1 of 200 slots taken, oldest for ID 40\n");
    const Visit well = SeeDoctor("--json");
    EXPECT_EQ(well.exit, 0);
    ExpectPart(well.output,
               R"("consistent":true,"damage":null,"taken":1,"slots":200,"oldest_id":40,"taken_over":null,)");
}

TEST_F(DoctorTest, NamesWhoeverHoldsTheChannelAndTakesItOverFromTheDead) {
    ASSERT_EQ(::WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    const Visit busy = SeeDoctor("--repair");
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    EXPECT_EQ(busy.exit, 4);
    ExpectPart(busy.output, "mutex     held by ");
    ExpectPart(busy.output, "block     cannot be read");
    ExpectPart(busy.errors, "the message channel is locked by ");
#ifndef _WIN32
    ExpectPart(busy.output, "apps_test (process " + std::to_string(::GetCurrentProcessId()) + ", thread " +
                                std::to_string(::GetCurrentThreadId()) + ") since 20");
#endif
    const auto dieWithTheMutex = [] { EXPECT_NE(Child(SiblingProgram("comms_child"), "crash send 1").ExitCode(), 0u); };
    dieWithTheMutex();
    const Visit dead = SeeDoctor("--json");
    EXPECT_EQ(dead.exit, 0) << dead.errors;
    ExpectPart(dead.output, R"("held":false,"abandoned":true,)");
    ExpectPart(dead.output, R"("taken_over":"the block is in order","repaired":null})");
    dieWithTheMutex();
    Program status("bench", {"channel", "status"});
    EXPECT_EQ(status.Wait(), 0);
    ExpectPart(status.Errors(), "bench: the channel was taken over from a process that died: the block is in order\n");
}

TEST_F(DoctorTest, LeavesAloneWhatIsNoChannel) {
    block->magic = 1;
    const Visit visit = SeeDoctor("--repair");
    EXPECT_EQ(visit.exit, 1);
    ExpectPart(visit.output, "DAMAGED: the magic number is wrong");
    ExpectPart(visit.errors, "is not a message channel's");
    block->magic = kZcMagic;
}

} // namespace
} // namespace gaizior::test
