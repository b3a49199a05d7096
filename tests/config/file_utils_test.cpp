#include "gaizior/config/file_utils.h"

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <tuple>
#include <vector>

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;

TEST(Path, IsSplitAndJoined) {
    const struct {
        const char *path, *drive, *dir, *fname, *ext, *joined;
    } cases[] = {{"C:\\data\\job.tif", "C", "\\data", "job", "tif", "C:\\data\\job.tif"},
                 {"readme", "as it was", "", "", "readme", "as it was:\\.readme"},
                 {"a.b\\c", "as it was", "a.b", "", "c", "as it was:a.b\\.c"},
                 {"D:x/y\\z.tar.", "D", "x/y", "z.tar", "", "D:x/y\\z.tar"},
                 {"E:", "E", "", "", "", "E:\\"},
                 {"", "", "", "", "", ":\\"}};
    for (const auto& given : cases) {
        ZRCString path = given.path, drive = "as it was", dir = "?", fname = "?", ext = "?";
        ZRFileUtilsC::SplitPath(path, &drive, &dir, &fname, &ext);
        EXPECT_TRUE(path == given.path && drive == given.drive && dir == given.dir) << drive << '|' << dir;
        EXPECT_TRUE(fname == given.fname && ext == given.ext) << fname << '|' << ext;
        ZRFileUtilsC::MakePath(path, &drive, &dir, &fname, &ext);
        EXPECT_STREQ(path, given.joined);
    }
    ZRCString path = "C:\\a.b";
    ZRFileUtilsC::SplitPath(path, nullptr, nullptr, &path, nullptr);
    ZRFileUtilsC::MakePath(path, nullptr, nullptr, &path, nullptr);
    EXPECT_STREQ(path, "a") << "the path itself may be a part";
}

class FileUtils : public testing::Test {
protected:
    FileUtils() {
        std::ofstream(m_folder.Path() / "file") << "text";
    }
    std::string Path(const char* name) const {
        return m_folder.Path().string() + '\\' + name;
    }

    LogCapture m_log;
    ScratchFolder m_folder;
};

TEST_F(FileUtils, SayWhatTheyCouldNotDo) {
    FILETIME time{};
    const auto remove = [](int noExistCheck) {
        return [=](const char* path) { return ZRFileUtilsC::DeleteFile(path, noExistCheck); };
    };
    const auto copyTo = [this](const char* source, int failIfExists) {
        return [=, this](const char* path) { return ZRFileUtilsC::CopyFile(Path(source).c_str(), path, failIfExists); };
    };
    const auto timeOf = [&](const char* path) { return ZRFileUtilsC::GetLastWriteTime(path, time); };
    const auto exists = [](const char* path) { return ZRFileUtilsC::FileExists(path); };
    const auto hide = [](const char* path) { return ZRFileUtilsC::HideFile(path, 1); };
    const std::tuple<std::function<unsigned(const char*)>, std::string, unsigned, std::string> cases[] = {
        {exists, Path("file"), 1, ""},
        {exists, Path(""), 1, ""},
        {exists, Path("lost"), 0, ""},
        {remove(0), Path("lost"), 1, ""},
        {remove(1), Path("lost"), 0, "DeleteFile(): failed: "},
        {remove(0), m_folder.Path().string(), 0, "DeleteFile(): failed: "},
        {copyTo("file", 1), Path("copy"), 1, ""},
        {copyTo("file", 1), Path("copy"), 0, "CopyFile(): failed: "},
        {copyTo("file", 0), Path("file"), 0, "CopyFile(): failed: "},
        {copyTo("lost", 0), Path("copy"), 0, "CopyFile(): failed: "},
        {copyTo("file", 0), Path("copy"), 1, ""},
        {timeOf, Path("lost"), 1014, ""},
        {timeOf, Path("file"), 0, ""},
        {timeOf, m_folder.Path().string(), 0x20000005, "GetLastWriteTime(): Returning: "},
        {hide, Path("lost"), 0x20000002, "HideFile(): GetFileAttributes() failed, reason: "},
        {remove(0), Path("file"), 1, ""},
        {copyTo("copy", 0), Path("file"), 1, ""}}; // still whole
    for (const auto& [call, path, result, line] : cases) {
        EXPECT_EQ(call(path.c_str()), result) << path;
        const std::string logged = m_log.Take();
        EXPECT_TRUE(line.empty() ? logged.empty() : logged.starts_with("0 ERROR: ZRFileUtilsC::" + line)) << logged;
    }
    std::string contents;
    EXPECT_TRUE(ReadWholeFile(Path("file").c_str(), contents, 99) && contents == "text");
    FileStatus status{};
    EXPECT_TRUE(QueryFile(Path("copy").c_str(), status) && std::memcmp(&status.lastWrite, &time, sizeof time) == 0);
    EXPECT_EQ(ZRFileUtilsC::GetLastWriteTime(nullptr, time), ZRErrors::e_Arguments_Bad);
}

TEST_F(FileUtils, TellReadingAttributesFromWritingThem) {
    for (const int hide : {1, 0}) {
        ASSERT_EQ(ZRFileUtilsC::HideFile(Path("file").c_str(), hide), 0);
        DWORD attributes = 0;
        EXPECT_TRUE(ReadAttributes(Path("file").c_str(), attributes));
        EXPECT_EQ((attributes & kHiddenAttribute) != 0, hide == 1);
        seams::FailFileCall(2, ERROR_NOT_SUPPORTED);
        EXPECT_EQ(ZRFileUtilsC::HideFile(Path("file").c_str(), hide), 0x20000000u + ERROR_NOT_SUPPORTED);
        const std::string line = "0 ERROR: ZRFileUtilsC::HideFile(): unable to make " +
                                 std::string(hide ? "hidden" : "visible") + " file: " + Path("file") + ", reason: ";
        EXPECT_TRUE(m_log.Take().starts_with(line));
    }
}

TEST_F(FileUtils, MakeAFolderWithItsParents) {
    const std::tuple<const char*, unsigned, std::string> cases[] = {{"a\\b/c", 0, ""},
                                                                    {"a\\b\\c", 0, ""},
                                                                    {"d\\\\e\\", 0, ""},
                                                                    {"file", 0, ""},
                                                                    {"file\\below", 0x60000002, "file\\below"},
                                                                    {"file\\below\\it", 0x60000002, "file\\below\\"}};
    for (const auto& [name, code, culprit] : cases) {
        EXPECT_EQ(ZRFileUtilsC::MakeFolder(Path(name).c_str()), code) << name;
        const std::string line = "0 ERROR: ZRFileUtilsC::MakeFolder(): Creating directory: " + Path(culprit.c_str());
        const std::string logged = m_log.Take();
        EXPECT_TRUE(code == 0 ? logged.empty() : logged.starts_with(line + ", reason: ")) << logged;
    }
    EXPECT_TRUE(fs::is_directory(m_folder.Path() / "a/b/c") && fs::is_directory(m_folder.Path() / "d/e"));
    EXPECT_EQ(ZRFileUtilsC::MakeFolder(nullptr), 0x60000002u);
    // The path's look, its folder and those above it, the second look: each fails once.
    for (unsigned call = 1, failures = 0;; ++call) {
        fs::remove(m_folder.Path() / "new");
        seams::FailFileCall(call, ERROR_ACCESS_DENIED);
        const ZRErrors::ZRErrorT code = ZRFileUtilsC::MakeFolder(Path("new").c_str());
        if (!seams::HasFileCallFailed()) {
            EXPECT_EQ(failures, 1u) << "the folder's own alone matters";
            break;
        }
        EXPECT_EQ(code == 0, fs::exists(m_folder.Path() / "new")) << call;
        failures += code != 0;
    }
    seams::FailFileCall(0, NO_ERROR);
}

TEST_F(FileUtils, KnowTheCurrentDirectory) {
    ZRCString directory = "as it was";
    seams::FailFileCall(1, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ZRGetCurrentDirectory(directory), 0x20000002u);
    EXPECT_STREQ(directory, "as it was");
    EXPECT_EQ(ZRGetCurrentDirectory(directory), 0);
    EXPECT_EQ(fs::path(static_cast<const char*>(directory)), fs::current_path());
}

} // namespace
} // namespace gaizior::test
