#pragma once

/// @file
/// String tables, of which Linux has none: a shared object has one by exporting a list of its texts.

#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// One text of a string table. A shared object's table has the name `GaiziorStringTable` and ends with a null text:
///
///     extern "C" const StringTableEntryT GaiziorStringTable[] = {{4106, "Breite"}, {4110, "positiv"}, {0, nullptr}};
struct StringTableEntryT {
    UINT number;      ///< as in the string table of a DLL
    const char* text; ///< lasts as long as the object is loaded
};

} // namespace gaizior_windows_api
