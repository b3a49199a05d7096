#pragma once

/// The types that all calls share. The inline namespace keeps the exported symbols apart from those of any other
/// library that offers these names.

#include <cstddef>
#include <cstdint>

inline namespace gaizior_windows_api {

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

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

/// Accepted where Windows takes one; no object is ever inherited by a child process, whatever bInheritHandle says.
struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    void* lpSecurityDescriptor;
    BOOL bInheritHandle;
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
    } u;
    LONGLONG QuadPart;
};

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

} // namespace gaizior_windows_api
