#pragma once

#include "gaizior/platform/windows_api.h"

namespace gaizior {

/// How finely MapWhole tells sizes apart: Windows knows a section's size by the page only, Linux by the byte.
#ifdef _WIN32
inline constexpr SIZE_T kSectionGranularity = 4096;
#else
inline constexpr SIZE_T kSectionGranularity = 1;
#endif

/// Maps a section for reading and writing that must have exactly `size` bytes. Any thread.
/// @returns null with ERROR_ACCESS_DENIED when it is shorter, ERROR_FILE_INVALID when it is longer, else as
///          MapViewOfFile.
GAIZIOR_API void* MapWhole(HANDLE section, SIZE_T size);

} // namespace gaizior
