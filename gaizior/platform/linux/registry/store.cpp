#include "gaizior/platform/linux/registry/store.h"

#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/linux/registry/names.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>
#include <array>

namespace gaizior::platform {
namespace {

constexpr char kNameFile[] = ".key";
constexpr char kValueSuffix[] = ".value";

bool FailedWith(DWORD error) {
    return ::GetLastError() == error;
}

/// Tells that the folder of an open key is gone.
bool FailInKey(const Key& key) {
    return Fail(FailedWith(ERROR_PATH_NOT_FOUND) && !key.isRoot ? ERROR_KEY_DELETED : ::GetLastError());
}

std::string ValueFile(std::string_view name) {
    std::string file;
    AppendDiskName(file, name);
    return file += kValueSuffix;
}

std::string NameFile(const Key& parent, const std::string& folder) {
    return parent.folder + folder + '/' + kNameFile;
}

/// Saves a small file. The old one or the new one survives a loss of power, as in the registry of Windows, which is
/// written to the disk some seconds after a change.
bool Save(const std::string& path, std::string_view text, FileAccess access, bool mayReplace) {
    FileReplacement file;
    return file.Open(path.c_str(), access) && file.Write(text) && file.Commit(mayReplace, AfterPowerLoss::EitherOne);
}

bool MakeFolder(const std::string& path, FileAccess access) {
    return CreateFolder(path.c_str(), access) || FailedWith(ERROR_ALREADY_EXISTS);
}

/// Makes a folder and those above it. `path` ends with a separator.
bool MakeFolders(const std::string& path, FileAccess access) {
    FileStatus status{};
    if (QueryFile(path.c_str(), status)) {
        return true;
    }
    const std::size_t end = path.find_last_of('/', path.size() - 2);
    const bool hasParent = end != std::string::npos && end > 0;
    return (!hasParent || MakeFolders(path.substr(0, end + 1), access)) && MakeFolder(path, access);
}

/// Lists what is in a key's folder and passes; nothing is in a root that has no folder yet.
template <class Passes>
bool List(const Key& key, std::vector<std::string>& names, Passes&& passes) {
    if (!ListFolder(key.folder.c_str(), names)) {
        return (key.isRoot && FailedWith(ERROR_PATH_NOT_FOUND)) || FailInKey(key);
    }
    std::erase_if(names, [&](const std::string& name) { return !passes(name); });
    std::ranges::sort(names);
    return true;
}

/// Reads a file, a small one with one read: less than it asked for is all that there is.
bool ReadSmallFile(const std::string& path, std::string& text) {
    File file = File::OpenToRead(path.c_str());
    std::array<char, 2048> block;
    std::size_t count = 0;
    if (!file || !file.Read(block.data(), block.size(), count)) {
        return false;
    }
    text.assign(block.data(), count);
    return count < block.size() || file.ReadToEnd(text, kLargestValueFile);
}

} // namespace

bool KeyExists(const Key& key) {
    FileStatus status{};
    if (key.isRoot || QueryFile((key.folder + kNameFile).c_str(), status)) {
        return true;
    }
    return Fail(FailedWith(ERROR_PATH_NOT_FOUND) ? ERROR_FILE_NOT_FOUND : ::GetLastError());
}

bool MakeKey(const Key& key, std::string_view name) {
    return MakeFolder(key.folder, key.files) && Save(key.folder + kNameFile, name, key.files, false);
}

bool MakeRoot(const Key& root) {
    return MakeFolders(root.folder, root.files);
}

bool ReadValue(const Key& key, std::string_view name, StoredValue& stored) {
    return ReadListedValue(key, ValueFile(name), stored);
}

bool WriteValue(const Key& key, const Value& value) {
    StoredValue old;
    const bool isThere = ReadValue(key, value.name, old);
    if (!isThere && !FailedWith(ERROR_FILE_NOT_FOUND) && !FailedWith(ERROR_BADDB)) {
        return false;
    }
    const std::string text = ToFileText({value.type, isThere ? old.value.name : value.name, value.data});
    return Save(key.folder + ValueFile(value.name), text, key.files, true) || FailInKey(key);
}

bool ListValues(const Key& key, std::vector<std::string>& files) {
    return List(key, files, [](const std::string& name) { return name.ends_with(kValueSuffix); });
}

bool ListKeys(const Key& key, std::vector<std::string>& folders) {
    bool isSure = true;
    const auto isKey = [&](const std::string& name) {
        FileStatus status{};
        if (!isSure || name.find('.') != std::string::npos) {
            return false;
        }
        const bool isThere = QueryFile(NameFile(key, name).c_str(), status);
        isSure = isThere || FailedWith(ERROR_FILE_NOT_FOUND) || FailedWith(ERROR_PATH_NOT_FOUND);
        return isThere;
    };
    return List(key, folders, isKey) && isSure;
}

bool ReadListedValue(const Key& key, const std::string& file, StoredValue& stored) {
    if (!ReadSmallFile(key.folder + file, stored.text)) {
        return FailedWith(ERROR_FILE_TOO_LARGE) ? Fail(ERROR_BADDB) : FailInKey(key);
    }
    const std::optional<Value> value = ReadFileText(stored.text);
    if (!value || ValueFile(value->name) != file) {
        return Fail(ERROR_BADDB);
    }
    stored.value = *value;
    return true;
}

bool ReadKeyName(const Key& key, const std::string& folder, std::string& name) {
    if (!ReadWholeFile(NameFile(key, folder).c_str(), name, kLongestKeyName)) {
        return FailedWith(ERROR_FILE_TOO_LARGE) ? Fail(ERROR_BADDB) : FailInKey(key);
    }
    std::string diskName;
    AppendDiskName(diskName, name);
    return diskName == folder || Fail(ERROR_BADDB);
}

} // namespace gaizior::platform
