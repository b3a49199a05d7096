#include "gaizior/threads/thread.h"

#include "gaizior/errors/exception.h"
#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"
#include "gaizior/platform/unique_handle.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace gaizior::test {
namespace {

using namespace ZRErrors;

constexpr unsigned long kForever = 0xFFFFFFFF;
constexpr unsigned long kFailed = 0xFFFFFFFF;
const std::string kError = "0 ERROR: ZRThreadC::";

struct Worker : ZRThreadC {
    using BodyT = std::function<ZRErrorT(Worker&)>;

    explicit Worker(BodyT toRun = &UntilAsked, ZRThreadC* parent = nullptr, unsigned long stopTimeout = kForever,
                    int autoDelete = 0)
        : ZRThreadC("Worker", parent, stopTimeout, autoDelete), body(std::move(toRun)) {}
    ~Worker() override {
        stop();
    }
    ZRErrorT run() override {
        return body(*this);
    }
    static ZRErrorT UntilAsked(Worker& self) {
        return static_cast<ZRErrorT>(self.WaitForSingleObject(self.GetEndEvent(), kForever));
    }
    static ZRErrorT Nothing(Worker&) {
        return e_General_NoError;
    }
    DWORD ExitCode() {
        EXPECT_EQ(::WaitForSingleObject(GetThread(), INFINITE), WAIT_OBJECT_0);
        DWORD code = 0;
        EXPECT_TRUE(::GetExitCodeThread(GetThread(), &code));
        return code;
    }
    using ZRThreadC::bIsParent;
    using ZRThreadC::GetEndEvent;
    using ZRThreadC::NotifyEnd;
    using ZRThreadC::Sleep;
    using ZRThreadC::SleepEx;

    BodyT body;
    std::shared_ptr<int> countsAsLiving = s_living;
    static inline const std::shared_ptr<int> s_living = std::make_shared<int>(); // used by itself and each worker
};

/// Static, and still running when the process ends.
Worker g_static;

struct ThreadTest : testing::Test {
    ThreadTest() {
        seams::SetTimeDivisor(100);
    }
    ~ThreadTest() override {
        seams::SetTimeDivisor(1);
        EXPECT_EQ(Worker::s_living.use_count(), 2);
    }
    /// Waits for a line, whatever stands before it. One thread at a time.
    void Await(const std::string& line) {
        for (; seen.find(line) == std::string::npos; ::Sleep(1)) {
            seen += log.Take();
        }
        seen.erase(seen.find(line), line.size());
    }

    const Watchdog watchdog;
    LogCapture log;
    std::string seen;
};

UniqueHandle Event() {
    return UniqueHandle(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
}
std::string Id(ZRThreadC& thread) {
    return Composed("0x", std::hex, thread.GetThreadID());
}
std::string FailedOnWorker(DWORD error) {
    return Composed(" failed on thread: Worker: ", CodeText(FoldSystemError(error)), '\n');
}

TEST_F(ThreadTest, IsStartedAndStoppedAsOftenAsAsked) {
    Worker worker([](Worker& self) {
        EXPECT_EQ(self.GetThreadID(), ::GetCurrentThreadId());
        EXPECT_TRUE(self.IsAlive());
        return ZRErrorT(17 + Worker::UntilAsked(self));
    });
    EXPECT_EQ(worker.stop(), 0);
    EXPECT_EQ(worker.NotifyEnd(), e_Resource_AllocationFailed);
    EXPECT_EQ(log.Take(), kError + "NotifyEnd(): m_hEndEvent = invalid handle.\n");
    EXPECT_TRUE(worker.IsEndEventSignalled() && !worker.GetThread() && !worker.IsDead());
    for (const bool isStopped : {true, false, true}) {
        EXPECT_EQ(worker.start() + worker.start(), 0);
        Await("20ZRThreadC::start(): waiting for thread: Worker, id = " + Id(worker) + " to begin.\n");
        EXPECT_TRUE(worker.IsAlive() && !worker.IsDead() && !worker.IsEndEventSignalled());
        EXPECT_EQ(worker.NotifyEnd(), 0);
        EXPECT_EQ(worker.ExitCode(), 17u);
        EXPECT_TRUE(worker.IsDead() && worker.IsEndEventSignalled());
        EXPECT_TRUE(!isStopped || (worker.stop() == 0 && !worker.GetThread() && !worker.IsEndEventSignalled()));
    }
}

TEST_F(ThreadTest, ABodyThatIsMissingOrThrowsEndsWithACodeAndALine) {
    const std::pair<Worker::BodyT, std::string> cases[] = {
        {[](Worker&) -> ZRErrorT { throw std::runtime_error("paper jam"); }, "paper jam\n"},
        {[](Worker&) -> ZRErrorT { throw ZRExceptionC(e_Arguments_Bad); }, Composed(CodeText(e_Arguments_Bad))},
        {[](Worker&) -> ZRErrorT { throw 7; }, "what is no exception of the language or the library\n"},
    };
    for (const auto& [body, text] : cases) {
        Worker worker(body);
        worker.start();
        EXPECT_EQ(worker.ExitCode(), DWORD{e_Command_Aborted});
        Await(kError + "CallRun(): the body of Worker threw: " + text);
    }
    ZRThreadC base(nullptr, nullptr, kForever, 0);
    base.start();
    Await(kError + "runNo thread body for: Unknown\n");
}

TEST_F(ThreadTest, ABodyThatDoesNotEndIsWaitedForUntilTheStopTimeOut) {
    for (const unsigned long timeout : {kForever, 100ul}) {
        const UniqueHandle isOver = Event();
        Worker worker(
            [&](Worker& self) {
                EXPECT_EQ(self.stop(), 0);
                Await("20 WARNING: ZRThreadC::stop(): Cannot stop() thread from within itself ignoring request\n");
                Await(timeout == kForever
                          ? "1ZRThreadC::stop(): Waiting for thread Worker id " + Id(self) + " to die...\n"
                          : "Could not stop thread. Thread being killed, this could leave dangling resources.\n" +
                                kError + "stop(): DON'T KNOW HOW TO KILL THREADS!!!!!!!\n");
                ::SetEvent(isOver.Get());
                return e_General_NoError;
            },
            nullptr, timeout);
        worker.start();
        EXPECT_EQ(worker.stop(), 0);
        EXPECT_EQ(worker.GetThread(), nullptr);
        EXPECT_EQ(::WaitForSingleObject(isOver.Get(), INFINITE), WAIT_OBJECT_0);
    }
}

TEST_F(ThreadTest, AStopAsksAllChildrenAndEndsAllThatDescendFirst) {
    auto parent = std::make_unique<Worker>();
    Worker first(&Worker::UntilAsked, parent.get());
    Worker grandchild(&Worker::UntilAsked, &first);
    Worker second(&Worker::UntilAsked, parent.get());
    Worker idle(&Worker::UntilAsked, parent.get());
    std::atomic<bool> wereFirst{false};
    parent->body = [&](Worker& self) {
        const ZRErrorT code = Worker::UntilAsked(self);
        wereFirst = !first.GetThread() && !second.GetThread() && !grandchild.GetThread();
        return code;
    };
    second.body = [&](Worker&) { return Worker::UntilAsked(first); }; // which is asked too before this is awaited
    for (Worker* each : {parent.get(), &first, &second, &grandchild}) {
        EXPECT_EQ(each->start(), 0);
    }
    EXPECT_TRUE(parent->bIsParent() && !first.bIsParent() && grandchild.GetParent() == &first);
    EXPECT_TRUE(parent->FindChild(nullptr) == &idle && parent->FindChild(&idle) == &second);
    EXPECT_TRUE(parent->FindChild(&second) == &first && !parent->FindChild(&first));
    EXPECT_EQ(parent->stop(), e_Resource_AllocationFailed) << "of the one that was never started, as decided";
    EXPECT_TRUE(wereFirst && !parent->GetThread());
    EXPECT_EQ(idle.RemoveThread(0) + idle.RemoveThread(0), 0);
    EXPECT_EQ(parent->FindChild(&idle), nullptr);
    EXPECT_EQ(parent->FindChild(nullptr), &second);
    first.SetParent(&second);
    second.body = &Worker::UntilAsked;
    first.start();
    parent.reset();
    EXPECT_TRUE(second.bIsParent() && !first.IsAlive()) << "who outlives its parent has none";
    EXPECT_FALSE(second.IsEndEventSignalled()) << "asked again, and stopped again";
    EXPECT_EQ(second.start() + first.start(), 0);
    EXPECT_EQ(ZRThreadC::stopAll(), 0);
    EXPECT_TRUE(!second.GetThread() && !first.GetThread());
}

TEST_F(ThreadTest, OneThatDeletesItselfMayBeStoppedMeanwhileThroughItsParent) {
    for (int round = 0; round < 60; ++round) {
        Worker parent(round % 2 ? &Worker::UntilAsked : &Worker::Nothing);
        parent.start();
        for (const Worker::BodyT& body : {Worker::BodyT(&Worker::Nothing), Worker::BodyT(&Worker::UntilAsked)}) {
            EXPECT_EQ((new Worker(body, &parent, kForever, 1))->start(), 0);
        }
        std::jthread other([&] { EXPECT_EQ(parent.stop(), 0); });
        EXPECT_EQ(parent.stop(), 0);
        other.join();
        while (Worker::s_living.use_count() > 3) {
            ::Sleep(1);
        }
    }
    EXPECT_NE(log.Take().find("20ZRThreadC::ThreadWrapper(): automatically deleting thread object: Worker\n"),
              std::string::npos);
}

/// Whoever asks and in whatever order: one body at a time, and none in the end.
TEST_F(ThreadTest, StartsAndStopsMayMeet) {
    std::atomic<int> bodies{0};
    Worker worker([&](Worker& self) {
        EXPECT_EQ(++bodies, 1);
        const ZRErrorT code = Worker::UntilAsked(self);
        --bodies;
        return code;
    });
    std::vector<std::jthread> threads(6);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::jthread([&worker, i] {
            for (int round = 0; round < 100; ++round) {
                EXPECT_EQ(i % 3 == 0 ? worker.start() : i % 3 == 1 ? worker.stop() : ZRThreadC::stopAll(), 0);
            }
        });
    }
    threads.clear();
    EXPECT_EQ(worker.stop(), 0);
    EXPECT_EQ(bodies, 0);
}

TEST_F(ThreadTest, ASuspendedThreadIsLetGoToEndAndAPriorityIsTheSystemsToGrant) {
    Worker worker;
    Worker child(&Worker::UntilAsked, &worker);
    worker.body = [&](Worker& self) { // stopped in the middle of what the stop of its child needs
        while (!self.IsEndEventSignalled()) {
#ifndef __SANITIZE_THREAD__ // It keeps signals from a thread that waits for a mutex, so that nobody can suspend that.
            EXPECT_TRUE(child.IsAlive() || self.IsEndEventSignalled());
#endif
        }
        return e_General_NoError;
    };
    EXPECT_EQ(worker.SuspendThread() & worker.ResumeThread(), kFailed);
    const std::string none = FailedOnWorker(ERROR_INVALID_HANDLE);
    EXPECT_EQ(log.Take(), kError + "SuspendThread(): suspend" + none + kError + "ResumeThread(): resume" + none);
    EXPECT_EQ(child.start() + worker.start(), 0);
    EXPECT_EQ(worker.SetThreadPriority(THREAD_PRIORITY_LOWEST), 1);
    EXPECT_EQ(::GetThreadPriority(worker.GetThread()), THREAD_PRIORITY_LOWEST);
    log.Take();
    EXPECT_EQ(worker.SetThreadPriority(99), 0);
    EXPECT_EQ(log.Take(), kError + "SetThreadPriority(): SetThreadPriority" + FailedOnWorker(ERROR_INVALID_PARAMETER));
    for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(worker.SuspendThread() + worker.SuspendThread(), 1u);
        EXPECT_TRUE(worker.IsAlive());
        for (const unsigned long before : {2u, 1u, 0u}) {
            EXPECT_EQ(round == 199 ? before : worker.ResumeThread(), before);
        }
    }
    EXPECT_EQ(worker.stop(), 0);
    const std::string count = "20ZRThreadC::NotifyEnd(): suspendCount for :Worker is: ";
    EXPECT_TRUE(log.Take().ends_with(count + "2\n" + count + "1\n"));
}

TEST_F(ThreadTest, WaitsEndWithTheirObjectsOrTheEndEventWhicheverIsFirst) {
    std::vector<UniqueHandle> events(64);
    std::ranges::generate(events, [] { return Event(); });
    std::vector<void*> handles(64);
    std::ranges::transform(events, handles.begin(), &UniqueHandle::Get);
    Worker worker;
    enum { any, all };
    const auto wait = [&](int waitAll, unsigned count, unsigned long ms) {
        return worker.WaitForMultipleObjects(count, handles.data(), waitAll, ms);
    };
    EXPECT_EQ(worker.WaitForSingleObject(handles[0], 1), DWORD{WAIT_TIMEOUT}) << "nothing else is waited for";
    EXPECT_EQ(wait(any, 64, 0) | wait(all, 64, 0), DWORD{WAIT_TIMEOUT});
    worker.start();
    for (const unsigned count : {0u, 1u, 63u}) {
        EXPECT_EQ(wait(any, count, 1), DWORD{WAIT_TIMEOUT});
    }
    EXPECT_EQ(wait(all, 0, 0), 0u);
    EXPECT_EQ(wait(all, 64, 100), DWORD{WAIT_TIMEOUT});
    ::SetEvent(handles[62]);
    EXPECT_EQ(wait(any, 63, ~0ul), 62u);
    ::SetLastError(0);
    EXPECT_EQ(wait(any, 64, 0), kFailed);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    std::ranges::for_each(handles, &::SetEvent);
    EXPECT_EQ(worker.WaitForSingleObject(handles[0], kForever), 0u);
    EXPECT_EQ(wait(all, 63, 0), 0u) << "each is looked at";
    const UniqueHandle mutex(::CreateMutexA(nullptr, FALSE, nullptr));
    std::jthread([&] { ::WaitForSingleObject(mutex.Get(), 0); }).join();
    handles[1] = mutex.Get();
    ::ResetEvent(handles[0]);
    EXPECT_EQ(wait(any, 2, kForever), DWORD{WAIT_ABANDONED_0} + 1);
    Await("20ZRThreadC::WaitForMultipleObjects( ANY ): returning:  Object 1 was abandoned , Objects[");
    EXPECT_EQ(worker.NotifyEnd(), 0);
    EXPECT_EQ(wait(any, 2, kForever), 1u) << "which is ours";
    EXPECT_EQ(wait(any, 1, kForever), 1u) << "the end event stands behind all";
    EXPECT_EQ(wait(all, 2, kForever), 1u);
    EXPECT_EQ(worker.WaitForSingleObject(handles[0], kForever), 1u);
}

TEST_F(ThreadTest, ASleepLooksForTheEndEventBehindEachTenSeconds) {
    Worker worker;
    EXPECT_EQ(worker.Sleep(0), kFailed) << "without an end event";
    worker.start();
    for (const int alertable : {0, 1}) {
        EXPECT_EQ(worker.SleepEx(30'000, alertable), 0u);
    }
    EXPECT_EQ(worker.NotifyEnd(), 0);
    for (const unsigned long ms : {10'001ul, kForever - 1, kForever, ~0ul}) {
        const ULONGLONG begin = TickCount();
        EXPECT_EQ(worker.Sleep(ms), kFailed);
        EXPECT_GE(TickCount() - begin, 9'000u) << "not earlier";
    }
}

TEST_F(ThreadTest, ACopySharesTheHandlesAndStopsNothing) {
    Worker parent;
    auto worker = std::make_unique<Worker>(&Worker::UntilAsked, &parent);
    worker->start();
    Worker copy(*worker);
    Worker assigned;
    assigned.start();
    assigned = copy;
    assigned = *&assigned;
    EXPECT_EQ(parent.FindChild(nullptr), &assigned);
    EXPECT_EQ(parent.FindChild(&assigned), worker.get()) << "the copy is not in the list";
    EXPECT_TRUE(copy.GetThread() == worker->GetThread() && assigned.GetEndEvent() == worker->GetEndEvent());
    EXPECT_TRUE(copy.GetThreadID() == worker->GetThreadID() && copy.GetParent() == &parent);
    EXPECT_EQ(copy.stop() + assigned.stop(), 0);
    EXPECT_TRUE(worker->IsAlive() && !worker->IsEndEventSignalled());
    EXPECT_EQ(copy.start(), 0) << "it runs";
    worker.reset();
    EXPECT_TRUE(copy.IsDead() && assigned.IsDead() && !copy.IsEndEventSignalled());
    EXPECT_EQ(copy.start(), 0);
    EXPECT_TRUE(copy.IsAlive() && assigned.IsDead());
}

TEST_F(ThreadTest, WithoutMemoryNothingIsStarted) {
    bool failed = true;
    for (int n = 1; failed; ++n) {
        Worker worker(&Worker::Nothing);
        ZRErrorT code{};
        failed = FailAllocation(n, [&] { code = worker.start(); });
        EXPECT_EQ(worker.GetThread() == nullptr, code == e_Resource_AllocationFailed);
        const std::string lines = log.Take();
        EXPECT_TRUE(code == e_General_NoError || lines.starts_with(kError + "start(): ")) << lines;
    }
}

TEST(Magic, TellsTheLibrary) {
    unsigned int words[] = {1, 2};
    EXPECT_EQ(ZRGetMagic(7, words), 0);
    EXPECT_TRUE(words[0] == 0x21122004 && words[1] == 0);
    EXPECT_EQ(g_static.start(), 0);
}

} // namespace
} // namespace gaizior::test
