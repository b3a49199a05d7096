// Preferences: what is saved comes back exactly, whoever asks; what is not there is the caller's default.

#include "gaizior/config/prefs.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/files.h"
#include "tests/support/child.h"
#include "tests/support/log_capture.h"
#include "tests/support/registry.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <locale>
#include <memory>
#include <vector>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace gaizior::test {
namespace {

std::string Taken(char* text) {
    const std::unique_ptr<char, void (*)(char*)> owner(text, &CZRPrefs::FreeText);
    return text ? text : "(null)";
}

/// A decimal comma and grouped digits, as an operator's locale may have them.
struct Comma : std::numpunct<char> {
    char do_decimal_point() const override {
        return ',';
    }
    std::string do_grouping() const override {
        return "\3";
    }
};

class PrefsTest : public testing::Test {
protected:
    std::string Text(const char* name, const char* defaultValue = "default") {
        return Taken(m_prefs.LoadUsrParam(name, defaultValue, 0));
    }
    unsigned long Number(const char* name, int fromMachine = 0) {
        return m_prefs.LoadUsrParam(name, 5ul, fromMachine);
    }
    HKEY Open(const std::string& below) {
        HKEY key = nullptr;
        EXPECT_EQ(ZRRegistryC::OpenKey(HKEY_CURRENT_USER, (m_registry.Path() + below).c_str(), &key, 1), 0u);
        return key;
    }

    PrivateRegistry m_registry;
    CZRPrefs m_prefs{m_registry.Product().c_str(), "screening", "1"};
    LogCapture m_log;
    Watchdog m_watchdog{std::chrono::minutes(5)};
};

TEST_F(PrefsTest, WhatIsSavedComesBackExactly) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    for (const double value : {0.1, -0.0, 1.0 / 3, 1e23, 123456.789, DBL_MIN, DBL_MAX, DBL_EPSILON,
                               std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(m_prefs.SaveAppParam("double", value), 0u);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(m_prefs.LoadAppParam("DOUBLE", 1.0)),
                  std::bit_cast<std::uint64_t>(value))
            << value;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(m_prefs.LoadUsrParam("never", value, 0)),
                  std::bit_cast<std::uint64_t>(value));
    }
    EXPECT_EQ(m_prefs.SaveUsrParam("double", std::nan(""), 0), 0u);
    EXPECT_TRUE(std::isnan(m_prefs.LoadUsrParam("double", 1.0, 0)));
    EXPECT_EQ(m_prefs.SaveUsrParam("double", 1234.5, 0), 0u);
    EXPECT_EQ(Text("double"), "1234.5");
    std::locale::global(before);
    for (const std::string& text : {std::string("x"), std::string(" a\tb\r\n;=[]\" "), std::string(100'000, 'y')}) {
        EXPECT_EQ(m_prefs.SaveUsrParam("text", text.c_str(), 0), 0u);
        EXPECT_EQ(Text("text"), text);
    }
    EXPECT_EQ(m_prefs.SaveUsrParam("number", -1, 1), 0u);
    EXPECT_EQ(Number("number"), 0xFFFFFFFFul) << "four bytes, never widened";
    EXPECT_EQ(m_prefs.LoadUsrParam("number", 5u, 1), 0xFFFFFFFFu);
    EXPECT_EQ(m_prefs.LoadUsrParam("number", 0, 0), 1) << "an int tells yes or no";
    EXPECT_EQ(m_prefs.SaveAppParam("number", static_cast<unsigned long>(0x1'2345'6789ull)), 0u);
    EXPECT_EQ(m_prefs.LoadAppParam("number", 5ul), 0x23456789ul);
    EXPECT_EQ(m_prefs.SaveUsrParam("number", 0u, 0), 0u);
    EXPECT_EQ(m_prefs.LoadUsrParam("number", 5, 0), 0);
    EXPECT_EQ(m_log.Take(), "");
}

TEST_F(PrefsTest, WhatIsNotThereOrOfAnotherKindIsTheDefault) {
    EXPECT_FALSE(m_prefs.bIsUsrSectionValid());
    HKEY key = Open("\\screening\\1");
    EXPECT_TRUE(m_prefs.bIsUsrSectionValid());
    const auto set = [&](const char* name, DWORD type, const char* data, DWORD size) {
        EXPECT_EQ(::RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data), size), 0);
    };
    set("short", REG_DWORD, "123", 3);
    set("long", REG_BINARY, "1234", 4);
    set("open", REG_SZ, "1.5#", 3);
    EXPECT_EQ(::RegCloseKey(key), 0);
    EXPECT_EQ(m_prefs.SaveUsrParam("number", 7u, 0), 0u);
    for (const char* name : {"never", "short", "long", "open"}) {
        EXPECT_EQ(Number(name), 5ul) << name;
        EXPECT_EQ(m_prefs.LoadUsrParam(name, 5, 0), 1) << name;
    }
    for (const char* text : {"", "1.5 ", "+1", "0x10", "1,5", "1e999", "-", "number"}) {
        EXPECT_EQ(m_prefs.SaveUsrParam("text", text, 0), 0u);
        EXPECT_EQ(m_prefs.LoadUsrParam("text", 0.1, 0), 0.1) << text;
    }
    EXPECT_EQ(m_prefs.LoadUsrParam("open", 0.1, 0), 1.5) << "a text without its NUL";
    EXPECT_EQ(m_prefs.SaveUsrParam("text", "", 0), 0u);
    for (const char* name : {"never", "text", "number", "long"}) {
        EXPECT_EQ(Text(name), "default") << name;
        EXPECT_EQ(Text(name, nullptr), "") << name;
    }
    EXPECT_EQ(m_log.Take(), "") << "none of this is a failure";
}

TEST_F(PrefsTest, FailuresAreToldByTheirCodeAndALine) {
    HKEY key = nullptr;
    const char* const noText = nullptr;
    CZRPrefs none(nullptr, "a", "b");
    EXPECT_EQ(m_prefs.GetProductKey(&key), 0x20000002u);
    EXPECT_NE(m_log.Take().find("0 ERROR: CZRPrefs::GetProductKey(): "), std::string::npos);
    const std::function<ZRErrors::ZRErrorT()> wrong[] = {
        [&] { return m_prefs.SaveUsrParam(nullptr, 1ul, 1); }, [&] { return m_prefs.SaveAppParam("text", noText); },
        [&] { return none.SaveAppParam("x", 1.0); }, [&] { return none.GetProductKey(&key); },
        [&] { return m_prefs.GetProductKey(nullptr); }};
    for (const auto& call : wrong) {
        EXPECT_EQ(call(), ZRErrors::e_Arguments_Bad);
        EXPECT_NE(m_log.Take().find("0 ERROR: CZRPrefs::"), std::string::npos);
    }
    EXPECT_EQ(m_prefs.LoadUsrParam(nullptr, 0.5, 0), 0.5);
    EXPECT_EQ(m_prefs.SaveUsrParam("both", 1u, 1), 0u);
    CZRPrefs copy(none);
    copy = m_prefs;
    EXPECT_EQ(copy.GetProductKey(&key), 0u);
    EXPECT_EQ(::RegCloseKey(key), 0);
    const std::string tooLong(16'384, 'n');
    EXPECT_EQ(m_prefs.SaveUsrParam(tooLong.c_str(), 1u, 1), 0x20000057u);
    EXPECT_NE(m_log.Take().find("0 ERROR: CZRPrefs::Save(): from RegSetValueEx(): "), std::string::npos);
    for (unsigned n = 1;; ++n) {
        seams::FailFileCall(n, ERROR_DISK_FULL);
        const ZRErrors::ZRErrorT code = m_prefs.SaveUsrParam("both", 2u, 1);
        const bool hasFailed = seams::HasFileCallFailed();
        seams::FailFileCall(0, NO_ERROR);
        const std::string lines = m_log.Take();
        EXPECT_TRUE(code == 0 || code == 0x20000070u) << code;
        EXPECT_EQ(lines.find("0 ERROR: ") != std::string::npos, code != 0) << lines;
        EXPECT_LE(Number("both", 1), Number("both", 0)) << "the user's level comes first, call " << n;
        EXPECT_EQ(Number("both", 1), code == 0 ? 2ul : 1ul);
        if (!hasFailed) {
            break;
        }
        EXPECT_EQ(m_prefs.SaveUsrParam("both", 1u, 1), 0u);
    }
}

TEST_F(PrefsTest, EightProcessesLoseNothingAndAnOutsiderReadsIt) {
    ASSERT_EQ(m_prefs.SaveUsrParam("answer", 42u, 0), 0u);
    std::vector<std::unique_ptr<Child>> children;
    for (const char name : std::string("abcdefgh")) {
        children.push_back(
            std::make_unique<Child>(SiblingProgram("prefs_child"), m_registry.Product() + " value-" + name));
    }
    for (std::size_t i = 0; i < children.size(); ++i) {
        EXPECT_EQ(children[i]->ExitCode(), 42u) << i;
        EXPECT_EQ(Number((std::string("Value-") + "abcdefgh"[i]).c_str()), 25ul) << i;
    }
#ifdef _WIN32
    ASSERT_EQ(m_prefs.SaveUsrParam("Text", "a text", 1), 0u);
    const ScratchFolder folder;
    const std::string file = folder.File("query.txt");
    for (const char* hive : {"HKCU\\", "HKLM\\"}) {
        const Child query(nullptr, "cmd /c reg query \"" + (hive + m_registry.Path()) + "\\screening\\1\" > " + file);
        EXPECT_EQ(query.ExitCode(), 0u);
        std::string output;
        EXPECT_TRUE(ReadWholeFile(file.c_str(), output, 10'000));
        EXPECT_NE(output.find("Text    REG_SZ    a text"), std::string::npos) << output;
        EXPECT_EQ(output.find("value-h    REG_DWORD    0x19") != std::string::npos, hive[2] == 'C') << output;
    }
#endif
}

#ifndef _WIN32

TEST_F(PrefsTest, StandWhereTheEnvironmentSaysAndNoUserWritesTheMachines) {
    namespace fs = std::filesystem;
    const std::string folder = m_registry.Folder().string();
    const ScopedVariable home("HOME", (folder + "/home").c_str());
    const std::string file =
        "/gaizior/registry/software/korvane designs/" + m_registry.Product() + "/screening/1/x.value";
    for (const auto& [config, place] : {std::pair{folder + "/config", "/config"}, {"relative", "/home/.config"}}) {
        const ScopedVariable noRoot("GAIZIOR_REGISTRY_DIR", "");
        const ScopedVariable its("XDG_CONFIG_HOME", config.c_str());
        EXPECT_EQ(m_prefs.SaveUsrParam("x", 1u, 0), 0u);
        EXPECT_EQ(fs::status(folder + place + file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    }
    ASSERT_EQ(m_prefs.SaveUsrParam("x", 1u, 1), 0u);
    const fs::path key = fs::path(folder + "/machine/software/korvane designs") / m_registry.Product() / "screening/1";
    const uid_t self = ::geteuid();
    fs::permissions(key, self == 0 ? fs::perms(0755) : fs::perms(0555));
    ASSERT_TRUE(self != 0 || ::seteuid(65'534) == 0);
    EXPECT_EQ(m_prefs.SaveAppParam("x", 2ul), 0x20000005u);
    EXPECT_EQ(m_prefs.SaveAppParam("y", 2ul), 0x20000005u);
    EXPECT_EQ(m_prefs.LoadAppParam("x", 5ul), 1ul) << "everybody may read the machine's";
    EXPECT_EQ(m_prefs.LoadAppParam("y", 5ul), 5ul);
    ASSERT_EQ(::seteuid(self), 0);
    fs::permissions(key, fs::perms(0755));
    EXPECT_EQ(std::distance(fs::directory_iterator(key), {}), 2) << "nothing is left beside it";
}

#endif

} // namespace
} // namespace gaizior::test
