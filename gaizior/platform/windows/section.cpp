#include "gaizior/platform/section.h"

void* gaizior::MapWhole(HANDLE section, SIZE_T size) {
    const SIZE_T beyond = (size + kSectionGranularity - 1) / kSectionGranularity * kSectionGranularity + 1;
    if (const void* const longer = ::MapViewOfFile(section, FILE_MAP_READ, 0, 0, beyond)) {
        ::UnmapViewOfFile(longer);
        ::SetLastError(ERROR_FILE_INVALID);
        return nullptr;
    }
    return ::MapViewOfFile(section, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, size);
}
