#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "gaizior/threads/critical_section.h"
#include "gaizior/threads/event.h"
#include "gaizior/threads/lock.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

using UserT = ZRCriticalSectionC::ZRCriticalSectionUserC;

// For states that no caller can bring about: an explicit instantiation may name private members.
using FieldsT = std::pair<std::atomic<std::uint32_t>&, std::atomic<std::int32_t>&>;
FieldsT CountAndWord(ZRCriticalSectionC& section);
template <auto Count, auto Word>
struct Exposed {
    friend FieldsT CountAndWord(ZRCriticalSectionC& section) {
        return {section.*Count, section.*Word};
    }
};
template struct Exposed<&ZRCriticalSectionC::m_nLockCount, &ZRCriticalSectionC::m_lSectionLock>;

namespace gaizior::test {
namespace {

using namespace ZRErrors;

constexpr unsigned long kForever = 0xFFFFFFFF;
const std::string kClass = "ZRCriticalSectionC::";
const std::string kLeave = kClass + "LeaveCriticalSection(): ";
const std::string kEnterError = "0 ERROR: " + kClass + "EnterCriticalSection(): ";
const std::string kRollback = kClass + "ZRCriticalSectionUserC::RollbackLockCount(): ";
const std::string kBadHandle = Composed(CodeText(FoldSystemError(ERROR_INVALID_HANDLE)), '\n');

struct CriticalSectionTest : testing::Test {
    CriticalSectionTest() {
        seams::SetTimeDivisor(1000);
    }
    ~CriticalSectionTest() override {
        seams::SetTimeDivisor(1);
    }
    void Hold(unsigned times) {
        while (times-- > 0) {
            EXPECT_EQ(main.EnterCriticalSection("Main()", kForever), 0);
        }
    }
    void Told(ZRErrorT code, ZRErrorT expected, const std::string& lines) {
        EXPECT_EQ(code, expected);
        EXPECT_EQ(log.Take(), lines);
    }

    const Watchdog watchdog;
    LogCapture log;
    ZRCriticalSectionC section;
    UserT main{&section};
    UserT other{&section};
    const std::string timedOut = ", timed out waiting to obtain critical section, already owned by thread ID:" +
                                 std::to_string(::GetCurrentThreadId()) + ", owner name: Main()\n";
};

TEST_F(CriticalSectionTest, CountsItsOwnersHoldsAndLetsAnotherInAfterTheLast) {
    for (const unsigned long timeout : {kForever, ~0ul, 60'000'000ul}) {
        Hold(2);
        EXPECT_EQ(section.GetOwnerTID(), ::GetCurrentThreadId());
        const std::jthread next([&] { EXPECT_EQ(UserT(&section).EnterCriticalSection("Next()", timeout), 0); });
        ::Sleep(10);
        for (const unsigned count : {2u, 1u}) {
            EXPECT_STREQ(section.GetSafeOwnerName(), "Main()");
            EXPECT_EQ(section.GetLockCount(), count);
            EXPECT_EQ(main.LeaveCriticalSection("Main()"), 0);
        }
    }
    EXPECT_EQ(section.GetLockCount() + section.GetOwnerTID(), 0u);
    EXPECT_EQ(log.Take(), "");
}

TEST_F(CriticalSectionTest, RefusesWithACodeAndALine) {
    const UniqueHandle kill(::CreateEventA(nullptr, TRUE, TRUE, nullptr));
    const std::string zeroCount = "1 WARNING: " + kLeave + " - leave attempted with zero lock count : ";
    const std::string nonOwner = "1 WARNING: " + kLeave + " - leave attempted by non-owner : ";
    const std::string tooMany = ", too many attempts to lock, last locked by: Main()\n";
    const auto [count, word] = CountAndWord(section);
    UserT nowhere(nullptr);
    Told(nowhere.EnterCriticalSection("", 0), e_CriticalSectionUser_InvalidSection, "");
    Told(nowhere.LeaveCriticalSection(""), e_CriticalSectionUser_InvalidSection, "");
    Told(other.LeaveCriticalSection(""), e_CriticalSection_NonOwnerLeave,
         zeroCount + "unknown\n" + nonOwner + "unknown\n");
    Hold(1);
    std::jthread([&] {
        Told(other.EnterCriticalSection("A", 0), e_CriticalSection_TimeOut, kEnterError + ", locker: A" + timedOut);
        Told(other.EnterCriticalSection(nullptr, 60000), e_CriticalSection_TimeOut,
             kEnterError + ", locker: " + timedOut);
        Told(other.EnterCriticalSection("A", kill.Get(), kForever), e_CriticalSection_KillSignalled,
             kEnterError + ", locker: A, kill event signalled:\n");
        Told(other.LeaveCriticalSection("A"), e_CriticalSection_NonOwnerLeave, nonOwner + "Main()\n");
        std::make_unique<UserT>(&section).reset();
        EXPECT_EQ(log.Take(), kEnterError + ", locker: " + kRollback + timedOut);
    }).join();
    EXPECT_EQ(section.GetLockCount(), 1u);
    count = 0;
    Told(main.LeaveCriticalSection("B"), e_CriticalSection_TooManyUnlocks,
         zeroCount + "Main()\n0 ERROR: " + kLeave + "locker: B, too many attempts to unlock, last locked by: Main()\n");
    count = ~0u;
    Told(other.EnterCriticalSection("B", 0), e_CriticalSection_TooManyLocks, kEnterError + "locker: B" + tooMany);
    std::make_unique<UserT>(main).reset();
    EXPECT_EQ(log.Take(), kEnterError + "locker: " + kRollback + tooMany + "0 ERROR: " + kRollback +
                              "m_nFirstLockCount( 1 ) non-zero but we do not have ownership\n");
    count = 1;
    word = 0;
    Told(main.LeaveCriticalSection("B"), e_CriticalSection_SectionLockReleaseFailed,
         "0 ERROR: " + kLeave + "failed releasing m_lSectionLock: \n");
    count = 1;
    Told(main.EnterCriticalSection(nullptr, kill.Get(), 0), e_General_NoError,
         "1 WARNING: " + kClass +
             "EnterCriticalSection(): locker: unknown, additional enter attempted with non-original owner : Main()\n");
    count = 0;
}

TEST_F(CriticalSectionTest, AFailingWaitIsToldAndTriedAgainUntilTheSectionIsFree) {
    Hold(1);
    void* const closed = reinterpret_cast<void*>(std::uintptr_t{0x7654320});
    const std::jthread waiter([&] { EXPECT_EQ(UserT(&section).EnterCriticalSection("A", closed, kForever), 0); });
    const std::string line = kEnterError + ", locker: A, error waiting on m_hSemaphore:" + kBadHandle;
    for (std::string lines; lines.find(line + line) == std::string::npos;) {
        lines += log.Take();
    }
    EXPECT_EQ(main.LeaveCriticalSection("Main()"), 0);
}

TEST_F(CriticalSectionTest, AUserLeavesItAsDeepAsItFoundIt) {
    // With the last of them the outer hold has gone meanwhile: once entered it stays, as decided.
    for (const auto& [outer, calls] :
         {std::pair{0u, ""}, {0u, "eee"}, {0u, "eell"}, {1u, "ee"}, {1u, "eel"}, {1u, ""}, {1u, "ell"}}) {
        Hold(outer);
        {
            UserT user(&section);
            for (const char call : std::string(calls)) {
                EXPECT_EQ(call == 'e' ? user.EnterCriticalSection("", 0) : user.LeaveCriticalSection(""), 0);
            }
        }
        EXPECT_EQ(section.GetLockCount(), outer) << calls;
        EXPECT_EQ(section.GetSafeOwnerName(), kRollback) << "it names itself, as decided";
        EXPECT_TRUE(outer == 0 || main.LeaveCriticalSection("Main()") == 0);
    }
    EXPECT_EQ(log.Take(), "0 ERROR: " + kRollback + "Critcal Section was not locked but nLockCount is: 1\n");
}

TEST_F(CriticalSectionTest, ACellHoldsOneThatTellsWhatItIsDestroyedWith) {
    void* empty = nullptr;
    for (void** const none : {static_cast<void**>(nullptr), &empty}) {
        EXPECT_EQ(ZREnterCriticalSectionEx(none, "", 0, 0), e_Arguments_Bad);
        EXPECT_EQ(ZRLeaveCriticalSectionEx(none, "", 0), e_Arguments_Bad);
        EXPECT_EQ(ZRDeleteCriticalSection(none), 0);
    }
    EXPECT_EQ(ZRInitializeCriticalSectionEx(nullptr, 0), e_Arguments_Bad);
    void** const cell = ZRCreateCriticalSection(0);
    for (const auto& [each, expected] :
         {std::pair{static_cast<void**>(nullptr), Composed("Invalid (NULL pointer).", '\0')},
          {cell, Composed(*cell, '\0')}}) {
        for (const unsigned size : {7u, 30u}) {
            std::string text(size + 1, '.');
            EXPECT_EQ(ZRCriticalSectionToString(each, text.data(), size), expected.size());
            EXPECT_EQ(text, (expected + std::string(30, '\xFF')).substr(0, size) + ".");
        }
    }
    EXPECT_EQ(ZREnterCriticalSectionEx(cell, "Cell()", 7, 0) + ZREnterCriticalSectionEx(cell, "Cell()", 7, 0), 0);
    EXPECT_EQ(ZRLeaveCriticalSectionEx(cell, "", 8), 0);
    std::ostringstream dumped;
    dumped << *static_cast<ZRCriticalSectionC*>(*cell) << 10;
    const std::string dump = dumped.str();
    EXPECT_TRUE(dump.starts_with(Composed("ZRCriticalSectionC = {m_dwCurrentOwnerTID = ", std::hex,
                                          ::GetCurrentThreadId(), ", m_hSemaphore = 0x")));
    EXPECT_TRUE(dump.ends_with(", m_nLockCount = 1, m_pOwnerName = Cell(), }10"));
    EXPECT_EQ(ZRDeleteCriticalSection(cell), 0);
    EXPECT_EQ(log.Take(), "0 ERROR: " + kClass +
                              "~ZRCriticalSectionC(): Critical section being deleted with imbalanced " +
                              "lock count: " + dump.substr(0, dump.size() - 2) + "\n");
    EXPECT_EQ(ZRInitializeCriticalSectionEx(cell, 0), 0);
    EXPECT_EQ(ZRDestroyCriticalSection(cell) + ZRDestroyCriticalSection(nullptr), 0);
}

TEST_F(CriticalSectionTest, WithoutMemoryItStillAnswersAndSaysSo) {
    void** cell = nullptr;
    EXPECT_TRUE(FailAllocation(1, [&] { EXPECT_FALSE(ZRCreateCriticalSection(0)); }));
    EXPECT_TRUE(FailAllocation(2, [&] { cell = ZRCreateCriticalSection(0); }));
    EXPECT_TRUE(cell && !*cell);
    EXPECT_TRUE(FailAllocation(1, [&] { EXPECT_EQ(ZRInitializeCriticalSectionEx(cell, 0), 2001); }));
    ZRDestroyCriticalSection(cell);
    Hold(1);
    std::jthread([&] {
        const auto enter = [&] { EXPECT_EQ(other.EnterCriticalSection("A", 0), e_CriticalSection_TimeOut); };
        for (int n = 1; FailAllocation(n, enter); ++n) {
            const std::string lines = log.Take();
            EXPECT_TRUE(lines == "0 ERROR: there is no memory for this message\n" || lines.ends_with(timedOut)) << n;
        }
    }).join();
}

TEST_F(CriticalSectionTest, ACopySharesTheWakesAndOutlivesItsOriginalAsALock) {
    auto original = std::make_unique<ZRCriticalSectionC>();
    ZRCriticalSectionC copy(*original);
    {
        UserT ofCopy(&copy);
        EXPECT_EQ(ofCopy.EnterCriticalSection("", 0), 0);
        std::jthread waiter([&] { EXPECT_EQ(UserT(&copy).EnterCriticalSection("", kForever), 0); });
        ::Sleep(10);
        EXPECT_EQ(UserT(original.get()).EnterCriticalSection("", 0), 0) << "its leave may wake the copy's waiter";
        EXPECT_EQ(ofCopy.LeaveCriticalSection(""), 0);
        waiter.join();
    }
    original.reset();
    const std::string notWoken = "0 ERROR: " + kLeave + "failed releasing m_hSemaphore: " + kBadHandle;
    UserT user(&copy);
    EXPECT_EQ(user.EnterCriticalSection("", 0), 0);
    Told(user.LeaveCriticalSection(""), e_CriticalSection_LockReleaseFailed, notWoken);
    std::jthread([&] { EXPECT_EQ(UserT(&copy).EnterCriticalSection("", 0), 0); }).join();
    EXPECT_EQ(log.Take(), notWoken + "0 ERROR: " + kRollback + "failed\n");
    EXPECT_EQ(CountAndWord(copy).second, 0) << "free all the same";
}

/// Nine threads that hold it most of the time, on however few processors: each wait lasts a second at most.
TEST_F(CriticalSectionTest, EverybodyGetsItsTurn) {
    seams::SetTimeDivisor(1);
    int turns = 0;
    const auto take = [&] {
        for (int round = 0; round < 300; ++round) {
            UserT user(&section);
            ASSERT_EQ(user.EnterCriticalSection("", 1000), 0);
            for (int i = 0; i < 1000; ++i) {
                std::atomic_signal_fence(std::memory_order_seq_cst);
            }
            ++turns;
        }
    };
    std::vector<std::jthread> threads(9);
    std::ranges::generate(threads, [&] { return std::jthread(take); });
    threads.clear();
    EXPECT_EQ(turns, 9 * 300);
}

#ifndef _WIN32 // Only there can the message box be replaced.

TEST_F(CriticalSectionTest, MayShowItsDiagnosticsInMessageBoxes) {
    static std::string shown;
    const MessageBoxHandler before = ::SetMessageBoxHandler([](HWND, const char* text, const char* caption, UINT type) {
        shown = std::string(caption) + text + std::to_string(type);
        return IDOK;
    });
    void** const cell = ZRCreateCriticalSection(1);
    EXPECT_EQ(ZRLeaveCriticalSectionEx(cell, "", 0), e_CriticalSection_NonOwnerLeave);
    EXPECT_EQ(shown, kClass + "LogWarning(): " + kLeave + " - leave attempted by non-owner : unknown8192");
    EXPECT_EQ(log.Take(), "");
    ZRDestroyCriticalSection(cell);
    ::SetMessageBoxHandler(before);
}

#endif

TEST(Events, TellWhetherTheyAreSignalledAndWhatWasFound) {
    const Watchdog watchdog;
    const UniqueHandle set(::CreateEventA(nullptr, TRUE, TRUE, nullptr));
    const UniqueHandle reset(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle abandoned(::CreateMutexA(nullptr, FALSE, nullptr));
    std::thread([&] { ::WaitForSingleObject(abandoned.Get(), INFINITE); }).join();
    const std::string invalid = Composed(" is invalid: ", CodeText(FoldSystemError(ERROR_INVALID_HANDLE)));
    for (const auto& [handle, result, found] : {std::tuple{set.Get(), 0u, std::string(" is valid AND signalled.")},
                                                {reset.Get(), 0x102u, " is valid but NOT signalled."},
                                                {abandoned.Get(), 0x80u, " is valid but NOT signalled."},
                                                {HANDLE{}, 0xFFFFFFFFu, invalid}}) {
        unsigned long waited = 7;
        std::ostringstream log;
        EXPECT_EQ(ZREventC(handle).IsEventSignalled(&waited, 1, &log), result != WAIT_TIMEOUT);
        EXPECT_EQ(waited, result);
        EXPECT_EQ(log.str(), Composed("ZREventC::IsEventSignalled(): Event:", handle, found));
    }
}

TEST(Locks, AreRecursiveReportWhoCannotHaveThemAndAreHeldWhenFoundAbandoned) {
    const Watchdog watchdog;
    LogCapture log;
    ZRLockC lock("drum", 0);
    EXPECT_FALSE(lock.lock() || lock.lock() || lock.unlock());
    std::thread([&] {
        ::SetLastError(ERROR_NOT_OWNER); // a time-out leaves it as it stands
        EXPECT_EQ(lock.lock(), e_Command_TimedOut);
        EXPECT_EQ(lock.unlock(), e_Mutex_ReleaseFailed);
        const CodeText text(FoldSystemError(ERROR_NOT_OWNER));
        EXPECT_EQ(log.Take(), Composed("0 ERROR: ZRLockC::lock(): owner: drumwaiting for mutex", text,
                                       "\n0 ERROR: ZRLockC::unlock(): owner: drumreleasing mutex", text, '\n'));
    }).join();
    EXPECT_EQ(lock.unlock(), 0u);
    std::thread([&] { EXPECT_EQ(lock.lock(), 0u); }).join();
    EXPECT_EQ(lock.lock(), e_Command_TimedOut);
    EXPECT_EQ(lock.unlock(), 0u);
    EXPECT_EQ(ZRLockC().unlock(), e_Mutex_ReleaseFailed);
    EXPECT_NE(log.Take().find("owner: unknownreleasing"), std::string::npos);
}

} // namespace
} // namespace gaizior::test
