#include "gaizior/platform/unique_handle.h" // <windows.h>, whose macro GetObject must not matter, comes first

#include "gaizior/comms/comm_object.h"
#include "gaizior/errors/failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <string>

namespace gaizior::test {

using namespace ZRErrors;

static unsigned g_debugLevel = 16;

TEST(CommObject, LivesAsLongAsItsReferencesAndTracesItsStepsFromLevel16On) {
    LogCapture log;
    ZRLogStrstreambufC::SetDBGetLevelFn([] { return g_debugLevel; });
    ZRCommObjectPtrC handle, next;
    EXPECT_FALSE(handle.Attach(nullptr) || handle.Detach());
    EXPECT_EQ(handle.Attach(new ZRCommObjectC("queue", true)), 0u);
    EXPECT_EQ(handle.Attach(&handle.GetObject()), e_Object_AlreadyAttached);
    EXPECT_FALSE(handle.GetObject().Lock("one", 0, nullptr) || handle.GetObject().Lock("two", 0, nullptr));
    next = handle; // hands the reference on
    handle = {};
    EXPECT_EQ(next.Detach(), 0u);
    std::string traced = log.Take();
    for (std::size_t at = 0; (at = traced.find("0x", at)) != std::string::npos;) {
        traced.erase(at, traced.find(' ', at) - at);
    }
    const auto queue = [](const char* owner, int references) {
        return Composed("ZRCommObjectC(\"queue\") = { m_pCurrentOwnerName=", owner, ", m_nRefCount=", references,
                        " m_hMutex= m_bAutoDelete=1 }\n");
    };
    EXPECT_EQ(traced, Composed("15ZRCommObjectC::IncrementReference(): ", queue("<unknown>", 1),
                               "0 ERROR: ZRCommObjectPtrC::Attach(): Already attached to :", queue("<unknown>", 1),
                               "15ZRCommObjectC::Lock(b): previous owner=<unknown>, ", queue("one", 1),
                               "15ZRCommObjectC::Lock(b): previous owner=one, ", queue("two", 1),
                               "15ZRCommObjectC::DecrementReference(): About to delete: ", queue("two", 0),
                               "15ZRCommObjectC::~ZRCommObjectC(): deleting shared object: ", queue("two", 0)));
}

TEST(CommObject, TellsWhoHoldsItsLockAndWhatGoesWrongWithItsCount) {
    const Watchdog watchdog;
    LogCapture log;
    g_debugLevel = 15;
    const UniqueHandle abort(::CreateEventA(nullptr, TRUE, TRUE, nullptr));
    ZRCommObjectC object;
    ZRCommObjectPtrC handle, other;
    EXPECT_FALSE(object.Lock(0, nullptr) || object.Lock("holder", 0, abort.Get())) << "the lock before the abort event";
    std::thread([&] {
        EXPECT_EQ(object.Lock("me", 0xFFFFFFFF, abort.Get()), e_Wait_ForcedToExit);
        EXPECT_EQ(object.Lock("me", 1, nullptr), e_Command_TimedOut);
        EXPECT_EQ(object.Unlock(), FoldSystemError(ERROR_NOT_OWNER));
    }).join();
    EXPECT_FALSE(object.Unlock() || object.Unlock());
    std::thread([&] { object.Lock(0, nullptr); }).join();
    ::SetLastError(ERROR_NOT_OWNER); // stands as it is where the lock is found abandoned
    EXPECT_EQ(handle.Attach(&object), FoldSystemError(ERROR_NOT_OWNER));
    std::thread([&] { EXPECT_FALSE(object.Lock(0, nullptr) || object.Unlock()) << "nobody holds it"; }).join();
    other = handle;
    EXPECT_FALSE(handle.Detach() || other.Detach()) << "two references that were never counted";
    EXPECT_EQ(handle.Attach(&object), e_Object_TooManyReferences);
    const CodeText text(FoldSystemError(ERROR_NOT_OWNER));
    EXPECT_EQ(
        log.Take(),
        Composed("0 ERROR: ZRCommObjectC::Lock(a): object: <unknown>Timeout waiting on object already locked by: "
                 "holder\n0 ERROR: ZRCommObjectC::Unlock(): object: <unknown> releasing mutex: ",
                 text, "\n0 ERROR: ZRCommObjectC::Lock(a): object: <unknown> waiting on mutex: ", text,
                 "\n0 ERROR: ZRCommObjectC::IncrementReference(): object: <unknown> too many references to object\n"));
    g_debugLevel = ~0u; // everything passes, as without the hook
}

} // namespace gaizior::test
