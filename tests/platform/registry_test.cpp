// The registry's calls: what they answer, and what becomes of keys and values. Runs on both systems; Windows decides.

#include "gaizior/platform/file_call.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/files.h"
#include "tests/support/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <tuple>
#include <vector>

namespace gaizior::test {
namespace {

using Names = std::vector<std::string>;

class RegistryTest : public testing::Test {
protected:
    RegistryTest() {
        EXPECT_EQ(Create(HKEY_CURRENT_USER, m_registry.Path().c_str(), &m_hKey), REG_CREATED_NEW_KEY);
    }
    ~RegistryTest() override {
        EXPECT_EQ(::RegCloseKey(m_hKey), 0);
    }
    /// What it did, or minus its error.
    static LONGLONG Create(HKEY parent, const char* path, HKEY* key) {
        DWORD disposition = 0;
        const LSTATUS error = ::RegCreateKeyExA(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                                                nullptr, key, &disposition);
        return error ? -LONGLONG{error} : disposition;
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
    Names ListKeys() const {
        Names names;
        char name[300];
        for (DWORD size = sizeof(name); ::RegEnumKeyExA(m_hKey, static_cast<DWORD>(names.size()), name, &size, nullptr,
                                                        nullptr, nullptr, nullptr) == 0;
             size = sizeof(name)) {
            names.emplace_back(name, size);
        }
        return names;
    }
    Names ListValues() const {
        Names names;
        std::vector<char> name(20'000);
        for (DWORD size = 20'000; ::RegEnumValueA(m_hKey, static_cast<DWORD>(names.size()), name.data(), &size, nullptr,
                                                  nullptr, nullptr, nullptr) == 0;
             size = 20'000) {
            names.emplace_back(name.data(), size);
        }
        return names;
    }

    PrivateRegistry m_registry;
    HKEY m_hKey = nullptr;
};

TEST_F(RegistryTest, KeysOfAnyNameAreMadeOnceIgnoreCaseAndKeepTheirSpelling) {
    const std::string longest(255, '%');
    // A path, what creating it does, and what opening it with another case answers then.
    const std::tuple<std::string, LONGLONG, LSTATUS> cases[] = {{"Screen\\\\Deep\\", REG_CREATED_NEW_KEY, 0},
                                                                {"SCREEN", REG_OPENED_EXISTING_KEY, 0},
                                                                {".", REG_CREATED_NEW_KEY, 0},
                                                                {"..", REG_CREATED_NEW_KEY, 0},
                                                                {"a/../B", REG_CREATED_NEW_KEY, 0},
                                                                {longest, REG_CREATED_NEW_KEY, 0},
                                                                {longest + "%%", -87, 87},
                                                                {"\\Screen", -161, 161}};
    for (const auto& [path, created, opened] : cases) {
        HKEY key = nullptr;
        EXPECT_EQ(Create(m_hKey, path.c_str(), &key), created) << path;
        EXPECT_EQ(::RegCloseKey(key), created > 0 ? 0 : 6) << path;
        std::string lower = path;
        std::ranges::transform(lower, lower.begin(), [](char c) { return c == 'S' || c == 'B' ? c + 32 : c; });
        EXPECT_EQ(::RegOpenKeyExA(m_hKey, lower.c_str(), 0, KEY_READ, &key), opened) << path;
        EXPECT_EQ(::RegCloseKey(key), opened == 0 ? 0 : 6) << path;
    }
    Names names = ListKeys();
    std::ranges::sort(names);
    EXPECT_EQ(names, (Names{longest, ".", "..", "Screen", "a/../B"}));
    HKEY key = m_hKey;
    EXPECT_EQ(::RegOpenKeyExA(m_hKey, "none\\below", 0, KEY_READ, &key), 2);
    EXPECT_EQ(key, nullptr);
}

TEST_F(RegistryTest, ValuesOfAnyNameComeBackWholeAndKeepTheirSpelling) {
    const std::string longest(16'383, 'N');
    for (const std::string& name : {std::string("Screen"), std::string("."), std::string("../.."),
                                    std::string("a\\b\n"), std::string("screen.value"), std::string(), longest}) {
        EXPECT_EQ(Set(name, "of " + name.substr(0, 20)), 0) << name;
    }
    HKEY key = nullptr;
    EXPECT_EQ(Create(m_hKey, "Screen", &key), REG_CREATED_NEW_KEY) << "a value and a key may share a name";
    ::RegCloseKey(key);
    EXPECT_EQ(Set("SCREEN", std::string_view("1\0\r\n\x1a 2", 7), 4242), 0);
    EXPECT_EQ(Get("sCREEN"), std::string("4242:1\0\r\n\x1a 2", 12));
    EXPECT_EQ(Get(""), "3:of ");
    EXPECT_EQ(Get("../.."), "3:of ../..");
    EXPECT_EQ(Get(longest), "3:of " + longest.substr(0, 20));
    EXPECT_EQ(Set(longest + "N", ""), 87);
    EXPECT_EQ(Get(longest + "N"), "2");
    Names names = ListValues();
    std::ranges::sort(names);
    EXPECT_EQ(names, (Names{"", ".", "../..", longest, "Screen", "a\\b\n", "screen.value"}));
}

TEST_F(RegistryTest, TellsWhatDoesNotFitAndEndsTexts) {
    ASSERT_EQ(Set("text", std::string_view("abcdef", 3), REG_SZ), 0);
    for (const auto& [room, answer] : {std::pair{2u, "234"}, {3u, "1:abc"}, {4u, "1:abc"}}) {
        EXPECT_EQ(Get("text", room), answer) << room;
    }
    DWORD type = 0;
    DWORD size = 4;
    DWORD nameSize = 4;
    BYTE data[] = {'#', '#', '#', '#', '#'};
    char name[8] = "#";
    const auto query = [&](BYTE* to, DWORD* its, DWORD* reserved = nullptr) {
        return ::RegQueryValueExA(m_hKey, "text", reserved, &type, to, its);
    };
    EXPECT_EQ(query(data, &size), 0);
    EXPECT_EQ(std::string(data, std::end(data)), std::string("abc\0#", 5));
    EXPECT_EQ(query(nullptr, &size), 0);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(query(nullptr, nullptr), 0);
    EXPECT_EQ(query(data, nullptr), 87);
    EXPECT_EQ(query(data, &size, &type), 87);
    EXPECT_EQ(::RegEnumValueA(m_hKey, 0, name, &nameSize, nullptr, nullptr, nullptr, nullptr), 234);
    EXPECT_EQ(::RegEnumValueA(m_hKey, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(::RegEnumValueA(m_hKey, 1, name, &++nameSize, nullptr, nullptr, nullptr, nullptr), 259);
    EXPECT_EQ(::RegEnumKeyExA(m_hKey, 0, name, &nameSize, nullptr, nullptr, nullptr, nullptr), 259);
    EXPECT_EQ(::RegSetValueExA(m_hKey, "null", 0, REG_BINARY, nullptr, 1), 998);
    EXPECT_EQ(::RegCreateKeyExA(m_hKey, "reserved", 1, nullptr, 0, KEY_READ, nullptr, &m_hKey, nullptr), 87);
}

TEST_F(RegistryTest, AHandleAllowsWhatItWasOpenedForUntilItIsClosed) {
    ASSERT_EQ(Set("v", "1"), 0);
    HKEY reader = nullptr;
    HKEY writer = nullptr;
    ASSERT_EQ(::RegOpenKeyExA(m_hKey, "", 0, KEY_READ, &reader), 0);
    ASSERT_EQ(::RegOpenKeyExA(m_hKey, nullptr, 0, KEY_WRITE, &writer), 0);
    const HANDLE event = ::CreateEventA(nullptr, TRUE, TRUE, nullptr);
    const BYTE data = '2';
    char name[8];
    DWORD size = 8;
    const auto ask = [&](HKEY key) {
        return std::array{::RegSetValueExA(key, "w", 0, REG_BINARY, &data, 1),
                          ::RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, nullptr),
                          ::RegEnumValueA(key, 9, name, &size, nullptr, nullptr, nullptr, nullptr),
                          ::RegEnumKeyExA(key, 9, name, &size, nullptr, nullptr, nullptr, nullptr)};
    };
    using Answers = std::array<LSTATUS, 4>;
    EXPECT_EQ(ask(reader), (Answers{5, 0, 259, 259}));
    EXPECT_EQ(ask(writer), (Answers{0, 5, 5, 5}));
    EXPECT_EQ(::WaitForSingleObject(reader, 0), WAIT_FAILED);
    EXPECT_EQ(::RegCloseKey(reader), 0);
    EXPECT_EQ(::RegCloseKey(writer), 0);
    EXPECT_EQ(::RegCloseKey(HKEY_CURRENT_USER), 0) << "this one is always open";
    for (const HKEY key : {reader, writer, HKEY{}, static_cast<HKEY>(event), reinterpret_cast<HKEY>(0x123450)}) {
        EXPECT_EQ(ask(key), (Answers{6, 6, 6, 6}));
        EXPECT_EQ(::RegOpenKeyExA(key, "x", 0, KEY_READ, &reader), 6);
    }
    ::CloseHandle(event);
}

#ifndef _WIN32

TEST_F(RegistryTest, HoldsTheOldValueOrTheNewWhicheverFileCallFails) {
    const auto countFiles = [&] {
        return std::distance(std::filesystem::recursive_directory_iterator(m_registry.Folder()), {});
    };
    const auto tryEach = [&](const char* what, auto operation, auto check) {
        for (unsigned n = 1;; ++n) {
            SCOPED_TRACE(std::string(what) + ", call " + std::to_string(n));
            seams::FailFileCall(n, ERROR_DISK_FULL);
            const LONGLONG answer = operation();
            const bool hasFailed = seams::HasFileCallFailed();
            seams::FailFileCall(0, NO_ERROR);
            check(answer);
            if (!hasFailed) {
                EXPECT_GE(answer, 0);
                return;
            }
            EXPECT_TRUE(answer >= 0 || answer == -LONGLONG{ERROR_DISK_FULL}) << answer;
        }
    };
    ASSERT_EQ(Set("v", "old"), 0);
    const auto files = countFiles();
    tryEach(
        "replaced", [&] { return -LONGLONG{Set("V", "new")}; },
        [&](LONGLONG answer) {
            EXPECT_EQ(Get("v"), answer == 0 ? "3:new" : "3:old");
            EXPECT_EQ(countFiles(), files) << "nothing is left beside it";
            EXPECT_EQ(ListValues(), Names{"v"});
            EXPECT_EQ(Set("v", "old"), 0);
        });
    unsigned keys = 0;
    HKEY key = nullptr;
    tryEach(
        "made", [&] { return Create(m_hKey, ("Key" + std::to_string(keys)).c_str(), &key); },
        [&](LONGLONG answer) {
            keys += answer > 0;
            EXPECT_EQ(ListKeys().size(), keys);
            EXPECT_EQ(::RegCloseKey(key), answer > 0 ? 0 : 6);
        });
    char name[8];
    DWORD size = 8;
    tryEach(
        "listed",
        [&] { return -LONGLONG{::RegEnumKeyExA(m_hKey, 1, name, &(size = 8), nullptr, nullptr, nullptr, nullptr)}; },
        [&](LONGLONG answer) { EXPECT_TRUE(answer != 0 || std::string_view(name) == "Key1") << name; });
}

TEST_F(RegistryTest, DamagedFilesAreToldApartFromMissingOnes) {
    const std::filesystem::path file =
        m_registry.Folder() / "user/software/korvane designs" / m_registry.Product() / "v.value";
    ASSERT_EQ(Set("v", "123"), 0);
    std::string good;
    ASSERT_TRUE(ReadWholeFile(file.c_str(), good, 1000));
    ASSERT_EQ(good, "gaizior value 1 3 1 3\nv\n123") << "as docs/platform.md has it";
    const std::string cases[] = {"",
                                 "\x89PNG",
                                 good.substr(0, good.size() - 1),
                                 good + "4",
                                 "gaizior value 2 3 1 3\nv\n123",
                                 "gaizior value 1 3 1 99999999999999999999\nv\n123",
                                 "gaizior value 1 3 18446744073709551615 4\nv\n123",
                                 "gaizior value 1 -3 1 3\nv\n123",
                                 "gaizior value 1 3 1 3 v\n123",
                                 "gaizior value 1 3 1 3\nw\n123",
                                 std::string(3 << 20, '1')};
    for (const std::string& damaged : cases) {
        ASSERT_TRUE(SaveFile(file.c_str(), damaged));
        EXPECT_EQ(Get("v"), "1009") << damaged.substr(0, 60);
    }
    EXPECT_EQ(Set("v", "new"), 0) << "a write mends it";
    EXPECT_EQ(Get("v"), "3:new");
    std::filesystem::remove_all(file.parent_path());
    EXPECT_EQ(Get("v"), "1018");
    EXPECT_EQ(Set("v", "new"), 1018);
    const ScopedVariable gone("GAIZIOR_REGISTRY_DIR", "/proc/none");
    HKEY key = nullptr;
    EXPECT_EQ(Create(HKEY_LOCAL_MACHINE, "SOFTWARE", &key), -3) << "/proc takes no folders";
}

#endif

} // namespace
} // namespace gaizior::test
