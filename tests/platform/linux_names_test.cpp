#include "tests/platform/objects.h"
#include "tests/support/child.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace gaizior::test {
namespace {

/// How names look to those who look into the shared-memory folder.
struct LinuxNames : ObjectTest {
    std::string File(const char* name) const {
        return (names.Path() / name).string();
    }
};

TEST_F(LinuxNames, AreFilesThatGoWithTheirLastHolder) {
    const mode_t before = ::umask(0777);
    {
        const UniqueHandle section = Section("Some_Queue", 54412);
        const UniqueHandle mutex(::CreateMutexA(nullptr, TRUE, "Some_Mutex"));
        struct stat status {};
        ASSERT_EQ(::stat(File("Some_Queue").c_str(), &status), 0);
        EXPECT_EQ(status.st_size, 54412) << "the section's bytes and nothing else";
        EXPECT_EQ(status.st_mode & 0777, 0600u) << "whatever the umask";
        EXPECT_TRUE(UniqueHandle(::CreateMutexA(nullptr, FALSE, "Some_Mutex")));
        EXPECT_TRUE(::ReleaseMutex(mutex.Get()));
    }
    ::umask(before);
    EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
}

TEST_F(LinuxNames, AreGoneWithAProcessThatEndsByItself) {
    for (const char* kind : {"mutex", "event", "section"}) {
        const Child child(SiblingProgram("platform_child"), "leave \"" + folder.File(kind) + "\" " + kind + " it");
        EXPECT_EQ(child.ExitCode(), 0u) << kind;
        EXPECT_TRUE(std::filesystem::is_empty(names.Path())) << kind;
    }
}

TEST_F(LinuxNames, BelongToTheProcessAndNotToItsForkedChild) {
    const UniqueHandle section = Section("s");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::_exit(::CloseHandle(section.Get()) ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(std::filesystem::exists(File("s")));
}

TEST_F(LinuxNames, WhatKilledMakersLeaveBehindIsBegunAnewAndNothingElse) {
    std::ofstream(File("whole")) << "what was written";
    std::ofstream(File("empty"));
    for (const char* name : {"whole", "empty"}) {
        const UniqueHandle section = Section(name, 16);
        EXPECT_EQ(::GetLastError(), ERROR_SUCCESS) << name;
        EXPECT_EQ(TextIn(section), "") << name;
    }
    std::ofstream(File("other")) << "of another size";
    EXPECT_EQ(ErrorOf(Section("other", 16)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(std::filesystem::file_size(File("other")), 15u);
}

/// Its maker was killed before it could undo the umask.
TEST_F(LinuxNames, AFileThatItsOwnUserMayNotOpenIsNoObstacle) {
    const uid_t user = ::geteuid() == 0 ? 12345 : ::geteuid();
    std::ofstream(File("half made"));
    ASSERT_EQ(::chmod(File("half made").c_str(), 0), 0);
    ASSERT_EQ(::chmod(names.Path().c_str(), 0777), 0);
    ASSERT_EQ(user == ::geteuid() ? 0 : ::chown(File("half made").c_str(), user, user), 0);
    const uid_t before = ::geteuid();
    ASSERT_EQ(::seteuid(user), 0);
    EXPECT_TRUE(Section("half made"));
    ASSERT_EQ(::seteuid(before), 0);
}

TEST_F(LinuxNames, WhatIsNotAPlainFileOfOursIsRefused) {
    std::filesystem::create_directory(File("folder"));
    std::filesystem::create_symlink(File("elsewhere"), File("link"));
    std::ofstream(File("foreign")) << "x";
    ASSERT_EQ(::geteuid() == 0 ? ::chown(File("foreign").c_str(), 12345, 12345) : 0, 0);
    const std::pair<const char*, DWORD> cases[] = {
        {"folder", ERROR_ACCESS_DENIED}, {"link", ERROR_CANT_RESOLVE_FILENAME},
        {"a/b", ERROR_PATH_NOT_FOUND},   {"a\\b", ERROR_PATH_NOT_FOUND},
        {"..", ERROR_INVALID_NAME},
    };
    for (const auto& [name, error] : cases) {
        EXPECT_EQ(ErrorOf(Section(name)), error) << name;
    }
    if (::geteuid() == 0) {
        EXPECT_EQ(ErrorOf(Section("foreign")), ERROR_ACCESS_DENIED);
    }
    EXPECT_FALSE(std::filesystem::exists(File("elsewhere")));
    EXPECT_TRUE(std::filesystem::exists(File("foreign")));
}

} // namespace
} // namespace gaizior::test
