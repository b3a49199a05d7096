#pragma once

/// @file
/// The last error, its numbers and their texts.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

// Every number that a call of this header can set has its text in linux/system/message_texts.h.

/// A number of the last error. FormatMessageA has its text.
/// @{
inline constexpr DWORD NO_ERROR = 0;
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_OUTOFMEMORY = 14;
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_BAD_UNIT = 20;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_CALL_NOT_IMPLEMENTED = 120;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_WAIT_NO_CHILDREN = 128;
inline constexpr DWORD ERROR_SEEK_ON_DEVICE = 132;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_SIGNAL_REFUSED = 156;
inline constexpr DWORD ERROR_BAD_PATHNAME = 161;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_TOO_MANY_POSTS = 298;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_INVALID_ADDRESS = 487;
inline constexpr DWORD ERROR_ARITHMETIC_OVERFLOW = 534;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_NOACCESS = 998;
inline constexpr DWORD ERROR_FILE_INVALID = 1006;
inline constexpr DWORD ERROR_BADDB = 1009;
inline constexpr DWORD ERROR_KEY_DELETED = 1018;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;
inline constexpr DWORD ERROR_MAPPED_ALIGNMENT = 1132;
inline constexpr DWORD ERROR_TOO_MANY_LINKS = 1142;
inline constexpr DWORD ERROR_CANCELLED = 1223;
inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_CONTROL_ID_NOT_FOUND = 1421;
inline constexpr DWORD ERROR_NO_SYSTEM_RESOURCES = 1450;
inline constexpr DWORD ERROR_TIMEOUT = 1460;
inline constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;
/// @}

/// The calling thread's last error: set by a failing call, left alone by a successful one unless its own text says
/// otherwise (CreateXxx sets 0 or ERROR_ALREADY_EXISTS).
/// @{
GAIZIOR_API DWORD GetLastError();
GAIZIOR_API void SetLastError(DWORD error);
/// @}

/// A flag of FormatMessageA.
/// @{
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x00000200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x00001000;
inline constexpr DWORD FORMAT_MESSAGE_MAX_WIDTH_MASK = 0x000000FF;
/// @}

/// Writes the system's English text of an error number, ended by "\r\n", into `buffer` of `size` bytes.
/// `flags` must hold FORMAT_MESSAGE_FROM_SYSTEM; FORMAT_MESSAGE_IGNORE_INSERTS leaves "%1" as it stands;
/// FORMAT_MESSAGE_MAX_WIDTH_MASK ends the text with a blank in place of the line's end. No other flag and no line
/// width is taken. `source`, `language` and `arguments` are ignored.
/// @returns the length without the NUL; 0 with ERROR_MR_MID_NOT_FOUND for a number without a text,
///          ERROR_INSUFFICIENT_BUFFER when text and NUL do not fit (nothing is written then), ERROR_INVALID_PARAMETER
///          for a null buffer, other flags, or a text with inserts without FORMAT_MESSAGE_IGNORE_INSERTS. Any thread.
GAIZIOR_API DWORD FormatMessageA(DWORD flags, const void* source, DWORD messageId, DWORD language, char* buffer,
                                 DWORD size, void* arguments);

} // namespace gaizior_windows_api
