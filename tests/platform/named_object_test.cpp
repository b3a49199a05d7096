#include "tests/platform/objects.h"

#include <array>
#include <memory>
#include <tuple>
#include <vector>

namespace gaizior::test {
namespace {

struct NamedObjectTest : ObjectTest {
    /// Starts a child that holds a name: "mutex" takes it, "event" sets it, "section" writes into it.
    std::unique_ptr<Child> StartHolder(const std::string& kindAndName) {
        auto child = std::make_unique<Child>(nullptr, ChildLine("hold", kindAndName));
        AwaitTold();
        return child;
    }
};

TEST_F(NamedObjectTest, TheSecondOfANameGetsTheFirstsObject) {
    const UniqueHandle first = Event(TRUE, FALSE, "it");
    const UniqueHandle second = Event(FALSE, TRUE, "it");
    EXPECT_EQ(Wait(second), kTimeout) << "the other arguments do not count";
    ::SetEvent(second.Get());
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    const UniqueHandle mutex = Mutex(TRUE, "m");
    EXPECT_TRUE(::ReleaseMutex(Mutex(TRUE, "m").Get()));
    EXPECT_FALSE(::ReleaseMutex(mutex.Get())) << "who asks to own it owns it only when it is new";
}

TEST_F(NamedObjectTest, NamesShareOneSpaceAcrossKindsAndAnEmptyOneIsNone) {
    const auto newEvent = [](const char* name) { return Event(FALSE, FALSE, name); };
    const auto newMutex = [](const char* name) { return Mutex(FALSE, name); };
    const auto newSection = [](const char* name) { return Section(name, 99); };
    const auto openEvent = [](const char* name) { return UniqueHandle(::OpenEventA(SYNCHRONIZE, FALSE, name)); };
    const auto openMutex = [](const char* name) { return UniqueHandle(::OpenMutexA(SYNCHRONIZE, FALSE, name)); };
    const auto openSection = [](const char* name) {
        return UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, name));
    };
    constexpr DWORD kUntouched = 777;
    const std::tuple<UniqueHandle (*)(const char*), std::vector<const char*>, DWORD> cases[] = {
        {newEvent, {"e", "E", "", "Global\\g"}, ERROR_SUCCESS},
        {newMutex, {"m", ""}, ERROR_SUCCESS},
        {newSection, {"s", ""}, ERROR_SUCCESS},
        {newEvent, {"e", "Local\\e"}, ERROR_ALREADY_EXISTS},
        {openEvent, {"e", "Local\\e", "Global\\g"}, kUntouched},
        {openMutex, {"m"}, kUntouched},
        {openSection, {"s"}, kUntouched},
        {newEvent, {"m", "s"}, ERROR_INVALID_HANDLE},
        {newMutex, {"e"}, ERROR_INVALID_HANDLE},
        {newSection, {"e"}, ERROR_INVALID_HANDLE},
        {openMutex, {"s", ""}, ERROR_INVALID_HANDLE},
        {openSection, {"m"}, ERROR_INVALID_HANDLE},
        {openEvent, {nullptr}, ERROR_INVALID_PARAMETER},
        {openEvent, {"none"}, ERROR_FILE_NOT_FOUND},
        {newEvent, {"Local\\"}, ERROR_INVALID_NAME},
        {newEvent, {"a\\b"}, ERROR_PATH_NOT_FOUND},
    };
    std::vector<UniqueHandle> kept;
    for (const auto& [open, allNames, error] : cases) {
        for (const char* const name : allNames) {
            ::SetLastError(kUntouched);
            kept.push_back(open(name));
            EXPECT_EQ(::GetLastError(), error) << "name " << kept.size();
            EXPECT_EQ(!kept.back(), error > 0 && error < ERROR_ALREADY_EXISTS) << "name " << kept.size();
        }
    }
}

/// The kernel tells at once that the owner died: nobody waits for a time-out.
TEST_F(NamedObjectTest, AnotherProcessEndsAWaitByItsDeathOrByAnEvent) {
    const UniqueHandle mutex = Mutex(FALSE, "m");
    const UniqueHandle event = Event(TRUE, FALSE, "e");
    const UniqueHandle local = Event();
    const HANDLE handles[] = {local.Get(), event.Get(), mutex.Get()};
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
    const std::jthread starter([&] { StartHolder("event e"); });
    EXPECT_EQ(::WaitForMultipleObjects(2, handles, FALSE, 30'000), WAIT_OBJECT_0 + 1);
}

TEST_F(NamedObjectTest, ANameWhoseHoldersAllDiedIsFresh) {
    const auto holder = StartHolder("section s");
    const auto* const view = static_cast<const char*>(::MapViewOfFile(Section("s").Get(), FILE_MAP_READ, 0, 0, 0));
    holder->Kill();
    EXPECT_FALSE(::OpenFileMappingA(FILE_MAP_READ, FALSE, "s"));
    const UniqueHandle section = Section("s");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(TextIn(section), "");
    EXPECT_STREQ(view, "written by the child") << "a view outlives its handle";
    EXPECT_FALSE(::UnmapViewOfFile(view + 4096));
    EXPECT_TRUE(::UnmapViewOfFile(view + 4095)) << "any address in it will do";
    EXPECT_EQ(ErrorOf(::UnmapViewOfFile(view)), DWORD{ERROR_INVALID_ADDRESS});
    StartHolder("mutex m")->Kill();
    const UniqueHandle mutex = Mutex(FALSE, "m");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Wait(mutex), WAIT_OBJECT_0) << "not abandoned but new";
}

TEST_F(NamedObjectTest, AViewReachesToAPagesEndAndMayWhatItsHandleMay) {
    const UniqueHandle section = Section("s", 70'000);
    constexpr DWORD kRead = FILE_MAP_READ;
    constexpr DWORD kWrite = FILE_MAP_WRITE;
    // What the handle allows, what the view asks for, its offset and size, the error.
    const std::array<DWORD, 5> cases[] = {
        {kRead, kRead, 0, 0, 0},
        {kRead, kWrite, 0, 0, ERROR_ACCESS_DENIED},
        {kWrite, kRead, 0, 0, ERROR_ACCESS_DENIED},
        {kWrite, kRead | kWrite, 0, 0, 0},
        {0, kRead, 0, 0, ERROR_ACCESS_DENIED},
        {kRead, kRead, 0, 73'728, 0},
        {kRead, kRead, 0, 73'729, ERROR_ACCESS_DENIED},
        {kRead, kRead, 65'536, 8'193, ERROR_ACCESS_DENIED},
        {kRead, kRead, 4'096, 0, ERROR_MAPPED_ALIGNMENT},
        {kRead, kRead, 131'072, 0, ERROR_INVALID_PARAMETER},
    };
    for (const auto& [allowed, access, offset, size, error] : cases) {
        const UniqueHandle handle(::OpenFileMappingA(allowed, FALSE, "s"));
        const void* const view = ::MapViewOfFile(handle.Get(), access, 0, offset, size);
        EXPECT_EQ(view ? 0 : ::GetLastError(), error) << allowed << ' ' << access << ' ' << offset << ' ' << size;
        ::UnmapViewOfFile(view);
    }
}

} // namespace
} // namespace gaizior::test
