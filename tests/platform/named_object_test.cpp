#include "tests/platform/objects.h"
#include "tests/support/child.h"

#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

namespace gaizior::test {
namespace {

UniqueHandle ExistingEvent(const char* name) {
    return UniqueHandle(::OpenEventA(EVENT_ALL_ACCESS, FALSE, name));
}
UniqueHandle ExistingMutex(const char* name) {
    return UniqueHandle(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name));
}
UniqueHandle ExistingSection(const char* name) {
    return UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, name));
}

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
    UniqueHandle second = Event(FALSE, TRUE, "it");
    EXPECT_EQ(Wait(second), kTimeout) << "the other arguments do not count";
    ::SetEvent(second.Get());
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    EXPECT_EQ(Wait(first), WAIT_OBJECT_0);
    first = UniqueHandle();
    EXPECT_TRUE(ExistingEvent("it"));
    second = UniqueHandle();
    EXPECT_FALSE(ExistingEvent("it")) << "gone with its last handle";
    const UniqueHandle mutex = Mutex(TRUE, "m");
    EXPECT_TRUE(::ReleaseMutex(Mutex(TRUE, "m").Get()));
    EXPECT_FALSE(::ReleaseMutex(mutex.Get())) << "who asks to own it owns it only when it is new";
}

/// What the last error is after a call that opens or makes something, and was before.
constexpr DWORD kBefore = 777;
struct Opening {
    UniqueHandle (*open)(const char*);
    std::vector<const char*> names;
    DWORD error;
};

TEST_F(NamedObjectTest, NamesShareOneSpaceAcrossKindsAndAnEmptyOneIsNone) {
    const auto newEvent = [](const char* name) { return Event(FALSE, FALSE, name); };
    const auto newMutex = [](const char* name) { return Mutex(FALSE, name); };
    const auto newSection = [](const char* name) { return Section(name, 99); };
    const Opening cases[] = {
        {newEvent, {"e", "E", "", "Global\\g"}, ERROR_SUCCESS},
        {newMutex, {"m", ""}, ERROR_SUCCESS},
        {newSection, {"s", ""}, ERROR_SUCCESS},
        {newEvent, {"e", "Local\\e"}, ERROR_ALREADY_EXISTS},
        {ExistingEvent, {"e", "Local\\e", "Global\\g"}, kBefore},
        {ExistingMutex, {"m"}, kBefore},
        {ExistingSection, {"s"}, kBefore},
        {newEvent, {"m", "s"}, ERROR_INVALID_HANDLE},
        {newMutex, {"e"}, ERROR_INVALID_HANDLE},
        {newSection, {"e"}, ERROR_INVALID_HANDLE},
        {ExistingMutex, {"s", ""}, ERROR_INVALID_HANDLE},
        {ExistingSection, {"m"}, ERROR_INVALID_HANDLE},
        {ExistingEvent, {nullptr}, ERROR_INVALID_PARAMETER},
        {ExistingEvent, {"none"}, ERROR_FILE_NOT_FOUND},
        {newEvent, {"Local\\"}, ERROR_INVALID_NAME},
        {newEvent, {"a\\b"}, ERROR_PATH_NOT_FOUND},
    };
    std::vector<UniqueHandle> kept;
    for (const Opening& opening : cases) {
        for (const char* const name : opening.names) {
            SCOPED_TRACE(std::string("case ") + std::to_string(&opening - cases) + ": " + (name ? name : "(null)"));
            ::SetLastError(kBefore);
            kept.push_back(opening.open(name));
            EXPECT_EQ(::GetLastError(), opening.error);
            EXPECT_EQ(!kept.back(),
                      opening.error != 0 && opening.error != ERROR_ALREADY_EXISTS && opening.error != kBefore);
        }
    }
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
    EXPECT_FALSE(ExistingSection("s"));
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

struct ViewCase {
    DWORD handle; ///< what the handle allows
    DWORD access; ///< what the view asks for
    DWORD offset;
    SIZE_T size;
    DWORD error;
};

TEST_F(NamedObjectTest, AViewReachesToThePagesEndAndMayWhatItsHandleMay) {
    const UniqueHandle section = Section("s", 70'000);
    const ViewCase cases[] = {
        {FILE_MAP_READ, FILE_MAP_READ, 0, 0, 0},
        {FILE_MAP_READ, FILE_MAP_WRITE, 0, 0, ERROR_ACCESS_DENIED},
        {FILE_MAP_WRITE, FILE_MAP_READ, 0, 0, ERROR_ACCESS_DENIED},
        {FILE_MAP_WRITE, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0},
        {0, FILE_MAP_READ, 0, 0, ERROR_ACCESS_DENIED},
        {FILE_MAP_READ, FILE_MAP_READ, 0, 73'728, 0},
        {FILE_MAP_READ, FILE_MAP_READ, 0, 73'729, ERROR_ACCESS_DENIED},
        {FILE_MAP_READ, FILE_MAP_READ, 0, ~SIZE_T{0}, ERROR_ACCESS_DENIED},
        {FILE_MAP_READ, FILE_MAP_READ, 65'536, 8'193, ERROR_ACCESS_DENIED},
        {FILE_MAP_READ, FILE_MAP_READ, 4'096, 0, ERROR_MAPPED_ALIGNMENT},
        {FILE_MAP_READ, FILE_MAP_READ, 131'072, 0, ERROR_INVALID_PARAMETER},
    };
    for (const ViewCase& each : cases) {
        SCOPED_TRACE(&each - cases);
        const UniqueHandle handle = UniqueHandle(::OpenFileMappingA(each.handle, FALSE, "s"));
        const void* const view = ::MapViewOfFile(handle.Get(), each.access, 0, each.offset, each.size);
        EXPECT_EQ(view ? 0 : ::GetLastError(), each.error);
        EXPECT_EQ(::UnmapViewOfFile(view), each.error == 0);
    }
}

TEST_F(NamedObjectTest, AViewKeepsItsMemoryUntilAnyAddressInItIsUnmapped) {
    UniqueHandle section = Section("s", 5000);
    auto* const view = static_cast<char*>(::MapViewOfFile(section.Get(), FILE_MAP_WRITE, 0, 0, 0));
    ASSERT_NE(view, nullptr);
    section = UniqueHandle();
    std::memset(view, 7, 8192);
    EXPECT_FALSE(ExistingSection("s")) << "the name goes with the last handle";
    EXPECT_EQ(ErrorOf(::UnmapViewOfFile(view + 8192)), DWORD{ERROR_INVALID_ADDRESS});
    EXPECT_TRUE(::UnmapViewOfFile(view + 8191));
    EXPECT_EQ(ErrorOf(::UnmapViewOfFile(view)), DWORD{ERROR_INVALID_ADDRESS});
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
