#include "gaizior/errors/error_stack.h"

#include "gaizior/errors/error_text.h"
#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

namespace {

using gaizior::test::FailAllocation;

struct Protected : ZRErrorC {
    using ZRErrorC::m_hMutex;
};

std::string Print(ZRErrorC& entry, bool thisOnly, bool clear) {
    char* const text = entry.ToString(thisOnly, clear);
    std::string result = text ? text : "(null)";
    ZRErrorC::FreeString(text);
    return result;
}

/// The number of stacked entries, each linked both ways.
int CountStack() {
    int count = 0;
    for (const ZRListLinkC *entry = ZRErrorC::GetStack(), *previous = nullptr; entry; entry = entry->m_pNext, ++count) {
        EXPECT_EQ(entry->m_pPrev, std::exchange(previous, entry));
    }
    return count;
}

std::string PrintStack() {
    return Print(*ZRErrorC::NoError, false, false);
}

struct ErrorStack : testing::Test {
    ErrorStack() {
        const SYSTEMTIME time{2005, 2, 2, 1, 9, 5, 3, 7};
        gaizior::seams::SetLocalTime(&time);
        ZRErrorC::ClearStack();
    }
    ~ErrorStack() override {
        gaizior::seams::SetLocalTime(nullptr);
        gaizior::seams::SetTimeDivisor(1);
    }
    gaizior::test::LogCapture m_log;
    gaizior::test::Watchdog m_watchdog;
};

TEST_F(ErrorStack, IsTheSentinelWhileItIsEmpty) {
    for (ZRErrorC* const sentinel : {ZRErrorC::NoError, ZRErrorC::ErrCreateZRErr}) {
        ZRErrorC::DisposeHandle(sentinel);
        EXPECT_EQ(ZRErrorC::Stack(sentinel), 0u);
    }
    EXPECT_EQ(ZRErrorC::GetStack(), ZRErrorC::NoError);
    EXPECT_TRUE(ZRErrorC::IsEmpty() && ZRErrorC::IsEmpty(nullptr) && !ZRErrorC::IsEmpty(ZRErrorC::ErrCreateZRErr));
    EXPECT_EQ(PrintStack(), "<Error Stack Empty>\n");
}

TEST_F(ErrorStack, PrintsOneLineForEachEntryOldestFirst) {
    ::SetLastError(ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ZRErrorC::Stack("ZRFooC::Bar(): ", ZRErrors::e_Command_TimedOut, "x"), 0u);
    EXPECT_EQ(ZRErrorC::Stack(nullptr, gaizior::FoldSystemError(6), nullptr), 0u);
    EXPECT_EQ(::GetLastError(), ERROR_ALREADY_EXISTS);
    const std::string at = "At: 09:05:03.007 on: 01/02/2005, ERROR: 0x";
    const std::string first = at + "000007dd Command timed out: 2013, in FUNCTION: ZRFooC::Bar():  REASON: x\r\n";
    const std::string second =
        at + "20000006 " + ZRErrToStr(gaizior::FoldSystemError(6)) + ", in FUNCTION:  REASON: \r\n";
    EXPECT_EQ(Print(*ZRErrorC::GetStack(), true, false), first);
    EXPECT_EQ(Print(*ZRErrorC::ErrCreateZRErr, false, true), first + second);
    EXPECT_TRUE(ZRErrorC::IsEmpty());
}

TEST_F(ErrorStack, TakesAFailureInTheWordsOfItsLogLine) {
    ::SetLastError(ERROR_INVALID_HANDLE);
    errno = ENOENT;
    const char* const nothing = nullptr;
    EXPECT_EQ(gaizior::Fail("A::B(): ", ZRErrors::e_Command_TimedOut), 0x7DDu);
    EXPECT_EQ(gaizior::FailAndStack("A::C(): ", ZRErrors::e_Arguments_Bad, "name", nothing, 7, ": ",
                                    gaizior::CodeText(gaizior::LastErrno())),
              0x7D6u);
    EXPECT_EQ(gaizior::LastErrno(), 0x60000002u);
    EXPECT_EQ(gaizior::LastSystemError(), 0x20000006u);
    const std::string reason = std::string("name7: ") + std::strerror(ENOENT);
    EXPECT_EQ(m_log.Take(), "0 ERROR: A::B(): Command timed out: 2013\n0 ERROR: A::C(): " + reason + '\n');
    EXPECT_TRUE(PrintStack().ends_with(": 2006, in FUNCTION: A::C():  REASON: " + reason + "\r\n"));
}

TEST_F(ErrorStack, TakesEachEntryOfAChainOnceAndLeavesItToItsOwner) {
    ZRErrorC* const chain = ZRErrorC::Error("a", ZRErrors::e_Buffer_TooSmall, "first", 1);
    EXPECT_EQ(m_log.Take(), "0 ERROR: a124 Reason: first\n");
    chain->m_pNext = ZRErrorC::Error("b", ZRErrors::e_Arguments_Bad, "second", 0);
    gaizior::seams::SetLocalTime(nullptr);
    for (ZRErrorC* const entries : {chain, chain, ZRErrorC::GetStack()}) {
        EXPECT_EQ(ZRErrorC::Stack(entries), 0u);
    }
    const std::string both = Print(*chain, true, false) + Print(static_cast<ZRErrorC&>(*chain->m_pNext), true, false);
    ZRErrorC::DisposeHandle(chain->ToHandle());
    EXPECT_EQ(PrintStack(), both);
    EXPECT_EQ(CountStack(), 2);

    ZRErrorC& source = ZRErrorC::ToError(ZRErrorC::GetStack());
    ZRErrorC copy(source), clone;
    copy.Clone(source); // no longer shares the texts
    copy.Clone(copy);
    clone.Clone(source);
    clone.Clone(copy);
    EXPECT_EQ(clone.m_pNext, nullptr);
    const std::string text = Print(source, true, true);
    EXPECT_EQ(ZRErrorC::Stack(&clone), 0u) << "the flag of an entry that was on the stack is not copied";
    EXPECT_EQ(PrintStack(), text);
    EXPECT_EQ(Print(copy, true, false), text);
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
    EXPECT_EQ(m_log.Take(), "0 ERROR: ZRErrorC::LockStack(): 1Timed out waiting for m_hMutex\n"
                            "1 WARNING: ZRErrorC::LockStack(): m_hMutex was abandoned\n"
                            "0 ERROR: ZRErrorC::LockStack(): 1waiting for m_hMutex: " +
                                std::string(ZRErrToStr(gaizior::FoldSystemError(6))) + "\n");
    EXPECT_EQ(CountStack(), 4);
}

TEST_F(ErrorStack, ReportsEveryAllocationThatFails) {
    ZRErrors::ZRErrorT result{};
    const auto stack = [&] { result = ZRErrorC::Stack("function", ZRErrors::e_Arguments_Bad, "reason"); };
    for (int n = 1; m_log.Take(), FailAllocation(n, stack); ++n) {
        EXPECT_EQ(result, n == 1 ? 0x800u : 0u);
        EXPECT_EQ(ZRErrorC::IsEmpty(), n == 1) << "an entry without one of its texts is better than none";
        EXPECT_NE(m_log.Take(), "");
    }
    const std::string before = PrintStack();
    char* text = nullptr;
    const auto print = [&] { text = ZRErrorC::NoError->ToString(false, true); };
    for (int n = 1; m_log.Take(), FailAllocation(n, print); ++n) {
        EXPECT_TRUE(!text && !ZRErrorC::IsEmpty() && !m_log.Take().empty());
    }
    EXPECT_EQ(text, before);
    EXPECT_TRUE(ZRErrorC::IsEmpty());
    ZRErrorC::FreeString(text);

    ZRErrorC chain;
    const auto copy = [&] { result = ZRErrorC::Stack(&chain); };
    errno = EDOM;
    EXPECT_TRUE(FailAllocation(1, copy) && result == 0x7D1 && errno == EDOM);
    EXPECT_EQ(m_log.Take(), "0 ERROR: ZRErrorC::Stack: Allocating copy for stack\n");
    EXPECT_TRUE(!FailAllocation(2, copy) && result == 0 && CountStack() == 1);
}

TEST_F(ErrorStack, TakesThousandsOfEntriesFromManyThreadsWhileOthersPrintIt) {
    const auto stack = [] {
        for (int n = 0; n < 3000; ++n) {
            ZRErrorC::Stack("thread", ZRErrors::e_Arguments_Bad, "reason");
        }
    };
    stack();
    std::string meanwhile;
    {
        const std::jthread one(stack), two(stack), three(stack);
        meanwhile = PrintStack();
    }
    EXPECT_TRUE(PrintStack().starts_with(meanwhile) && meanwhile.ends_with(" REASON: reason\r\n"));
    EXPECT_EQ(CountStack(), 12000);
}

} // namespace
