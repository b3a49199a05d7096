#include "gaizior/config/read_cfg.h"

#include "tests/config/config_files.h"
#include "tests/support/decimal_comma.h"

#include <cmath>

using namespace std::string_literals;

namespace gaizior::test {
namespace {

constexpr double kBefore = -77;

class ReadCfg : public ConfigFiles {
protected:
    void Open(const std::string& contents) {
        Put(contents);
        ASSERT_EQ(m_cfg.OpenFileName(m_path.c_str()), 0);
    }
    std::string Saved() {
        EXPECT_EQ(m_cfg.CloseFile(1), 0);
        return Contents();
    }
    unsigned Read(const char* token, int continueSearch, unsigned count = 1) {
        m_values.assign(count, kBefore);
        return m_cfg.ReadToken(token, m_values.data(), count, continueSearch);
    }
    unsigned Write(const char* token, const std::vector<double>& values, int continueSearch = 0) {
        return m_cfg.WriteToken(token, values.data(), static_cast<unsigned>(values.size()), continueSearch);
    }
    std::string Line(const std::string& words) const {
        return "0 ERROR: ZRReadCfgC::" + words + '\n';
    }

    std::vector<double> m_values;
    ZRReadCfgC m_cfg;
};

TEST_F(ReadCfg, TakesNumbersAsAStreamDoesWhateverTheLocale) {
    const DecimalComma locale;
    const std::tuple<std::string, double, std::string> cases[] = {
        {"1.5", 1.5, ""},       {" \t\r\n\0-2."s, -2, ""}, {"+.5e1", 5, ""},         {"1e-999", 0, ""},
        {"007.25x", 7.25, "x"}, {"1,5", 1, ",5"},          {"1.2.3", 1.2, ".3"},     {"1E2e3", 100, "e3"},
        {"5e-324", 5e-324, ""}, {"1e999", kBefore, ""},    {"0x10", kBefore, ""},    {"-0X1", kBefore, ""},
        {"1e", kBefore, ""},    {"3e+x", kBefore, ""},     {"inf", kBefore, ""},     {"-nan", kBefore, ""},
        {"+-1", kBefore, ""},   {"=1.5", kBefore, ""},     {".", kBefore, ""},       {"-", kBefore, ""},
        {"", kBefore, ""},      {"\0\0"s, kBefore, ""},    {"offset 5", kBefore, ""}};
    for (const auto& [text, value, rest] : cases) {
        Open("gain" + text);
        EXPECT_EQ(Read("gain", 0), value == kBefore ? 2056 : 0) << text;
        EXPECT_EQ(m_values[0], value) << text;
        EXPECT_EQ(m_log.Take(), value == kBefore ? Line("ReadToken(): failed while reading object: 0 of 1, -77") : "");
        EXPECT_EQ(Read((rest + '\0').c_str(), 1, 0), 0) << "goes on behind the number";
    }
    Open("");
    EXPECT_EQ(Write("a", {1.5, HUGE_VAL}), ZRErrors::e_Arguments_Bad);
    EXPECT_EQ(Write("a", {1.5, -1234567, 0.00001, 100, 1.0 / 3}), 0);
    EXPECT_EQ(Saved(), "a\t 1.5 -1.23457e+06 1e-05 100 0.333333" + std::string(kLineEnd));
}

TEST_F(ReadCfg, FindsTokensInTheirOrder) {
    Open("gainoffset 1\nGain 2 gain\t3\n4\n5 end");
    EXPECT_EQ(Read("gain", 0), 2056) << "inside of a word";
    EXPECT_EQ(Read("gain", 1, 3), 0);
    EXPECT_EQ(m_values, std::vector<double>({3, 4, 5}));
    EXPECT_EQ(Read("gain", 1), 2007);
    EXPECT_EQ(Read("lost", 0, 0), 2007);
    m_log.Take();
    EXPECT_EQ(Read("\tgain", 1), 2007) << "and the search begins anew all the same";
    EXPECT_EQ(m_log.Take(), "") << "what is not there is no failure";
    EXPECT_EQ(Read("gain\t", 0, 4), 2056);
    EXPECT_EQ(m_values, std::vector<double>({3, 4, 5, kBefore}));
    EXPECT_EQ(m_log.Take(), Line("ReadToken(): failed while reading object: 3 of 4, -77"));
    EXPECT_EQ(Read("5", 1, 0), 0) << "goes on behind the token";
    ASSERT_TRUE(SaveFile(m_path.c_str(), "5"));
    EXPECT_EQ(m_cfg.OpenFileName(m_path.c_str()), 0);
    EXPECT_EQ(Read("5", 1, 0), 2007) << "the place stays, beyond a shorter file";
    EXPECT_EQ(Write("x", {1}, 1), 0);
    EXPECT_EQ(Saved(), "5x\t 1" + std::string(kLineEnd)) << "joins a last line without an end";
}

TEST_F(ReadCfg, PutsALineOverTheOldOne) {
    // The file, the token and its value, the file afterwards; all of it with the line ends of both systems.
    const std::tuple<const char*, const char*, double, const char*> cases[] = {
        {"a 1\ngain\t 22\nb 3\nc 4\n", "gain", 33, "a 1\ngain\t 33\nb 3\nc 4\n"},
        {"a 1\ngain\t 22\nb 3\nc 4\n", "gain", 3, "a 1\ngain\t 3\n\nb 3\nc 4\n"},
        {"a 1\ngain\t 22\nb 3\nc 4\n", "gain", 333, "a 1\ngain\t 333\n\nc 4\n"},
        {"a 1\ngain\t 2\nb 3\nc 4\n", "gain", 333.5, "a 1\ngain\t 333.5\n\n"},
        {"a 1\ngain\t 2\nb 3\n", "b", 12345, "a 1\ngain\t 2\nb\t 12345\n"},
        {"a 1\ngain\t 2\n", "gain", 3, "a 1\ngain\t 3\n"},
        {"a 1\n", "new", 2, "a 1\nnew\t 2\n"}};
    for (const bool hasWindowsLineEnds : {false, true}) {
        const auto inFile = [&](const char* text) {
            return ReplaceLineEnds(text, "\n", hasWindowsLineEnds ? "\r\n" : "\n");
        };
        for (const auto& [before, token, value, after] : cases) {
            Open(inFile(before));
            const ZRReadCfgC copy = m_cfg;
            EXPECT_EQ(Write(token, {value}), 0);
            EXPECT_EQ(Read(token, 0), 0);
            EXPECT_EQ(m_values[0], value) << "is read back";
            EXPECT_EQ(Saved(), inFile(after));
            m_cfg = copy;
            EXPECT_EQ(Saved(), inFile(before)) << "a copy does not feel it";
        }
    }
    Open("x\r\na\t 1\n\rb\r\r\n");
    EXPECT_EQ(Write("a", {2}), 0);
    EXPECT_EQ(Saved(), "x\r\na\t 2\n\rb\r\r\n") << "line ends of both kinds stay";
}

TEST_F(ReadCfg, IsWholeWhicheverCallFails) {
    double value = 0;
    EXPECT_TRUE(m_cfg.ReadToken("a", &value, 1, 0) == 1001 && m_cfg.WriteToken("a", &value, 1, 0) == 1001);
    EXPECT_EQ(m_cfg.OpenFileName(m_folder.Path().string().c_str()), ZRErrors::e_File_OpenFailed);
    EXPECT_EQ(m_cfg.CloseFile(1), 0);
    const std::string notOpened = "File has not been opened!!", folder = m_folder.Path().string();
    EXPECT_EQ(m_log.Take(), Line("ReadToken(): " + notOpened) + Line("WriteToken(): " + notOpened) +
                                Line("OpenFileName(): failed to open file: " + folder) +
                                Line("CloseFile(): NULL == m_pFileName - nothing to close!!!: "));
    // What fails, in this order, each by several calls.
    const std::pair<unsigned, std::string> steps[] = {
        {1001, Line("OpenFileName(): failed to open file: " + m_path)},
        {2056, Line("OpenFileName(): failed reading from file: " + m_path)},
        {1001, Line("CloseFile(): failed to open file: " + m_path)},
        {2055, Line("CloseFile(): failed writing to file: " + m_path)},
        {0, ""}};
    const std::string before = "a\t 1\n", after = "a\t 2\n";
    const auto change = [this] {
        const unsigned code = m_cfg.OpenFileName(m_path.c_str());
        return code ? code : Write("a", {2}) | m_cfg.CloseFile(1);
    };
    unsigned step = 0;
    const auto check = [&](unsigned code, const std::string& logged, const std::string& contents) {
        const std::pair result(code, logged);
        step += step < 4 && result != steps[step];
        EXPECT_EQ(result, steps[step]);
        EXPECT_TRUE(contents == after || (code != 0 && contents == before)) << contents;
    };
    EXPECT_GT(FailEachCall(before, change, check), 8u);
}

} // namespace
} // namespace gaizior::test
