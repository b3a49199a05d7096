#include "gaizior/values/text_file.h"
#include "tests/platform/objects.h"
#include "tests/support/forked_child.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace gaizior::test {
namespace {

/// Whether that holds in a forked child, which ends then, and not by a signal.
template <class Function>
bool HoldsInForkedChild(const Function& function) {
    return ForkedChild([&] { EXPECT_TRUE(function()); }).ExitCode() == 0;
}

/// How names look to those who look into the shared-memory folder.
using LinuxNames = ObjectTest;

TEST_F(LinuxNames, AreFilesThatGoWithTheirLastHolder) {
    const mode_t before = ::umask(0777);
    {
        const UniqueHandle section = Section("Some_Queue", 54412);
        const UniqueHandle mutex = Mutex(TRUE, "Some_Mutex");
        struct stat status {};
        ASSERT_EQ(::stat(names.File("Some_Queue").c_str(), &status), 0);
        EXPECT_EQ(status.st_size, 54412) << "the section's bytes and nothing else";
        EXPECT_EQ(status.st_mode & 0777, 0600u) << "whatever the umask";
    }
    ::umask(before);
    EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
}

TEST_F(LinuxNames, AreGoneWithAProcessThatEndsByItself) {
    for (const char* kind : {"mutex", "event", "section"}) {
        EXPECT_EQ(Child(nullptr, ChildLine("leave", kind + std::string(" it"))).ExitCode(), 0u) << kind;
        EXPECT_TRUE(std::filesystem::is_empty(names.Path())) << kind;
    }
}

/// A host that has closed its standard streams writes into whatever got their places.
TEST_F(LinuxNames, AndAllElseThatIsOpenedKeepOutOfTheStandardStreamsPlaces) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "a forked child that starts a thread is ended by the thread sanitizer";
#endif
    EXPECT_TRUE(HoldsInForkedChild([&] {
        ::close_range(0, 2, 0);
        const UniqueHandle objects[] = {Section("s"), Section(nullptr), Event(TRUE, FALSE, "e"), Mutex(TRUE, "m"),
                                        UniqueHandle(::OpenProcess(SYNCHRONIZE, FALSE, ::GetCurrentProcessId()))};
        return FOpen(folder.File("log").c_str(), "w", nullptr) && std::ranges::all_of(objects, &UniqueHandle::Get) &&
               ::write(0, "x", 1) + ::write(1, "x", 1) + ::write(2, "x", 1) == -3;
    }));
}

TEST_F(LinuxNames, ThatCannotBeMadeLeaveNothingBehind) {
    EXPECT_TRUE(HoldsInForkedChild([] {
        const rlimit noOtherPlace{3, 3};
        ::setrlimit(RLIMIT_NOFILE, &noOtherPlace);
        ::close(0);
        return ErrorOf(Section("s")) == ERROR_TOO_MANY_OPEN_FILES && ::write(0, "x", 1) == -1;
    }));
    EXPECT_TRUE(HoldsInForkedChild([] {
        const rlimit filesAreSmaller{54'411, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &filesAreSmaller);
        return ErrorOf(Section("s", 54'412)) == ERROR_DISK_FULL && ErrorOf(Section(nullptr, 54'412)) == ERROR_DISK_FULL;
    }));
    EXPECT_TRUE(std::filesystem::is_empty(names.Path()));
}

/// A process that was stopped while it made a name keeps one lock, at the door another, as the test does here.
TEST_F(LinuxNames, OneWhoseMakerStandsStillIsBusyAndHoldsUpNoOther) {
    const std::array<const char*, 2> stuck = {"at the door", "making"};
    std::array<int, 2> files{};
    std::array<std::atomic<DWORD>, 2> errors{};
    std::array<std::jthread, 2> openers;
    for (std::size_t i = 0; i < stuck.size(); ++i) {
        files[i] = ::open(names.File(stuck[i]).c_str(), O_RDWR | O_CREAT, 0600);
        const struct flock lock = {F_WRLCK, SEEK_SET, static_cast<off_t>(i), 1, 0};
        ASSERT_EQ(::fcntl(files[i], F_OFD_SETLK, &lock), 0);
        openers[i] = std::jthread([&, i] { errors[i] = ErrorOf(Section(stuck[i])); });
    }
    ::Sleep(50);
    EXPECT_TRUE(Section("other"));
    EXPECT_EQ(errors[0] + errors[1], 0u) << "the other was not waited for";
    for (std::size_t i = 0; i < stuck.size(); ++i) {
        openers[i].join();
        EXPECT_EQ(errors[i], ERROR_BUSY) << stuck[i];
        ::close(files[i]);
        EXPECT_TRUE(Section(stuck[i])) << "it died";
    }
}

TEST_F(LinuxNames, WhatKilledMakersLeaveBehindIsBegunAnew) {
    const uid_t user = ::geteuid() == 0 ? 12345 : ::geteuid();
    ASSERT_EQ(::chmod(names.Path().c_str(), 0777), 0);
    const std::tuple<const char*, const char*, mode_t> cases[] = {
        {"whole", "what was written", 0600}, {"empty", "", 0600}, {"before its umask was undone", "", 0}};
    for (const auto& [name, text, mode] : cases) {
        std::ofstream(names.File(name)) << text;
        ASSERT_EQ(::chmod(names.File(name).c_str(), mode) + ::chown(names.File(name).c_str(), user, user), 0);
        EXPECT_TRUE(HoldsInForkedChild([user, it = name] {
            return ::seteuid(user) == 0 && TextIn(Section(it, 16)).empty();
        })) << name;
    }
}

TEST_F(LinuxNames, WhatIsNotAPlainFileOfOursIsRefusedAndLeftAsItIs) {
    std::filesystem::create_directory(names.File("folder"));
    std::filesystem::create_symlink(names.File("elsewhere"), names.File("link"));
    std::ofstream(names.File("other")) << "of another size";
    std::ofstream(names.File("foreign")) << "x";
    const bool canGiveAway = ::chown(names.File("foreign").c_str(), 12345, 12345) == 0;
    const std::pair<const char*, DWORD> cases[] = {
        {"folder", ERROR_ACCESS_DENIED}, {"link", ERROR_CANT_RESOLVE_FILENAME},
        {"other", ERROR_INVALID_HANDLE}, {"foreign", canGiveAway ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE},
        {"a/b", ERROR_PATH_NOT_FOUND},   {"..", ERROR_INVALID_NAME},
    };
    for (const auto& [name, error] : cases) {
        EXPECT_EQ(ErrorOf(Section(name)), error) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(names.File("elsewhere")));
    EXPECT_TRUE(std::filesystem::exists(names.File("foreign")));
    EXPECT_EQ(std::filesystem::file_size(names.File("other")), 15u);
}

} // namespace
} // namespace gaizior::test
