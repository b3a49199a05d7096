#include "gaizior/platform/error_keeper.h"
#include "gaizior/platform/linux/registry/key.h"
#include "gaizior/platform/linux/registry/names.h"
#include "gaizior/platform/linux/registry/store.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using namespace gaizior::platform;

/// Runs the body of a call, which fails with the last error set. @returns that; the caller's is as before.
template <class Body>
LSTATUS Answer(Body&& body) {
    const gaizior::ErrorKeeper keeper;
    return static_cast<LSTATUS>(NoThrow(body) ? ERROR_SUCCESS : ::GetLastError());
}

std::string_view OrEmpty(const char* text) {
    return text ? text : "";
}

/// Takes the first name from a path of keys; empty at its end.
std::string_view TakeName(std::string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of('\\'), path.size()));
    const std::string_view name = path.substr(0, path.find('\\'));
    path.remove_prefix(name.size());
    return name;
}

/// Goes down a path of keys, calling visit(key, name) at each; false when that is.
template <class Visit>
bool Descend(Key& key, std::string_view path, Visit&& visit) {
    if (path.starts_with('\\')) {
        return Fail(ERROR_BAD_PATHNAME);
    }
    key.isRoot = key.isRoot && path.empty();
    key.folder.reserve(key.folder.size() + 2 * path.size());
    for (std::string_view name = TakeName(path); !name.empty(); name = TakeName(path)) {
        if (name.size() > kLongestKeyName) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        AppendDiskName(key.folder, name);
        key.folder += '/';
        if (!visit(key, name)) {
            return false;
        }
    }
    return true;
}

/// The key that a path leads to from an open one; nothing is looked at.
bool Find(HKEY handle, const char* path, Key& key) {
    const std::shared_ptr<const Key> start = KeyOf(handle, 0);
    if (!start) {
        return false;
    }
    key = *start;
    return Descend(key, OrEmpty(path), [](const Key&, std::string_view) { return true; });
}

bool Hand(Key key, REGSAM access, HKEY* result) {
    key.access = access;
    *result = NewKeyHandle(std::move(key));
    return *result != nullptr;
}

/// Makes those keys of a path that are not there. `isNew` tells whether the last one was made here.
bool Make(HKEY handle, const char* path, bool& isNew) {
    const std::shared_ptr<const Key> start = KeyOf(handle, 0);
    if (!start || (start->isRoot && !MakeRoot(*start))) {
        return false;
    }
    Key key = *start;
    return Descend(key, OrEmpty(path), [&](const Key& it, std::string_view name) {
        const bool isThere = KeyExists(it);
        isNew = !isThere && MakeKey(it, name);
        return isThere || isNew || ::GetLastError() == ERROR_FILE_EXISTS; // another process was faster
    });
}

/// Hands a text and its length out. @returns false with ERROR_MORE_DATA when it and its NUL do not fit.
bool GiveName(std::string_view text, char* name, DWORD* size) {
    if (text.size() >= *size) {
        return Fail(ERROR_MORE_DATA);
    }
    std::ranges::copy(text, name);
    name[text.size()] = '\0';
    *size = static_cast<DWORD>(text.size());
    return true;
}

bool IsText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

/// Hands out of a value what is asked for. @returns false with ERROR_MORE_DATA when the data do not fit.
bool GiveValue(const Value& value, DWORD* type, BYTE* data, DWORD* size) {
    const std::string_view bytes = value.data;
    const DWORD room = size ? *size : 0;
    if (type) {
        *type = value.type;
    }
    if (size) {
        *size = static_cast<DWORD>(bytes.size());
    }
    if (!data) {
        return true;
    }
    if (bytes.size() > room) {
        return Fail(ERROR_MORE_DATA);
    }
    std::ranges::copy(bytes, data);
    if (IsText(value.type) && bytes.size() < room && !bytes.ends_with('\0')) {
        data[bytes.size()] = '\0';
    }
    return true;
}

/// Lists a key's contents and picks what stands at `index`.
bool Pick(const Key& key, bool (*list)(const Key&, std::vector<std::string>&), DWORD index, std::string& name) {
    std::vector<std::string> names;
    if (!list(key, names)) {
        return false;
    }
    if (index >= names.size()) {
        return Fail(ERROR_NO_MORE_ITEMS);
    }
    name.swap(names[index]);
    return true;
}

} // namespace

inline namespace gaizior_windows_api {

LSTATUS RegOpenKeyExA(HKEY key, const char* path, DWORD /*options*/, REGSAM access, HKEY* result) {
    if (!result) {
        return ERROR_INVALID_PARAMETER;
    }
    return Answer([&] {
        *result = nullptr;
        Key found;
        return Find(key, path, found) && KeyExists(found) && Hand(std::move(found), access, result);
    });
}

LSTATUS RegCreateKeyExA(HKEY key, const char* path, DWORD reserved, char* /*keyClass*/, DWORD options, REGSAM access,
                        const SECURITY_ATTRIBUTES* /*attributes*/, HKEY* result, DWORD* disposition) {
    if (reserved != 0 || options != REG_OPTION_NON_VOLATILE || !result) {
        return ERROR_INVALID_PARAMETER;
    }
    return Answer([&] {
        *result = nullptr;
        Key found;
        bool isNew = false;
        if (!Find(key, path, found) || !(KeyExists(found) || Make(key, path, isNew)) ||
            !Hand(std::move(found), access, result)) {
            return false;
        }
        if (disposition) {
            *disposition = isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
        }
        return true;
    });
}

LSTATUS RegSetValueExA(HKEY key, const char* name, DWORD /*reserved*/, DWORD type, const BYTE* data, DWORD size) {
    if (!data && size > 0) {
        return ERROR_NOACCESS;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (OrEmpty(name).size() > kLongestValueName || size > kLargestData) {
        return ERROR_INVALID_PARAMETER;
    }
    return Answer([&] {
        const std::shared_ptr<const Key> open = KeyOf(key, KEY_SET_VALUE);
        return open && (!open->isRoot || MakeRoot(*open)) && WriteValue(*open, {type, OrEmpty(name), bytes});
    });
}

LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) {
    if (reserved || (data && !size)) {
        return ERROR_INVALID_PARAMETER;
    }
    return Answer([&] {
        const std::shared_ptr<const Key> open = KeyOf(key, KEY_QUERY_VALUE);
        StoredValue stored;
        return open && ReadValue(*open, OrEmpty(name), stored) && GiveValue(stored.value, type, data, size);
    });
}

LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* size) {
    if (!name || !nameSize || reserved || (data && !size)) {
        return ERROR_INVALID_PARAMETER;
    }
    return Answer([&] {
        const std::shared_ptr<const Key> open = KeyOf(key, KEY_QUERY_VALUE);
        std::string file;
        StoredValue stored;
        return open && Pick(*open, &ListValues, index, file) && ReadListedValue(*open, file, stored) &&
               GiveValue(stored.value, type, data, size) && GiveName(stored.value.name, name, nameSize);
    });
}

LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* keyClass,
                      DWORD* classSize, FILETIME* lastWrite) {
    if (!name || !nameSize || reserved || keyClass || classSize || lastWrite) {
        return ERROR_INVALID_PARAMETER;
    }
    return Answer([&] {
        const std::shared_ptr<const Key> open = KeyOf(key, KEY_ENUMERATE_SUB_KEYS);
        std::string folder;
        std::string keyName;
        return open && Pick(*open, &ListKeys, index, folder) && ReadKeyName(*open, folder, keyName) &&
               GiveName(keyName, name, nameSize);
    });
}

LSTATUS RegCloseKey(HKEY key) {
    return Answer([&] { return CloseKey(key); });
}

} // namespace gaizior_windows_api
