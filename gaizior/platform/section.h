#pragma once

#include "gaizior/platform/windows_api.h"

namespace gaizior {

/// A section's size in memory is a multiple of this: Windows knows it by the page only, Linux by the byte.
#ifdef _WIN32
inline constexpr SIZE_T kSectionGranularity = 4096;
#else
inline constexpr SIZE_T kSectionGranularity = 1;
#endif

/// Maps a section for reading and writing that must have exactly `size` bytes.
/// @returns null with ERROR_ACCESS_DENIED when it is shorter, ERROR_FILE_INVALID when it is longer.
inline void* MapWhole(HANDLE section, SIZE_T size) {
    const SIZE_T beyond = (size + kSectionGranularity - 1) / kSectionGranularity * kSectionGranularity + 1;
    if (const void* const longer = ::MapViewOfFile(section, FILE_MAP_READ, 0, 0, beyond)) {
        ::UnmapViewOfFile(longer);
        ::SetLastError(ERROR_FILE_INVALID);
        return nullptr;
    }
    return ::MapViewOfFile(section, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, size);
}

} // namespace gaizior
