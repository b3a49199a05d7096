#pragma once

/// @file
/// Settings in text files: sections, keys and values.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// Reads a value of a settings file ("[section]", "key=value"). The first section of a name counts, and in it the first
/// key of a name; upper and lower case of A to Z are the same; names and values lose the blanks around them, and a
/// value one pair of quotes. Files of up to 4 MiB; bytes are taken as they stand, a file of 16-bit units as UTF-8.
/// @param section,key the names; a null key asks for the names of the section's keys, a null section for those of all
///   sections, each ended by a NUL and the last by two.
/// @param defaultValue what counts where there is no such key, or no file; without its trailing blanks and one pair of
///   quotes. Null is empty.
/// @param buffer,size receives the value and a NUL, or as many as fit.
/// @param path the file.
/// @returns the number of characters without the NUL; size - 1 for a value that is cut, size - 2 for names that are.
///   The last error is 0, or says why the file cannot be read: 2 or 3 where there is none, 5, 223 when it is too large,
///   8 without memory. Any thread.
GAIZIOR_API DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue, char* buffer,
                                           DWORD size, const char* path);

/// Changes one value of a settings file and leaves all other lines as they are, bytes, order, mark and line ends; a new
/// line ends as the file's first. The file is replaced as a whole or not at all, and processes that write it by this
/// call take turns. Section, key and file are made where they are missing.
/// @param section the name; null forgets what was read of the file, and fails.
/// @param key,value null removes the section, or the key.
/// @param path the file.
/// @returns FALSE with the last error when the file cannot be read, locked within a minute (1460) or replaced; it is as
///   it was then. Any thread.
GAIZIOR_API BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value, const char* path);

} // namespace gaizior_windows_api
