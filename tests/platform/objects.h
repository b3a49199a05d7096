#pragma once

#include "gaizior/platform/unique_handle.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

namespace gaizior::test {

constexpr DWORD kTimeout = WAIT_TIMEOUT;
constexpr DWORD kAbandoned = WAIT_ABANDONED;
/// What must hold for an object of this process and for one of the machine.
constexpr const char* kUnnamedAndNamed[] = {nullptr, "it"};

inline UniqueHandle Event(BOOL manual = FALSE, BOOL set = FALSE, const char* name = nullptr) {
    return UniqueHandle(::CreateEventA(nullptr, manual, set, name));
}
inline UniqueHandle Mutex(BOOL owned = FALSE, const char* name = nullptr) {
    return UniqueHandle(::CreateMutexA(nullptr, owned, name));
}
inline UniqueHandle Section(const char* name, DWORD size = 4096) {
    return UniqueHandle(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name));
}
inline DWORD Wait(const UniqueHandle& handle, DWORD milliseconds = 0) {
    return ::WaitForSingleObject(handle.Get(), milliseconds);
}
template <std::size_t Count>
DWORD WaitAny(const HANDLE (&handles)[Count], DWORD milliseconds = 0) {
    return ::WaitForMultipleObjects(Count, handles, FALSE, milliseconds);
}

/// The text that a section begins with.
inline std::string TextIn(const UniqueHandle& section) {
    const void* view = ::MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 0);
    const std::string text = view ? static_cast<const char*>(view) : "(no view)";
    ::UnmapViewOfFile(view);
    return text;
}

inline DWORD Call(void* function) {
    return (*static_cast<std::function<DWORD()>*>(function))();
}
/// Runs the function, which must live as long, on a thread of its own.
inline UniqueHandle Start(std::function<DWORD()>& function, DWORD* id = nullptr) {
    return UniqueHandle(::CreateThread(nullptr, 4096, &Call, &function, 0, id));
}
/// Waits for the thread.
inline DWORD ExitCode(const UniqueHandle& thread) {
    DWORD exitCode = STILL_ACTIVE;
    EXPECT_TRUE(Wait(thread, INFINITE) == WAIT_OBJECT_0 && ::GetExitCodeThread(thread.Get(), &exitCode));
    return exitCode;
}

/// The last error that a call left which failed; all ones for one that did not.
template <class Result>
DWORD ErrorOf(const Result& result) {
    return result ? ~DWORD{0} : ::GetLastError();
}

/// Objects whose names no other test sees, a child to share them with, and a limit on the waits for them.
struct ObjectTest : testing::Test {
    /// The command line of platform_child for one of its uses, with the file that it tells into.
    std::string ChildLine(const std::string& use, const std::string& arguments = "") const {
        return "platform_child " + use + " \"" + told + "\" " + arguments;
    }
    void AwaitTold() const {
        while (!std::filesystem::remove(told)) {
            ::Sleep(2);
        }
    }

    Watchdog watchdog;
    ScratchFolder folder;
    const std::string told = folder.File("told");
    PrivateNames names;
};

} // namespace gaizior::test
