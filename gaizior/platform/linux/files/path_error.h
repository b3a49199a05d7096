#pragma once

#include "gaizior/platform/linux/system/last_error.h"

#include <string>

namespace gaizior::platform {

/// Fails with the Windows number of the present errno for a call on `path`: a missing file is another number (2) than a
/// missing folder on the way to it (3).
BOOL FailPath(const std::string& path);

} // namespace gaizior::platform
