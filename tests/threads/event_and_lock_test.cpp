#include "gaizior/errors/failure.h"
#include "gaizior/platform/unique_handle.h"
#include "gaizior/threads/event.h"
#include "gaizior/threads/lock.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

namespace gaizior::test {
namespace {

using namespace ZRErrors;

std::string TextOf(DWORD error) {
    return Composed(CodeText(FoldSystemError(error)));
}

/// Runs on a thread that has ended when this returns.
template <class Operation>
void Elsewhere(const Operation& operation) {
    std::thread(operation).join();
}

TEST(Events, TellWhetherTheyAreSignalledAndWhatWasFound) {
    const Watchdog watchdog;
    const UniqueHandle set(::CreateEventA(nullptr, TRUE, TRUE, nullptr));
    const UniqueHandle reset(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle abandoned(::CreateMutexA(nullptr, FALSE, nullptr));
    Elsewhere([&] { ::WaitForSingleObject(abandoned.Get(), INFINITE); });
    const struct {
        HANDLE handle;
        unsigned long timeout, result;
        int isSignalled;
        std::string found;
    } cases[] = {{set.Get(), 0xFFFFFFFF, 0, 1, " is valid AND signalled."},
                 {reset.Get(), 1, 0x102, 0, " is valid but NOT signalled."},
                 {abandoned.Get(), ~0UL, 0x80, 1, " is valid but NOT signalled."},
                 {nullptr, 0, 0xFFFFFFFF, 1, " is invalid: " + TextOf(ERROR_INVALID_HANDLE)}};
    for (const auto& given : cases) {
        std::ostringstream log;
        std::ostringstream handle;
        handle << given.handle;
        unsigned long result = 7;
        const ZREventC event(given.handle);
        EXPECT_EQ(event.IsEventSignalled(&result, given.timeout, &log), given.isSignalled);
        EXPECT_EQ(result, given.result);
        EXPECT_EQ(log.str(), "ZREventC::IsEventSignalled(): Event:" + handle.str() + given.found);
        EXPECT_EQ(event.IsEventValid(), given.handle ? 1 : 0);
    }
    EXPECT_EQ(ZREventC::IsEventSignalled(reset.Get(), nullptr, 0, nullptr), 0);
}

TEST(Locks, AreRecursiveAndReportWhoCannotHaveThem) {
    const Watchdog watchdog;
    LogCapture log;
    ZRLockC lock("drum", 0);
    EXPECT_EQ(lock.lock(), e_General_NoError);
    EXPECT_EQ(lock.lock(), e_General_NoError);
    EXPECT_EQ(lock.unlock(), e_General_NoError);
    Elsewhere([&] {
        ::SetLastError(ERROR_ACCESS_DENIED); // a time-out leaves it as it stands
        EXPECT_EQ(lock.lock(), e_Command_TimedOut);
        EXPECT_EQ(log.Take(), "0 ERROR: ZRLockC::lock(): owner: drumwaiting for mutex" + TextOf(5) + '\n');
        EXPECT_EQ(lock.unlock(), e_Mutex_ReleaseFailed);
        EXPECT_EQ(log.Take(),
                  "0 ERROR: ZRLockC::unlock(): owner: drumreleasing mutex" + TextOf(ERROR_NOT_OWNER) + '\n');
    });
    EXPECT_EQ(lock.unlock(), e_General_NoError);
    Elsewhere([&] { EXPECT_EQ(lock.lock(), e_General_NoError); });
    EXPECT_EQ(log.Take(), "");
}

TEST(Locks, AreHeldByWhoFindsThemAbandonedAndIsToldOfATimeOut) {
    const Watchdog watchdog;
    LogCapture log;
    ZRLockC lock;
    Elsewhere([&] { lock.lock(); });
    EXPECT_EQ(lock.lock(), e_Command_TimedOut);
    EXPECT_TRUE(log.Take().starts_with("0 ERROR: ZRLockC::lock(): owner: unknownwaiting for mutex"));
    EXPECT_EQ(lock.unlock(), e_General_NoError);
    EXPECT_EQ(lock.unlock(), e_Mutex_ReleaseFailed);
}

#ifndef _WIN32 // where mutexes take memory of this process, which can be made to fail

TEST(Locks, RefuseEverythingWithoutAMutex) {
    LogCapture log;
    std::array<std::optional<ZRLockC>, 1000> locks; // more than there are handles without further memory
    for (auto& lock : locks) {
        FailAllocation(1, [&] { lock.emplace("drum", 0); });
    }
    EXPECT_EQ(locks.back()->lock(), e_Resource_AllocationFailed);
    EXPECT_EQ(locks.back()->unlock(), e_Resource_AllocationFailed);
    EXPECT_TRUE(log.Take().ends_with("0 ERROR: ZRLockC::ZRLockC(): owner: drumfailed to create m_hMutex\n"
                                     "0ZRErrorC::fail():  ERROR: m_hMutex == NULL\n"
                                     "0ZRErrorC::fail():  ERROR: m_hMutex == NULL\n"));
}

#endif

} // namespace
} // namespace gaizior::test
