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
#include <cstring>
#include <functional>
#include <iterator>
#include <tuple>
#include <utility>
#include <vector>

#ifndef _WIN32
#include "tests/support/forked_child.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
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
    // The operation, what the file holds before and after it, and the calls that it takes at least.
    const std::tuple<const char*, std::function<bool()>, const char*, const char*, unsigned> cases[] = {
        {"save", save, "old", "new text", 7},
        {"save a first time", save, kNone, "new text", 6},
        {"append", append, "old", "old and more", 2},
        {"copy", copy, "old", "source", 12},
        {"copy a first time", copy, kNone, "source", 10}};
    for (const auto& [name, operation, before, after, leastCalls] : cases) {
        unsigned calls = 0;
        for (bool failed = true; failed; ++calls) {
            Put("source", "source");
            Put("file", before);
            const std::ptrdiff_t files = CountFiles();
            seams::FailFileCall(calls + 1, ERROR_CANCELLED);
            const bool succeeded = operation();
            const DWORD error = ::GetLastError();
            failed = seams::HasFileCallFailed();
            seams::FailFileCall(0, NO_ERROR);
            EXPECT_EQ(succeeded, !failed) << name << ' ' << calls;
            EXPECT_TRUE(!failed || error == ERROR_CANCELLED) << name << ' ' << calls << ' ' << error;
            const std::string contents = Contents("file");
            EXPECT_TRUE(contents == after || (failed && contents == before)) << name << ' ' << calls << contents;
            EXPECT_EQ(CountFiles(), files + (contents == kNone || before != std::string(kNone) ? 0 : 1)) << name;
        }
        EXPECT_GT(calls, leastCalls) << name;
    }
}

TEST_F(FilesTest, TellWhyTheyAreRefused) {
    Put("file", "1234");
    const std::string folder = m_folder.Path().string();
    const std::string lost = Path("lost"), astray = Path("astray/file"), below = Path("file/below");
    FileStatus status{};
    DWORD attributes = 0;
    std::string text;
    std::vector<std::string> names;
    using Call = std::function<bool(const char*)>;
    const std::tuple<const char*, Call, std::vector<std::pair<std::string, DWORD>>> cases[] = {
        {"save", [](auto path) { return SaveFile(path, "text"); }, {{folder, 5}, {astray, 3}}},
        {"open", [](auto path) { return !!File::OpenToRead(path); }, {{lost, 2}, {astray, 3}, {folder, 5}, {"", 3}}},
        {"append", [](auto path) { return !!File::OpenToAppend(path); }, {{folder, 5}, {astray, 3}}},
        {"remove", RemoveFile, {{lost, 2}, {folder, 5}}},
        {"query", [&](auto path) { return QueryFile(path, status); }, {{lost, 2}, {astray, 3}}},
        {"attributes", [&](auto path) { return ReadAttributes(path, attributes); }, {{lost, 2}}},
        {"hide", [](auto path) { return WriteAttributes(path, kHiddenAttribute); }, {{lost, 2}}},
        {"limit", [&](auto path) { return ReadWholeFile(path, text, 3); }, {{m_file, 223}}},
        {"copy", [&](auto path) { return CopyWholeFile(m_file.c_str(), path, false); }, {{m_file, 32}, {folder, 5}}},
        {"copy anew", [&](auto path) { return CopyWholeFile(m_file.c_str(), path, true); }, {{m_file, 80}}},
        {"write", [](auto) { return FileReplacement().Write("text"); }, {{m_file, 6}}},
        {"list", [&](auto path) { return ListFolder(path, names); }, {{astray, 3}, {"", 3}}},
        {"make", [](auto path) { return CreateFolder(path); }, {{folder, 183}, {astray, 3}, {below, 3}}}};
    for (const auto& [name, call, refusals] : cases) {
        for (const auto& [path, error] : refusals) {
            EXPECT_FALSE(call(path.c_str())) << name << ' ' << path;
            EXPECT_EQ(::GetLastError(), error) << name << ' ' << path;
        }
    }
    EXPECT_EQ(errno, ENOENT) << "as the last one tells too";
    EXPECT_EQ(Contents("file"), "1234");
    EXPECT_TRUE(ListFolder((folder + '/').c_str(), names));
    EXPECT_EQ(names, std::vector<std::string>{"file"});
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
    FileStatus copy{}, original{};
    EXPECT_TRUE(QueryFile(m_file.c_str(), copy) && QueryFile(m_source.c_str(), original));
    EXPECT_EQ(std::memcmp(&copy.lastWrite, &original.lastWrite, sizeof(FILETIME)), 0);
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
        DWORD attributes = 0;
        EXPECT_TRUE(ReadAttributes(m_file.c_str(), attributes));
        EXPECT_TRUE(WriteAttributes(m_file.c_str(), attributes ^ kHiddenAttribute) && SaveFile(m_file.c_str(), "new"));
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
    {
        std::vector<std::jthread> threads(kThreads);
        std::ranges::generate(threads, [&] { return std::jthread(addLetters); });
    }
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
    EXPECT_FALSE(CopyWholeFile("/dev/null", m_file.c_str(), false));
    EXPECT_EQ(Contents("file"), "new");
    EXPECT_TRUE(RemoveFileIf(Path("link").c_str(), [](const FileStatus&) { return true; }));
    EXPECT_TRUE(fs::is_symlink(link) && !fs::exists(file) && SaveFile(m_file.c_str(), "new"));
    FileReplacement replacement;
    EXPECT_TRUE(replacement.Open(m_file.c_str()) && replacement.Write("secret"));
    for (const fs::path& path : fs::directory_iterator(m_folder.Path())) {
        EXPECT_TRUE(path == file || path == link ||
                    (::stat(path.c_str(), &status) == 0 && (status.st_mode & 0777) == 0600));
    }
}

TEST_F(FilesTest, AreRefusedWhereTheUserMayNotWriteOrNoMore) {
    Put("file", "old");
    ForkedChild limited([this] {
        const rlimit limit{5, 5};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        EXPECT_FALSE(File::OpenToAppend(m_file.c_str()).Write(" and more"));
        EXPECT_EQ(::GetLastError(), ERROR_DISK_FULL);
        EXPECT_FALSE(SaveFile(m_file.c_str(), "longer"));
    });
    EXPECT_EQ(limited.ExitCode(), 0);
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0555), 0);
    ForkedChild unprivileged([this] {
        EXPECT_TRUE(::geteuid() != 0 || ::seteuid(65534) == 0);
        EXPECT_FALSE(SaveFile(m_file.c_str(), "new"));
        EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
    });
    EXPECT_EQ(unprivileged.ExitCode(), 0);
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0755), 0);
    EXPECT_EQ(Contents("file"), "old");
    EXPECT_EQ(CountFiles(), 1);
}

#endif

} // namespace
} // namespace gaizior::test
