// What only Linux has: errno, the handler of message boxes, signals as console events, inherited descriptors.

#include "gaizior/platform/windows_api.h"
#include "tests/platform/child_process.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using gaizior::test::Child;
using gaizior::test::ScopedVariable;
using gaizior::test::ScratchFolder;
using gaizior::test::Told;
using gaizior::test::Watchdog;
using Parts = std::vector<std::string>;

struct LinuxSystem : testing::Test {
    Watchdog watchdog;
    ScratchFolder folder;

    std::string File() const {
        return folder.File("told");
    }
    void WaitForFile() const {
        while (!std::filesystem::exists(File())) {
            ::Sleep(2);
        }
    }
};

TEST_F(LinuxSystem, ReportsItsErrorsWithWindowsNumbers) {
    const std::string text = folder.File("text");
    std::ofstream(text) << "not executable";
    const std::string below = text + "/below";
    const std::string tooLong = folder.File(std::string(300, 'x').c_str());
    const struct {
        std::string program;
        std::string arguments;
        DWORD error;
    } cases[] = {
        {text, "a", ERROR_ACCESS_DENIED},
        {folder.Path().string(), "a", ERROR_ACCESS_DENIED},
        {below, "a", ERROR_PATH_NOT_FOUND},
        {tooLong, "a", ERROR_FILENAME_EXCED_RANGE},
        {"/proc/self/exe", std::string(4'000'000, 'x'), ERROR_FILENAME_EXCED_RANGE},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Child(c.program.c_str(), c.arguments).Error(), c.error) << c.program;
    }
}

TEST_F(LinuxSystem, FollowsTheTimeZoneOfTheMoment) {
    const struct {
        const char* zone;
        int minutes;
    } cases[] = {{"UTC0", 0}, {"AAA-5:45", 345}, {"BBB+3:30", -210}};
    for (const auto& [zone, minutes] : cases) {
        const ScopedVariable variable("TZ", zone);
        SYSTEMTIME universal{};
        SYSTEMTIME local{};
        FILETIME from{};
        FILETIME to{};
        ::GetSystemTime(&universal);
        ::GetLocalTime(&local);
        ASSERT_TRUE(::SystemTimeToFileTime(&universal, &from));
        ASSERT_TRUE(::SystemTimeToFileTime(&local, &to));
        const auto ticks = [](const FILETIME& time) {
            return std::int64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
        };
        EXPECT_NEAR(static_cast<double>(ticks(to) - ticks(from)) / 600'000'000, minutes, 0.1) << zone;
        FILETIME week{};
        SYSTEMTIME again{};
        ::SystemTimeToFileTime(&local, &week);
        ::FileTimeToSystemTime(&week, &again);
        EXPECT_EQ(local.wDayOfWeek, again.wDayOfWeek) << zone;
    }
}

TEST_F(LinuxSystem, SleepsOnThroughSignals) {
    struct sigaction before {};
    struct sigaction interrupts {};
    interrupts.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &interrupts, &before);
    const pthread_t sleeper = ::pthread_self();
    std::thread other([sleeper] {
        for (int i = 0; i < 5; ++i) {
            ::usleep(10'000);
            ::pthread_kill(sleeper, SIGUSR1);
        }
    });
    const ULONGLONG start = ::GetTickCount64();
    ::Sleep(100);
    EXPECT_GE(::GetTickCount64() - start, 99u);
    other.join();
    ::sigaction(SIGUSR1, &before, nullptr);
}

std::string g_shown;

TEST_F(LinuxSystem, ShowsMessageBoxesThroughTheHandler) {
    const MessageBoxHandler before = ::SetMessageBoxHandler([](HWND, const char* text, const char* caption, UINT type) {
        g_shown = std::string(caption) + '|' + text + '|' + std::to_string(type);
        return 7;
    });
    EXPECT_EQ(::MessageBoxA(nullptr, "text", "caption", MB_ICONSTOP | MB_TASKMODAL), 7);
    EXPECT_EQ(g_shown, "caption|text|8208");

    EXPECT_NE(::SetMessageBoxHandler(nullptr), nullptr);
    testing::internal::CaptureStderr();
    errno = EDOM;
    EXPECT_EQ(::MessageBoxA(nullptr, "Drum not home", "Program Error", MB_OK), IDOK);
    EXPECT_EQ(::MessageBoxA(nullptr, nullptr, nullptr, MB_OK), IDOK);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Program Error: Drum not home\nError: \n");
    ::SetMessageBoxHandler(before);
}

TEST_F(LinuxSystem, TurnsSignalsIntoConsoleEvents) {
    const struct {
        const char* what;
        int deafTo; // 0: none
        int signal;
        DWORD code;
    } cases[] = {
        {"asks the last first", 0, SIGINT, 40 + CTRL_C_EVENT},
        {"asks the last first", 0, SIGQUIT, 40 + CTRL_BREAK_EVENT},
        {"asks the last first", 0, SIGTERM, 40 + CTRL_CLOSE_EVENT},
        {"asks the last first", 0, SIGHUP, 40 + CTRL_CLOSE_EVENT},
        {"asks the last first", SIGHUP, SIGTERM, 40 + CTRL_CLOSE_EVENT}, // as nohup starts it
        {"nobody wants it", 0, SIGINT, 128 + SIGINT},
        {"nobody wants it", 0, SIGTERM, 128 + SIGTERM},
        {"removed", 0, SIGINT, 128 + SIGINT},
        {"ignored", SIGINT, SIGTERM, 40 + CTRL_CLOSE_EVENT},
    };
    for (const auto& c : cases) {
        const auto before = std::signal(SIGHUP, c.deafTo == SIGHUP ? SIG_IGN : SIG_DFL);
        const Child child("console \"" + File() + "\" \"" + c.what + '"', CREATE_NEW_PROCESS_GROUP);
        std::signal(SIGHUP, before);
        ASSERT_EQ(child.Error(), 0u);
        WaitForFile();
        std::filesystem::remove(File());
        if (c.deafTo) {
            ::kill(static_cast<pid_t>(child.Id()), c.deafTo);
            EXPECT_EQ(::WaitForSingleObject(child.Process(), 50), WAIT_TIMEOUT);
        }
        ::kill(static_cast<pid_t>(child.Id()), c.signal);
        EXPECT_EQ(child.Ended(), c.code) << c.what << ' ' << c.signal;
    }
}

TEST_F(LinuxSystem, KeepsItsDescriptorsFromChildren) {
    const int leaky = ::open("/dev/null", O_RDONLY); // not close-on-exec
    EXPECT_EQ(Child("descriptors \"" + File() + '"').Ended(), 0u);
    EXPECT_EQ(Told(File()), Parts{});
    ::close(leaky);
}

TEST_F(LinuxSystem, EndsAProcessOnceAndKnowsTheCodesOfItsChildrenOnly) {
    const Child child("exit 4");
    EXPECT_EQ(child.Ended(), 4u);
    EXPECT_FALSE(::TerminateProcess(child.Process(), 1));
    EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(::OpenProcess(SYNCHRONIZE, FALSE, child.Id())) << "it was collected";
    EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);

    // A grandchild that outlives its parent: what another process would be.
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t parent = ::fork();
    if (parent == 0) {
        const pid_t grandchild = ::fork();
        if (grandchild == 0) {
            ::pause();
        }
        ::_exit(::write(ends[1], &grandchild, sizeof grandchild) == sizeof grandchild ? 0 : 1);
    }
    pid_t stranger = 0;
    ASSERT_EQ(::read(ends[0], &stranger, sizeof stranger), static_cast<ssize_t>(sizeof stranger));
    ::waitpid(parent, nullptr, 0);
    const HANDLE handle = ::OpenProcess(PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE,
                                        static_cast<DWORD>(stranger));
    ASSERT_TRUE(handle);
    DWORD code = 0;
    EXPECT_TRUE(::GetExitCodeProcess(handle, &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    EXPECT_TRUE(::TerminateProcess(handle, 5));
    EXPECT_EQ(::WaitForSingleObject(handle, 30'000), WAIT_OBJECT_0);
    EXPECT_FALSE(::GetExitCodeProcess(handle, &code));
    EXPECT_EQ(::GetLastError(), ERROR_NOT_SUPPORTED);
    ::CloseHandle(handle);
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(LinuxSystem, GivesTheLibrarysPathForItsModule) {
    char path[4096];
    ASSERT_GT(::GetModuleFileNameA(reinterpret_cast<HMODULE>(&path), path, sizeof path), 0u);
    EXPECT_TRUE(std::filesystem::path(path).filename().string().starts_with("libgaizior.so")) << path;
    EXPECT_TRUE(std::filesystem::path(path).is_absolute());
}

} // namespace
