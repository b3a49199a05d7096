#include "gaizior/threads/critical_section.h"

#include "gaizior/errors/error_text.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

using UserT = ZRCriticalSectionC::ZRCriticalSectionUserC;
using LeaveT = ZRErrors::ZRErrorT (ZRCriticalSectionC::*)(const char* const, unsigned int* const, unsigned int);

// States that no caller can bring about: an explicit instantiation may name private members.
std::atomic<std::uint32_t>& CountOf(ZRCriticalSectionC& section);
std::atomic<std::int32_t>& WordOf(ZRCriticalSectionC& section);
LeaveT LeaveOf(ZRCriticalSectionC& section);
template <auto Count, auto Word, LeaveT Leave>
struct Exposed {
    friend std::atomic<std::uint32_t>& CountOf(ZRCriticalSectionC& section) {
        return section.*Count;
    }
    friend std::atomic<std::int32_t>& WordOf(ZRCriticalSectionC& section) {
        return section.*Word;
    }
    friend LeaveT LeaveOf(ZRCriticalSectionC&) {
        return Leave;
    }
};
template struct Exposed<&ZRCriticalSectionC::m_nLockCount, &ZRCriticalSectionC::m_lSectionLock,
                        &ZRCriticalSectionC::LeaveCriticalSection>;

namespace gaizior::test {
namespace {

using namespace ZRErrors;

const std::string kClass = "ZRCriticalSectionC::";
const std::string kEnter = "0 ERROR: " + kClass + "EnterCriticalSection(): ";
const std::string kLeave = kClass + "LeaveCriticalSection(): ";
const std::string kRollback = kClass + "ZRCriticalSectionUserC::RollbackLockCount(): ";
constexpr unsigned long kForever = 0xFFFFFFFF;

struct CriticalSectionTest : testing::Test {
    CriticalSectionTest() {
        seams::SetTimeDivisor(1000);
        ZRLogStrstreambufC::SetDBGetLevelFn([] { return s_level.load(); });
    }
    ~CriticalSectionTest() override {
        seams::SetTimeDivisor(1);
        s_level = ~0u;
    }
    void Hold(unsigned times) {
        while (times-- > 0) {
            EXPECT_EQ(main.EnterCriticalSection("Main()", kForever), 0);
        }
    }
    /// What the operation answers and logs on a thread of its own.
    std::pair<ZRErrorT, std::string> Elsewhere(const std::function<ZRErrorT()>& operation) {
        ZRErrorT code{};
        std::jthread([&] { code = operation(); }).join();
        return {code, log.Take()};
    }
    std::string TimedOut(const std::string& locker) const {
        return kEnter + ", locker: " + locker + ", timed out waiting to obtain critical section, already owned by " +
               "thread ID:" + std::to_string(::GetCurrentThreadId()) + ", owner name: Main()\n";
    }

    static inline std::atomic<unsigned> s_level{~0u};
    const Watchdog watchdog;
    LogCapture log;
    ZRCriticalSectionC section;
    UserT main{&section};
    UserT other{&section};
};

TEST_F(CriticalSectionTest, CountsItsOwnersHoldsAndLetsAnotherInAfterTheLast) {
    for (const unsigned long timeout : {kForever, ~0ul, 60'000'000ul}) {
        Hold(2);
        EXPECT_EQ(std::tuple(section.GetLockCount(), section.GetOwnerTID()), std::tuple(2u, ::GetCurrentThreadId()));
        const std::jthread next([&] {
            UserT user(&section);
            EXPECT_EQ(user.EnterCriticalSection("Next()", timeout), 0);
            EXPECT_EQ(user.LeaveCriticalSection("Next()"), 0);
        });
        ::Sleep(10);
        for (const unsigned left : {1u, 0u}) {
            EXPECT_STREQ(section.GetSafeOwnerName(), "Main()");
            EXPECT_EQ(section.GetLockCount(), left + 1);
            EXPECT_EQ(main.LeaveCriticalSection("Main()"), 0);
        }
    }
    EXPECT_EQ(std::tuple(section.GetLockCount(), section.GetOwnerTID()), std::tuple(0u, 0u));
    EXPECT_EQ(log.Take(), "");
}

TEST_F(CriticalSectionTest, RefusesWithACodeAndALine) {
    const UniqueHandle kill(::CreateEventA(nullptr, TRUE, TRUE, nullptr));
    const auto zeroCount = [](const char* name) {
        return "1 WARNING: " + kLeave + " - leave attempted with zero lock count : " + name + "\n";
    };
    const auto nonOwner = [](const char* name) {
        return "1 WARNING: " + kLeave + " - leave attempted by non-owner : " + name + "\n";
    };
    UserT nowhere(nullptr);
    unsigned int left = 77;
    void* empty = nullptr;
    struct Case {
        std::function<ZRErrorT()> operation;
        ZRErrorT code;
        std::string lines;
    };
    const Case ofAFree[] = {
        {[&] { return other.LeaveCriticalSection("Other()"); }, e_CriticalSection_NonOwnerLeave,
         zeroCount("unknown") + nonOwner("unknown")},
        {[&] { return nowhere.EnterCriticalSection("", 0); }, e_CriticalSectionUser_InvalidSection, ""},
        {[&] { return nowhere.LeaveCriticalSection(""); }, e_CriticalSectionUser_InvalidSection, ""},
        {[&] { return ZREnterCriticalSectionEx(nullptr, "", 0, 0); }, e_Arguments_Bad, ""},
        {[&] { return ZREnterCriticalSectionEx(&empty, "", 0, 0); }, e_Arguments_Bad, ""},
        {[&] { return ZRLeaveCriticalSectionEx(nullptr, "", 0); }, e_Arguments_Bad, ""},
        {[&] { return ZRLeaveCriticalSectionEx(&empty, "", 0); }, e_Arguments_Bad, ""},
        {[&] { return ZRInitializeCriticalSectionEx(nullptr, 0); }, e_Arguments_Bad, ""},
    };
    const Case ofAHeld[] = {
        {[&] { return other.EnterCriticalSection("Other()", 0); }, e_CriticalSection_TimeOut, TimedOut("Other()")},
        {[&] { return other.EnterCriticalSection(nullptr, 60000); }, e_CriticalSection_TimeOut, TimedOut("")},
        {[&] { return other.EnterCriticalSection("Other()", kill.Get(), kForever); }, e_CriticalSection_KillSignalled,
         kEnter + ", locker: Other(), kill event signalled:\n"},
        {[&] { return other.LeaveCriticalSection("Other()"); }, e_CriticalSection_NonOwnerLeave, nonOwner("Main()")},
        {[&] {
             const UserT user(&section);
             return e_General_NoError;
         },
         e_General_NoError, TimedOut(kRollback)},
    };
    const Case ofItsOwner[] = {
        {[&] { return (section.*LeaveOf(section))("", nullptr, 0); }, e_General_NoError,
         "1 WARNING: " + kLeave + " - leave attempted with null lock count receiver : Main()\n"},
        {[&] {
             CountOf(section) = 0;
             return (section.*LeaveOf(section))("Main()", &left, 0);
         },
         e_CriticalSection_TooManyUnlocks,
         zeroCount("Main()") + "0 ERROR: " + kLeave +
             "locker: Main(), too many attempts to unlock, last locked by: Main()\n"},
        {[&] {
             CountOf(section) = ~0u;
             return main.EnterCriticalSection("More()", 0);
         },
         e_CriticalSection_TooManyLocks,
         kEnter + "locker: More(), too many attempts to lock, last locked by: Main()\n"},
        {[&] {
             CountOf(section) = 1;
             WordOf(section) = 0;
             return main.LeaveCriticalSection("");
         },
         e_CriticalSection_SectionLockReleaseFailed, "0 ERROR: " + kLeave + "failed releasing m_lSectionLock: \n"},
        {[&] {
             CountOf(section) = 1;
             return main.EnterCriticalSection(nullptr, kill.Get(), 0);
         },
         e_General_NoError,
         "1 WARNING: " + kClass +
             "EnterCriticalSection(): locker: unknown, additional enter attempted with non-original owner : Main()\n"},
    };
    for (const Case& each : ofAFree) {
        EXPECT_EQ(Elsewhere(each.operation), std::pair(each.code, each.lines));
    }
    Hold(2);
    for (const Case& each : ofAHeld) {
        EXPECT_EQ(Elsewhere(each.operation), std::pair(each.code, each.lines));
    }
    for (const Case& each : ofItsOwner) {
        const ZRErrorT code = each.operation();
        EXPECT_EQ(std::pair(code, log.Take()), std::pair(each.code, each.lines));
    }
    CountOf(section) = 0;
}

TEST_F(CriticalSectionTest, AFailingWaitIsToldAndTriedAgainUntilTheSectionIsFree) {
    void* const closed = reinterpret_cast<void*>(std::uintptr_t{0x7654320});
    Hold(1);
    std::jthread waiter([&] {
        UserT user(&section);
        EXPECT_EQ(user.EnterCriticalSection("Other()", closed, kForever), 0);
    });
    const std::string line = kEnter + ", locker: Other(), error waiting on m_hSemaphore:" +
                             ZRErrToStr(ZRErrorT(0x20000000 | ERROR_INVALID_HANDLE)) + "\n";
    std::string lines;
    while (lines.find(line + line) == std::string::npos) {
        lines += log.Take();
    }
    EXPECT_EQ(main.LeaveCriticalSection("Main()"), 0);
}

TEST_F(CriticalSectionTest, AUserLeavesItAsDeepAsItFoundIt) {
    const std::string foreign = "0 ERROR: " + kRollback + "Critcal Section was not locked but nLockCount is: 1\n";
    struct Case {
        unsigned outer, enters, leaves, left;
        std::string lines;
    };
    for (const Case& each : {Case{0, 0, 0, 0, ""},
                             {0, 3, 0, 0, ""},
                             {0, 2, 2, 0, ""},
                             {1, 2, 0, 1, ""},
                             {1, 2, 1, 1, ""},
                             {1, 0, 0, 1, foreign},
                             {1, 1, 1, 1, ""},
                             {1, 1, 2, 1, ""}}) { // the outer hold is gone: it stays entered once, as decided
        Hold(each.outer);
        {
            UserT user(&section);
            for (unsigned i = 0; i < each.enters; ++i) {
                EXPECT_EQ(user.EnterCriticalSection("User()", 0), 0);
            }
            for (unsigned i = 0; i < each.leaves; ++i) {
                EXPECT_EQ(user.LeaveCriticalSection("User()"), 0);
            }
        }
        EXPECT_EQ(std::pair(section.GetLockCount(), log.Take()), std::pair(each.left, each.lines));
        EXPECT_EQ(section.GetSafeOwnerName(), kRollback) << "it names itself";
        EXPECT_EQ(each.left == 1 ? main.LeaveCriticalSection("Main()") : e_General_NoError, 0);
    }
    auto user = std::make_unique<UserT>(&section);
    EXPECT_EQ(user->EnterCriticalSection("User()", 0), 0);
    CountOf(section) = ~0u;
    user.reset();
    EXPECT_EQ(log.Take(), kEnter + "locker: " + kRollback +
                              ", too many attempts to lock, last locked by: User()\n0 ERROR: " + kRollback +
                              "m_nFirstLockCount( 1 ) non-zero but we do not have ownership\n");
    CountOf(section) = 0;
}

TEST_F(CriticalSectionTest, PrintsItselfAndTellsWhatItWasDestroyedWith) {
    std::ostringstream text;
    text << std::uppercase << std::hex << section << 255;
    EXPECT_EQ(text.str().substr(0, 60), "ZRCriticalSectionC = {m_dwCurrentOwnerTID = 0, m_hSemaphore ");
    EXPECT_TRUE(text.str().ends_with(", m_nLockCount = 0, m_pOwnerName = , }FF")) << text.str();
    std::string dump;
    {
        ZRCriticalSectionC held;
        const std::unique_ptr<void*, void (*)(void**)> cell(new void*(new ZRCriticalSectionC(held)),
                                                            [](void** all) { ZRDestroyCriticalSection(all); });
        EXPECT_EQ(ZREnterCriticalSectionEx(cell.get(), "Cell()", 1, 0), 0);
        ZRLogStreamC stream(nullptr, nullptr, nullptr, nullptr);
        auto& inCell = *static_cast<ZRCriticalSectionC*>(*cell);
        stream << ZRLevel(3) << inCell << std::endl;
        s_level = 3;
        stream << inCell << std::endl;
        s_level = ~0u;
        dump = log.Take();
    }
    std::ostringstream id;
    id << std::hex << ::GetCurrentThreadId();
    EXPECT_NE(dump.find("3ZRCriticalSectionC = {m_dwCurrentOwnerTID = " + id.str() + ", m_hSemaphore = 0x"),
              std::string::npos)
        << dump;
    EXPECT_TRUE(dump.ends_with(", m_nLockCount = 1, m_pOwnerName = Cell(), }\n") && dump.find('\n') + 1 == dump.size())
        << dump;
    EXPECT_EQ(log.Take(), "0 ERROR: " + kClass +
                              "~ZRCriticalSectionC(): Critical section being deleted with imbalanced lock count: " +
                              dump.substr(1));
}

TEST_F(CriticalSectionTest, ACellHoldsOneForCallersInC) {
    void** const cell = ZRCreateCriticalSection(0);
    const auto toString = [](void** from, unsigned int size) {
        std::string text(40, '.');
        const unsigned int length = ZRCriticalSectionToString(from, text.data(), size);
        EXPECT_EQ(length, ZRCriticalSectionToString(from, nullptr, 99));
        return std::pair(length, text.substr(0, size + 1));
    };
    std::ostringstream pointer;
    pointer << *cell;
    EXPECT_EQ(toString(cell, 30).second.c_str(), pointer.str());
    EXPECT_EQ(toString(nullptr, 7), std::pair(24u, std::string("Invalid.")));
    EXPECT_EQ(toString(nullptr, 26), std::pair(24u, std::string("Invalid (NULL pointer).\0\xFF\xFF.", 27)));
    for (const ZRErrorT code : {e_General_NoError, e_General_NoError}) {
        EXPECT_EQ(ZREnterCriticalSectionEx(cell, "Cell()", 7, kForever), code);
    }
    EXPECT_EQ(Elsewhere([&] { return ZREnterCriticalSectionEx(cell, "Other()", 7, 0); }).first,
              e_CriticalSection_TimeOut);
    EXPECT_EQ(Elsewhere([&] { return ZRLeaveCriticalSectionEx(cell, "Other()", 7); }).first,
              e_CriticalSection_NonOwnerLeave);
    for (const ZRErrorT code : {e_General_NoError, e_General_NoError, e_CriticalSection_NonOwnerLeave}) {
        EXPECT_EQ(ZRLeaveCriticalSectionEx(cell, "Cell()", 8), code);
    }
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ZRDeleteCriticalSection(cell), 0);
        EXPECT_EQ(*cell, nullptr);
    }
    EXPECT_EQ(ZRInitializeCriticalSectionEx(cell, 0), 0);
    EXPECT_EQ(ZRDestroyCriticalSection(cell) + ZRDestroyCriticalSection(nullptr) + ZRDeleteCriticalSection(nullptr), 0);
}

TEST_F(CriticalSectionTest, WithoutMemoryItStillAnswersAndSaysSo) {
    void** cell = nullptr;
    EXPECT_TRUE(FailAllocation(1, [&] { cell = ZRCreateCriticalSection(0); }));
    EXPECT_EQ(cell, nullptr);
    EXPECT_TRUE(FailAllocation(2, [&] { cell = ZRCreateCriticalSection(0); }));
    EXPECT_EQ(*cell, nullptr);
    EXPECT_TRUE(
        FailAllocation(1, [&] { EXPECT_EQ(ZRInitializeCriticalSectionEx(cell, 0), e_Memory_AllocationFailed); }));
    ZRDestroyCriticalSection(cell);
    Hold(1);
    const std::string timedOut = TimedOut("Other()");
    std::jthread([&] {
        for (int n = 1;
             FailAllocation(n, [&] { EXPECT_EQ(other.EnterCriticalSection("Other()", 0), e_CriticalSection_TimeOut); });
             ++n) {
            const std::string lines = log.Take();
            EXPECT_TRUE(lines == "0 ERROR: there is no memory for this message\n" || lines == timedOut) << lines;
        }
    }).join();
    log.Take();
}

TEST_F(CriticalSectionTest, ACopySharesTheWakesAndOutlivesItsOriginalAsALock) {
    auto original = std::make_unique<ZRCriticalSectionC>();
    ZRCriticalSectionC copy(*original);
    UserT ofOriginal(original.get());
    UserT ofCopy(&copy);
    EXPECT_EQ(ofOriginal.EnterCriticalSection("", 0) + ofCopy.EnterCriticalSection("", 0), 0)
        << "each has a lock of its own";
    std::jthread waiter([&] {
        UserT user(&copy);
        EXPECT_EQ(user.EnterCriticalSection("", kForever), 0);
    });
    ::Sleep(10);
    EXPECT_EQ(ofOriginal.LeaveCriticalSection(""), 0) << "which may wake the copy's waiter";
    EXPECT_EQ(ofCopy.LeaveCriticalSection(""), 0);
    waiter.join();
    ofOriginal = UserT(nullptr);
    original.reset();
    EXPECT_EQ(log.Take(), "");
    EXPECT_EQ(ofCopy.EnterCriticalSection("", 0), 0);
    EXPECT_EQ(ofCopy.LeaveCriticalSection(""), e_CriticalSection_LockReleaseFailed);
    EXPECT_EQ(log.Take(), "0 ERROR: " + kLeave + "failed releasing m_hSemaphore: " +
                              ZRErrToStr(ZRErrorT(0x20000000 | ERROR_INVALID_HANDLE)) + "\n");
    EXPECT_EQ(copy.GetLockCount(), 0u);
}

/// Eight threads that hold it most of the time, on however few processors: each wait lasts a second at most.
TEST_F(CriticalSectionTest, EverybodyGetsItsTurn) {
    seams::SetTimeDivisor(1);
    constexpr int kThreads = 9;
    constexpr int kRounds = 300;
    int turns = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] {
                for (int round = 0; round < kRounds; ++round) {
                    UserT user(&section);
                    ASSERT_EQ(user.EnterCriticalSection("Turn()", i % 2 ? 1000 : kForever), 0);
                    for (int busy = 0; busy < 1000; ++busy) {
                        std::atomic_signal_fence(std::memory_order_seq_cst);
                    }
                    ++turns;
                    if (round % 3 == 0) {
                        EXPECT_EQ(user.LeaveCriticalSection("Turn()"), 0);
                    }
                }
            });
        }
    }
    EXPECT_EQ(turns, kThreads * kRounds);
    EXPECT_EQ(WordOf(section), 0);
}

#ifndef _WIN32 // Only there can the message box be replaced.

TEST_F(CriticalSectionTest, MayShowItsDiagnosticsInMessageBoxes) {
    static std::string shown;
    shown.clear();
    const MessageBoxHandler before = ::SetMessageBoxHandler([](HWND, const char* text, const char* caption, UINT type) {
        shown += std::string(caption) + text + std::to_string(type) + "\n";
        return IDOK;
    });
    void** const cell = ZRCreateCriticalSection(1);
    auto& inCell = *static_cast<ZRCriticalSectionC*>(*cell);
    EXPECT_EQ(ZRLeaveCriticalSectionEx(cell, "", 0), e_CriticalSection_NonOwnerLeave);
    CountOf(inCell) = ~0u;
    EXPECT_EQ(ZREnterCriticalSectionEx(cell, "A", 0, 0), e_CriticalSection_TooManyLocks);
    CountOf(inCell) = 0;
    EXPECT_EQ(shown, kClass + "LogWarning(): " + kLeave + " - leave attempted with zero lock count : unknown8192\n" +
                         kClass + "LogWarning(): " + kLeave + " - leave attempted by non-owner : unknown8192\n" +
                         kClass + "LogError(): " + kClass +
                         "EnterCriticalSection(): locker: A, too many attempts to lock, last locked by: unknown8192\n");
    EXPECT_EQ(log.Take(), "");
    ZRDestroyCriticalSection(cell);
    ::SetMessageBoxHandler(before);
}

#endif

} // namespace
} // namespace gaizior::test
