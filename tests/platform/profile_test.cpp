// Settings files: what is read from them, what a write changes. Runs on both systems; Windows decides.

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/files.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <tuple>
#include <utility>
#include <vector>

#ifndef _WIN32
#include "tests/support/child.h"

#include <list>

#include <sys/stat.h>
#endif

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr const char* kText =
    "; c=comment\r\nbefore=0\r\n[Mail]\r\nSubject = Hello \r\ndouble=\"in quotes\"\r\nsingle='in "
    "quotes'\r\nopen=\"open\r\n"
    "twice=\"\"inner\"\"\r\nblanks=  \" a \"  \r\nquote=\"\r\nquotes=\"\"\r\nempty=\r\nsemicolon=a ; b\r\nequals==b=\n"
    "valueless\r\nvalueless=1\r\ntabbed\t=\t\vb\f\t\r\nmany=1\r\nMANY=2\r\n[unclosed\r\n[ in blanks ] ; tail\rcr=3\r"
    "[x]y]\nodd=4\n[mail]\r\nlate=5\r\n[end]\nlast=6";

class ProfileTest : public testing::Test {
protected:
    void Put(const std::string& contents) const {
        std::ofstream(m_file, std::ios::binary) << contents;
    }
    std::string Contents() const {
        std::string contents;
        return ReadWholeFile(m_file.c_str(), contents, 10000) ? contents : "(no file)";
    }
    /// All that comes back, up to its length.
    std::string Read(const char* section, const char* key, const char* defaultValue, DWORD size = 100) const {
        std::string buffer(size + 2, '~');
        const DWORD count = ::GetPrivateProfileStringA(section, key, defaultValue, buffer.data(), size, m_file.c_str());
        EXPECT_EQ(buffer.substr(size), "~~") << "nothing is written behind the buffer";
        EXPECT_EQ(buffer.at(count), '\0');
        return buffer.substr(0, count);
    }

    ScratchFolder m_folder;
    std::string m_file = m_folder.File("settings.ini");
};

TEST_F(ProfileTest, FindsFirstsWithoutBlanksAndQuotes) {
    // A section, keys of it, their values.
    const std::tuple<const char*, std::vector<const char*>, const char*> values[] = {
        {"mail", {"SUBJECT", " subject\t", "double", "single"}, "Hello|Hello|in quotes|in quotes|"},
        {"mail", {"open", "twice", "blanks", "quote", "quotes", "empty"}, "\"open|\"inner\"| a |\"|||"},
        {"mail", {"semicolon", "equals", "tabbed", "many"}, "a ; b|=b=|b|1|"},
        {"mail", {"[unclosed", "late", "valueless"}, "D|D|D|"},
        {" IN blanks", {"cr"}, "3|"},
        {"x]y", {"odd"}, "4|"},
        {"end", {"last"}, "6|"},
        {"", {"before"}, "0|"},
        {"other", {"last"}, "D|"}};
    const std::pair<const char*, const char*> defaults[] = {
        {"  lead", "  lead"}, {"trail  ", "trail"}, {"tab\t", "tab\t"}, {"\"q\" ", "q"}, {"'q'", "q"},
        {"'q\"", "'q\""},     {" \"q\"", " \"q\""}, {"\"", "\""},       {nullptr, ""}};
    for (const std::string mark : {"", "\xEF\xBB\xBF"}) {
        Put(mark + kText);
        for (const auto& [section, keys, expected] : values) {
            std::string all;
            for (const char* key : keys) {
                all += Read(section, key, "D") + '|';
            }
            EXPECT_EQ(all, expected) << section;
        }
        for (const auto& [given, value] : defaults) {
            EXPECT_EQ(Read("mail", "none", given), value);
        }
    }
    EXPECT_EQ(::GetLastError(), DWORD{NO_ERROR});
    Put("\xFF\xFE[\0s\0]\0\n\0k\0=\0v\0\n\0"s);
    EXPECT_EQ(Read("s", "k", "D"), "v");
    Put("[s]\nk=v\0w\nl=w\n"s);
    EXPECT_EQ(Read("s", "k", "D") + Read("s", "l", "D"), "vw");
}

TEST_F(ProfileTest, CutsWhatDoesNotFit) {
    Put("[one]\na=1\nb=2\na=3\nnothing\n;c=4\n[two]\n[ONE]\nz=1\n[empty]\n");
    const std::string names = "one\0two\0ONE\0empty\0"s, keys = "a\0b\0a\0"s;
    for (DWORD size = 1; size < 25; ++size) {
        const DWORD value = size - 1, list = std::max<DWORD>(size, 2) - 2;
        EXPECT_EQ(Read("one", "x", "default", size), "default"s.substr(0, value));
        EXPECT_EQ(Read("one", "a", "default", size), "1"s.substr(0, value));
        EXPECT_EQ(Read(nullptr, "a", "default", size), names.substr(0, list));
        if (size > 2) { // Wine answers as if there were no keys
            EXPECT_EQ(Read("one", nullptr, "default", size), keys.substr(0, list));
        }
    }
    EXPECT_EQ(Read("empty", nullptr, "default"), "default");
    EXPECT_EQ(::GetPrivateProfileStringA("one", "a", "D", nullptr, 9, m_file.c_str()), 0u);
#ifndef _WIN32 // Wine ends names that are cut with one NUL
    char buffer[] = "~~~~~~";
    EXPECT_EQ(::GetPrivateProfileStringA(nullptr, nullptr, "", buffer, 5, m_file.c_str()), 3u);
    EXPECT_EQ(std::string(buffer, 6), "one\0\0~"s);
#endif
}

TEST_F(ProfileTest, TellsWhyThereIsNothing) {
    EXPECT_EQ(Read("s", "k", "'D' "), "D");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Read(nullptr, nullptr, "D"), "");
    const std::pair<std::string, DWORD> cases[] = {{m_folder.Path().string(), ERROR_ACCESS_DENIED},
                                                   {m_folder.File("astray/settings"), ERROR_PATH_NOT_FOUND}};
    for (const auto& [path, error] : cases) {
        char buffer[10];
        EXPECT_EQ(::GetPrivateProfileStringA("s", "k", "D", buffer, sizeof buffer, path.c_str()), 1u);
        EXPECT_EQ(::GetLastError(), error);
        EXPECT_FALSE(::WritePrivateProfileStringA("s", "k", "v", path.c_str()));
        EXPECT_EQ(::GetLastError(), error);
    }
    EXPECT_FALSE(::WritePrivateProfileStringA(nullptr, nullptr, nullptr, m_file.c_str()));
}

TEST_F(ProfileTest, ChangesNoOtherLine) {
    constexpr const char* kNone = nullptr;
    // The file before; section, key and value; the file afterwards.
    const std::tuple<std::string, const char*, const char*, const char*, std::string> cases[] = {
        {"[s]\r\na=1\r\n", "s", "k", "v", "[s]\r\na=1\r\nk=v\r\n"},
        {"[s]\r\nk=1\r\nb=2\r\n", "S", "K", "v", "[s]\r\nk=v\r\nb=2\r\n"},
        {"[s]\r\na=1\r\n", "t", "k", "v", "[s]\r\na=1\r\n[t]\r\nk=v\r\n"},
        {"[s]\r\na=1\r\n; c\r\nb=2\r\n", "s", "a", kNone, "[s]\r\n; c\r\nb=2\r\n"},
        {"[s]\na=1", "s", "x", kNone, "[s]\na=1"},
        {"[s]\r\na=1\r\n; c\r\n[t]\r\nb=2\r\n", "s", kNone, "v", "[t]\r\nb=2\r\n"},
        {"[s]\na=1", "t", kNone, kNone, "[s]\na=1"},
        {"[s]\nk=v\n; keep", "s", "k", "v", "[s]\nk=v\n; keep"},
        {"[s]\r\nk=1\r\n", "s", "k", "", "[s]\r\nk=\r\n"},
        {"[s]\r\n", "s", "k", "\"v\"", "[s]\r\nk=\"v\"\r\n"},
        {"\xEF\xBB\xBF[s]\r\nk=v\r\n", "s", "k", "w", "\xEF\xBB\xBF[s]\r\nk=w\r\n"},
        {"[s]\r\nk=1\r\nk=2\r\n", "s", "k", "w", "[s]\r\nk=w\r\nk=2\r\n"},
        {"[s]\r\nk=1\r\nk=2\r\n", "s", "k", kNone, "[s]\r\nk=2\r\n"},
        {"[s]\r\na=1\r\n[t]\r\n[s]\r\nk=2\r\n", "s", "k", "w", "[s]\r\na=1\r\nk=w\r\n[t]\r\n[s]\r\nk=2\r\n"},
        {"[s]\r\na=1\r\n[t]\r\n[s]\r\nk=2\r\n", "s", kNone, kNone, "[t]\r\n[s]\r\nk=2\r\n"},
        {"[s]\r\njunk\r\nk\r\n", "s", "k", "w", "[s]\r\njunk\r\nk=w\r\n"},
        {"[s]\r\n", "", "k", "v", "k=v\r\n[s]\r\n"},
#ifndef _WIN32 // Windows lays other lines out anew and leaves blank ones away
        {"[s]\n \n  K  =  1  \n\n\n; c\nb\r", "s", " k ", "v", "[s]\n \n  K  =  v  \n\n\n; c\nb\r"},
        {"[s]\r\na=1\n\n; on t\n[t]\n", " s ", " k ", "v", "[s]\r\na=1\nk=v\r\n\n; on t\n[t]\n"},
        {"[s]\ra=1", "t", "k", "v", "[s]\ra=1\r[t]\rk=v\r"},
        {"\xEF\xBB\xBF", "", "k", "v", "\xEF\xBB\xBFk=v\n"},
        {"\xFF\xFE[\0s\0]\0\n\0\0\xD8=\0\x3D\xD8\x00\xDE"s, "s", "k", "\xC3\xA9\xFF",
         "\xFF\xFE[\0s\0]\0\n\0\0\xD8=\0\x3D\xD8\x00\xDE\n\0k\0=\0\xE9\0\xFF\0\n\0"s},
        {"\xFE\xFF\0[\0s\0]\0\r\0\n\0k"s, "s", "k", "\xF0\x9F\x98\x80",
         "\xFE\xFF\0[\0s\0]\0\r\0\n\0k\0=\xD8\x3D\xDE\0"s},
#endif
    };
    for (const auto& [before, section, key, value, after] : cases) {
        Put(before);
        EXPECT_TRUE(::WritePrivateProfileStringA(section, key, value, m_file.c_str())) << before;
        EXPECT_EQ(Contents(), after) << before;
    }
    fs::remove(m_file);
    EXPECT_TRUE(::WritePrivateProfileStringA("s", "k", nullptr, m_file.c_str()));
    EXPECT_EQ(Contents(), "(no file)");
    EXPECT_TRUE(::WritePrivateProfileStringA(" s", " k", " v ", m_file.c_str()));
    EXPECT_EQ(Read("s", "k", "D"), "v");
}

TEST_F(ProfileTest, IsReadAnewAfterEachChange) {
    for (int i = 0; i < 50; ++i) {
        const std::string number = std::to_string(i % 10);
        Put("[s]\nk=" + number);
        EXPECT_EQ(Read("s", "k", "D"), number) << i;
        EXPECT_TRUE(::WritePrivateProfileStringA("s", "k", "x", m_file.c_str()));
        EXPECT_EQ(Read("s", "k", "D"), "x") << i;
    }
}

#ifndef _WIN32

TEST_F(ProfileTest, RemembersAFileUntilItChanges) {
    Put("[s]\nk=1");
    ::Sleep(100); // until its time is past
    EXPECT_EQ(Read("s", "k", "D"), "1");
    seams::FailFileCall(2, ERROR_CANCELLED);
    EXPECT_EQ(Read("s", "k", "D"), "1");
    EXPECT_FALSE(seams::HasFileCallFailed()) << "it asks for the status, and nothing more";
    seams::FailFileCall(0, NO_ERROR);
    const fs::file_time_type time = fs::last_write_time(m_file);
    Put("[s]\nk=2");
    fs::last_write_time(m_file, time);
    EXPECT_EQ(Read("s", "k", "D"), "2") << "the same size, time and place";
}

TEST_F(ProfileTest, IsTheOldOrTheNewWhicheverCallFails) {
    fs::create_symlink("settings.ini", m_folder.File("link"));
    const std::string link = m_folder.File("link");
    bool failed = true;
    for (unsigned n = 1; failed; ++n) {
        Put("[s]\nk=old\n");
        ::chmod(m_file.c_str(), 0640);
        seams::FailFileCall(n, ERROR_CANCELLED);
        const BOOL succeeded = ::WritePrivateProfileStringA("s", "k", "new", link.c_str());
        failed = seams::HasFileCallFailed();
        EXPECT_EQ(succeeded, !failed) << n;
        EXPECT_TRUE(!failed || ::GetLastError() == ERROR_CANCELLED) << n;
        seams::FailFileCall(0, NO_ERROR);
        EXPECT_TRUE(Contents() == "[s]\nk=new\n" || (failed && Contents() == "[s]\nk=old\n")) << n << Contents();
        EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator()), 2) << n;
        EXPECT_TRUE(fs::is_symlink(link) && fs::status(link).permissions() == fs::perms(0640)) << n;
    }
    for (const int size : {(4 << 20) + 1, 4 << 20}) { // too large, or only when the value is in it
        Put(std::string(static_cast<std::size_t>(size), '\n'));
        EXPECT_FALSE(::WritePrivateProfileStringA("s", "k", "v", m_file.c_str()));
        EXPECT_EQ(::GetLastError(), ERROR_FILE_TOO_LARGE);
    }
}

TEST_F(ProfileTest, LosesNothingThatEightProcessesWrite) {
    std::list<Child> children;
    for (const char prefix : "abcdefgh"s) {
        children.emplace_back(SiblingProgram("platform_child"), "settings \"" + m_file + "\" " + prefix);
    }
    for (Child& child : children) {
        EXPECT_EQ(child.ExitCode(), 0u);
    }
    const std::string keys = Read("s", nullptr, "", 1000);
    EXPECT_EQ(std::ranges::count(keys, '\0'), 64);
    EXPECT_EQ(Read("s", "h7", "D"), "h7");
}

#endif

} // namespace
} // namespace gaizior::test
