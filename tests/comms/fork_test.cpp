#include "gaizior/comms/channel.h"
#include "tests/support/forked_child.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include "gaizior/platform/timing.h"

namespace gaizior::test {
namespace {

std::string Receive() {
    char buffer[256];
    const ZRErrors::ZRErrorT error = ZcReceiveMessage(buffer, sizeof(buffer), 1000);
    return error ? "error " + std::to_string(error) : buffer;
}

void CloseFirst() {
    EXPECT_EQ(ZcSendMessage("go on", 1000, 1), ZRErrors::e_General_NoError);
    ZcCloseComms();
}

void CloseLast() {
    EXPECT_EQ(Receive(), "go on");
    EXPECT_EQ(ZcSendMessage("alone", 1000, 1), ZRErrors::e_General_NoError);
    EXPECT_EQ(Receive(), "alone");
    ZcCloseComms();
}

/// Parent and forked child are two processes with the same ID: either sends, receives and closes, and the other goes
/// on.
TEST(ForkedChannel, IsOpenInBothAndClosedInEach) {
    const Watchdog watchdog;
    const PrivateNames names;
    seams::SetTimeDivisor(10);
    for (const bool childClosesFirst : {true, false}) {
        SCOPED_TRACE(childClosesFirst);
        ASSERT_EQ(ZcOpenComms(1), ZRErrors::e_General_NoError);
        ForkedChild child(childClosesFirst ? CloseFirst : CloseLast);
        if (childClosesFirst) {
            EXPECT_EQ(child.ExitCode(), 0);
            CloseLast();
        } else {
            CloseFirst();
            EXPECT_EQ(child.ExitCode(), 0);
        }
        EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
    }
    seams::SetTimeDivisor(1);
}

} // namespace
} // namespace gaizior::test
