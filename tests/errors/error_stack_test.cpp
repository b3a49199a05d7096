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
#include <utility>

namespace gaizior {
namespace {

using enum ZRErrors::ZRErrorT;
using test::FailAllocation;

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
        seams::SetLocalTime(&time);
        ZRErrorC::ClearStack();
    }
    ~ErrorStack() override {
        seams::SetLocalTime(nullptr);
        seams::SetTimeDivisor(1);
    }
    test::LogCapture m_log;
    test::Watchdog m_watchdog;
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
    ::SetLastError(ERROR_INVALID_HANDLE);
    errno = ENOENT;
    const ZRErrors::ZRErrorT folded = LastSystemError();
    const char* const nothing = nullptr;
    EXPECT_EQ(FailAndStack("ZRFooC::Bar(): ", e_Command_TimedOut, "x", nothing, 7, CodeText(LastErrno())), 0x7DDu);
    EXPECT_EQ(Fail("ZRFooC::Baz(): ", e_Command_TimedOut), 0x7DDu);
    EXPECT_EQ(ZRErrorC::Stack(nullptr, folded, nullptr), 0u);
    EXPECT_TRUE(LastSystemError() == folded && folded == 0x20000006 && LastErrno() == 0x60000002);
    const std::string story = std::string("x7") + std::strerror(ENOENT);
    EXPECT_EQ(m_log.Take(), "0 ERROR: ZRFooC::Bar(): " + story + "\n0 ERROR: ZRFooC::Baz(): Command timed out: 2013\n");
    const std::string at = "At: 09:05:03.007 on: 01/02/2005, ERROR: 0x";
    const std::string first =
        at + "000007dd Command timed out: 2013, in FUNCTION: ZRFooC::Bar():  REASON: " + story + "\r\n";
    const std::string second = at + "20000006 " + ZRErrToStr(folded) + ", in FUNCTION:  REASON: \r\n";
    EXPECT_EQ(Print(*ZRErrorC::GetStack(), true, false), first);
    EXPECT_EQ(Print(*ZRErrorC::ErrCreateZRErr, false, true), first + second);
    EXPECT_TRUE(ZRErrorC::IsEmpty());
}

TEST_F(ErrorStack, TakesEachEntryOfAChainOnceAndLeavesItToItsOwner) {
    ZRErrorC* const chain = ZRErrorC::Error("a", e_Buffer_TooSmall, "first", 1);
    EXPECT_EQ(m_log.Take(), "0 ERROR: a124 Reason: first\n");
    chain->m_pNext = ZRErrorC::Error("b", e_Arguments_Bad, "second", 0);
    seams::SetLocalTime(nullptr);
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
    seams::SetTimeDivisor(60000);
    ZRErrorC::Stack("makes the mutex", e_Arguments_Bad, nullptr);
    const HANDLE mutex = Protected::m_hMutex;
    std::jthread([mutex] {
        ::WaitForSingleObject(mutex, INFINITE);
        std::jthread([] { ZRErrorC::Stack("timed out", e_Arguments_Bad, nullptr); });
    }).join(); // and its owner dies with it
    ZRErrorC::Stack("abandoned", e_Arguments_Bad, nullptr);
    Protected::m_hMutex = reinterpret_cast<HANDLE>(0x7654320);
    ZRErrorC::Stack("broken", e_Arguments_Bad, nullptr);
    Protected::m_hMutex = mutex;
    EXPECT_EQ(m_log.Take(), "0 ERROR: ZRErrorC::LockStack(): 1Timed out waiting for m_hMutex\n"
                            "1 WARNING: ZRErrorC::LockStack(): m_hMutex was abandoned\n"
                            "0 ERROR: ZRErrorC::LockStack(): 1waiting for m_hMutex: " +
                                std::string(ZRErrToStr(FoldSystemError(6))) + "\n");
    EXPECT_EQ(CountStack(), 4);
}

TEST_F(ErrorStack, ReportsEveryAllocationThatFails) {
    ZRErrors::ZRErrorT result{};
    const auto stack = [&] { result = ZRErrorC::Stack("function", e_Arguments_Bad, "reason"); };
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
            ZRErrorC::Stack("thread", e_Arguments_Bad, "reason");
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
} // namespace gaizior
