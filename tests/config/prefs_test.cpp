// Preferences: what is saved comes back exactly, whoever asks; what is not there is the caller's default.

#include "gaizior/config/prefs.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/files.h"
#include "tests/support/child.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/log_capture.h"
#include "tests/support/registry.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <tuple>
#include <utility>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace gaizior::test {
namespace {

namespace fs = std::filesystem;

class PrefsTest : public testing::Test {
protected:
    std::string Text(const char* name, const char* defaultValue = "default") {
        const std::unique_ptr<char, void (*)(char*)> text(m_prefs.LoadUsrParam(name, defaultValue, 0),
                                                          &CZRPrefs::FreeText);
        return text.get();
    }
    unsigned long Number(const std::string& name, int fromMachine = 0) {
        return m_prefs.LoadUsrParam(name.c_str(), 5ul, fromMachine);
    }

    PrivateRegistry m_registry;
    CZRPrefs m_prefs{m_registry.product.c_str(), "screening", "1"};
    LogCapture m_log;
    Watchdog m_watchdog{std::chrono::minutes(5)};
};

TEST_F(PrefsTest, WhatIsSavedComesBackExactly) {
    const DecimalComma locale;
    for (const double value : {0.1, -0.0, 1.0 / 3, 1e23, 123456.789, DBL_MIN, DBL_MAX, -DBL_TRUE_MIN, HUGE_VAL}) {
        EXPECT_EQ(m_prefs.SaveAppParam("double", value), 0u);
        for (const double loaded : {m_prefs.LoadAppParam("DOUBLE", 1.0), m_prefs.LoadAppParam("never", value)}) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(loaded), std::bit_cast<std::uint64_t>(value)) << value;
        }
    }
    EXPECT_EQ(m_prefs.SaveUsrParam("double", 1234.5, 0), 0u);
    EXPECT_EQ(Text("double"), "1234.5");
    const std::string text = " a\tb\r\n;=[]\"" + std::string(100'000, 'y');
    EXPECT_EQ(m_prefs.SaveUsrParam("text", text.c_str(), 0), 0u);
    EXPECT_EQ(Text("text"), text);
    EXPECT_EQ(m_prefs.SaveUsrParam("number", -1, 1), 0u);
    EXPECT_EQ(Number("number"), 0xFFFFFFFFul) << "four bytes, never widened";
    EXPECT_EQ(m_prefs.LoadUsrParam("number", 5u, 1), 0xFFFFFFFFu);
    EXPECT_EQ(m_prefs.LoadUsrParam("number", 0, 0), 1) << "an int tells yes or no";
    EXPECT_EQ(m_prefs.SaveAppParam("number", static_cast<unsigned long>(0x1'2345'6789ull)), 0u);
    EXPECT_EQ(m_prefs.LoadAppParam("number", 5ul), 0x23456789ul);
    EXPECT_EQ(m_log.Take(), "");
}

TEST_F(PrefsTest, WhatIsNotThereOrOfAnotherKindIsTheDefault) {
    EXPECT_FALSE(m_prefs.bIsUsrSectionValid());
    HKEY key = nullptr;
    ASSERT_EQ(ZRRegistryC::OpenKey(HKEY_CURRENT_USER, (m_registry.keyPath + "\\screening\\1").c_str(), &key, 1), 0u);
    EXPECT_TRUE(m_prefs.bIsUsrSectionValid());
    const BYTE data[] = {'1', '.', '5', '#'};
    ::RegSetValueExA(key, "short", 0, REG_DWORD, data, 3);
    ::RegSetValueExA(key, "long", 0, REG_BINARY, data, 4);
    ::RegSetValueExA(key, "open", 0, REG_SZ, data, 3);
    EXPECT_EQ(::RegCloseKey(key), 0);
    EXPECT_EQ(m_prefs.SaveUsrParam("number", 7u, 0), 0u);
    for (const char* name : {"never", "short", "long", "open"}) {
        EXPECT_EQ(Number(name), 5ul) << name;
        EXPECT_EQ(m_prefs.LoadUsrParam(name, 5, 0), 1) << name;
    }
    for (const char* text : {"1.5 ", "0x10", "1,5", "1e999", ""}) {
        EXPECT_EQ(m_prefs.SaveUsrParam("text", text, 0), 0u);
        EXPECT_EQ(m_prefs.LoadUsrParam("text", 0.1, 0), 0.1) << text;
    }
    EXPECT_EQ(m_prefs.LoadUsrParam("open", 0.1, 0), 1.5) << "a text without its NUL";
    for (const char* name : {"never", "text", "number", "long"}) {
        EXPECT_EQ(Text(name) + Text(name, nullptr), "default") << name;
    }
    EXPECT_EQ(m_log.Take(), "") << "none of this is a failure";
}

TEST_F(PrefsTest, FailuresAreToldByTheirCodeAndALine) {
    HKEY key = nullptr;
    const char* const noText = nullptr;
    const std::string tooLong(16'384, 'n');
    CZRPrefs none(nullptr, "a", "b");
    const std::tuple<std::function<ZRErrors::ZRErrorT()>, unsigned, const char*> cases[] = {
        {[&] { return m_prefs.GetProductKey(&key); }, 0x20000002, "GetProductKey(): "},
        {[&] { return m_prefs.GetProductKey(nullptr); }, 2006, "GetProductKey(): "},
        {[&] { return none.GetProductKey(&key); }, 2006, "GetProductKey(): "},
        {[&] { return none.SaveAppParam("x", 1.0); }, 2006, "GetProductKey(): "},
        {[&] { return m_prefs.SaveUsrParam(nullptr, 1ul, 1); }, 2006, "Save(): "},
        {[&] { return m_prefs.SaveAppParam("text", noText); }, 2006, "Save(): "},
        {[&] { return m_prefs.SaveUsrParam(tooLong.c_str(), 1u, 1); }, 0x20000057, "Save(): from RegSetValueEx(): "}};
    for (const auto& [call, code, line] : cases) {
        EXPECT_EQ(call(), code);
        EXPECT_TRUE(m_log.Take().starts_with(std::string("0 ERROR: CZRPrefs::") + line)) << line;
    }
    EXPECT_FALSE(m_prefs.LoadUsrParam("x", 0, 1)) << "a failing user's write skips the machine's";
    none = m_prefs;
    EXPECT_EQ(none.GetProductKey(&key), 0u);
    EXPECT_EQ(::RegCloseKey(key), 0);
}

TEST_F(PrefsTest, EachFailingFileCallLeavesTheOldValueOrTheNew) {
    bool hasFailed = true;
    for (unsigned n = 1; hasFailed; ++n) {
        const std::string part = std::to_string(n);
        CZRPrefs prefs(m_registry.product.c_str(), "screening", part.c_str());
        const auto save = [&](unsigned value, unsigned long before) {
            seams::FailFileCall(n, ERROR_DISK_FULL);
            const ZRErrors::ZRErrorT code = prefs.SaveUsrParam("both", value, 1);
            hasFailed = seams::HasFileCallFailed();
            seams::FailFileCall(0, NO_ERROR);
            EXPECT_TRUE(code == 0 || code == 0x20000070u) << code;
            EXPECT_EQ(m_log.Take().find("There is not enough space on the disk.") == std::string::npos, code == 0);
            EXPECT_EQ(prefs.LoadUsrParam("both", 0ul, 1), code == 0 ? value : before) << "call " << n;
            EXPECT_GE(prefs.LoadUsrParam("both", 0ul, 0), prefs.LoadUsrParam("both", 0ul, 1));
        };
        save(1, 0);
        ASSERT_EQ(prefs.SaveUsrParam("both", 1u, 1), 0u);
        save(2, 1);
    }
    for (const auto& entry : fs::recursive_directory_iterator(m_registry.Path())) {
        EXPECT_NE(entry.path().extension(), ".tmp") << "nothing is left beside it";
    }
}

TEST_F(PrefsTest, EightProcessesLoseNothingAndAnOutsiderReadsIt) {
    ASSERT_EQ(m_prefs.SaveUsrParam("answer", 42u, 0), 0u);
    std::list<Child> children;
    for (const char name : {'1', '2', '3', '4', '5', '6', '7', '8'}) {
        children.emplace_back(SiblingProgram("prefs_child"), m_registry.product + " value-" + name);
    }
    for (char name = '1'; const Child& child : children) {
        EXPECT_EQ(child.ExitCode(), 42u) << name;
        EXPECT_EQ(Number(std::string("Value-") + name++), 25ul);
    }
#ifdef _WIN32
    ASSERT_EQ(m_prefs.SaveUsrParam("Text", "a text", 1), 0u);
    const std::string file = m_registry.File("query.txt");
    for (const auto& [hive, name] :
         {std::pair{"HKCU\\", "8    REG_DWORD    0x19"}, {"HKLM\\", "Text    REG_SZ    a text"}}) {
        const Child query(nullptr, "cmd /c reg query \"" + (hive + m_registry.keyPath) + "\\screening\\1\" > " + file);
        EXPECT_EQ(query.ExitCode(), 0u);
        std::string output;
        EXPECT_TRUE(ReadWholeFile(file.c_str(), output, 10'000));
        EXPECT_NE(output.find(name), std::string::npos) << output;
    }
#endif
}

#ifndef _WIN32

TEST_F(PrefsTest, StandWhereTheEnvironmentSaysAndNoUserWritesTheMachines) {
    const std::string folder = m_registry.Path().string();
    const ScopedVariable home("HOME", (folder + "/home").c_str());
    for (const auto& [config, place] : {std::pair{folder + "/config", "/config"}, {"relative", "/home/.config"}}) {
        const ScopedVariable noRoot("GAIZIOR_REGISTRY_DIR", "");
        const ScopedVariable its("XDG_CONFIG_HOME", config.c_str());
        EXPECT_EQ(m_prefs.SaveUsrParam("x", 1u, 0), 0u);
        EXPECT_EQ(fs::status(folder + place + "/gaizior/registry/software/korvane designs/" + m_registry.product +
                             "/screening/1/x.value")
                      .permissions(),
                  fs::perms(0600));
    }
    ASSERT_EQ(m_prefs.SaveUsrParam("x", 1u, 1), 0u);
    const fs::path key = fs::path(folder + "/machine/software/korvane designs") / m_registry.product / "screening/1";
    const uid_t self = ::geteuid();
    fs::permissions(key, fs::perms(self == 0 ? 0755 : 0555));
    ASSERT_TRUE(self != 0 || ::seteuid(65'534) == 0);
    EXPECT_EQ(m_prefs.SaveAppParam("x", 1ul), 0x20000005u) << "although it is there";
    EXPECT_EQ(m_prefs.SaveAppParam("y", 2ul), 0x20000005u);
    EXPECT_EQ(m_prefs.LoadAppParam("x", 5ul), 1ul) << "everybody may read the machine's";
    EXPECT_EQ(m_prefs.LoadAppParam("y", 5ul), 5ul);
    ASSERT_EQ(::seteuid(self), 0);
    fs::permissions(key, fs::perms(0755));
}

#endif

} // namespace
} // namespace gaizior::test
