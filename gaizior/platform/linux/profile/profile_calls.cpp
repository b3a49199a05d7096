#include "gaizior/platform/file_lock.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/linux/profile/edit.h"
#include "gaizior/platform/linux/profile/encoding.h"
#include "gaizior/platform/linux/profile/lines.h"
#include "gaizior/platform/linux/profile/profile_cache.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>

namespace {

using namespace gaizior;
using namespace gaizior::platform;

constexpr DWORD kLongestWait = 60'000; // ms, for others that write in the same folder

DWORD CopyValue(std::string_view value, char* buffer, DWORD size) {
    const std::size_t count = value.copy(buffer, size - 1);
    buffer[count] = '\0';
    return static_cast<DWORD>(count);
}

/// The names and one more NUL; two behind names that are cut.
DWORD CopyNames(std::string_view names, char* buffer, DWORD size) {
    const std::size_t count = names.copy(buffer, size - std::min<DWORD>(size, 2));
    std::fill_n(buffer + count, std::min<std::size_t>(size - count, 2), '\0');
    return static_cast<DWORD>(count);
}

std::string_view DefaultOf(const char* text) {
    std::string_view value = text ? text : "";
    value.remove_suffix(value.size() - (value.find_last_not_of(' ') + 1));
    return Unquoted(value);
}

DWORD Read(const char* section, const char* key, const char* defaultValue, char* buffer, DWORD size, const char* path) {
    const std::shared_ptr<const Profile> profile = ReadProfile(path);
    if (profile) {
        ::SetLastError(NO_ERROR);
    }
    if (!section) {
        return CopyNames(profile ? profile->Sections() : std::string(), buffer, size);
    }
    const std::string_view sectionName = TrimBlanks(section);
    if (!key) {
        const std::string names = profile ? profile->Keys(sectionName) : std::string();
        return names.empty() ? CopyValue(DefaultOf(defaultValue), buffer, size) : CopyNames(names, buffer, size);
    }
    const std::optional<std::string_view> value = profile ? profile->Find(sectionName, TrimBlanks(key)) : std::nullopt;
    return CopyValue(value ? *value : DefaultOf(defaultValue), buffer, size);
}

bool ReadToEdit(const char* path, std::string& contents) {
    return ReadWholeFile(path, contents, kLargestProfile) || ::GetLastError() == ERROR_FILE_NOT_FOUND;
}

bool Write(const char* section, const char* key, const char* value, const char* path) {
    FileLock lock;
    std::string contents;
    if (!lock.Acquire(path, kLongestWait) || !ReadToEdit(path, contents)) {
        return false;
    }
    const ProfileEncoding encoding = EncodingOf(contents);
    const std::string before = DecodeProfile(std::move(contents), encoding);
    std::string text = EditProfile(before, section, key, value);
    if (text == before && !(key && value)) {
        return true; // there was nothing to remove
    }
    const std::string file = EncodeProfile(std::move(text), encoding);
    return file.size() <= kLargestProfile ? SaveFile(path, file) : Fail(ERROR_FILE_TOO_LARGE);
}

} // namespace

inline namespace gaizior_windows_api {

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue, char* buffer, DWORD size,
                               const char* path) {
    if (!buffer || size == 0) {
        return 0;
    }
    *buffer = '\0';
    return NoThrow([&] { return Read(section, key, defaultValue, buffer, size, path); });
}

BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value, const char* path) {
    return NoThrow([&]() -> BOOL {
        if (!section) {
            ForgetProfiles();
            return Fail(ERROR_FILE_NOT_FOUND);
        }
        return Write(section, key, value, path);
    });
}

} // namespace gaizior_windows_api
