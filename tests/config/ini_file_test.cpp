// INI files, plain and encoded; the copies of encoded ones.

#include "gaizior/config/ini_file.h"

#include "gaizior/values/guid_encrypt.h"
#include "tests/config/config_files.h"

#include <cstdlib>
#include <map>
#include <random>
#include <sstream>

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;
using ZRErrors::ZRErrorT;

// The write path is private; a template's argument may name it.
ZRErrorT Write(ZRIniFileC& file, const char* section, const char* key, std::ostream& value);
template <auto Member>
struct Reach {
    friend ZRErrorT Write(ZRIniFileC& file, const char* section, const char* key, std::ostream& value) {
        return (file.*Member)(section, key, value);
    }
};
template struct Reach<&ZRIniFileC::_Write>;

class IniFileTest : public ConfigFiles {
protected:
    static std::string Read(ZRIniFileC& file, const char* key, const char* defaultValue = nullptr,
                            ZRErrorT code = ZRErrors::e_General_NoError) {
        CString value = "<";
        const CString text = defaultValue;
        EXPECT_EQ(file.Read("s", key, defaultValue ? &text : nullptr, value), code);
        return (value + ">").operator const char*();
    }
    static ZRErrorT Set(ZRIniFileC& file, const std::string& section, const std::string& key, const std::string& text) {
        std::stringstream value(text);
        return Write(file, section.c_str(), key.c_str(), value);
    }
    void Encode(const std::string& text) const {
        std::stringstream stream(text);
        EXPECT_EQ(ZRGUIDEncryptC::Encode(m_path.c_str(), stream, ZRGUIDEncryptC::PUBLIC_KEY), 0);
    }
    std::string Decoded() const {
        std::stringstream stream;
        EXPECT_EQ(ZRGUIDEncryptC::Decode(m_path.c_str(), stream, ZRGUIDEncryptC::PUBLIC_KEY), 0);
        return stream.str();
    }
    std::ptrdiff_t CountCopies() const {
        return std::distance(fs::directory_iterator(m_temporary.Path()), fs::directory_iterator());
    }

    ScratchFolder m_temporary;
    ScopedVariable m_linuxVariable{"TMPDIR", m_temporary.Path().string().c_str()};
    ScopedVariable m_windowsVariable{"TMP", m_temporary.Path().string().c_str()};
};

TEST_F(IniFileTest, AppendsValuesOfEachLength) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Path());
    ZRIniFileC file("file", 0);
    fs::current_path(before);
    for (const std::size_t length : {0u, 29u, 30u, 31u, 32u, 62u, 63u, 5000u}) {
        const std::string value(length, 'v');
        Put("[s]\nk=" + value);
        EXPECT_EQ(Read(file, "k", "D"), "<" + value + ">");
    }
    EXPECT_EQ(Read(file, "none") + Read(file, "none", "'a default of more than 32 characters'  "),
              "<><a default of more than 32 characters>");
    ZRIniFileC missing(Path("missing").c_str(), 0), nothing(nullptr, 0);
    EXPECT_EQ(Read(missing, "k", "D"), "<D>");
    EXPECT_EQ(m_log.Take(), "");
    EXPECT_EQ(Read(nothing, "k", "D ", ZRErrors::e_File_InvalidName), "<D >");
    EXPECT_EQ(Set(missing, "s", "k", "v"), 0);
    EXPECT_EQ(Read(missing, "k"), "<v>");
    ZRIniFileC astray(Path("astray\\file").c_str(), 0);
    EXPECT_EQ(Set(astray, "s", "k", "v"), ZRErrors::e_File_WriteFailed);
    EXPECT_NE(m_log.Take().find("0 ERROR: ZRIniFileC::_Write(): Failed to write to: " + m_folder.Path().string()),
              std::string::npos);
}

TEST_F(IniFileTest, KeepsACopyOfAnEncodedFileToItself) {
    Encode("[s]\r\nk=1\r\n");
    const std::string before = Contents();
    ASSERT_TRUE(SaveFile(m_temporary.File(".gaizior-7ffffff0-1-1.tmp").c_str(), "left by nobody that is there"));
    {
        ZRIniFileC reader(m_path.c_str(), 1);
        EXPECT_EQ(CountCopies(), 1);
        EXPECT_EQ(Read(reader, "K"), "<1>");
        ASSERT_EQ(CountCopies(), 1) << "the old one is gone";
        const fs::path copy = fs::directory_iterator(m_temporary.Path())->path();
#ifndef _WIN32
        EXPECT_EQ(fs::status(copy).permissions(), fs::perms(0600));
#endif
        RemoveLeftFiles(m_temporary.File(""));
        EXPECT_TRUE(fs::exists(copy)) << "its process is there";
        ZRIniFileC writer(m_path.c_str(), 1);
        EXPECT_EQ(Set(writer, "s", "k", "2"), 0);
        EXPECT_EQ(Read(writer, "k") + Read(reader, "k"), "<2><1>");
        fs::remove(copy);
        EXPECT_EQ(Read(reader, "k", "D", ZRErrors::e_Resource_AllocationFailed), "<D>");
        EXPECT_NE(m_log.Take().find(" is lost: "), std::string::npos);
        EXPECT_EQ(Read(reader, "k"), "<1>") << "decoded anew";
        EXPECT_EQ(Contents(), before);
    }
    EXPECT_EQ(Decoded(), "[s]\r\nk=2\r\n");
    EXPECT_EQ(CountCopies(), 0);
    EXPECT_EQ(m_log.Take(), "");
    const std::string changed = Contents();
    ASSERT_TRUE(SaveFile(m_path.c_str(), changed + "x"));
    ZRIniFileC file(m_path.c_str(), 1);
    EXPECT_EQ(Read(file, "k", "D", ZRErrors::e_Object_InvalidData), "<D>");
    ASSERT_TRUE(SaveFile(m_path.c_str(), changed));
    EXPECT_EQ(Read(file, "k", "D"), "<2>") << "the next call tries again";
}

TEST_F(IniFileTest, LosesNothingWhicheverCallFails) {
    Encode("[s]\r\nk=old\r\n");
    const std::string before = Contents();
    for (const bool writes : {false, true}) {
        CString value;
        const auto use = [&] {
            ZRIniFileC file(m_path.c_str(), 1);
            value.Empty();
            return writes ? Set(file, "s", "k", "new") : file.Read("s", "k", nullptr, value);
        };
        const auto check = [&](unsigned code, const std::string& log, const std::string&) {
            const std::string text = Decoded();
            const bool isDone = writes ? text == "[s]\r\nk=new\r\n" : value == "old";
            EXPECT_TRUE(isDone || text == "[s]\r\nk=old\r\n") << text;
            EXPECT_TRUE(isDone ? code == 0 : log.starts_with("0 ERROR: ZR") && (code != 0 || writes)) << log;
            EXPECT_EQ(CountCopies(), log.find("failed to remove") != log.npos) << log;
            for (const auto& copy : fs::directory_iterator(m_temporary.Path())) {
                fs::remove(copy);
            }
        };
        EXPECT_GT(FailEachCall(before, use, check), 5u);
    }
}

#ifndef _WIN32

/// Writes what Python's reader finds in a file, a line for each value, to another.
constexpr const char* kReader =
    "import configparser, sys\n"
    "reader = configparser.RawConfigParser(delimiters=('=',), comment_prefixes=(';',))\n"
    "reader.read(sys.argv[1], encoding='utf-8')\n"
    "values = [f'{s}|{key}|{value}\\n' for s in reader.sections() for key, value in reader.items(s)]\n"
    "open(sys.argv[2], 'w', encoding='utf-8').writelines(sorted(values))\n";

TEST_F(IniFileTest, IsReadAsItWasWrittenAndByPythonToo) {
    if (std::system("python3 -c '' 2>/dev/null") != 0) {
        GTEST_SKIP() << "there is no python3 to judge";
    }
    const std::string script = m_folder.File("reader.py"), found = m_folder.File("found");
    ASSERT_TRUE(SaveFile(script.c_str(), kReader));
    std::mt19937 random(1);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(SaveFile(m_path.c_str(), "; a comment\n[kept]\nkey = value\n"));
        std::map<std::string, std::string> expected = {{"kept|key|", "value"}};
        ZRIniFileC file(m_path.c_str(), 0);
        for (int j = 0; j < 40; ++j) {
            constexpr const char* kPieces[] = {"a", "=", " ", ";", "[", "]", "\xC3\xA9", "%(x)s", ":", "#", "\""};
            const std::string section = "section " + std::to_string(random() % 4);
            const std::string key = "key" + std::to_string(random() % 20) + " " + kPieces[random() % 4 + 5];
            std::string value = random() % 8 == 0 ? "" : "x";
            for (auto pieces = value.empty() ? 0 : random() % 40; pieces > 0; --pieces) {
                value += kPieces[random() % std::size(kPieces)];
            }
            value += value.empty() ? "" : "x";
            EXPECT_EQ(Set(file, section, key, value), 0);
            expected[section + "|" + key + "|"] = value;
            CString read;
            EXPECT_EQ(file.Read(section.c_str(), key.c_str(), nullptr, read), 0);
            EXPECT_STREQ(read, value.c_str());
        }
        ASSERT_EQ(std::system(("python3 " + script + " " + m_folder.File("file") + " " + found).c_str()), 0);
        std::string lines;
        for (const auto& [name, value] : expected) {
            lines.append(name).append(value).append("\n");
        }
        std::string values;
        EXPECT_TRUE(ReadWholeFile(found.c_str(), values, 100'000));
        EXPECT_EQ(values, lines) << Contents();
    }
}

#endif

} // namespace
} // namespace gaizior::test
