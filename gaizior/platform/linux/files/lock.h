#pragma once

#include "gaizior/platform/file_handle.h"
#include "gaizior/platform/windows_api.h"

namespace gaizior::platform {

/// Takes the lock of an open file or folder, which file_system::Unlock gives back. @returns false with the last error
/// set, 1460 when others kept it all the time.
bool LockFile(const FileHandle& file, DWORD milliseconds);

} // namespace gaizior::platform
