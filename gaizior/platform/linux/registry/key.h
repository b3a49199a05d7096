#pragma once

#include "gaizior/platform/files.h"
#include "gaizior/platform/windows_api.h"

#include <memory>
#include <string>

namespace gaizior::platform {

/// An open key.
struct Key {
    std::string folder; ///< ends with a separator
    REGSAM access;      ///< what it was opened for
    FileAccess files;   ///< of those that are made in it
    bool isRoot;        ///< of a level: it is there without a folder
};

/// A handle for a key; null with the last error set.
HKEY NewKeyHandle(Key key);

/// The key that an open handle leads to, or the root of a level. @returns null with ERROR_INVALID_HANDLE for what is no
/// open key, ERROR_ACCESS_DENIED for one that was not opened for what is wanted, ERROR_PATH_NOT_FOUND where the level
/// has no place.
std::shared_ptr<const Key> KeyOf(HKEY handle, REGSAM wanted);

/// Closes what NewKeyHandle gave; false with ERROR_INVALID_HANDLE for anything else that is not a root.
bool CloseKey(HKEY handle);

} // namespace gaizior::platform
