#pragma once

/// @file
/// The registry: keys below the user's and the machine's, and the values in them. What is where on the disk, and what
/// differs from Windows, says docs/platform.md.
///
/// Paths of keys are separated by backslashes; several in a row count as one. Names ignore the case of ASCII letters
/// and keep the spelling that they were made with. A key's name has up to 255 characters, a value's up to 16,383, and
/// both may be of any characters; a null name is the empty one. The calls return a number of an error, 0 for success,
/// and leave the last error alone. Any thread, any number of processes.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

#include <cstdint>

inline namespace gaizior_windows_api {

using HKEY = struct HKEY__*; ///< an open key, to be closed by RegCloseKey
using LSTATUS = LONG;        ///< a number of an error, as GetLastError has them
using REGSAM = DWORD;        ///< KEY_ flags

/// The two that are always open: the user's level and the machine's.
/// @{
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::intptr_t{INT32_MIN} + 1);
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::intptr_t{INT32_MIN} + 2);
/// @}

/// What a key is opened for; who asks for more through it gets 5. Whether the user may write there is judged by the
/// call that writes.
/// @{
inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
/// @}

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0; ///< the only kind of key

/// What RegCreateKeyExA has done.
/// @{
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;
/// @}

/// Types of values. They are kept and returned; only the texts' is looked at.
/// @{
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;
/// @}

/// Opens a key that exists; an empty path opens `key` once more. `options` is ignored.
/// @returns 0; 2 where there is none, 6 for a `key` that is not open, 87 for a name that is too long or no `result`,
///   161 for a path that begins with a backslash, 206 for one that is too long for the file system, 3 where the user's
///   home is not known, or what looking at files can give. `result` is null then.
GAIZIOR_API LSTATUS RegOpenKeyExA(HKEY key, const char* path, DWORD options, REGSAM access, HKEY* result);

/// Opens a key, or makes it and those above it.
/// `reserved` is 0 and `options` REG_OPTION_NON_VOLATILE, else 87; `keyClass` and `attributes` are ignored;
/// `disposition` is null, or receives which of the two it was.
/// @returns as RegOpenKeyExA, but never 2; 5 where the user may not make it.
GAIZIOR_API LSTATUS RegCreateKeyExA(HKEY key, const char* path, DWORD reserved, char* keyClass, DWORD options,
                                    REGSAM access, const SECURITY_ATTRIBUTES* attributes, HKEY* result,
                                    DWORD* disposition);

/// Writes a value, new or in place of an older one, which keeps its name's spelling. At every moment, and after any
/// failure, the old value or the new one is there, whole.
/// `reserved` is ignored; `size` tells the bytes of `data`, at most 1,048,576.
/// @returns 0; 87 for a name or data that are too long, 998 for null data with a size, 6 and 5 (see KEY_), 1018 for a
///   key that has been removed meanwhile, or what writing files can give (112 for a full disk).
GAIZIOR_API LSTATUS RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type, const BYTE* data,
                                   DWORD size);

/// Reads a value. A text that does not end with a NUL gets one where there is room for it.
/// `reserved` is null, else 87; `type` and `data` are null, or receive them; `size` tells the bytes that `data` takes,
/// then those of the value, and is null only without `data` (87).
/// @returns 0; 234 where the data do not fit: only type and size are told; 2 where there is no such value, 6 and 5 (see
///   KEY_), 1009 for a value that is damaged, 1018 for a key that has been removed meanwhile, or what reading files can
///   give.
GAIZIOR_API LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);

/// Reads the value at a place in the order of names, which changes when others add or remove some.
/// `nameSize` tells the characters that `name` takes, then those of the name without its NUL.
/// @returns 0; 259 beyond the last; 234 where name or data do not fit; 87 for a null name or size of it; else as
///   RegQueryValueExA.
GAIZIOR_API LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, DWORD* type,
                                  BYTE* data, DWORD* size);

/// Tells the name of the key at a place in the order of those in `key`. What stands behind `nameSize` is to be null,
/// else 87: keys have no class, and when they were written is not known.
/// @returns 0; 259 beyond the last; 234 where the name does not fit; 87 for a null name or size of it, 1009 for a key
///   that is damaged, 6 and 5 (see KEY_), 1018 for a key that has been removed meanwhile.
GAIZIOR_API LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* keyClass,
                                  DWORD* classSize, FILETIME* lastWrite);

/// @returns 0, also for those that are always open; 6 for what is no open key.
GAIZIOR_API LSTATUS RegCloseKey(HKEY key);

} // namespace gaizior_windows_api
