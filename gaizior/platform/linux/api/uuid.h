#pragma once

/// @file
/// Identifiers that no two things share, and their texts: 32 hexadecimal digits in groups of 8, 4, 4, 4 and 12 with
/// hyphens between them.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

#include <cstring>

inline namespace gaizior_windows_api {

/// The 16 bytes of an identifier; the first three numbers are in the machine's byte order.
struct GUID {
    /// As Windows has it.
    /// @{
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
    /// @}
};
/// @returns whether all 16 bytes are the same.
inline bool operator==(const GUID& left, const GUID& right) {
    return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}
using UUID = GUID; ///< the same under its older name

using HRESULT = LONG;            ///< what CoCreateGuid returns: negative for a failure
using RPC_STATUS = LONG;         ///< a number of an error, or RPC_S_OK
using RPC_CSTR = unsigned char*; ///< a text, ended by a NUL

/// What reading a text returns.
/// @{
inline constexpr RPC_STATUS RPC_S_OK = 0;
inline constexpr RPC_STATUS RPC_S_OUT_OF_MEMORY = 14; ///< no call here answers it
inline constexpr RPC_STATUS RPC_S_INVALID_STRING_UUID = 1705;
/// @}

/// Makes a new identifier of random bits (version 4) that the kernel is asked for each time: a forked child's differ
/// from its parent's.
/// @returns 0; a negative number, with the last error set to the Windows number of errno, when the kernel gives none:
///   the identifier stays as it was. Any thread.
GAIZIOR_API HRESULT CoCreateGuid(GUID* guid);

/// Reads an identifier's text, in upper or lower case; a null one makes zeros.
/// @returns RPC_S_OK, or RPC_S_INVALID_STRING_UUID for whatever is not exactly such a text: the identifier stays as it
///   was. Any thread.
GAIZIOR_API RPC_STATUS UuidFromStringA(RPC_CSTR text, UUID* uuid);

} // namespace gaizior_windows_api
