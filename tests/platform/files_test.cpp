// Files: saved whole or not at all, whichever call fails. Runs on both systems; Windows decides.

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_lock.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/files.h"
#include "tests/support/scratch.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#endif

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNone = "(no file)";

class FilesTest : public testing::Test {
protected:
    /// Paths of other systems are welcome everywhere.
    std::string Path(const char* name) const {
        return m_folder.Path().string() + '\\' + name;
    }
    std::string Contents(const char* name) const {
        std::string contents;
        return ReadWholeFile(Path(name).c_str(), contents, 1000) ? contents : kNone;
    }
    void Put(const char* name, const std::string& contents) const {
        fs::remove(m_folder.Path() / name);
        ASSERT_TRUE(contents == kNone || SaveFile(Path(name).c_str(), contents)) << ::GetLastError();
    }
    std::ptrdiff_t CountFiles() const {
        return std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator());
    }
    FILETIME LastWrite(const char* name) const {
        FileStatus status{};
        EXPECT_TRUE(QueryFile(Path(name).c_str(), status));
        return status.lastWrite;
    }

    ScratchFolder m_folder;
    std::string m_file = Path("file");
    std::string m_source = Path("source");
};

TEST_F(FilesTest, HoldTheOldOrTheNewWhicheverCallFails) {
    const auto save = [&] {
        FileReplacement file;
        file.Open(m_file.c_str());
        file.Write("new ");
        file.Write("text"); // the first failure is remembered
        return file.Commit();
    };
    const auto append = [&] {
        File file = File::OpenToAppend(m_file.c_str());
        return file && file.Write(" and more");
    };
    const auto copy = [&] { return CopyWholeFile(m_source.c_str(), m_file.c_str(), false); };
    const struct {
        const char* name;
        std::function<bool()> operation;
        const char *before, *after;
        unsigned leastCalls;
    } cases[] = {{"save", save, "old", "new text", 7},
                 {"save a first time", save, kNone, "new text", 6},
                 {"append", append, "old", "old and more", 2},
                 {"copy", copy, "old", "source", 11},
                 {"copy a first time", copy, kNone, "source", 10}};
    for (const auto& c : cases) {
        unsigned calls = 0;
        for (bool failed = true; failed; ++calls) {
            Put("source", "source");
            Put("file", c.before);
            const std::ptrdiff_t files = CountFiles();
            seams::FailFileCall(calls + 1, ERROR_CANCELLED);
            const bool succeeded = c.operation();
            const DWORD error = ::GetLastError();
            failed = seams::HasFileCallFailed();
            seams::FailFileCall(0, NO_ERROR);
            EXPECT_EQ(succeeded, !failed) << c.name << ' ' << calls;
            EXPECT_TRUE(!failed || error == ERROR_CANCELLED) << c.name << ' ' << calls << ' ' << error;
            const std::string contents = Contents("file");
            EXPECT_TRUE(contents == c.after || (failed && contents == c.before)) << c.name << ' ' << calls << contents;
            EXPECT_EQ(CountFiles(), files + (contents == kNone || c.before != std::string(kNone) ? 0 : 1)) << c.name;
        }
        EXPECT_GT(calls, c.leastCalls) << c.name;
    }
}

TEST_F(FilesTest, TellWhyTheyAreRefused) {
    Put("file", "1234");
    const std::string folder = m_folder.Path().string();
    const std::string lost = Path("lost"), astray = Path("astray/file"), below = Path("file/below"), nothing;
    const auto save = [](const std::string& path) { return SaveFile(path.c_str(), "text"); };
    const auto open = [](const std::string& path) { return static_cast<bool>(File::OpenToRead(path.c_str())); };
    const auto append = [](const std::string& path) { return static_cast<bool>(File::OpenToAppend(path.c_str())); };
    const auto make = [](const std::string& path) { return CreateFolder(path.c_str()); };
    const auto remove = [](const std::string& path) { return RemoveFile(path.c_str()); };
    const auto hide = [](const std::string& path) { return SetHidden(path.c_str(), true); };
    const auto query = [](const std::string& path) {
        FileStatus status{};
        return QueryFile(path.c_str(), status);
    };
    const auto readThreeBytes = [](const std::string& path) {
        std::string contents;
        return ReadWholeFile(path.c_str(), contents, 3);
    };
    const auto copyOnto = [&](const std::string& path) { return CopyWholeFile(m_file.c_str(), path.c_str(), false); };
    const auto copyToNew = [&](const std::string& path) { return CopyWholeFile(m_file.c_str(), path.c_str(), true); };
    const auto writeUnopened = [](const std::string&) { return FileReplacement().Write("text"); };
    const struct {
        const char* name;
        std::function<bool(const std::string&)> call;
        const std::string& path;
        DWORD error;
    } cases[] = {{"save", save, folder, 5},
                 {"save", save, astray, 3},
                 {"open", open, lost, 2},
                 {"open", open, astray, 3},
                 {"open", open, folder, 5},
                 {"open", open, nothing, 3},
                 {"append", append, folder, 5},
                 {"append", append, astray, 3},
                 {"remove", remove, lost, 2},
                 {"remove", remove, folder, 5},
                 {"make", make, astray, 3},
                 {"make", make, below, 3},
                 {"make", make, folder, 183},
                 {"query", query, lost, 2},
                 {"query", query, astray, 3},
                 {"hide", hide, lost, 2},
                 {"limit", readThreeBytes, m_file, 223},
                 {"copy", copyOnto, m_file, 32},
                 {"copy", copyToNew, m_file, 80},
                 {"copy", copyOnto, folder, 5},
                 {"write", writeUnopened, m_file, 6}};
    for (const auto& c : cases) {
        EXPECT_FALSE(c.call(c.path)) << c.name << ' ' << c.path;
        EXPECT_EQ(::GetLastError(), c.error) << c.name << ' ' << c.path;
    }
    EXPECT_TRUE(!make(below) && errno == ENOENT);
    EXPECT_EQ(Contents("file"), "1234");
    EXPECT_EQ(CountFiles(), 1);
}

TEST_F(FilesTest, AppendBehindWhatOthersAppended) {
    File one = File::OpenToAppend(m_file.c_str());
    File two = File::OpenToAppend(m_file.c_str());
    EXPECT_TRUE(one.Write("a") && two.Write("bc") && one.Write("d") && two.Write("e"));
    seams::FailFileCall(1, ERROR_DISK_FULL);
    EXPECT_FALSE(one.Write("cut off"));
    EXPECT_TRUE(two.Write("f"));
    EXPECT_EQ(Contents("file"), "abcdef");
}

TEST_F(FilesTest, StayHiddenAndCopiesKeepTheirTime) {
    Put("source", "source");
    fs::last_write_time(m_folder.Path() / "source", fs::file_time_type::clock::now() - std::chrono::hours(50));
    EXPECT_TRUE(CopyWholeFile(m_source.c_str(), m_file.c_str(), true));
    const FILETIME copied = LastWrite("file"), original = LastWrite("source");
    EXPECT_EQ(copied.dwHighDateTime, original.dwHighDateTime);
    EXPECT_EQ(copied.dwLowDateTime, original.dwLowDateTime);
    const auto isHidden = [this] {
#ifdef _WIN32
        return (::GetFileAttributesA(m_file.c_str()) & FILE_ATTRIBUTE_HIDDEN) != 0;
#else
        char value[10] = {};
        ::getxattr((m_folder.Path() / "file").c_str(), "user.DOSATTRIB", value, sizeof value - 1);
        return value == std::string("0x2");
#endif
    };
    for (const bool hide : {true, false}) {
        EXPECT_TRUE(SetHidden(m_file.c_str(), hide) && SaveFile(m_file.c_str(), "new"));
        EXPECT_EQ(isHidden(), hide);
    }
}

TEST_F(FilesTest, AreMadeInTheCurrentFolderToo) {
    std::string before, inside;
    ASSERT_TRUE(GetCurrentFolder(before));
    ASSERT_TRUE(CreateFolder(Path("inner").c_str()));
    fs::current_path(m_folder.Path() / "inner");
    EXPECT_TRUE(GetCurrentFolder(inside) && SaveFile("bare", "text"));
    fs::current_path(before);
    EXPECT_EQ(fs::path(inside).filename(), "inner");
    EXPECT_EQ(Contents("inner/bare"), "text");
}

TEST_F(FilesTest, OfOneFolderAreLockedForOneAtATime) {
    const Watchdog watchdog;
    constexpr std::size_t kThreads = 4, kRounds = 10;
    Put("file", "");
    const auto addLetters = [this] {
        for (std::size_t i = 0; i < kRounds; ++i) {
            FileLock lock;
            std::string contents;
            EXPECT_TRUE(lock.Acquire(m_file.c_str(), INFINITE) && ReadWholeFile(m_file.c_str(), contents, 1000));
            EXPECT_TRUE(SaveFile(m_file.c_str(), contents + 'x')) << ::GetLastError();
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back(addLetters);
    }
    std::ranges::for_each(threads, &std::thread::join);
    EXPECT_EQ(Contents("file"), std::string(kThreads * kRounds, 'x'));
    const auto errorOf = [this](const char* name, DWORD milliseconds) {
        FileLock lock;
        return lock.Acquire(Path(name).c_str(), milliseconds) ? NO_ERROR : ::GetLastError();
    };
    FileLock lock;
    ASSERT_TRUE(lock.Acquire(Path("not yet there").c_str(), 0));
    std::thread([&] { EXPECT_EQ(errorOf("file", 20), DWORD{ERROR_TIMEOUT}); }).join();
    lock.Release();
    std::thread([&] { EXPECT_EQ(errorOf("file", 0), DWORD{NO_ERROR}); }).join();
    EXPECT_EQ(errorOf("astray/file", 0), DWORD{ERROR_PATH_NOT_FOUND});
}

#ifndef _WIN32

TEST_F(FilesTest, KeepOwnerModeAndLinks) {
    const fs::path file = m_folder.Path() / "file", link = m_folder.Path() / "link";
    fs::create_symlink("file", link);
    struct stat status {};
    for (const mode_t mode : {0640u, 0604u}) { // the first save goes through a link that leads nowhere
        EXPECT_TRUE(SaveFile(Path("link").c_str(), "text"));
        ASSERT_TRUE(fs::is_symlink(link) && ::chmod(file.c_str(), mode) == 0);
        ASSERT_TRUE(::geteuid() != 0 || ::chown(file.c_str(), 12, 34) == 0);
        EXPECT_TRUE(SaveFile(Path("link").c_str(), "new"));
        EXPECT_TRUE(fs::is_symlink(link) && ::lstat(file.c_str(), &status) == 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
        EXPECT_TRUE(::geteuid() != 0 || (status.st_uid == 12 && status.st_gid == 34));
    }
    EXPECT_EQ(Contents("file"), "new");
    FileReplacement replacement;
    EXPECT_TRUE(replacement.Open(m_file.c_str()) && replacement.Write("secret"));
    for (const fs::path& path : fs::directory_iterator(m_folder.Path())) {
        EXPECT_TRUE(path == file || path == link ||
                    (::stat(path.c_str(), &status) == 0 && (status.st_mode & 0777) == 0600));
    }
}

TEST_F(FilesTest, AreRefusedWhereTheUserMayNotWrite) {
    Put("file", "old");
    const uid_t user = ::geteuid();
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0555), 0);
    ASSERT_TRUE(user != 0 || ::seteuid(65534) == 0);
    EXPECT_FALSE(SaveFile(m_file.c_str(), "new"));
    EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
    ASSERT_EQ(::seteuid(user), 0);
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0755), 0);
    EXPECT_EQ(Contents("file"), "old");
}

TEST_F(FilesTest, OutlastALimitOnTheirSize) {
    Put("file", "old");
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{5, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    File file = File::OpenToAppend(m_file.c_str());
    const bool isAppended = file.Write(" and more");
    const DWORD error = ::GetLastError();
    const bool isSaved = SaveFile(m_file.c_str(), "longer");
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_TRUE(!isAppended && error == ERROR_DISK_FULL && !isSaved) << error;
    EXPECT_EQ(Contents("file"), "old");
    EXPECT_EQ(CountFiles(), 1);
}

#endif

} // namespace
} // namespace gaizior::test
