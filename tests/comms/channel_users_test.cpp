#include "gaizior/comms/channel_users.h"

#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_ledger.h"
#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/coarse_clock.h"
#include "gaizior/platform/timing.h"
#include "tests/comms/survival.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"
#include "tests/support/shared_view.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#ifndef _WIN32
#include "tests/support/forked_child.h"
#endif

namespace gaizior {
namespace {

using enum ZRErrors::ZRErrorT;

constexpr unsigned short kOwnId = 11;
constexpr unsigned short kOtherId = 12;

std::string g_warnings;

void KeepWarning(int level, int, const char* text) {
    if (level == 0) {
        g_warnings += text;
    }
}

class ChannelUsersTest : public testing::Test {
protected:
    ChannelUsersTest() {
        seams::SetTimeDivisor(50);
        g_warnings.clear();
        ZRDBNewRegisterCallback(&KeepWarning);
    }
    ~ChannelUsersTest() override {
        ZcCloseComms();
        ZRDBNewRegisterCallback(nullptr);
        seams::SetTimeDivisor(1);
    }

    static std::vector<ZcUserT> Users() {
        std::vector<ZcUserT> users(kLedgerUsers);
        unsigned found = 0;
        EXPECT_EQ(ZcListUsers(users.data(), kLedgerUsers, &found), e_General_NoError);
        users.resize(found);
        return users;
    }
    /// Looks until the users are as a state wants them; the watchdog ends what never comes.
    template <typename Condition>
    static std::vector<ZcUserT> UsersOnce(Condition fits) {
        std::vector<ZcUserT> users = Users();
        for (; !fits(users); users = Users()) {
            ::Sleep(5);
        }
        return users;
    }
    /// A process that has the channel open under kFillerId and dies.
    static void LetOneDie() {
        EXPECT_NE(test::Child(test::SiblingProgram("comms_child"), "crash send 1").ExitCode(), 0u);
    }
    static std::vector<long long> PostTimes() {
        const auto block = std::make_unique<ZcChannel>();
        std::vector<long long> times(kZcSlotCount, -1);
        EXPECT_EQ(ZcSnapshot(block.get(), INFINITE), e_General_NoError);
        EXPECT_EQ(ZcGetPostTimes(block.get(), times.data()), e_General_NoError);
        return times;
    }

    test::Watchdog watchdog;
    test::PrivateNames names;
};

TEST_F(ChannelUsersTest, TellsWhoHasTheChannelOpenAndWhoDiedWithIt) {
    unsigned found = 99;
    EXPECT_EQ(ZcListUsers(nullptr, 0, &found), e_Resource_AllocationFailed);
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(ZcGetCommsOSError(), 2u);
    const long long before = CoarseNow();
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    LetOneDie();
    LetOneDie(); // in the place of the first
    const std::vector<ZcUserT> users = Users();
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users[0].nID, kOwnId);
    EXPECT_EQ(users[0].nProcess, ::GetCurrentProcessId());
    EXPECT_EQ(users[0].nState, kZcUserRuns);
    EXPECT_EQ(std::string(users[0].szProgram).substr(0, 10), "comms_test");
    EXPECT_STRNE(users[0].szUser, "");
    EXPECT_EQ(users[0].nWaitingSince, 0);
    EXPECT_TRUE(before <= users[0].nSince && users[0].nSince <= CoarseNow());
    EXPECT_EQ(users[1].nID, test::kFillerId);
    EXPECT_EQ(users[1].nState, kZcUserGone);
    EXPECT_EQ(std::string(users[1].szProgram).substr(0, 11), "comms_child");
    ZcUserT first[2] = {};
    EXPECT_EQ(ZcListUsers(first, 1, &found), e_General_NoError);
    EXPECT_EQ(found, 2u);
    EXPECT_EQ(first[1].nProcess, 0u) << "there was no room for it";
    EXPECT_EQ(ZcListUsers(first, 1, nullptr), e_Command_Aborted);
    EXPECT_EQ(ZcListUsers(nullptr, 1, &found), e_Command_Aborted);
    const test::SharedView<LedgerBlock> ledger(kLedgerName);
    ledger->users[0].owner += OwnerOf(0, 1);
    EXPECT_EQ(Users()[0].nState, kZcUserGone) << "another process has its number";
    ledger->users[0].owner -= OwnerOf(0, 1);
    ZcCloseComms();
    EXPECT_EQ(Users().size(), 1u) << "the dead one's; who closes is not there any more";
    EXPECT_EQ(g_warnings.find("written down"), std::string::npos) << g_warnings;
}

TEST_F(ChannelUsersTest, TellsWhoWaitsForTheMutex) {
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    const UniqueHandle mutex(::CreateMutexA(nullptr, FALSE, kChannelMutexName));
    ASSERT_EQ(::WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    const auto send = [] { EXPECT_EQ(ZcSendMessage("late", INFINITE, kOtherId), e_General_NoError); };
    const long long before = CoarseNow();
    std::thread first(send), second(send);
    const auto isWaiting = [](const std::vector<ZcUserT>& users) { return users.at(0).nWaitingSince != 0; };
    EXPECT_GE(UsersOnce(isWaiting)[0].nWaitingSince, before);
    ::ReleaseMutex(mutex.Get());
    first.join();
    second.join();
    EXPECT_FALSE(isWaiting(Users()));
}

TEST_F(ChannelUsersTest, TellsWhenAMessageWasPostedUnlessAnotherIsInItsPlace) {
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    const test::SharedView<ZcChannel> block(kChannelSectionName);
    const test::SharedView<LedgerBlock> ledger(kLedgerName);
    const long long before = CoarseNow();
    for (const std::string& text : {std::string("short"), std::string(), std::string(300, 'x')}) {
        ASSERT_EQ(ZcSendMessage(text.c_str(), 1000, kOtherId), e_General_NoError);
    }
    const std::vector<long long> times = PostTimes();
    for (unsigned slot = 0; slot < 3; ++slot) {
        EXPECT_TRUE(before <= times[slot] && times[slot] <= CoarseNow()) << slot;
    }
    EXPECT_EQ(times[3], 0) << "a free slot";
    // one of an older make posts without a word
    block->slots[0].msg[4] = 'n';
    block->slots[1].dest_id = kOwnId;
    block->slots[2].msg[254] = 'y';
    EXPECT_EQ(PostTimes(), std::vector<long long>(kZcSlotCount, 0));
    block->slots[0].msg[4] = 't';
    EXPECT_EQ(PostTimes()[0], times[0]);
    for (const long long hostile : {LLONG_MIN, -1LL, LLONG_MAX, CoarseNow() + 3'600'000}) {
        ledger->posts[0].postedAt = hostile;
        EXPECT_EQ(PostTimes()[0], 0) << hostile;
    }
    std::array<long long, kZcSlotCount> ignored{};
    EXPECT_EQ(ZcGetPostTimes(nullptr, ignored.data()), e_Command_Aborted);
    EXPECT_EQ(ZcGetPostTimes(block.Get(), nullptr), e_Command_Aborted);
}

TEST_F(ChannelUsersTest, TakesTheOldestMessagesOfAnIdFromOutside) {
    char messages[3][kZcMessageSize];
    unsigned taken = 99;
    EXPECT_EQ(ZcPurge(kOwnId, 100, messages, 3, &taken), e_Resource_AllocationFailed);
    EXPECT_EQ(taken, 0u);
    EXPECT_EQ(ZcPurge(kOwnId, 100, nullptr, 1, &taken), e_Command_Aborted);
    EXPECT_EQ(ZcPurge(kOwnId, 100, messages, 1, nullptr), e_Command_Aborted);
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    const test::SharedView<ZcChannel> block(kChannelSectionName);
    for (const unsigned short id : {kOtherId, kOwnId, kOtherId, kOtherId}) {
        ASSERT_EQ(ZcSendMessage(std::to_string(block->nMessages).c_str(), 1000, id), e_General_NoError);
    }
    EXPECT_EQ(ZcPurge(kOtherId, 100, messages, 2, &taken), e_General_NoError);
    EXPECT_EQ(taken, 2u);
    EXPECT_STREQ(messages[1], "2");
    EXPECT_EQ(ZcPurge(kOtherId, 100, messages, 3, &taken), e_General_NoError);
    EXPECT_EQ(taken, 1u);
    EXPECT_STREQ(messages[0], "3");
    EXPECT_EQ(block->nMessages, 1) << "the other one's";
    block->magic = 1;
    EXPECT_EQ(ZcPurge(kOwnId, 100, messages, 3, &taken), e_Object_BadMagic);
    block->magic = kZcMagic;
}

// What others write into the ledger, or put in its place, is no reason for the channel to fail.

TEST_F(ChannelUsersTest, WorksWithALedgerThatIsFull) {
    const test::SharedView<LedgerBlock> ledger(kLedgerName);
    ledger->magic = kLedgerMagic;
    for (LedgerUser& user : ledger->users) { // this process lives, so nobody else takes its places
        user.owner = ::GetCurrentProcessId();
        user.since = 1;
    }
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    EXPECT_NE(g_warnings.find("all places are taken"), std::string::npos) << g_warnings;
    EXPECT_EQ(Users().size(), kLedgerUsers);
    ledger->users[7].owner = 0;
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    EXPECT_EQ(ledger->users[7].id, kOwnId);
}

TEST_F(ChannelUsersTest, ReadsAnyLedgerWithoutHarm) {
    const test::SharedView<LedgerBlock> ledger(kLedgerName);
    for (const int byte : {0xFF, 0x80, 0x7F, 0x41, 0x01}) {
        std::memset(static_cast<void*>(ledger.Get()), byte, sizeof(LedgerBlock));
        unsigned found = 0;
        EXPECT_EQ(ZcListUsers(nullptr, 0, &found), e_File_MappingFailed) << "it has no magic";
        ledger->magic = kLedgerMagic;
        for (LedgerUser& user : ledger->users) {
            user.id = static_cast<std::uint32_t>(byte);
        }
        ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
        ASSERT_EQ(ZcSendMessage("on", 1000, kOtherId), e_General_NoError);
        for (const ZcUserT& user : Users()) {
            EXPECT_LT(std::strlen(user.szProgram), sizeof(user.szProgram));
            EXPECT_EQ(std::strpbrk(user.szProgram, "\x01\x7F"), nullptr);
            EXPECT_TRUE(user.nID == kOwnId || (user.nSince == 0 && user.nWaitingSince == 0) || byte == 1);
        }
        ZcCloseComms();
    }
}

TEST_F(ChannelUsersTest, WorksWhereTheLedgerIsNone) {
    const auto works = [] {
        g_warnings.clear();
        EXPECT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
        EXPECT_EQ(ZcSendMessage("on", 1000, kOtherId), e_General_NoError);
        ZcCloseComms();
        const std::size_t line = g_warnings.find("cannot be written down: there is no place for it");
        EXPECT_NE(line, std::string::npos) << g_warnings;
        EXPECT_EQ(g_warnings.find("WARNING", line), std::string::npos) << "one line tells it";
    };
    {
        const UniqueHandle event(::CreateEventA(nullptr, TRUE, FALSE, kLedgerName));
        works();
    }
    {
        const test::SharedView<std::uint32_t> tooShort(kLedgerName);
        works();
    }
    const test::SharedView<LedgerBlock> foreign(kLedgerName);
    foreign->magic = 1;
    foreign->users[0].owner = 1;
    works();
    EXPECT_EQ(foreign->users[1].owner, 0u) << "what is somebody else's stays as it is";
}

#ifndef _WIN32

TEST_F(ChannelUsersTest, TellsAForkedChildFromItsParentAndWhetherItIsStopped) {
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    const test::ForkedChild child([] {
        ZcSendMessage("mine", 1000, kOtherId);
        ::raise(SIGSTOP);
        ZcCloseComms();
    });
    UsersOnce([](const auto& users) {
        return users.size() == 2 && (users[0].nState == kZcUserStopped || users[1].nState == kZcUserStopped);
    });
    ::kill(child.Id(), SIGCONT);
    const std::vector<ZcUserT> left = UsersOnce([](const auto& users) { return users.size() == 1; });
    EXPECT_EQ(left[0].nProcess, ::GetCurrentProcessId()) << "who closes gives up its own place";
}

#endif

} // namespace
} // namespace gaizior
