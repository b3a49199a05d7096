#pragma once

/// Memory that processes share.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

inline constexpr DWORD PAGE_READWRITE = 0x04;
inline constexpr DWORD FILE_MAP_WRITE = 0x0002;
inline constexpr DWORD FILE_MAP_READ = 0x0004;
inline constexpr DWORD FILE_MAP_ALL_ACCESS = 0xF001F;

/// Makes or opens shared memory: `file` must be INVALID_HANDLE_VALUE, `protection` PAGE_READWRITE. New memory is
/// zero. The last error is ERROR_ALREADY_EXISTS when it existed (it keeps its size), else 0; failures as for
/// CreateEventA. The name goes with the last handle in any process; a view keeps its memory beyond that.
GAIZIOR_API HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection, DWORD sizeHigh,
                                      DWORD sizeLow, const char* name);
/// Opens existing named shared memory; null with ERROR_FILE_NOT_FOUND when there is none.
GAIZIOR_API HANDLE OpenFileMappingA(DWORD access, BOOL inherit, const char* name);
/// Maps `size` bytes from the offset (0: all of it). @returns null with ERROR_ACCESS_DENIED when the section is
/// shorter than that.
GAIZIOR_API void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size);
GAIZIOR_API BOOL UnmapViewOfFile(const void* view);

} // namespace gaizior_windows_api
