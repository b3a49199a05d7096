// The registry's calls: what they answer, and what becomes of keys and values. Runs on both systems; Windows decides.

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_replacement.h"
#include "tests/support/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <tuple>
#include <vector>

namespace gaizior::test {
namespace {

using Names = std::vector<std::string>;

class RegistryTest : public testing::Test {
protected:
    RegistryTest() {
        EXPECT_EQ(Create(HKEY_CURRENT_USER, m_registry.keyPath, m_hKey), REG_CREATED_NEW_KEY);
    }
    ~RegistryTest() override {
        EXPECT_EQ(::RegCloseKey(m_hKey), 0);
    }
    /// What it did, or minus its error.
    static LONGLONG Create(HKEY parent, const std::string& path, HKEY& key) {
        DWORD done = 0;
        const LSTATUS error = ::RegCreateKeyExA(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                                KEY_READ | KEY_WRITE, nullptr, &key, &done);
        return error ? -LONGLONG{error} : done;
    }
    LSTATUS Set(const std::string& name, std::string_view data, DWORD type = REG_BINARY) const {
        return ::RegSetValueExA(m_hKey, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                                static_cast<DWORD>(data.size()));
    }
    /// "type:data", or "error".
    std::string Get(const std::string& name, DWORD room = 100) const {
        std::string data(room, '#');
        DWORD type = 0;
        const LSTATUS error =
            ::RegQueryValueExA(m_hKey, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &room);
        return error ? std::to_string(error) : std::to_string(type) + ":" + data.substr(0, room);
    }
    Names List(decltype(&::RegEnumKeyExA) listKeys, decltype(&::RegEnumValueA) listValues = nullptr) const {
        Names names;
        std::vector<char> name(20'000);
        for (DWORD size = 20'000, i = 0;
             (listKeys ? listKeys(m_hKey, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr)
                       : listValues(m_hKey, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr)) == 0;
             size = 20'000, ++i) {
            names.emplace_back(name.data(), size);
        }
        std::ranges::sort(names);
        return names;
    }

    PrivateRegistry m_registry;
    HKEY m_hKey = nullptr;
};

TEST_F(RegistryTest, KeysOfAnyNameAreMadeOnceIgnoreCaseAndKeepTheirSpelling) {
    const std::string longest(255, '%');
    // A path, what creating it does, the same in another case, and what opening that answers then.
    const std::tuple<std::string, LONGLONG, std::string, LSTATUS> cases[] = {{"Screen\\\\Deep\\", 1, "sCREEN\\dEEP", 0},
                                                                             {"SCREEN", 2, "screen\\none", 2},
                                                                             {".", 1, ".\\", 0},
                                                                             {"..", 1, "..", 0},
                                                                             {"a/../B", 1, "A/../b", 0},
                                                                             {longest, 1, longest, 0},
                                                                             {longest + "%%", -87, longest + "%%", 87},
                                                                             {"\\Screen", -161, "\\Screen", 161}};
    for (const auto& [path, created, other, opened] : cases) {
        HKEY key = m_hKey;
        EXPECT_EQ(Create(m_hKey, path, key), created) << path;
        EXPECT_EQ(::RegCloseKey(key), created > 0 ? 0 : 6) << path;
        EXPECT_EQ(::RegOpenKeyExA(m_hKey, other.c_str(), 0, KEY_READ, &key), opened) << path;
        EXPECT_EQ(::RegCloseKey(key), opened == 0 ? 0 : 6) << path;
    }
    EXPECT_EQ(Set("Screen", ""), 0) << "a value and a key may share a name";
    EXPECT_EQ(List(&::RegEnumKeyExA), (Names{longest, ".", "..", "Screen", "a/../B"}));
}

TEST_F(RegistryTest, ValuesOfAnyNameComeBackWholeAndKeepTheirSpelling) {
    const Names names{"", ".", "../..", std::string(16'383, 'N'), "Screen", "a\\b\n", "screen.value"};
    for (const std::string& name : names) {
        EXPECT_EQ(Set(name, "of " + name), 0) << name;
        EXPECT_EQ(Get(name, 20'000), "3:of " + name);
    }
    EXPECT_EQ(Set("SCREEN", std::string_view("1\0\r\n\x1a 2", 7), 4242), 0);
    EXPECT_EQ(Get("sCREEN"), std::string("4242:1\0\r\n\x1a 2", 12));
    EXPECT_EQ(Set(std::string(16'384, 'N'), ""), 87);
    EXPECT_EQ(Get(std::string(16'384, 'N')), "2");
    EXPECT_EQ(List(nullptr, &::RegEnumValueA), names);
}

TEST_F(RegistryTest, TellsWhatDoesNotFitAndEndsTexts) {
    ASSERT_EQ(Set("text", std::string_view("abcdef", 3), REG_SZ), 0);
    EXPECT_EQ(Get("text", 2), "234");
    EXPECT_EQ(Get("text", 3), "1:abc");
    std::array<char, 6> text{"#####"};
    DWORD size = 4;
    BYTE* const data = reinterpret_cast<BYTE*>(text.data());
    EXPECT_EQ(::RegQueryValueExA(m_hKey, "text", nullptr, nullptr, data, &size), 0);
    EXPECT_EQ(std::string(text.data(), 5), std::string("abc\0#", 5));
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(::RegEnumValueA(m_hKey, 0, text.data(), &(size = 4), nullptr, nullptr, nullptr, nullptr), 234);
    EXPECT_EQ(::RegEnumValueA(m_hKey, 1, text.data(), &size, nullptr, nullptr, nullptr, nullptr), 259);
    EXPECT_EQ(::RegSetValueExA(m_hKey, "null", 0, REG_BINARY, nullptr, 1), 998);
}

TEST_F(RegistryTest, AHandleAllowsWhatItWasOpenedForUntilItIsClosed) {
    ASSERT_EQ(Set("v", "1"), 0);
    HKEY reader = nullptr;
    HKEY writer = nullptr;
    ASSERT_EQ(::RegOpenKeyExA(m_hKey, "", 0, KEY_READ, &reader), 0);
    ASSERT_EQ(::RegOpenKeyExA(m_hKey, nullptr, 0, KEY_WRITE, &writer), 0);
    char name[8];
    DWORD size = 8;
    const auto ask = [&](HKEY key) {
        return std::array{::RegSetValueExA(key, "w", 0, REG_BINARY, nullptr, 0),
                          ::RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, nullptr),
                          ::RegEnumValueA(key, 9, name, &size, nullptr, nullptr, nullptr, nullptr),
                          ::RegEnumKeyExA(key, 9, name, &size, nullptr, nullptr, nullptr, nullptr)};
    };
    using Answers = std::array<LSTATUS, 4>;
    EXPECT_EQ(ask(reader), (Answers{5, 0, 259, 259}));
    EXPECT_EQ(ask(writer), (Answers{0, 5, 5, 5}));
    EXPECT_EQ(::WaitForSingleObject(reader, 0), WAIT_FAILED);
    for (const HKEY key : {reader, writer, HKEY_CURRENT_USER}) {
        EXPECT_EQ(::RegCloseKey(key), 0);
    }
    for (const HKEY key : {reader, writer, HKEY{}, reinterpret_cast<HKEY>(0x123450)}) {
        EXPECT_EQ(ask(key), (Answers{6, 6, 6, 6}));
    }
}

#ifndef _WIN32

TEST_F(RegistryTest, DamagedFilesAreToldApartFromMissingOnes) {
    const auto file = m_registry.Path() / "user/software/korvane designs" / m_registry.product / "v.value";
    const std::string values = "gaizior value ";
    for (const std::string& damaged :
         {std::string(), values, values + "1 3 1 3\nv\n12", values + "1 3 1 3\nv\n1234", values + "2 3 1 3\nv\n123",
          values + "1 3 1 99999999999999999999\nv\n123", values + "1 3 18446744073709551615 4\nv\n123",
          values + "1 -3 1 3\nv\n123", values + "1 3 1 3 v\n123", values + "1 3 1 3\nw\n123",
          std::string(3 << 20, '1')}) {
        ASSERT_TRUE(SaveFile(file.c_str(), damaged));
        EXPECT_EQ(Get("v"), "1009") << damaged.substr(0, 60);
    }
    EXPECT_EQ(Set("v", "mended"), 0);
    EXPECT_EQ(Get("v"), "3:mended");
    ASSERT_TRUE(SaveFile(file.c_str(), values + "1 3 1 3\nV\n123"));
    EXPECT_EQ(Get("v"), "3:123") << "this is how they look";
    std::filesystem::remove_all(file.parent_path());
    EXPECT_EQ(Get("v"), "1018");
    EXPECT_EQ(Set("v", "new"), 1018);
}

#endif

} // namespace
} // namespace gaizior::test
