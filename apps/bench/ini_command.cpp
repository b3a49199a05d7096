#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/scratch_file.h"
#include "apps/support/suggest.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/values/guid_encrypt.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <sstream>
#include <system_error>

namespace apps {
namespace {

namespace fs = std::filesystem;

using Key = ZRGUIDEncryptC;

/// Whether a file's contents begin as an encoded one's do.
bool IsEncodedText(std::string_view contents) {
    return contents.starts_with("ZRENC\x1A");
}

/// Reads a whole file, plain or encoded.
Outcome Read(const std::string& path, std::string& contents) {
    if (ReadFile(path, contents)) {
        return std::nullopt;
    }
    std::error_code none;
    const bool isThere = fs::exists(path, none);
    return Fail("Read(): ", kFileNotRead, isThere ? Exit::kFailed : Exit::kNotFound,
                path + (isThere ? ": the file cannot be read" : ": there is no such file"));
}

/// What is wrong with a file that cannot be decoded.
Failure DecodeFailure(const char* function, const std::string& path, ZRErrors::ZRErrorT code) {
    if (code == ZRErrors::e_File_NotFound) {
        return Fail(function, code, Exit::kNotFound, path + ": there is no such file");
    }
    const char* const reason = code == ZRErrors::e_Object_BadMagic      ? "it is not encoded"
                               : code == ZRErrors::e_Object_InvalidData ? "it is damaged: encode it anew"
                               : code == ZRErrors::e_Guid_Invalid       ? "it was encoded with another key"
                                                                        : nullptr;
    return Fail(function, code, Exit::kFailed,
                path + ": the file cannot be decoded: " + (reason ? reason : ErrorText(code)));
}

/// An INI file as the profile functions take it; an encoded one has a decoded copy that its user alone may read.
class IniFile {
public:
    /// @param mayBeMissing whether a file that is not there yet is a plain, empty one.
    Outcome Open(const std::string& path, bool mayBeMissing) {
        constexpr const char* kFunction = "IniFile::Open(): ";
        m_path = fs::absolute(path).string(); // Windows looks for others in a folder of its own
        std::error_code none;
        if (mayBeMissing && !fs::exists(m_path, none)) {
            return std::nullopt;
        }
        std::string contents;
        Outcome failure = Read(path, contents);
        if (failure || !IsEncodedText(contents)) {
            return failure;
        }
        std::stringstream text;
        const auto code = Key::Decode(m_path.c_str(), text, Key::PUBLIC_KEY);
        if (code != ZRErrors::e_General_NoError) {
            return DecodeFailure(kFunction, path, code);
        }
        return Copy(text.str());
    }

    bool IsEncoded() const {
        return m_copy.has_value();
    }

    /// A value; nothing where there is no such key.
    std::optional<std::string> Value(const std::string& section, const std::string& key) const {
        constexpr const char* kNone = "\x01none\x01";
        const std::string value = Ask(section.c_str(), key.c_str(), kNone);
        return value == kNone ? std::nullopt : std::optional(value);
    }
    std::vector<std::string> Sections() const {
        return Split(Ask(nullptr, nullptr, nullptr));
    }
    std::vector<std::string> Keys(const std::string& section) const {
        return Split(Ask(section.c_str(), nullptr, nullptr));
    }

    Outcome Write(const SetIniOptions& setting) const {
        constexpr const char* kFunction = "IniFile::Write(): ";
        if (!Store(setting)) {
            const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
            return Fail(kFunction, code, Exit::kFailed, m_path + ": it cannot be written: " + ErrorText(code));
        }
        std::string contents;
        if (!m_copy) {
            return std::nullopt;
        }
        if (!ReadFile(m_copy->Path(), contents)) {
            return Fail(kFunction, kFileNotRead, Exit::kFailed, m_copy->Path() + ": the copy cannot be read");
        }
        std::stringstream text(contents);
        const auto code = Key::Encode(m_path.c_str(), text, Key::PUBLIC_KEY);
        return code == ZRErrors::e_General_NoError
                   ? Outcome()
                   : Fail(kFunction, code, Exit::kFailed, m_path + ": it cannot be encoded: " + ErrorText(code));
    }

    /// Whether an INI file gives the value back as it was told: the profile functions take outer blanks and quotes off.
    static Outcome TryOut(const SetIniOptions& setting) {
        IniFile trial;
        trial.m_path = setting.file;
        if (Outcome failure = trial.Copy({})) {
            return failure;
        }
        const bool isKept = trial.Store(setting) && trial.Value(setting.section, setting.key) == setting.value;
        return isKept ? Outcome()
                      : Fail("IniFile::TryOut(): ", kInvalidParameter, Exit::kUsage,
                             "an INI file cannot hold '" + setting.value +
                                 "': outer blanks and quotes are none of a value's");
    }

private:
    /// Makes the working copy.
    Outcome Copy(const std::string& contents) {
        m_copy.emplace();
        return m_copy->Write(contents)
                   ? Outcome()
                   : Fail("IniFile::Copy(): ", kFileNotWritten, Exit::kFailed,
                          m_path + ": no working copy can be made: check the folder for temporary files");
    }

    bool Store(const SetIniOptions& setting) const {
        return ::WritePrivateProfileStringA(setting.section.c_str(), setting.key.c_str(), setting.value.c_str(),
                                            WorkingPath().c_str()) != 0;
    }

    std::string WorkingPath() const {
        return m_copy ? m_copy->Path() : m_path;
    }

    std::string Ask(const char* section, const char* key, const char* otherwise) const {
        std::string buffer(256, '\0');
        DWORD length = 0;
        do {
            buffer.resize(2 * buffer.size());
            length = ::GetPrivateProfileStringA(section, key, otherwise, buffer.data(),
                                                static_cast<DWORD>(buffer.size()), WorkingPath().c_str());
        } while (length + 2 >= buffer.size());
        return buffer.substr(0, length);
    }

    /// Names that each end with a NUL, every one once in whatever case.
    static std::vector<std::string> Split(const std::string& list) {
        std::vector<std::string> names;
        std::istringstream stream(list);
        for (std::string name; std::getline(stream, name, '\0');) {
            const auto isSame = [&](const std::string& other) { return IsSameName(name, other); };
            if (!name.empty() && std::ranges::none_of(names, isSame)) {
                names.push_back(name);
            }
        }
        return names;
    }

    std::string m_path;
    std::optional<ScratchFile> m_copy;
};

Outcome NoSection(const std::string& file, const std::string& section, const std::vector<std::string>& sections) {
    return Fail("NoSection(): ", kNameNotFound, Exit::kNotFound,
                file + " has no section '" + section + "'" + Suggestion(section, sections));
}

std::string AsJson(const IniFile& ini, const std::string& section) {
    JsonArray settings;
    for (const std::string& key : ini.Keys(section)) {
        settings.Add(JsonObject().Text("key", key).Text("value", ini.Value(section, key).value_or("")).Json());
    }
    return JsonObject().Text("name", section).Value("settings", settings.Json()).Json();
}

/// What an INI file has no room for in a name or value; null for nothing.
const char* Obstacle(const SetIniOptions& setting) {
    const std::string& key = setting.key;
    return HasControl(setting.section + key + setting.value) ? "a control character"
           : setting.section.empty() || key.empty()          ? "a setting without a name"
           : setting.section.find(']') != std::string::npos  ? "']' in a section's name"
           : key.find('=') != std::string::npos || key[0] == ';' || key[0] == '['
               ? "'=' in a key, or ';' or '[' before it"
               : nullptr;
}

void Print(const IniFile& ini, const std::string& section) {
    std::printf("[%s]\n", Printable(section).c_str());
    for (const std::string& key : ini.Keys(section)) {
        std::printf("%s=%s\n", Printable(key).c_str(), Printable(ini.Value(section, key).value_or("")).c_str());
    }
}

} // namespace

Outcome GetIniCommand(const GetIniOptions& options) {
    IniFile ini;
    if (Outcome failure = ini.Open(options.file, false)) {
        return failure;
    }
    const std::optional<std::string> value = ini.Value(options.section, options.key);
    if (!value) {
        const std::vector<std::string> keys = ini.Keys(options.section);
        return keys.empty() ? NoSection(options.file, options.section, ini.Sections())
                            : Fail("GetIniCommand(): ", kNameNotFound, Exit::kNotFound,
                                   options.file + ": section '" + options.section + "' has no key '" + options.key +
                                       "'" + Suggestion(options.key, keys));
    }
    const JsonObject object = JsonObject()
                                  .Text("section", options.section)
                                  .Text("key", options.key)
                                  .Text("value", *value)
                                  .Bool("encoded", ini.IsEncoded());
    std::printf("%s\n", options.json ? object.Json().c_str() : Printable(*value).c_str());
    return std::nullopt;
}

Outcome SetIniCommand(const SetIniOptions& options) {
    if (const char* const obstacle = Obstacle(options)) {
        return Fail("SetIniCommand(): ", kInvalidParameter, Exit::kUsage,
                    std::string("an INI file cannot hold ") + obstacle);
    }
    if (Outcome failure = IniFile::TryOut(options)) {
        return failure;
    }
    IniFile ini;
    Outcome failure = ini.Open(options.file, true);
    if (!failure) {
        failure = ini.Write(options);
    }
    return failure || !options.json ? failure : GetIniCommand(options);
}

Outcome ListIniCommand(const ListIniOptions& options) {
    IniFile ini;
    if (Outcome failure = ini.Open(options.file, false)) {
        return failure;
    }
    std::vector<std::string> sections = ini.Sections();
    if (!options.section.empty()) {
        if (ini.Keys(options.section).empty() && std::ranges::find(sections, options.section) == sections.end()) {
            return NoSection(options.file, options.section, sections);
        }
        sections = {options.section};
    }
    JsonArray array;
    for (const std::string& section : sections) {
        if (options.json) {
            array.Add(AsJson(ini, section));
        } else {
            Print(ini, section);
        }
    }
    if (options.json) {
        const JsonObject object =
            JsonObject().Text("file", options.file).Bool("encoded", ini.IsEncoded()).Value("sections", array.Json());
        std::printf("%s\n", object.Json().c_str());
    }
    return std::nullopt;
}

Outcome EncodeIniCommand(const EncodeIniOptions& options) {
    constexpr const char* kFunction = "EncodeIniCommand(): ";
    std::string contents;
    if (Outcome failure = Read(options.file, contents)) {
        return failure;
    }
    if (IsEncodedText(contents)) {
        return Fail(kFunction, kFileFormat, Exit::kFailed, options.file + ": the file is encoded already");
    }
    std::stringstream text(contents);
    const auto code = Key::Encode(options.to.c_str(), text, Key::PUBLIC_KEY);
    if (code != ZRErrors::e_General_NoError) {
        return Fail(kFunction, code, Exit::kFailed, options.to + ": it cannot be written: " + ErrorText(code));
    }
    if (options.json) {
        std::printf("%s\n", JsonObject().Text("file", options.file).Text("to", options.to).Json().c_str());
    }
    return std::nullopt;
}

Outcome DecodeIniCommand(const DecodeIniOptions& options) {
    constexpr const char* kFunction = "DecodeIniCommand(): ";
    std::stringstream text;
    const auto code = Key::Decode(options.file.c_str(), text, Key::PUBLIC_KEY);
    if (code != ZRErrors::e_General_NoError) {
        return DecodeFailure(kFunction, options.file, code);
    }
    if (!options.to.empty()) {
        const ScratchFile scratch(options.to);
        if (!scratch.Write(text.str()) || !scratch.Save()) {
            return Fail(kFunction, kFileNotWritten, Exit::kFailed, options.to + ": the file cannot be written");
        }
    }
    const std::string contents = options.to.empty() ? text.str() : std::string();
    if (options.json) {
        JsonObject object;
        object.Text("file", options.file).TextOrNull("to", options.to);
        options.to.empty() ? object.Text("text", contents) : object.Null("text");
        std::printf("%s\n", object.Json().c_str());
    } else {
        std::fwrite(contents.data(), 1, contents.size(), stdout);
    }
    return std::nullopt;
}

} // namespace apps
