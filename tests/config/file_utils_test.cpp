#include "gaizior/config/file_utils.h"

#include "tests/config/config_files.h"

#include <functional>

namespace gaizior::test {
namespace {

using FileUtils = ConfigFiles;

TEST(Path, IsSplitAndJoined) {
    const struct {
        const char *path, *drive, *dir, *fname, *ext, *joined;
    } cases[] = {{"C:\\data\\job.tif", "C", "\\data", "job", "tif", "C:\\data\\job.tif"},
                 {"readme", "as it was", "", "", "readme", "as it was:\\.readme"},
                 {"a.b\\c", "as it was", "a.b", "", "c", "as it was:a.b\\.c"},
                 {"D:x/y\\z.tar.", "D", "x/y", "z.tar", "", "D:x/y\\z.tar"},
                 {"", "", "", "", "", ":\\"}};
    for (const auto& given : cases) {
        ZRCString path = given.path, drive = "as it was", dir = "?", fname = "?", ext = "?";
        ZRFileUtilsC::SplitPath(path, &drive, &dir, &fname, &ext);
        EXPECT_TRUE(path == given.path && drive == given.drive && dir == given.dir) << drive << '|' << dir;
        EXPECT_TRUE(fname == given.fname && ext == given.ext) << fname << '|' << ext;
        ZRFileUtilsC::MakePath(path, &drive, &dir, &fname, &ext);
        EXPECT_STREQ(path, given.joined);
    }
}

TEST_F(FileUtils, SayWhatTheyCouldNotDo) {
    FILETIME time{};
    const auto remove0 = [](const char* path) { return ZRFileUtilsC::DeleteFile(path, 0); };
    const auto remove1 = [](const char* path) { return ZRFileUtilsC::DeleteFile(path, 1); };
    const auto copy1 = [this](const char* path) { return ZRFileUtilsC::CopyFile(m_path.c_str(), path, 1); };
    const auto timeOf = [&](const char* path) { return ZRFileUtilsC::GetLastWriteTime(path, time); };
    const auto exists = [](const char* path) { return ZRFileUtilsC::FileExists(path); };
    const auto hide = [](const char* path) { return ZRFileUtilsC::HideFile(path, 1); };
    const auto make = ZRFileUtilsC::MakeFolder;
    const std::string rm = "DeleteFile(): failed: ", cp = "CopyFile(): failed: ";
    const std::string get = "HideFile(): GetFileAttributes() failed, reason: ", at = "GetLastWriteTime(): Returning: ";
    const std::string md = "MakeFolder(): Creating directory: " + Path("file\\, reason: ");
    const std::tuple<std::function<unsigned(const char*)>, const char*, unsigned, std::string> cases[] = {
        {exists, "file", 1, ""},          {exists, ".", 1, ""},
        {exists, "lost", 0, ""},          {remove0, "lost", 1, ""},
        {remove1, "lost", 0, rm},         {remove0, ".", 0, rm},
        {copy1, "copy", 1, ""},           {copy1, "copy", 0, cp},
        {timeOf, "lost", 1014, ""},       {timeOf, "file", 0, ""},
        {timeOf, ".", 0x20000005, at},    {hide, "lost", 0x20000002, get},
        {make, "a\\b/c", 0, ""},          {make, "a\\b", 0, ""},
        {make, "d\\\\e\\", 0, ""},        {make, "file", 0, ""},
        {exists, "a/b\\c", 1, ""},        {exists, "d/e", 1, ""},
        {make, "file\\", 0x60000011, md}, {make, "lost/a", 0, ""}};
    Put("text");
    for (const auto& [call, name, result, line] : cases) {
        EXPECT_EQ(call(Path(name).c_str()), result) << name;
        const std::string logged = m_log.Take();
        EXPECT_TRUE(line.empty() ? logged.empty() : logged.starts_with("0 ERROR: ZRFileUtilsC::" + line)) << logged;
    }
    EXPECT_EQ(ZRFileUtilsC::GetLastWriteTime(nullptr, time), ZRErrors::e_Arguments_Bad);
    EXPECT_EQ(make(Path("file\\below\\it").c_str()), 0x60000002u);
    for (const int hidden : {1, 0}) {
        const auto hideOrShow = [&] { return ZRFileUtilsC::HideFile(m_path.c_str(), hidden); };
        DWORD attributes = 0;
        EXPECT_TRUE(hideOrShow() == 0 && ReadAttributes(m_path.c_str(), attributes));
        EXPECT_EQ((attributes & kHiddenAttribute) != 0, hidden != 0);
        m_log.Take();
        seams::FailFileCall(2, ERROR_NOT_SUPPORTED);
        EXPECT_EQ(hideOrShow(), 0x20000000u + ERROR_NOT_SUPPORTED);
        const std::string line = std::string(hidden ? "hidden" : "visible") + " file: " + m_path + ", reason: ";
        EXPECT_TRUE(m_log.Take().starts_with("0 ERROR: ZRFileUtilsC::HideFile(): unable to make " + line));
    }
    ZRCString directory = "as it was";
    seams::FailFileCall(1, ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(ZRGetCurrentDirectory(directory) == 0x20000002 && directory == "as it was");
    EXPECT_TRUE(ZRGetCurrentDirectory(directory) == 0 && directory != "as it was");
}

} // namespace
} // namespace gaizior::test
