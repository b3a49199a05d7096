#pragma once

/// @file
/// Memory that processes share.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

inline constexpr DWORD PAGE_READWRITE = 0x04; ///< what CreateFileMappingA takes
/// What a view or a handle of shared memory allows.
/// @{
inline constexpr DWORD FILE_MAP_WRITE = 0x0002;
inline constexpr DWORD FILE_MAP_READ = 0x0004;
inline constexpr DWORD FILE_MAP_ALL_ACCESS = 0xF001F;
/// @}

/// Makes or opens shared memory: `file` must be INVALID_HANDLE_VALUE, `protection` PAGE_READWRITE, the size 1 or more
/// bytes, else ERROR_INVALID_PARAMETER. New memory is zero. The last error is ERROR_ALREADY_EXISTS when it existed (it
/// keeps its size), else 0; null with the last error as for CreateEventA. The handle allows reading and writing. The
/// name goes with the last handle in any process; a view keeps its memory beyond that. Any thread.
GAIZIOR_API HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection, DWORD sizeHigh,
                                      DWORD sizeLow, const char* name);
/// Opens existing named shared memory for what `access` says, FILE_MAP_READ, FILE_MAP_WRITE or both; leaves the last
/// error alone. @returns null with the last error as for OpenEventA. Any thread.
GAIZIOR_API HANDLE OpenFileMappingA(DWORD access, BOOL inherit, const char* name);
/// Maps `size` bytes from the offset, a multiple of 64 KiB; 0 maps all behind it. The view ends with a page. With
/// FILE_MAP_WRITE it can be read and written, with FILE_MAP_READ read, with neither it cannot be touched.
/// @returns the view, the caller's to unmap; null with ERROR_MAPPED_ALIGNMENT for another offset, ERROR_INVALID_HANDLE
///          for anything that is no section, ERROR_INVALID_PARAMETER for an offset behind its end, ERROR_ACCESS_DENIED
///          when its last page ends before the view would or the handle does not allow FILE_MAP_WRITE (for a view with
///          it) or FILE_MAP_READ (for any other), ERROR_NOT_ENOUGH_MEMORY. Any thread.
GAIZIOR_API void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size);
/// Unmaps the view that holds the address. @returns FALSE with ERROR_INVALID_ADDRESS when none does. Any thread.
GAIZIOR_API BOOL UnmapViewOfFile(const void* view);

} // namespace gaizior_windows_api
