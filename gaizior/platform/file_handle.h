#pragma once

/// What the system names an open file by, and who closes it.

#ifdef _WIN32
#include "gaizior/platform/unique_handle.h"
#else
#include "gaizior/platform/linux/system/unique_fd.h"
#endif

namespace gaizior {

#ifdef _WIN32
using FileHandle = UniqueHandle;
#else
using FileHandle = platform::UniqueFd;
#endif

} // namespace gaizior
