#include "tests/platform/objects.h"
#include "tests/support/child.h"

#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>

namespace gaizior::test {
namespace {

struct NamedObjectTest : ObjectTest {
    /// Starts a child that holds a name: "mutex" takes it, "event" sets it, "section" writes into it.
    std::unique_ptr<Child> StartHolder(const std::string& kindAndName) {
        const std::string file = folder.File("told");
        auto child = std::make_unique<Child>(SiblingProgram("platform_child"), "hold \"" + file + "\" " + kindAndName);
        while (!std::filesystem::remove(file)) {
            ::Sleep(2);
        }
        return child;
    }
};

TEST_F(NamedObjectTest, TheSecondOfANameGetsTheFirstsObject) {
    UniqueHandle first = Event(TRUE, FALSE, "it");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SUCCESS});
    UniqueHandle second = Event(FALSE, TRUE, "it");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(Wait(second), kTimeout) << "the other arguments do not count";
    ::SetEvent(second.Get());
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    EXPECT_TRUE(Event(TRUE, FALSE, "IT"));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SUCCESS}) << "names are case-sensitive";
    first = UniqueHandle();
    EXPECT_TRUE(UniqueHandle(::OpenEventA(EVENT_ALL_ACCESS, FALSE, "it")));
    second = UniqueHandle();
    EXPECT_EQ(ErrorOf(::OpenEventA(EVENT_ALL_ACCESS, FALSE, "it")), DWORD{ERROR_FILE_NOT_FOUND})
        << "gone with its last handle";
    const UniqueHandle mutex = Mutex(TRUE, "m");
    EXPECT_TRUE(::ReleaseMutex(Mutex(TRUE, "m").Get()));
    EXPECT_FALSE(::ReleaseMutex(mutex.Get())) << "who asks to own it owns it only when it is new";
}

TEST_F(NamedObjectTest, NamesShareOneSpaceAcrossKinds) {
    const UniqueHandle event = Event(TRUE, FALSE, "e");
    const UniqueHandle mutex = Mutex(FALSE, "m");
    const UniqueHandle section = Section("s");
    EXPECT_TRUE(UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "m")));
    EXPECT_EQ(ErrorOf(Mutex(FALSE, "e")), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(Section("e", 99)), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(Event(FALSE, FALSE, "m")), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(Event(FALSE, FALSE, "s")), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, "s")), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(::OpenFileMappingA(FILE_MAP_READ, FALSE, "m")), DWORD{ERROR_INVALID_HANDLE});
}

/// The kernel tells at once that the owner died: nobody waits for a time-out.
TEST_F(NamedObjectTest, AKilledOwnerAbandonsTheMutexToItsWaiter) {
    const UniqueHandle mutex = Mutex(FALSE, "m");
    const UniqueHandle never = Event(TRUE, FALSE, "never");
    const UniqueHandle local = Event();
    const HANDLE handles[] = {never.Get(), local.Get(), mutex.Get()};
    for (const bool amongOthers : {false, true}) {
        const auto holder = StartHolder("mutex m");
        EXPECT_EQ(Wait(mutex), kTimeout);
        const std::jthread killer([&] {
            ::Sleep(20);
            holder->Kill();
        });
        EXPECT_EQ(amongOthers ? WaitAny(handles, 30'000) - 2 : Wait(mutex, 30'000), kAbandoned);
        EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
        EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "it is told once";
        EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    }
}

TEST_F(NamedObjectTest, ANameWhoseHoldersAllDiedIsFresh) {
    const auto holder = StartHolder("section s");
    const void* const view = ::MapViewOfFile(Section("s").Get(), FILE_MAP_READ, 0, 0, 0);
    holder->Kill();
    EXPECT_FALSE(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"));
    const UniqueHandle section = Section("s");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(TextIn(section), "");
    EXPECT_STREQ(static_cast<const char*>(view), "written by the child") << "a view outlives its handle";
    EXPECT_TRUE(::UnmapViewOfFile(view));
    StartHolder("mutex m")->Kill();
    const UniqueHandle mutex = Mutex(FALSE, "m");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "not abandoned but new";
}

TEST_F(NamedObjectTest, AViewKeepsItsMemoryAndReachesNoFurther) {
    UniqueHandle section = Section("s", 4096);
    EXPECT_EQ(ErrorOf(::MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 100'000)), DWORD{ERROR_ACCESS_DENIED});
    void* view = ::MapViewOfFile(section.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 4096);
    ASSERT_NE(view, nullptr);
    section = UniqueHandle();
    std::memset(view, 7, 4096);
    EXPECT_FALSE(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s")) << "the name goes with the last handle";
    EXPECT_TRUE(::UnmapViewOfFile(view));
    EXPECT_FALSE(::UnmapViewOfFile(view));
}

TEST_F(NamedObjectTest, AnotherProcessSetsANamedEvent) {
    const UniqueHandle event = Event(TRUE, FALSE, "e");
    const UniqueHandle local = Event();
    const HANDLE handles[] = {local.Get(), event.Get()};
    const std::jthread starter([&] { StartHolder("event e"); });
    EXPECT_EQ(WaitAny(handles, 30'000), WAIT_OBJECT_0 + 1);
}

} // namespace
} // namespace gaizior::test
