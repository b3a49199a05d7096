#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/support/preferences.h"
#include "apps/support/suggest.h"
#include "gaizior/config/prefs.h"
#include "gaizior/errors/folded_code.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <limits>
#include <map>

namespace apps {
namespace {

constexpr std::size_t kParts = 3;

struct Preference {
    std::string name;
    bool isNumber = false;
    std::string value; ///< as it is shown
    bool fromMachine = false;
};

struct IgnoringCase {
    bool operator()(const std::string& left, const std::string& right) const {
        return std::ranges::lexicographical_compare(left, right, {}, Lower, Lower);
    }
    static int Lower(unsigned char character) {
        return std::tolower(character);
    }
};
using Preferences = std::map<std::string, Preference, IgnoringCase>;

/// The key's parts; none where it has not three of them.
std::vector<std::string> PartsOf(const std::string& path) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find_first_of("/\\", begin), path.size());
        parts.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    const bool isWhole = parts.size() == kParts && std::ranges::none_of(parts, &std::string::empty);
    return isWhole ? parts : std::vector<std::string>();
}

Failure NoKey(const char* function, const PrefsKey& key) {
    return Fail(function, kInvalidParameter, Exit::kUsage,
                "'" + key.path + "' is no key of preferences: it has three parts, as in " + DefaultPrefsKey());
}

const char* LevelName(bool machine) {
    return machine ? "machine" : "user";
}

/// A number in decimal digits, a text up to a NUL, anything else in hexadecimal ones.
Preference MakePreference(const std::string& name, DWORD type, std::string_view data, bool fromMachine) {
    DWORD number = 0;
    if (type == REG_DWORD && data.size() == sizeof number) {
        std::copy_n(data.data(), sizeof number, reinterpret_cast<char*>(&number));
        return {name, true, std::to_string(number), fromMachine};
    }
    if (type == REG_SZ) {
        return {name, false, std::string(data.substr(0, data.find('\0'))), fromMachine};
    }
    std::string digits;
    for (const char byte : data) {
        std::array<char, 4> pair{};
        std::snprintf(pair.data(), pair.size(), "%02X", unsigned{static_cast<unsigned char>(byte)});
        digits += pair.data();
    }
    return {name, false, digits, fromMachine};
}

/// Reads all values of a level but damaged ones, which standard error tells of; a key that is missing has none.
Outcome ReadLevel(const std::string& path, bool machine, Preferences& found) {
    constexpr DWORD kLongestName = 16384;
    constexpr DWORD kLargestValue = 1u << 20;
    constexpr int kMostDamaged = 1000; // then there is no end to them
    int damaged = 0;
    HKEY key = nullptr;
    LONG error = ::RegOpenKeyExA(machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key);
    if (error == ERROR_FILE_NOT_FOUND) {
        return std::nullopt;
    }
    std::string name(kLongestName, '\0');
    std::string data(kLargestValue, '\0');
    for (DWORD i = 0; key && (error == ERROR_SUCCESS || (error == ERROR_BADDB && damaged < kMostDamaged)); ++i) {
        DWORD type = 0;
        DWORD nameLength = kLongestName;
        DWORD size = kLargestValue;
        error = ::RegEnumValueA(key, i, name.data(), &nameLength, nullptr, &type, reinterpret_cast<BYTE*>(data.data()),
                                &size);
        if (error == ERROR_SUCCESS) {
            const Preference preference =
                MakePreference(name.substr(0, nameLength), type, std::string_view(data).substr(0, size), machine);
            found.insert_or_assign(preference.name, preference);
        } else if (error == ERROR_BADDB) {
            ++damaged;
            std::fprintf(stderr, "bench: a damaged preference of the %s's level is left out\n", LevelName(machine));
        }
    }
    if (key) {
        ::RegCloseKey(key);
    }
    if (error == ERROR_NO_MORE_ITEMS) {
        return std::nullopt;
    }
    const auto code = gaizior::FoldSystemError(static_cast<DWORD>(error));
    return Fail("ReadLevel(): ", code, Exit::kFailed,
                std::string("the ") + LevelName(machine) + "'s preferences cannot be read: " + ErrorText(code));
}

/// What holds for the user: the machine's values, and over them the user's own, which stand also where the machine's
/// may not be read; standard error tells that then.
Outcome ReadPreferences(const PrefsKey& key, Preferences& found) {
    const std::vector<std::string> parts = PartsOf(key.path);
    if (parts.empty()) {
        return NoKey("ReadPreferences(): ", key);
    }
    const std::string path =
        std::string("SOFTWARE\\") + CZRPrefs::m_pPathRoot + '\\' + parts[0] + '\\' + parts[1] + '\\' + parts[2];
    Outcome failure = ReadLevel(path, true, found);
    if (key.machine) {
        return failure;
    }
    if (failure) {
        std::fprintf(stderr, "bench: %s\n", failure->text.c_str());
    }
    return ReadLevel(path, false, found);
}

std::string AsJson(const Preference& preference) {
    JsonObject object;
    object.Text("name", preference.name);
    if (preference.isNumber) {
        object.Value("value", preference.value);
    } else {
        object.Text("value", preference.value);
    }
    return object.Text("from", LevelName(preference.fromMachine)).Json();
}

std::optional<unsigned long> ParseNumber32(const std::string& text) {
    unsigned long long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool fits =
        error == std::errc() && end == text.data() + text.size() && number <= std::numeric_limits<std::uint32_t>::max();
    return fits ? std::optional(static_cast<unsigned long>(number)) : std::nullopt;
}

bool IsNumberAlways(const std::string& name) {
    return std::ranges::any_of(kNumberPrefs, [&](const char* number) { return IsSameName(name, number); });
}

/// Whether what is set is a number: as the system reads it, as it was told, as it was before, or as it looks.
bool IsToBeNumber(const SetPrefOptions& options, const Preferences& found) {
    if (IsNumberAlways(options.name)) {
        return true;
    }
    if (!options.type.empty()) {
        return options.type == "number";
    }
    const auto before = found.find(options.name);
    return before == found.end() ? ParseNumber32(options.value).has_value() : before->second.isNumber;
}

} // namespace

std::string DefaultPrefsKey() {
    return std::string(kProductPart) + '/' + kImagerPart + '/' + std::to_string(kBenchId + 1);
}

Outcome ListPrefsCommand(const ListPrefsOptions& options) {
    Preferences found;
    if (Outcome failure = ReadPreferences(options, found)) {
        return failure;
    }
    if (options.json) {
        JsonArray array;
        for (const auto& [name, preference] : found) {
            array.Add(AsJson(preference));
        }
        const JsonObject object = JsonObject().Text("key", options.path).Value("preferences", array.Json());
        std::printf("%s\n", object.Json().c_str());
        return std::nullopt;
    }
    std::size_t width = 0;
    for (const auto& [name, preference] : found) {
        width = std::max(width, Characters(Printable(name)));
    }
    for (const auto& [name, preference] : found) {
        const std::string row = Padded(Printable(name), width) + "  " + Padded(LevelName(preference.fromMachine), 7) +
                                "  " + Printable(preference.value);
        std::printf("%s\n", Shortened(row, OutputColumns()).c_str());
    }
    return std::nullopt;
}

Outcome GetPrefCommand(const GetPrefOptions& options) {
    Preferences found;
    if (Outcome failure = ReadPreferences(options, found)) {
        return failure;
    }
    const auto it = found.find(options.name);
    if (it == found.end()) {
        std::vector<std::string> names;
        std::ranges::transform(found, std::back_inserter(names), [](const auto& entry) { return entry.first; });
        return Fail("GetPrefCommand(): ", kNameNotFound, Exit::kNotFound,
                    options.path + " has no preference '" + options.name + "'" + Suggestion(options.name, names));
    }
    std::printf("%s\n", options.json ? AsJson(it->second).c_str() : Printable(it->second.value).c_str());
    return std::nullopt;
}

Outcome SetPrefCommand(const SetPrefOptions& options) {
    constexpr const char* kFunction = "SetPrefCommand(): ";
    const std::vector<std::string> parts = PartsOf(options.path);
    if (parts.empty()) {
        return NoKey(kFunction, options);
    }
    Preferences found;
    if (Outcome failure = ReadPreferences(options, found)) {
        return failure;
    }
    const std::optional<unsigned long> number = ParseNumber32(options.value);
    const bool isNumber = IsToBeNumber(options, found);
    if (isNumber && !number) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    "'" + options.value + "' is no number from 0 to 4294967295, as " + options.name + " is" +
                        (IsNumberAlways(options.name) ? "" : ": --type text makes it a text"));
    }
    if (IsSameName(options.name, kHistoryLinesPref) && number == 0UL) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage, "a history has 1 line at least: 0 would empty it");
    }
    CZRPrefs prefs(parts[0].c_str(), parts[1].c_str(), parts[2].c_str());
    const auto save = [&](auto value) {
        return options.machine ? prefs.SaveAppParam(options.name.c_str(), value)
                               : prefs.SaveUsrParam(options.name.c_str(), value, 0);
    };
    const auto code = isNumber ? save(*number) : save(options.value.c_str());
    if (code != ZRErrors::e_General_NoError) {
        return Fail(kFunction, code, Exit::kFailed,
                    options.name + " cannot be saved at the " + LevelName(options.machine) +
                        "'s level: " + ErrorText(code));
    }
    return options.json ? GetPrefCommand(options) : Outcome();
}

} // namespace apps
