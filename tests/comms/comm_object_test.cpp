#include "gaizior/platform/unique_handle.h" // <windows.h>, whose macro GetObject must not matter, comes first

#include "gaizior/comms/comm_object.h"
#include "gaizior/errors/failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <string>
#include <thread>

namespace gaizior::test {
namespace {

using namespace ZRErrors;

unsigned g_debugLevel = 1;

struct CommObjectTest : testing::Test {
    CommObjectTest() {
        g_debugLevel = 15;
        ZRLogStrstreambufC::SetDBGetLevelFn([] { return g_debugLevel; });
    }
    ~CommObjectTest() override {
        g_debugLevel = ~0u; // everything passes, as without the hook
    }
    /// The lines since the last call, with H for every handle.
    std::string Logged() {
        return std::regex_replace(log.Take(), std::regex("=0x[0-9a-fA-F]+"), "=H");
    }
    template <class Operation>
    static void Elsewhere(const Operation& operation) {
        std::thread(operation).join();
    }

    Watchdog watchdog;
    LogCapture log;
    const UniqueHandle abort{::CreateEventA(nullptr, TRUE, TRUE, nullptr)};
};

TEST_F(CommObjectTest, LivesAsLongAsItsReferencesAndTracesItsStepsFromLevel16On) {
    g_debugLevel = 16;
    auto* const object = new ZRCommObjectC("queue", true);
    LogError("", *object);
    ZRCommObjectPtrC first;
    ZRCommObjectPtrC second;
    EXPECT_EQ(first.Attach(object), e_General_NoError);
    EXPECT_EQ(first.Attach(object), e_Object_AlreadyAttached);
    EXPECT_EQ(first.GetObject().Lock("one", 0, nullptr), e_General_NoError);
    EXPECT_EQ(first.GetObject().Lock("two", 0, nullptr), e_General_NoError);
    EXPECT_EQ(object->Unlock(), e_General_NoError);
    EXPECT_EQ(object->Unlock(), e_General_NoError);
    second = first; // hands the reference on
    first = {};
    EXPECT_EQ(second.Detach(), e_General_NoError);
    const auto form = [](const std::string& owner, int count, const char* mutex = "H") {
        return "ZRCommObjectC(\"queue\") = { m_pCurrentOwnerName=" + owner + ", m_nRefCount=" + std::to_string(count) +
               " m_hMutex=" + mutex + " m_bAutoDelete=1 }\n";
    };
    EXPECT_EQ(Logged(), "0 ERROR: " + form("<unknown>", 0, "0") +
                            "15ZRCommObjectC::IncrementReference(): " + form("<unknown>", 1) +
                            "0 ERROR: ZRCommObjectPtrC::Attach(): Already attached to :" + form("<unknown>", 1) +
                            "15ZRCommObjectC::Lock(b): previous owner=<unknown>, " + form("one", 1) +
                            "15ZRCommObjectC::Lock(b): previous owner=one, " + form("two", 1) +
                            "15ZRCommObjectC::DecrementReference(): About to delete: " + form("<unknown>", 0) +
                            "15ZRCommObjectC::~ZRCommObjectC(): deleting shared object: " + form("<unknown>", 0));
}

TEST_F(CommObjectTest, CountsReferencesAndTellsOfTooMany) {
    ZRCommObjectC object;
    ZRCommObjectPtrC first;
    ZRCommObjectPtrC second;
    EXPECT_EQ(first.Attach(nullptr), e_General_NoError);
    EXPECT_EQ(first.Detach(), e_General_NoError);
    first.Attach(&object);
    for (int i = 0; i < 3; ++i) { // gives up one reference and two that are not there
        second = first;
        EXPECT_EQ(second.Detach(), e_General_NoError) << "a count that wraps is not reported";
    }
    EXPECT_EQ(first.Attach(nullptr), e_General_NoError) << "and releases nothing";
    EXPECT_EQ(Logged(), "");
    EXPECT_EQ(second.Attach(&object), e_Object_TooManyReferences);
    EXPECT_EQ(Logged(),
              "0 ERROR: ZRCommObjectC::IncrementReference(): object: <unknown> too many references to object\n");
    EXPECT_EQ(first.Attach(&object), e_General_NoError) << "the count stays raised, and wraps";
}

TEST_F(CommObjectTest, TellsWhoHoldsItsLock) {
    ZRCommObjectC object("queue");
    EXPECT_EQ(object.Unlock(), FoldSystemError(ERROR_INVALID_HANDLE)) << "there is no lock yet";
    log.Take();
    EXPECT_EQ(object.Lock("holder", 0, abort.Get()), e_General_NoError);
    EXPECT_EQ(object.Lock(0, abort.Get()), e_General_NoError) << "the lock comes before the abort event";
    Elsewhere([&] {
        EXPECT_EQ(object.Lock("other", 0xFFFFFFFF, abort.Get()), e_Wait_ForcedToExit);
        EXPECT_EQ(object.Lock("other", 1, nullptr), e_Command_TimedOut);
        ::ResetEvent(abort.Get());
        EXPECT_EQ(object.Lock(1, abort.Get()), e_Command_TimedOut);
        const std::string line =
            "0 ERROR: ZRCommObjectC::Lock(a): object: queueTimeout waiting on object already locked by: holder\n";
        EXPECT_EQ(Logged(), line + line);
        constexpr ZRErrorT kNotOwner = FoldSystemError(ERROR_NOT_OWNER);
        EXPECT_EQ(object.Unlock(), kNotOwner);
        EXPECT_EQ(Logged(), Composed("0 ERROR: ZRCommObjectC::Unlock(): object: queue releasing mutex: ",
                                     CodeText(kNotOwner), '\n'));
        EXPECT_EQ(object.Lock(0, nullptr), e_Command_TimedOut);
        EXPECT_TRUE(Logged().ends_with("by: <unknown>\n")) << "every Unlock forgets the holder's name";
    });
    EXPECT_EQ(object.Unlock(), e_General_NoError);
    EXPECT_EQ(object.Unlock(), e_General_NoError);
    Elsewhere([&] { EXPECT_EQ(object.Lock(0, nullptr), e_General_NoError); });
}

TEST_F(CommObjectTest, ReportsAnAbandonedLockWhichItsFinderHolds) {
    ZRCommObjectC object("queue");
    const auto abandon = [&] { Elsewhere([&] { object.Lock(0xFFFFFFFF, nullptr); }); };
    abandon();
    ::SetLastError(ERROR_ACCESS_DENIED); // stands as it is
    constexpr ZRErrorT kCode = FoldSystemError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(object.Lock(0xFFFFFFFF, nullptr), kCode);
    EXPECT_EQ(Logged(),
              Composed("0 ERROR: ZRCommObjectC::Lock(a): object: queue waiting on mutex: ", CodeText(kCode), '\n'));
    EXPECT_EQ(object.Unlock(), e_General_NoError);

    ZRCommObjectPtrC handle;
    abandon();
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(handle.Attach(&object), kCode);
    Elsewhere([&] { EXPECT_EQ(object.Lock(0, nullptr), e_General_NoError) << "nobody holds it"; }); // abandons it again
    EXPECT_EQ(handle.Detach(), e_General_NoError);
    g_debugLevel = 16;
    EXPECT_EQ(handle.Attach(&object), e_General_NoError);
    EXPECT_TRUE(Logged().ends_with("m_nRefCount=0 m_hMutex=H m_bAutoDelete=0 }\n")) << "the first was not counted";
}

TEST_F(CommObjectTest, LetsOneInWhenTwoMakeItsLock) {
    for (int round = 0; round < 100; ++round) {
        ZRCommObjectC object;
        int inside = 0;
        std::atomic<int> ready{0};
        const auto enter = [&] {
            for (++ready; ready < 2;) {
                std::this_thread::yield();
            }
            EXPECT_EQ(object.Lock(0xFFFFFFFF, nullptr), e_General_NoError);
            EXPECT_EQ(++inside, 1);
            --inside;
            EXPECT_EQ(object.Unlock(), e_General_NoError);
        };
        std::thread other(enter);
        enter();
        other.join();
    }
}

} // namespace
} // namespace gaizior::test
