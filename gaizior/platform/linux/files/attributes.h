#pragma once

#include "gaizior/platform/file_handle.h"

namespace gaizior::platform {

/// Gives `to` the attributes of `from` that Windows knows and Linux does not; false with the last error.
bool CopyAttributes(const FileHandle& to, const FileHandle& from);

} // namespace gaizior::platform
