#include "gaizior/comms/channel.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/comms/channel_users.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/section.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/support/scratch.h"
#include "tests/support/shared_view.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <tuple>

#ifndef _WIN32
#include "tests/support/forked_child.h"
#endif

namespace gaizior {
namespace {

using enum ZRErrors::ZRErrorT;
using ZRErrors::ZRErrorT;

constexpr unsigned short kOwnId = 11;
constexpr unsigned short kOtherId = 12;

std::mutex g_lineLock;
std::string g_lines; ///< each with its level before it
bool g_isMutexOurs;  ///< the test holds the channel's mutex itself

/// Called while the channel is locked it would never see another thread get the mutex.
void ExpectMutexFree() {
    const UniqueHandle mutex(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kChannelMutexName));
    if (mutex) {
        EXPECT_EQ(::WaitForSingleObject(mutex.Get(), 10'000), DWORD{WAIT_OBJECT_0});
        ::ReleaseMutex(mutex.Get());
    }
}

void KeepLine(int level, int, const char* text) {
    if (!g_isMutexOurs) {
        std::thread(&ExpectMutexFree).join();
    }
    const std::lock_guard lock(g_lineLock);
    g_lines += std::to_string(level) + text;
}

class ChannelTest : public ::testing::Test {
protected:
    ChannelTest() {
        seams::SetTimeDivisor(50);
        g_lines.clear();
        g_isMutexOurs = false;
        ZRDBNewRegisterCallback(&KeepLine);
        ZRDBSetLevel(5);
    }
    ~ChannelTest() override {
        ZcCloseComms();
        ZRDBNewRegisterCallback(nullptr);
        ZRDBSetLevel(0);
        seams::SetTimeDivisor(1);
    }

    static std::string Receive() {
        char buffer[256];
        const ZRErrorT error = ZcReceiveMessage(buffer, sizeof(buffer), 1000);
        return error ? "error " + std::to_string(error) : buffer;
    }

    static std::string ReceiveAtOnce(unsigned long timeout) {
        char buffer[256];
        const ZRErrorT error = ZcReceiveMessageAtOnce(buffer, sizeof(buffer), timeout);
        return error ? "error " + std::to_string(error) : buffer;
    }

    static bool Logged(const std::string& part) {
        const std::lock_guard lock(g_lineLock);
        return g_lines.find(part) != std::string::npos;
    }

    test::Watchdog watchdog;
    test::PrivateNames names;
};

class OpenChannelTest : public ChannelTest {
protected:
    const ZRErrorT opened = ZcOpenComms(kOwnId);
    /// Beside the channel's own; it keeps the block alive while the channel is closed.
    const test::SharedView<ZcChannel> block{kChannelSectionName};
};

TEST_F(OpenChannelTest, AMessageArrivesWholeUpTo255CharactersAndCutWhereTheBufferEnds) {
    ASSERT_EQ(opened, e_General_NoError);
    EXPECT_EQ(ZcGetCommsOSError(), 0u);
    const UniqueHandle event(::OpenEventA(SYNCHRONIZE, FALSE, kChannelEventName));
    const auto isEventSet = [&] { return ::WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0; };
    for (const std::size_t length : {0u, 1u, 254u, 255u, 256u, 300u}) {
        const std::string text(length, 'm');
        ASSERT_EQ(ZcSendMessage(text.c_str(), 1000, kOwnId), e_General_NoError);
        EXPECT_EQ(Receive(), text.substr(0, 255)) << length;
        EXPECT_FALSE(isEventSet()) << "the pool holds no message";
    }
    for (const char* text : {"1", "abcdef"}) {
        ASSERT_EQ(ZcSendMessage(text, 1000, kOwnId), e_General_NoError);
    }
    EXPECT_EQ(Receive(), "1");
    EXPECT_TRUE(isEventSet()) << "it still holds one";
    char buffer[] = {'?', '?', '?', '!'};
    EXPECT_EQ(ZcReceiveMessage(buffer, 3, 0), e_General_NoError) << "one cycle needs no time";
    EXPECT_EQ(std::string(buffer, 4), std::string("ab\0!", 4));
    EXPECT_EQ(ZcReceiveMessage(buffer, 3, 0), e_Command_TimedOut) << "the slot is free all the same";
}

TEST_F(OpenChannelTest, TheBlockHoldsTheDocumentedBytes) {
    ASSERT_EQ(ZcSendMessage("first", 1000, 0x0203), e_General_NoError);
    ASSERT_EQ(ZcSendMessage("second", 1000, 0x0405), e_General_NoError);
    std::string expected(54412, '\0');
    const auto put = [&](std::size_t offset, const std::string& bytes) {
        expected.replace(offset, bytes.size(), bytes);
    };
    put(0, {2, 0, 0, 0, '\x96', 0x19, 0x11, 0x27, 0, 0, 1, 0});
    put(12, "first");
    put(268, {3, 2, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0});
    put(284, "second");
    put(540, {5, 4, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0});
    EXPECT_EQ(std::memcmp(block.Get(), expected.data(), expected.size()), 0);
}

TEST_F(OpenChannelTest, OpeningThrowsAwayOnlyWhatIsLeftForTheOwnId) {
    ZcSendMessage("old", 1000, kOwnId);
    ZcSendMessage("for another", 1000, kOtherId);
    ZcSendMessage("old too", 1000, kOwnId);
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError) << "closes first";
    EXPECT_EQ(ZcGetCommsOSError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(block->nMessages, 1);
    EXPECT_TRUE(Logged("Purging messages for destination ID 11\r\n"));
    EXPECT_TRUE(Logged("Message = <old>\r\n"));
    EXPECT_TRUE(Logged("Purged 2 messages for destination ID 11\r\n"));
    EXPECT_EQ(ZcGetPurgedCount(), 2u);
    EXPECT_EQ(Receive(), "error 2013");
    EXPECT_EQ(ZcGetCommsOSError(), static_cast<unsigned>(WAIT_TIMEOUT));
    EXPECT_TRUE(Logged("5ZcReceiveMessage: timed out: no message came")) << "which is no failure";
}

TEST_F(OpenChannelTest, ClosingDumpsWhatIsLeft) {
    ZcSendMessage("stays", 1000, kOtherId);
    g_lines.clear();
    ZcCloseComms();
    EXPECT_EQ(g_lines, "5Dumping messages\r\n5pChan->nMessages:     1\r\n5pChan->start_of_list: 0\r\n"
                       "5pChan->end_of_list:   0\r\n5===========================\r\n"
                       "5DestID=12, Taken=1, Msg=<stays>\r\n5Dumped 1 messages\r\n");
    EXPECT_EQ(block->nMessages, 1) << "its addressee may still come";
    g_lines.clear();
    ZcCloseComms();
    EXPECT_EQ(g_lines, "1No Pool to dump messages from!!\r\n");
}

TEST_F(OpenChannelTest, AFullPoolRefusesAndDropsNothing) {
    for (int i = 0; i < kZcSlotCount; ++i) {
        ASSERT_EQ(ZcSendMessage("x", 1000, kOwnId), e_General_NoError);
    }
    EXPECT_EQ(ZcSendMessage("no", 0, kOtherId), e_Command_TimedOut);
    EXPECT_EQ(ZcSendMessage("no", 1000, kOtherId), e_Command_TimedOut);
    EXPECT_TRUE(Logged("0ZcSendMessage: ERROR: timed out: all slots are taken"));
    EXPECT_EQ(block->nMessages, kZcSlotCount);
    std::thread receiver([&] {
        SleepFor(500);
        EXPECT_EQ(Receive(), "x");
    });
    EXPECT_EQ(ZcSendMessage("now there is room", 1000, kOtherId), e_General_NoError);
    receiver.join();
}

TEST_F(ChannelTest, CallsThatCannotWorkSayWhy) {
    char buffer[4] = "abc";
    EXPECT_EQ(ZcSendMessage("x", 0, 1), e_Command_Aborted);
    EXPECT_EQ(ZcReceiveMessage(buffer, sizeof(buffer), 0), e_Command_Aborted);
    EXPECT_STREQ(buffer, "") << "whatever was in it";
    EXPECT_EQ(ZcGetCommsOSError(), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(Logged("0ZcReceiveMessage: ERROR: the channel is not open"));
    EXPECT_EQ(ZcSnapshot(std::make_unique<ZcChannel>().get(), 100), e_Resource_AllocationFailed)
        << "nobody has it open";
    EXPECT_EQ(ZcGetCommsOSError(), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    ZcSendMessage("kept", 1000, kOwnId);
    EXPECT_EQ(ZcSendMessage(nullptr, 0, 1), e_Command_Aborted);
    EXPECT_EQ(ZcReceiveMessage(nullptr, 9, 0), e_Command_Aborted);
    EXPECT_EQ(ZcReceiveMessage(buffer, 0, 0), e_Command_Aborted);
    EXPECT_EQ(ZcReceiveMessageAtOnce(buffer, 0, 0), e_Command_Aborted);
    EXPECT_TRUE(Logged("0ZcReceiveMessageAtOnce: ERROR: there is no buffer for a message"));
    EXPECT_EQ(Receive(), "kept");
}

TEST_F(OpenChannelTest, ReceiversGoOnWhileTheChannelIsClosedAndAreToldAtTheEnd) {
    seams::SetTimeDivisor(4);
    for (auto* const receive : {&ZcReceiveMessage, &ZcReceiveMessageAtOnce}) {
        ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
        std::string received;
        std::thread receiver([&] {
            char buffer[8];
            while (receive(buffer, sizeof(buffer), INFINITE) != e_Command_Aborted) {
                received += buffer;
            }
        });
        for (const char* text : {"1", "2", "3"}) {
            ZcSendMessage(text, 1000, kOwnId);
        }
        ZcCloseComms();
        receiver.join();
        EXPECT_EQ(received, "123");
        EXPECT_TRUE(Logged("5Dumped 0 messages\r\n"));
    }
}

/// An event of an ID, and whether it was set since the last look.
struct WakeEvent {
    UniqueHandle event;
    bool Take() const {
        return ::WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
    }
};

TEST_F(OpenChannelTest, EachReceiverIsWokenByTheEventOfItsId) {
    const WakeEvent own{UniqueHandle(::OpenEventA(SYNCHRONIZE, FALSE, "Zircona_Comms_Event_11"))};
    EXPECT_EQ(ReceiveAtOnce(0), "error 2013");
    EXPECT_EQ(ReceiveAtOnce(200), "error 2013");
    EXPECT_TRUE(Logged("5ZcReceiveMessageAtOnce: timed out: no message came"));
    for (const char* text : {"1", "2", "3"}) {
        ZcSendMessage(text, 1000, kOwnId);
    }
    EXPECT_TRUE(own.Take()) << "one wake of three sends";
    EXPECT_EQ(ReceiveAtOnce(0), "1");
    EXPECT_TRUE(own.Take()) << "for another receiver";
    EXPECT_EQ(Receive(), "2");
    EXPECT_TRUE(own.Take());
    EXPECT_EQ(ReceiveAtOnce(INFINITE), "3");
    ZcSendMessage("nobody has that ID yet", 1000, kOtherId);
    EXPECT_FALSE(own.Take());
    const WakeEvent other{UniqueHandle(::CreateEventA(nullptr, FALSE, FALSE, "Zircona_Comms_Event_12"))};
    do {
        ASSERT_EQ(ZcSendMessage("somebody comes", 0, kOtherId), e_General_NoError) << "nobody was woken by 200 sends";
        SleepFor(100);
    } while (!other.Take());
}

TEST_F(ChannelTest, WhoIsNotWokenLooksAllTheSame) {
    for (const bool hasEvent : {true, false}) {
        const UniqueHandle inTheWay(hasEvent ? nullptr : ::CreateMutexA(nullptr, FALSE, "Zircona_Comms_Event_11"));
        ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
        std::string received;
        std::thread receiver([&] { received = ReceiveAtOnce(INFINITE); });
        SleepFor(300);
        if (hasEvent) { // as a sender of an older make
            const test::SharedView<ZcChannel> block(kChannelSectionName);
            ChannelMutex mutex;
            ASSERT_FALSE(mutex.Open());
            const ChannelLock lock = mutex.Lock("Test", INFINITE);
            EXPECT_TRUE(MessagePool(*block.Get()).Post("look", kOwnId));
        } else {
            EXPECT_EQ(ZcSendMessage("look", 1000, kOwnId), e_General_NoError);
        }
        receiver.join();
        EXPECT_EQ(received, "look");
        for (const char* line : {"0ZcOpenComms: WARNING: making the event of ID 11 failed with system error 6",
                                 "0ZcSendMessage: WARNING: setting the event of ID 11 failed with system error 6"}) {
            EXPECT_NE(Logged(line), hasEvent);
        }
        ZcCloseComms();
    }
}

TEST_F(ChannelTest, ViewersFollowAChannelThatComesAndGoes) {
    ZcViewerC viewers[2];
    const auto block = std::make_unique<ZcChannel>();
    const auto look = [&] { return viewers[0].Snapshot(block.get(), 100) | viewers[1].Snapshot(block.get(), 100); };
    for (const char* text : {"one", "another"}) {
        ASSERT_EQ(look(), e_Resource_AllocationFailed);
        EXPECT_EQ(ZcGetCommsOSError(), ERROR_FILE_NOT_FOUND);
        ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
        for (std::uint16_t count = 1; count <= 2; ++count) {
            ZcSendMessage(text, 1000, kOtherId);
            ASSERT_EQ(look(), e_General_NoError);
            EXPECT_EQ(block->nMessages, count);
            EXPECT_STREQ(block->slots[0].msg, text);
        }
        ZcCloseComms();
        seams::SetTimeDivisor(1);
        for (int looks = 0; looks < 300 && look() == e_General_NoError; ++looks) {
            SleepFor(10);
        }
        seams::SetTimeDivisor(50);
    }
}

TEST_F(ChannelTest, AMutexThatIsNotFreeOrNotHeldIsAFailure) {
    g_isMutexOurs = true;
    ChannelMutex mutex;
    ASSERT_FALSE(mutex.Create());
    {
        const ChannelLock lock = mutex.Lock("Test", 0);
        std::thread([] { EXPECT_EQ(ZcOpenComms(kOwnId), e_Command_TimedOut); }).join();
        ::ReleaseMutex(UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kChannelMutexName)).Get());
    }
    EXPECT_TRUE(Logged("0ZcOpenComms: ERROR: timed out: the mutex was not free"));
    EXPECT_TRUE(Logged("0Test: ERROR: releasing the mutex failed with system error 288"));
}

TEST_F(ChannelTest, WhatIsNotTheChannelsMakesTheOpenFailAndStays) {
    constexpr auto kSize = static_cast<DWORD>(sizeof(ZcChannel));
    constexpr auto kStep = static_cast<DWORD>(kSectionGranularity);
    constexpr const char* kWrongSize = "mapping all of the shared memory, and no more, failed";
    // An event (size 0) or a section under a name of the channel, the error and its line.
    const std::tuple<const char*, DWORD, ZRErrorT, const char*> obstacles[] = {
        {kChannelMutexName, 0, e_Resource_AllocationFailed, "creating the mutex failed with system error 6"},
        {kChannelEventName, 1, e_Resource_AllocationFailed, "creating the event failed with system error 6"},
        {kChannelSectionName, 0, e_File_MappingFailed, "opening the shared memory failed with system error 6"},
        {kChannelSectionName, 1, e_File_MappingFailed, kWrongSize},
        {kChannelSectionName, kSize - kStep, e_File_MappingFailed, kWrongSize},
        {kChannelSectionName, kSize + kStep, e_File_MappingFailed, kWrongSize},
    };
    for (const auto& [name, size, error, line] : obstacles) {
        SCOPED_TRACE(name + std::to_string(size));
        UniqueHandle inTheWay(size == 0
                                  ? ::CreateEventA(nullptr, TRUE, FALSE, name)
                                  : ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name));
        g_lines.clear();
        EXPECT_EQ(ZcOpenComms(kOwnId), error);
        EXPECT_TRUE(Logged(std::string("0ZcOpenComms: ERROR: ") + line));
        EXPECT_EQ(std::ranges::count(g_lines, '\n'), 1) << "a failed open only releases what it took";
        inTheWay = UniqueHandle();
        EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
    }
    const test::SharedView<ZcChannel> ofAnotherMake(kChannelSectionName);
    ofAnotherMake->nMessages = 3;
    EXPECT_EQ(ZcOpenComms(kOwnId), e_Object_BadMagic);
    EXPECT_EQ(ofAnotherMake->nMessages, 3);
    EXPECT_EQ(ZcSendMessage("x", 0, 1), e_Command_Aborted) << "the process is left closed";
}

TEST_F(OpenChannelTest, DamageIsToldAndItsRepairLogged) {
    char report[256];
    ZcFindingsT findings;
    ZcSendMessage("kept", 1000, kOwnId);
    ZcSendMessage("kept too", 1000, kOwnId);
    block->slots[1].prev = 7;
    EXPECT_EQ(ZcExamine(block.Get(), &findings), e_Object_InvalidData);
    EXPECT_STREQ(findings.szDamage, "slot 1 follows slot 0 but names slot 7");
    block->slots[1].prev = 0;
    block->nMessages = 9;
    EXPECT_EQ(ZcRepair(report, 10, 100), e_General_NoError);
    EXPECT_STREQ(report, "the count") << "cut to fit";
    EXPECT_TRUE(Logged("0ZcRepair: WARNING: the block was damaged: the count says 9, 2 slots are taken; list rebuilt"));
    EXPECT_EQ(ZcRepair(report, sizeof(report), 100), e_General_NoError);
    EXPECT_STREQ(report, "");
    block->start_of_list = 5000;
    EXPECT_EQ(Receive(), "kept");
    EXPECT_TRUE(Logged("0ZcReceiveMessage: WARNING: the block was damaged: the list leads to slot 5000; list rebuilt"));
}

#ifndef _WIN32

/// Parent and forked child are two processes with the same ID: either sends, receives and closes, and the other goes
/// on.
TEST_F(ChannelTest, IsOpenInParentAndForkedChildAndClosedInEach) {
    g_isMutexOurs = true; // the thread sanitizer ends a forked child that starts a thread
    const auto closeFirst = [] {
        EXPECT_EQ(ZcSendMessage("go on", 1000, kOwnId), e_General_NoError);
        ZcCloseComms();
    };
    const auto closeLast = [] {
        EXPECT_EQ(Receive(), "go on");
        EXPECT_EQ(ZcSendMessage("alone", 1000, kOwnId), e_General_NoError);
        EXPECT_EQ(Receive(), "alone");
        ZcCloseComms();
    };
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    test::ForkedChild first(closeFirst);
    EXPECT_EQ(first.ExitCode(), 0);
    closeLast();
    EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
    ASSERT_EQ(ZcOpenComms(kOwnId), e_General_NoError);
    test::ForkedChild last(closeLast);
    closeFirst();
    EXPECT_EQ(last.ExitCode(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
}

#endif

} // namespace
} // namespace gaizior
