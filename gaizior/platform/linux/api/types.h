#pragma once

/// @file
/// The types that all calls share. The inline namespace keeps the exported symbols apart from those of any other
/// library that offers these names.

/// @dir gaizior/platform/linux
/// Windows' calls on Linux.

/// @dir gaizior/platform/linux/api
/// The declarations, by topic; gaizior/platform/windows_api.h includes them.

#include <cstddef>
#include <cstdint>

/// Windows' calls on Linux. The namespace is inline: callers use the names alone.
inline namespace gaizior_windows_api {

/// A type of Windows' calls.
/// @{
using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using SIZE_T = std::size_t;
using HANDLE = void*;
using HWND = struct HWND__*;
using HMODULE = struct HMODULE__*;
/// @}

/// A BOOL: every value but 0 means true.
/// @{
inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
/// @}

/// In place of a file: no file.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

/// Accepted where Windows takes one; no object is ever inherited by a child process, whatever bInheritHandle says.
struct SECURITY_ATTRIBUTES {
    /// As Windows has it.
    /// @{
    DWORD nLength;
    void* lpSecurityDescriptor;
    BOOL bInheritHandle;
    /// @}
};

inline constexpr DWORD STILL_ACTIVE = 259; ///< the exit code of what has not ended

/// A number of 64 bits, whole or in halves.
union LARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;               ///< the halves
    LONGLONG QuadPart; ///< the whole number
};

/// A date as a number of 100 ns since the beginning of 1601.
struct FILETIME {
    DWORD dwLowDateTime;  ///< the lower 32 bits
    DWORD dwHighDateTime; ///< the upper 32 bits
};

/// A date and a time of day.
struct SYSTEMTIME {
    WORD wYear;         ///< 1601 to 30827
    WORD wMonth;        ///< 1 to 12
    WORD wDayOfWeek;    ///< 0, Sunday, to 6
    WORD wDay;          ///< 1 to 31
    WORD wHour;         ///< 0 to 23
    WORD wMinute;       ///< 0 to 59
    WORD wSecond;       ///< 0 to 59
    WORD wMilliseconds; ///< 0 to 999
};

} // namespace gaizior_windows_api
