#pragma once

#include "gaizior/platform/linux/registry/key.h"
#include "gaizior/platform/linux/registry/value.h"

#include <string>
#include <string_view>
#include <vector>

/// Keys and values as they stand on the disk: a key is a folder with a file ".key", which holds its name, a value a
/// file of its key's folder, "NAME.value". All calls fail with the last error set: ERROR_BADDB for a file that is not
/// as it was made, ERROR_KEY_DELETED where the key's folder is gone.
namespace gaizior::platform {

/// Whether a key is there; ERROR_FILE_NOT_FOUND when not.
bool KeyExists(const Key& key);

/// Makes a key of `name` in its parent's folder. ERROR_FILE_EXISTS when it is there already.
bool MakeKey(const Key& key, std::string_view name);

/// Makes the folder of a root, which has no name.
bool MakeRoot(const Key& root);

/// A value's file, and what it says.
struct StoredValue {
    std::string text;
    Value value; ///< refers to `text`
};

bool ReadValue(const Key& key, std::string_view name, StoredValue& stored);
bool WriteValue(const Key& key, const Value& value);

/// What is in a key, in the order of names on the disk.
/// @{
bool ListValues(const Key& key, std::vector<std::string>& files);
bool ListKeys(const Key& key, std::vector<std::string>& folders);
/// @}

/// Reads what ListValues told.
bool ReadListedValue(const Key& key, const std::string& file, StoredValue& stored);
/// The name of a key that ListKeys told.
bool ReadKeyName(const Key& key, const std::string& folder, std::string& name);

} // namespace gaizior::platform
