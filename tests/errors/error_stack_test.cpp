#include "gaizior/errors/error_stack.h"

#include "gaizior/errors/error_text.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/platform/timing.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using gaizior::test::AllocationFailure;

std::string g_log;

struct Protected : ZRErrorC {
    using ZRErrorC::m_hMutex;
};

std::string TextOf(ZRErrors::ZRErrorT code) {
    char buffer[gaizior::kErrorTextSize];
    return std::string(gaizior::FormatErrorText(code, buffer));
}

std::string Print(ZRErrorC& entry, bool thisOnly, bool clear) {
    char* const text = entry.ToString(thisOnly, clear);
    const std::string result = text ? text : "(null)";
    ZRErrorC::FreeString(text);
    return result;
}

std::string PrintStack() {
    return Print(*ZRErrorC::NoError, false, false);
}

class ErrorStack : public testing::Test {
protected:
    void SetUp() override {
        ZRLogStreamC([](unsigned, int, char* text) { g_log += text; }, nullptr, nullptr, nullptr);
        const SYSTEMTIME time{2005, 2, 2, 1, 9, 5, 3, 7};
        gaizior::seams::SetLocalTime(&time);
        ZRErrorC::ClearStack();
        g_log.clear();
    }
    void TearDown() override {
        gaizior::seams::SetLocalTime(nullptr);
        gaizior::seams::SetTimeDivisor(1);
    }
    gaizior::test::Watchdog m_watchdog;
};

TEST_F(ErrorStack, IsTheSentinelWhileItIsEmpty) {
    ZRErrorC::DisposeHandle(ZRErrorC::NoError);
    ZRErrorC::DisposeHandle(ZRErrorC::ErrCreateZRErr);
    EXPECT_EQ(ZRErrorC::Stack(ZRErrorC::NoError), 0u);
    EXPECT_EQ(ZRErrorC::Stack(ZRErrorC::ErrCreateZRErr), 0u);
    EXPECT_EQ(ZRErrorC::GetStack(), ZRErrorC::NoError);
    EXPECT_TRUE(ZRErrorC::IsEmpty() && ZRErrorC::IsEmpty(nullptr) && !ZRErrorC::IsEmpty(ZRErrorC::ErrCreateZRErr));
    EXPECT_EQ(PrintStack(), "<Error Stack Empty>\n");
}

TEST_F(ErrorStack, PrintsOneLineForEachEntryOldestFirst) {
    ::SetLastError(ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ZRErrorC::Stack("ZRFooC::Bar(): ", ZRErrors::e_Command_TimedOut, "x"), 0u);
    EXPECT_EQ(ZRErrorC::Stack(nullptr, ZRErrors::ZRErrorT{0x20000006}, nullptr), 0u);
    EXPECT_EQ(::GetLastError(), ERROR_ALREADY_EXISTS);
    const std::string at = "At: 09:05:03.007 on: 01/02/2005, ERROR: 0x";
    const std::string first =
        at + "000007dd " + TextOf(ZRErrors::e_Command_TimedOut) + ", in FUNCTION: ZRFooC::Bar():  REASON: x\r\n";
    const std::string second =
        at + "20000006 " + TextOf(ZRErrors::ZRErrorT{0x20000006}) + ", in FUNCTION:  REASON: \r\n";
    EXPECT_EQ(Print(*ZRErrorC::GetStack(), true, false), first);
    EXPECT_EQ(Print(*ZRErrorC::ErrCreateZRErr, false, true), first + second);
    EXPECT_TRUE(ZRErrorC::IsEmpty());
}

TEST_F(ErrorStack, TakesEachEntryOfAChainOnceAndLeavesItToItsOwner) {
    ZRErrorC* const chain = ZRErrorC::Error("a", ZRErrors::e_Buffer_TooSmall, "first", 1);
    ZRErrorC* const second = ZRErrorC::Error("b", ZRErrors::e_Arguments_Bad, "second", 0);
    chain->m_pNext = second;
    EXPECT_EQ(g_log, " ERROR: a124 Reason: first\n");
    gaizior::seams::SetLocalTime(nullptr);
    EXPECT_EQ(ZRErrorC::Stack(chain), 0u);
    EXPECT_EQ(ZRErrorC::Stack(chain), 0u);
    EXPECT_EQ(ZRErrorC::Stack(ZRErrorC::GetStack()), 0u);
    const std::string both = Print(*chain, true, false) + Print(*second, true, false);
    ZRErrorC::DisposeHandle(chain->ToHandle());
    EXPECT_EQ(PrintStack(), both);
    EXPECT_EQ(ZRErrorC::GetStack()->m_pNext->m_pPrev, ZRErrorC::GetStack());
    EXPECT_EQ(ZRErrorC::ToError(ZRErrorC::GetStack()).GetError(), 124u);
}

TEST_F(ErrorStack, ClonesTextsAndTimeButNeitherLinksNorFlag) {
    ZRErrorC::Stack("a", ZRErrors::e_Buffer_TooSmall, "first");
    ZRErrorC::Stack("b", ZRErrors::e_Buffer_TooSmall, "second");
    ZRErrorC& source = *ZRErrorC::GetStack();
    gaizior::seams::SetLocalTime(nullptr);
    ZRErrorC own(source); // shares the texts until it gets its own
    own.Clone(source);
    own.Clone(own);
    ZRErrorC fresh;
    fresh.Clone(source);
    fresh.Clone(own);
    EXPECT_EQ(fresh.m_pNext, nullptr);
    EXPECT_EQ(Print(fresh, true, false), Print(source, true, false));
    const std::string text = Print(own, true, true);
    EXPECT_EQ(ZRErrorC::Stack(&fresh), 0u);
    EXPECT_EQ(PrintStack(), text);
}

TEST_F(ErrorStack, GoesAheadWhenItsLockCannotBeHad) {
    gaizior::seams::SetTimeDivisor(60000);
    ZRErrorC::Stack("makes the mutex", ZRErrors::e_Arguments_Bad, nullptr);
    const HANDLE mutex = Protected::m_hMutex;
    std::jthread([mutex] {
        ::WaitForSingleObject(mutex, INFINITE);
        std::jthread([] { ZRErrorC::Stack("timed out", ZRErrors::e_Arguments_Bad, nullptr); });
    }).join(); // and its owner dies with it
    ZRErrorC::Stack("abandoned", ZRErrors::e_Arguments_Bad, nullptr);
    Protected::m_hMutex = reinterpret_cast<HANDLE>(0x7654320);
    ZRErrorC::Stack("broken", ZRErrors::e_Arguments_Bad, nullptr);
    Protected::m_hMutex = mutex;
    EXPECT_EQ(g_log, " ERROR: ZRErrorC::LockStack(): 1Timed out waiting for m_hMutex\n"
                     " WARNING: ZRErrorC::LockStack(): m_hMutex was abandoned\n"
                     " ERROR: ZRErrorC::LockStack(): 1waiting for m_hMutex: " +
                         TextOf(ZRErrors::ZRErrorT{0x20000006}) + "\n");
    const std::string text = PrintStack();
    for (const char* const entry : {"makes the mutex", "timed out", "abandoned", "broken"}) {
        EXPECT_NE(text.find(entry), std::string::npos) << entry;
    }
}

TEST_F(ErrorStack, ReportsEveryAllocationThatFails) {
    ZRErrorC chain;
    for (int n = 1, failed = 1; failed; ++n) {
        g_log.clear();
        ZRErrors::ZRErrorT result{};
        {
            const AllocationFailure failure(n);
            result = ZRErrorC::Stack("function", ZRErrors::e_Arguments_Bad, "reason");
            failed = AllocationFailure::Happened();
        }
        EXPECT_EQ(result, n == 1 ? 0x800u : 0u);
        EXPECT_EQ(ZRErrorC::IsEmpty(), n == 1) << "an entry without one of its texts is better than none";
        EXPECT_EQ(g_log.find("Allocating") != std::string::npos, failed) << n;
    }
    const std::string before = PrintStack();
    for (int n = 1, failed = 1; failed; ++n) {
        g_log.clear();
        const AllocationFailure failure(n);
        char* const text = ZRErrorC::NoError->ToString(false, true);
        failed = AllocationFailure::Happened();
        EXPECT_TRUE(failed ? !text && !g_log.empty() : before == text);
        EXPECT_EQ(ZRErrorC::IsEmpty(), !failed);
        ZRErrorC::FreeString(text);
    }
    g_log.clear();
    const AllocationFailure failure(1);
    EXPECT_EQ(ZRErrorC::Stack(&chain), 0x7D1u);
    EXPECT_EQ(g_log, " ERROR: ZRErrorC::Stack: Allocating copy for stack\n");
    EXPECT_EQ(ZRErrorC::Stack(&chain), 0u) << "what could not be copied is not taken for copied";
}

TEST_F(ErrorStack, TakesThousandsOfEntriesFromManyThreadsWhileOthersPrintIt) {
    constexpr int kThreads = 4, kEach = 2500;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([] {
                for (int n = 0; n < kEach; ++n) {
                    ZRErrorC::Stack("thread", ZRErrors::e_Arguments_Bad, "reason");
                }
            });
        }
        for (int i = 0; i < 5; ++i) {
            PrintStack();
        }
    }
    int count = 0;
    for (const ZRListLinkC *entry = ZRErrorC::GetStack(), *previous = nullptr; entry; entry = entry->m_pNext, ++count) {
        ASSERT_EQ(entry->m_pPrev, std::exchange(previous, entry));
    }
    EXPECT_EQ(count, kThreads * kEach);
}

} // namespace
