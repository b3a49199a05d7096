#include "gaizior/platform/unique_handle.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace gaizior {
namespace {

constexpr DWORD kTimeout = WAIT_TIMEOUT;

UniqueHandle Mutex(const char* name) {
    return UniqueHandle(::CreateMutexA(nullptr, FALSE, name));
}
UniqueHandle Event(const char* name, BOOL manual = TRUE, BOOL set = FALSE) {
    return UniqueHandle(::CreateEventA(nullptr, manual, set, name));
}
UniqueHandle Section(const char* name, DWORD size = 4096) {
    return UniqueHandle(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name));
}
DWORD Wait(const UniqueHandle& handle, DWORD milliseconds = 0) {
    return ::WaitForSingleObject(handle.Get(), milliseconds);
}

class NamedObjectTest : public ::testing::Test {
protected:
    /// Starts a child that holds a name: "mutex" takes it, "event" sets it, "section" writes into it.
    std::unique_ptr<test::Child> StartHolder(const std::string& kind, const std::string& name) {
        const std::string file = folder.File("told");
        std::filesystem::remove(file);
        auto child = std::make_unique<test::Child>(test::SiblingProgram("platform_child"),
                                                   "hold \"" + file + "\" " + kind + ' ' + name);
        while (!std::filesystem::exists(file)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return child;
    }

    test::Watchdog watchdog;
    test::ScratchFolder folder;
    test::PrivateNames names;
};

TEST_F(NamedObjectTest, TheSecondOfANameGetsTheFirstsObject) {
    const UniqueHandle first = Event("it", TRUE, FALSE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    const UniqueHandle second = Event("it", FALSE, TRUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(Wait(second), kTimeout) << "the other arguments do not count";
    ::SetEvent(second.Get());
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    EXPECT_NE(Event("IT").Get(), nullptr);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SUCCESS)) << "names are case-sensitive";
}

TEST_F(NamedObjectTest, NamesShareOneSpaceAcrossKinds) {
    const UniqueHandle event = Event("e");
    const UniqueHandle mutex = Mutex("m");
    const UniqueHandle section = Section("s");
    const std::function<HANDLE()> wrong[] = {
        [] { return ::CreateMutexA(nullptr, FALSE, "e"); },
        [] { return ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 99, "e"); },
        [] { return ::CreateEventA(nullptr, FALSE, FALSE, "m"); },
        [] { return ::CreateEventA(nullptr, FALSE, FALSE, "s"); },
        [] { return ::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "s"); },
        [] { return ::OpenFileMappingA(FILE_MAP_READ, FALSE, "m"); },
    };
    for (const auto& open : wrong) {
        EXPECT_EQ(open(), nullptr);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
}

TEST_F(NamedObjectTest, OnlyWhatExistsCanBeOpened) {
    EXPECT_EQ(::OpenEventA(EVENT_ALL_ACCESS, FALSE, "none"), nullptr);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    UniqueHandle mutex = Mutex("some");
    EXPECT_TRUE(UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "some")));
    mutex = UniqueHandle();
    EXPECT_EQ(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "some"), nullptr) << "gone with its last handle";
}

TEST_F(NamedObjectTest, ANamedMutexIsRecursiveAndItsOwnersAlone) {
    const UniqueHandle mutex = Mutex("m");
    EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0);
    const auto elsewhere = [&](DWORD expected) {
        std::thread([&] {
            EXPECT_EQ(Wait(mutex, 5), expected);
            EXPECT_EQ(::ReleaseMutex(mutex.Get()), expected == WAIT_OBJECT_0);
        }).join();
    };
    elsewhere(kTimeout);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    elsewhere(kTimeout);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    elsewhere(WAIT_OBJECT_0);
    EXPECT_FALSE(::ReleaseMutex(mutex.Get()));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_OWNER));
    std::thread([&] { Wait(mutex); }).join();
    EXPECT_EQ(Wait(mutex, INFINITE), static_cast<DWORD>(WAIT_ABANDONED)) << "its owner was a thread that ended";
}

TEST_F(NamedObjectTest, ANewMutexBelongsToItsMakerWhoAskedForThat) {
    const UniqueHandle first(::CreateMutexA(nullptr, TRUE, "m"));
    const UniqueHandle second(::CreateMutexA(nullptr, TRUE, "m"));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    std::thread([&] { EXPECT_EQ(Wait(second), kTimeout); }).join();
    EXPECT_TRUE(::ReleaseMutex(second.Get()));
    EXPECT_FALSE(::ReleaseMutex(first.Get())) << "only the first asked for a mutex that was new";
}

TEST_F(NamedObjectTest, AThreadHasAbandonedItsMutexWhenItsHandleIsSignalled) {
    const UniqueHandle mutex = Mutex("m");
    for (int round = 0; round < 50; ++round) {
        const UniqueHandle thread(::CreateThread(
            nullptr, 0, [](void* handle) -> DWORD { return ::WaitForSingleObject(handle, INFINITE); }, mutex.Get(), 0,
            nullptr));
        EXPECT_EQ(Wait(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(Wait(mutex), static_cast<DWORD>(WAIT_ABANDONED)) << round;
        EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    }
}

/// The kernel tells at once that the owner died: nobody waits for a time-out.
TEST_F(NamedObjectTest, AKilledOwnerAbandonsTheMutexToItsWaiter) {
    for (const bool amongOthers : {false, true}) {
        const UniqueHandle mutex = Mutex("m");
        const auto holder = StartHolder("mutex", "m");
        EXPECT_EQ(Wait(mutex), kTimeout);
        std::thread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            holder->Kill();
        });
        const UniqueHandle never = Event("never");
        const UniqueHandle local(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
        const HANDLE handles[] = {never.Get(), local.Get(), mutex.Get()};
        if (amongOthers) {
            EXPECT_EQ(::WaitForMultipleObjects(3, handles, FALSE, 30'000), WAIT_ABANDONED_0 + 2);
        } else {
            EXPECT_EQ(Wait(mutex, 30'000), static_cast<DWORD>(WAIT_ABANDONED));
        }
        killer.join();
        EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
        EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "it is told once";
        EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    }
}

TEST_F(NamedObjectTest, ANameWhoseHoldersAllDiedIsFresh) {
    const auto holder = StartHolder("section", "s");
    {
        const UniqueHandle section = Section("s");
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
        const void* view = ::MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 0);
        EXPECT_STREQ(static_cast<const char*>(view), "written by the child");
        ::UnmapViewOfFile(view);
    }
    holder->Kill();
    EXPECT_EQ(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"), nullptr);
    const UniqueHandle section = Section("s");
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    const void* view = ::MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 0);
    EXPECT_STREQ(static_cast<const char*>(view), "");
    ::UnmapViewOfFile(view);
}

TEST_F(NamedObjectTest, AMutexWhoseHoldersAllDiedIsNotAbandonedButNew) {
    StartHolder("mutex", "m")->Kill();
    const UniqueHandle mutex = Mutex("m");
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0);
    EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
}

TEST_F(NamedObjectTest, AViewKeepsItsMemoryAndReachesNoFurther) {
    UniqueHandle section = Section("s", 4096);
    EXPECT_EQ(::MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 100'000), nullptr);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    void* view = ::MapViewOfFile(section.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 4096);
    ASSERT_NE(view, nullptr);
    section = UniqueHandle();
    std::memset(view, 7, 4096);
    EXPECT_EQ(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"), nullptr) << "the name goes with the last handle";
    EXPECT_TRUE(::UnmapViewOfFile(view));
    EXPECT_FALSE(::UnmapViewOfFile(view));
}

TEST_F(NamedObjectTest, AnotherProcessSetsANamedEvent) {
    const UniqueHandle event = Event("e");
    const UniqueHandle local(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
    std::unique_ptr<test::Child> holder;
    std::thread starter([&] { holder = StartHolder("event", "e"); });
    const HANDLE handles[] = {local.Get(), event.Get()};
    EXPECT_EQ(::WaitForMultipleObjects(2, handles, FALSE, 30'000), WAIT_OBJECT_0 + 1);
    starter.join();
}

/// Waits for in-process and named objects together take each token exactly once.
TEST_F(NamedObjectTest, MixedWaitsLoseNothing) {
    constexpr int kRounds = 2000;
    const UniqueHandle named = Event("auto", FALSE);
    const UniqueHandle local(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
    const UniqueHandle taken(::CreateSemaphoreA(nullptr, 0, 1000, nullptr));
    const HANDLE handles[] = {named.Get(), local.Get()};
    int counts[2] = {};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            for (DWORD got; (got = ::WaitForMultipleObjects(2, handles, FALSE, 300)) <= 1;) {
                __atomic_add_fetch(&counts[got], 1, __ATOMIC_SEQ_CST);
                ::ReleaseSemaphore(taken.Get(), 1, nullptr);
            }
        });
    }
    for (int i = 0; i < 2 * kRounds; ++i) {
        ::SetEvent(handles[i % 2]);
        ASSERT_EQ(::WaitForSingleObject(taken.Get(), 30'000), WAIT_OBJECT_0) << i;
    }
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(counts[0], kRounds);
    EXPECT_EQ(counts[1], kRounds);
}

} // namespace
} // namespace gaizior
