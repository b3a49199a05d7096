// What a forked child may do with what it inherited, and that its parent does not feel it.

#include "tests/platform/objects.h"
#include "tests/support/forked_child.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <vector>

#include <sys/resource.h>

namespace gaizior::test {
namespace {

struct ForkedChildren : ObjectTest {
    void SetUp() override {
#ifdef __SANITIZE_THREAD__
        GTEST_SKIP() << "the sanitizer ends a forked child that starts a thread";
#endif
    }
};

TEST_F(ForkedChildren, OwnTheirThreadsUnnamedMutexesAndNoneOfTheParentsNamedOnes) {
    const UniqueHandle mine = Mutex(TRUE);
    const UniqueHandle others = Mutex();
    const UniqueHandle named = Mutex(TRUE, "held");
    const UniqueHandle free = Mutex(FALSE, "free");
    const UniqueHandle taken = Event();
    const UniqueHandle end = Event(TRUE);
    DWORD id = 0;
    std::function<DWORD()> holdMutex = [&] {
        EXPECT_EQ(Wait(others), WAIT_OBJECT_0);
        ::SetEvent(taken.Get());
        EXPECT_EQ(Wait(end, INFINITE), WAIT_OBJECT_0);
        return ::ReleaseMutex(others.Get());
    };
    const UniqueHandle thread = Start(holdMutex, &id);
    EXPECT_EQ(Wait(taken, INFINITE), WAIT_OBJECT_0);
    ForkedChild child([&] {
        EXPECT_EQ(ErrorOf(::ReleaseMutex(named.Get())), DWORD{ERROR_NOT_OWNER});
        EXPECT_EQ(Wait(named), kTimeout);
        EXPECT_EQ(Wait(others), kAbandoned);
        EXPECT_EQ(Wait(thread), WAIT_OBJECT_0) << "it is not there, and nobody need wait for it";
        EXPECT_TRUE(::SetThreadPriority(thread.Get(), THREAD_PRIORITY_LOWEST));
        EXPECT_EQ(::getpriority(PRIO_PROCESS, id), ::getpriority(PRIO_PROCESS, 0)) << "it is the parent's";
        for (const UniqueHandle* mutex : {&mine, &others, &free}) {
            EXPECT_EQ(Wait(*mutex), WAIT_OBJECT_0);
            EXPECT_TRUE(::ReleaseMutex(mutex->Get()));
        }
        EXPECT_TRUE(::ReleaseMutex(mine.Get()) && ::ReleaseMutex(others.Get()));
    });
    EXPECT_EQ(child.ExitCode(), 0);
    EXPECT_TRUE(::ReleaseMutex(mine.Get()) && ::ReleaseMutex(named.Get()));
    ::SetEvent(end.Get());
    EXPECT_EQ(ExitCode(thread), DWORD{TRUE});
}

TEST_F(ForkedChildren, KeepTheirSignalsToThemselves) {
    const UniqueHandle ready = Event(FALSE, FALSE, "ready");
    static std::atomic<int> events{0};
    const PHANDLER_ROUTINE count = [](DWORD) -> BOOL { return ++events; };
    const PHANDLER_ROUTINE leave = [](DWORD) -> BOOL { std::_Exit(41); };
    ::SetConsoleCtrlHandler(count, TRUE);
    for (const bool addsHandler : {false, true}) {
        ForkedChild child([&] {
            ::SetConsoleCtrlHandler(addsHandler ? leave : nullptr, addsHandler);
            ::SetEvent(ready.Get());
            ::Sleep(INFINITE);
        });
        EXPECT_EQ(Wait(ready, INFINITE), WAIT_OBJECT_0);
        ::kill(child.Id(), SIGTERM);
        EXPECT_EQ(child.ExitCode(), addsHandler ? 41 : 128 + SIGTERM);
    }
    EXPECT_EQ(events, 0);
    ::raise(SIGTERM);
    while (events == 0) {
        ::Sleep(1);
    }
    ::SetConsoleCtrlHandler(count, FALSE);
}

TEST_F(ForkedChildren, StartProcessesAndSeeTheirParentsEnd) {
    const Child sibling(nullptr, ChildLine("console", "ask"));
    AwaitTold(); // before the next one tells in the same place
    ForkedChild child([&] {
        EXPECT_EQ(Child(nullptr, ChildLine("arguments")).ExitCode(), 0u);
        const UniqueHandle opened(::OpenProcess(PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE,
                                                sibling.Information().dwProcessId));
        DWORD code = 0;
        EXPECT_TRUE(::GetExitCodeProcess(opened.Get(), &code) && code == STILL_ACTIVE);
        EXPECT_TRUE(::TerminateProcess(opened.Get(), 7));
        for (const HANDLE handle : {sibling.Handle(), opened.Get()}) {
            EXPECT_EQ(::WaitForSingleObject(handle, INFINITE), WAIT_OBJECT_0);
            EXPECT_EQ(ErrorOf(::GetExitCodeProcess(handle, &code)), ERROR_NOT_SUPPORTED) << "not its child";
            EXPECT_EQ(ErrorOf(::TerminateProcess(handle, 7)), ERROR_ACCESS_DENIED) << "it has ended";
        }
    });
    EXPECT_EQ(child.ExitCode(), 0);
    EXPECT_EQ(sibling.ExitCode(), 128u + SIGKILL);
}

/// A name lives until parent and child have closed it, in whichever order, or ended.
TEST_F(ForkedChildren, HoldNamesOfTheirOwn) {
    const UniqueHandle closed = Event(TRUE, FALSE, "the parent has closed");
    const UniqueHandle looked = Event(TRUE, FALSE, "the parent has looked");
    UniqueHandle section = Section("s");
    ForkedChild keeper([&] {
        EXPECT_EQ(Wait(closed, INFINITE), WAIT_OBJECT_0);
        EXPECT_TRUE(UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s")));
        EXPECT_EQ(Wait(looked, INFINITE), WAIT_OBJECT_0);
    });
    ForkedChild closer([&] { section = UniqueHandle(); });
    EXPECT_EQ(closer.ExitCode(), 0);
    ForkedChild leaver([&] { std::exit(0); });
    EXPECT_EQ(leaver.ExitCode(), 0);
    EXPECT_TRUE(UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"))) << "still the parent's";
    section = UniqueHandle();
    ::SetEvent(closed.Get());
    EXPECT_TRUE(UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"))) << "still the child's";
    ::SetEvent(looked.Get());
    EXPECT_EQ(keeper.ExitCode(), 0);
    EXPECT_EQ(ErrorOf(UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"))), DWORD{ERROR_FILE_NOT_FOUND});
}

/// Whatever the other threads are in the middle of, the child finds everything usable.
TEST_F(ForkedChildren, FindNothingHalfDone) {
    const UniqueHandle mutex = Mutex();
    const UniqueHandle named = Mutex(FALSE, "m");
    const auto useEverything = [&] {
        for (const UniqueHandle* each : {&mutex, &named}) {
            EXPECT_NE(Wait(*each, INFINITE), WAIT_FAILED);
            EXPECT_TRUE(::ReleaseMutex(each->Get()));
        }
        for (const char* name : kUnnamedAndNamed) {
            EXPECT_TRUE(::SetEvent(Event(TRUE, FALSE, name).Get()));
        }
        EXPECT_EQ(TextIn(Section(nullptr)), "");
    };
    std::atomic<bool> isOver{false};
    std::vector<std::jthread> others(4);
    std::ranges::generate(others, [&] {
        return std::jthread([&] {
            while (!isOver) {
                useEverything();
            }
        });
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(ForkedChild(useEverything).ExitCode(), 0);
    }
    isOver = true;
}

} // namespace
} // namespace gaizior::test
