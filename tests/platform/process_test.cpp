// Starting, watching and ending processes. Runs on both systems; Windows decides.

#include "tests/platform/objects.h"

#include <csignal>
#include <fstream>
#include <tuple>
#include <utility>

#ifndef _WIN32
#include <fcntl.h>
#endif

namespace gaizior::test {
namespace {

struct Processes : ObjectTest {
    /// What a child told, each part ended by a bar.
    std::string Told() const {
        std::string all;
        std::ifstream in(told, std::ios::binary);
        std::getline(in, all, '\0');
        return all;
    }
};

TEST_F(Processes, GetTheirCommandLineSplitAsWindowsDoes) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"  a\t b 'c\nd' \t", "a|b|'c\nd'|"},
        {R"("a b" c a"b c"d "" a""b)", "a b|c|ab cd||ab|"},
        {R"(\a\\b "a\\" "a\"b" \\\"a a\\\\"b c" d)", R"(\a\\b|a\|a"b|\"a|a\\b c|d|)"},
        {R"("a""b" c "a """ b)", R"(a"b|c|a "|b|)"},
        {R"(a """"" b)", R"(a|"" b|)"},
        {R"("not closed x)", "not closed x|"},
    };
    for (const auto& [line, words] : cases) {
        EXPECT_EQ(Child(nullptr, ChildLine("arguments", line)).ExitCode(), 0u) << line;
        EXPECT_EQ(Told(), words) << line;
    }
}

TEST_F(Processes, InheritFolderAndEnvironmentUnlessTheyAreGivenButNoDescriptors) {
    const ScopedVariable variable("GAIZIOR_TEST_VALUE", "mine");
    const std::ofstream notInherited(folder.File("open"));
    const std::string line = ChildLine("surroundings");
#ifdef _WIN32
    const std::string descriptors = "|0|";
#else
    const std::string descriptors = "|4|";
    const int before = ::fcntl(STDIN_FILENO, F_GETFD);
    ::fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC); // and yet the child's first file is not its standard input
#endif
    EXPECT_EQ(Child(nullptr, line).ExitCode(), 0u);
    EXPECT_EQ(Told(), std::filesystem::current_path().filename().string() + "|mine" + descriptors);

    // The folder of the running program is found whichever folder the child gets.
    std::string environment = "GAIZIOR_TEST_VALUE=given";
    environment.append("\0PATH=", 6).append(std::getenv("PATH")).append(2, '\0');
    EXPECT_EQ(Child(nullptr, line, 0, environment.data(), folder.Path().string().c_str()).ExitCode(), 0u);
    EXPECT_EQ(Told(), folder.Path().filename().string() + "|given" + descriptors);
#ifndef _WIN32
    ::fcntl(STDIN_FILENO, F_SETFD, before);
#endif
}

TEST_F(Processes, ThatCannotBeStartedSayWhyAndLeaveNoHandles) {
    const std::string noProgram = folder.File("text.exe");
    const std::string below = noProgram + "/below";
    const std::string nowhere = folder.File("nowhere");
    const std::string readOnly = folder.File("data.exe");
    const std::string tooLong(4'000'000, 'x');
    for (const std::string& path : {noProgram, readOnly}) {
        std::ofstream(path) << "no program";
    }
    std::filesystem::permissions(noProgram, std::filesystem::perms::all);
    std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
    // The application, the command line, the folder, the error.
    const std::tuple<const char*, std::string, const char*, DWORD> cases[] = {
        {nullptr, "no_such_program a b", nullptr, ERROR_FILE_NOT_FOUND},
        {nullptr, nowhere + " a", nullptr, ERROR_FILE_NOT_FOUND},
        {nullptr, " platform_child", nullptr, ERROR_FILE_NOT_FOUND},
        {nullptr, "", nullptr, ERROR_FILE_NOT_FOUND},
        {nullptr, R"("" a)", nullptr, ERROR_INVALID_PARAMETER},
        {"", "a", nullptr, ERROR_PATH_NOT_FOUND},
        {nowhere.c_str(), "a b", nullptr, ERROR_FILE_NOT_FOUND},
        {noProgram.c_str(), "a", nullptr, ERROR_BAD_EXE_FORMAT},
        {nullptr, "platform_child", nowhere.c_str(), ERROR_DIRECTORY},
#ifndef _WIN32
        {readOnly.c_str(), "a", nullptr, ERROR_ACCESS_DENIED},
        {below.c_str(), "a", nullptr, ERROR_PATH_NOT_FOUND},
        {"/proc/self/exe", tooLong, nullptr, ERROR_FILENAME_EXCED_RANGE},
        {nullptr, '/' + tooLong, nullptr, ERROR_FILENAME_EXCED_RANGE},
#endif
    };
    for (const auto& [application, line, directory, error] : cases) {
        const Child child(application, line, 0, nullptr, directory);
        EXPECT_EQ(child.Error(), error) << (application ? application : "") << ' ' << line.substr(0, 80);
        EXPECT_TRUE(!child.Handle() && !child.Information().hThread && !child.Information().dwProcessId);
    }
}

TEST_F(Processes, AreSignalledAtTheirEndThroughEveryHandle) {
    const Child child(nullptr, ChildLine("console", "ask"));
    const UniqueHandle opened(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE,
                                            child.Information().dwProcessId));
    const HANDLE all[] = {child.Information().hThread, child.Handle(), opened.Get()};
    DWORD code = 0;
    EXPECT_TRUE(::GetExitCodeProcess(opened.Get(), &code) && code == STILL_ACTIVE);
    EXPECT_EQ(WaitAny(all), kTimeout);
    EXPECT_TRUE(::TerminateProcess(opened.Get(), 0x12345));
    for (const HANDLE handle : all) {
        EXPECT_EQ(::WaitForSingleObject(handle, 30'000), WAIT_OBJECT_0);
        EXPECT_EQ(::WaitForSingleObject(handle, 0), WAIT_OBJECT_0) << "it stays signalled";
    }
    EXPECT_EQ(child.ExitCode(), 0x12345u);
    EXPECT_TRUE(::GetExitCodeThread(child.Information().hThread, &code) && code == 0x12345);
    EXPECT_TRUE(::GetExitCodeProcess(opened.Get(), &code) && code == 0x12345);
}

TEST_F(Processes, AreRefusedToThoseWithoutTheRightAndForOtherHandles) {
    EXPECT_EQ(ErrorOf(::OpenProcess(SYNCHRONIZE, FALSE, 0x7FFFFFF0)), DWORD{ERROR_INVALID_PARAMETER});
    const UniqueHandle onlyWait(::OpenProcess(SYNCHRONIZE, FALSE, ::GetCurrentProcessId()));
    DWORD code = 0;
    EXPECT_EQ(ErrorOf(::GetExitCodeProcess(onlyWait.Get(), &code)), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ErrorOf(::TerminateProcess(onlyWait.Get(), 1)), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ErrorOf(::GetExitCodeProcess(Event().Get(), &code)), DWORD{ERROR_INVALID_HANDLE});
}

#ifndef _WIN32

TEST_F(Processes, GetSignalsAsConsoleEvents) {
    // What the child does, the signal it is deaf to (0: none), the one it gets then, its exit code.
    const std::tuple<const char*, int, int, DWORD> cases[] = {
        {"ask", 0, SIGINT, 40 + CTRL_C_EVENT},
        {"ask", 0, SIGQUIT, 40 + CTRL_BREAK_EVENT},
        {"ask", 0, SIGHUP, 40 + CTRL_CLOSE_EVENT},
        {"ask", SIGHUP, SIGTERM, 40 + CTRL_CLOSE_EVENT}, // as nohup starts it
        {"pass", 0, SIGINT, 128 + SIGINT},
        {"remove", 0, SIGINT, 128 + SIGINT},
        {"ignore", SIGINT, SIGTERM, 40 + CTRL_CLOSE_EVENT}};
    for (const auto& [what, deafTo, signal, code] : cases) {
        const auto before = std::signal(SIGHUP, deafTo == SIGHUP ? SIG_IGN : SIG_DFL);
        const Child child(nullptr, ChildLine("console", what), CREATE_NEW_PROCESS_GROUP);
        std::signal(SIGHUP, before);
        AwaitTold();
        const auto id = static_cast<pid_t>(child.Information().dwProcessId);
        ::kill(id, deafTo);
        EXPECT_TRUE(!deafTo || ::WaitForSingleObject(child.Handle(), 50) == WAIT_TIMEOUT);
        ::kill(id, signal);
        EXPECT_EQ(child.ExitCode(), code) << what << ' ' << signal;
    }
}

#endif

} // namespace
} // namespace gaizior::test
