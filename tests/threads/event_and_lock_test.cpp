#include "gaizior/errors/failure.h"
#include "gaizior/platform/unique_handle.h"
#include "gaizior/threads/event.h"
#include "gaizior/threads/lock.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

namespace gaizior::test {

using namespace ZRErrors;

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

} // namespace gaizior::test
