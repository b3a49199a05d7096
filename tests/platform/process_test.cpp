// Starting, watching and ending processes. Runs on both systems; Windows decides.

#include "tests/platform/child_process.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using gaizior::test::Child;
using gaizior::test::ScopedVariable;
using gaizior::test::ScratchFolder;
using gaizior::test::Told;
using gaizior::test::Watchdog;
using Parts = std::vector<std::string>;

constexpr DWORD kUntouched = 777;

std::filesystem::path ProgramFolder() {
    std::array<char, 4096> buffer{};
    ::GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    return std::filesystem::path(buffer.data()).parent_path();
}

struct Processes : testing::Test {
    Watchdog watchdog;
    ScratchFolder folder;

    std::string File() const {
        return folder.File("told");
    }
};

TEST_F(Processes, GetTheirCommandLineSplitAsWindowsDoes) {
    const struct {
        const char* line;
        Parts words;
    } cases[] = {
        {R"()", {}},
        {R"(a b)", {"a", "b"}},
        {"  a\t b \t", {"a", "b"}},
        {R"("a b" c)", {"a b", "c"}},
        {R"(a"b c"d)", {"ab cd"}},
        {R"("")", {""}},
        {R"(a""b c)", {"ab", "c"}},
        {R"(\a\\b)", {R"(\a\\b)"}},
        {R"(\"x)", {R"("x)"}},
        {R"("a\\" b)", {R"(a\)", "b"}},
        {R"("a\"b")", {R"(a"b)"}},
        {R"(\\\"a)", {R"(\"a)"}},
        {R"(a\\\\"b c" d)", {R"(a\\b c)", "d"}},
        {R"("a""b" c)", {R"(a"b)", "c"}},
        {R"("a """ b)", {R"(a ")", "b"}},
        {R"(""""" b)", {R"("" b)"}},
        {R"("not closed x)", {"not closed x"}},
        {R"('a b')", {"'a", "b'"}},
        {"a\nb", {"a\nb"}},
    };
    for (const auto& c : cases) {
        const Child child("arguments \"" + File() + "\" " + c.line);
        EXPECT_EQ(child.Ended(), 0u) << c.line;
        EXPECT_EQ(Told(File()), c.words) << c.line;
        std::filesystem::remove(File());
    }
}

TEST_F(Processes, AreFoundBesideTheProgramAndByTheirPath) {
    const std::string beside = (ProgramFolder() / "platform_child").string();
    EXPECT_EQ(Child("exit 5").Ended(), 5u);
    EXPECT_EQ(Child(nullptr, "\"platform_child\" exit 6").Ended(), 6u);
    EXPECT_EQ(Child(nullptr, '"' + beside + "\" exit 7").Ended(), 7u);
#ifdef _WIN32
    const std::string whole = beside + ".exe";
#else
    const std::string whole = beside;
#endif
    EXPECT_EQ(Child(whole.c_str(), "any exit 8").Ended(), 8u);
    EXPECT_EQ(Child(whole.c_str(), "", 0).Ended(), 99u);
    EXPECT_EQ(Child("exit 9", CREATE_NEW_PROCESS_GROUP).Ended(), 9u);
}

TEST_F(Processes, InheritFolderAndEnvironmentUnlessTheyAreGiven) {
    const ScopedVariable variable("GAIZIOR_TEST_VALUE", "mine");
    const std::string line = "surroundings \"" + File() + '"';
    EXPECT_EQ(Child(line).Ended(), 0u);
    EXPECT_EQ(Told(File()), (Parts{std::filesystem::current_path().filename().string(), "mine"}));

    // The program's own relative path is not looked for in the folder that the child gets.
    const std::string relative = std::filesystem::relative(ProgramFolder() / "platform_child").string();
    const Child inFolder(nullptr, relative + ' ' + line, 0, nullptr, folder.Path().string().c_str());
    EXPECT_EQ(inFolder.Ended(), 0u);
    EXPECT_EQ(Told(File()), (Parts{folder.Path().filename().string(), "mine"}));

    const char* path = std::getenv("PATH");
    std::string environment = "GAIZIOR_TEST_VALUE=given" + std::string(1, '\0') + "PATH=" + (path ? path : "");
    environment += std::string(2, '\0');
    EXPECT_EQ(Child(line, 0, environment.data()).Ended(), 0u);
    EXPECT_EQ(Told(File()), (Parts{std::filesystem::current_path().filename().string(), "given"}));
}

TEST_F(Processes, ThatCannotBeStartedSayWhy) {
    const std::string noProgram = folder.File("text.exe");
    std::ofstream(noProgram) << "no program";
    std::filesystem::permissions(noProgram, std::filesystem::perms::all);
    const std::string nowhere = folder.File("nowhere");
    EXPECT_EQ(Child(nullptr, "no_such_program a b").Error(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Child(nullptr, nowhere + " a").Error(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Child(nowhere.c_str(), "a b").Error(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Child(nullptr, "").Error(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Child(nullptr, " platform_child exit 0").Error(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Child(noProgram.c_str(), "a").Error(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
    EXPECT_EQ(Child("exit 0", 0, nullptr, nowhere.c_str()).Error(), static_cast<DWORD>(ERROR_DIRECTORY));
}

TEST_F(Processes, AreSignalledAtTheirEndThroughEveryHandle) {
    const Child child("sleep");
    const HANDLE opened =
        ::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, child.Id());
    ASSERT_TRUE(opened);
    const HANDLE all[] = {child.Process(), child.Thread(), opened};
    for (const HANDLE handle : all) {
        EXPECT_EQ(::WaitForSingleObject(handle, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    }
    DWORD code = 0;
    EXPECT_TRUE(::GetExitCodeProcess(opened, &code));
    EXPECT_EQ(code, static_cast<DWORD>(STILL_ACTIVE));

    EXPECT_TRUE(::TerminateProcess(opened, 0x12345));
    for (const HANDLE handle : all) {
        EXPECT_EQ(::WaitForSingleObject(handle, 30'000), WAIT_OBJECT_0);
        EXPECT_EQ(::WaitForSingleObject(handle, 0), WAIT_OBJECT_0) << "it stays signalled";
    }
    EXPECT_TRUE(::GetExitCodeProcess(child.Process(), &code));
    EXPECT_EQ(code, 0x12345u);
    code = 0;
    EXPECT_TRUE(::GetExitCodeProcess(opened, &code));
    EXPECT_EQ(code, 0x12345u);
    EXPECT_TRUE(::GetExitCodeThread(child.Thread(), &code));
    ::CloseHandle(opened);
}

TEST_F(Processes, EndWhileTheirHandleIsOneOfSeveralWaitedFor) {
    const HANDLE never = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const Child child("exit 3");
    const HANDLE handles[] = {never, child.Process()};
    EXPECT_EQ(::WaitForMultipleObjects(2, handles, FALSE, 30'000), WAIT_OBJECT_0 + 1);
    ::CloseHandle(never);
}

TEST_F(Processes, AreRefusedToThoseWithoutTheRightAndForOtherHandles) {
    const DWORD self = ::GetCurrentProcessId();
    EXPECT_FALSE(::OpenProcess(SYNCHRONIZE, FALSE, 0));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_FALSE(::OpenProcess(SYNCHRONIZE, FALSE, 0x7FFFFFF0));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));

    const HANDLE onlyWait = ::OpenProcess(SYNCHRONIZE, FALSE, self);
    const HANDLE event = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE closed = ::OpenProcess(PROCESS_TERMINATE, FALSE, self);
    ::CloseHandle(closed);
    const struct {
        HANDLE handle;
        DWORD error;
    } cases[] = {{onlyWait, ERROR_ACCESS_DENIED}, {event, ERROR_INVALID_HANDLE}, {closed, ERROR_INVALID_HANDLE}};
    for (const auto& [handle, error] : cases) {
        DWORD code = kUntouched;
        EXPECT_FALSE(::GetExitCodeProcess(handle, &code));
        EXPECT_EQ(::GetLastError(), error);
        EXPECT_EQ(code, kUntouched);
        EXPECT_FALSE(::TerminateProcess(handle, 1));
        EXPECT_EQ(::GetLastError(), error);
    }
    ::CloseHandle(event);
    ::CloseHandle(onlyWait);
}

} // namespace
