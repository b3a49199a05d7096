#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace gaizior {

#ifndef _WIN32
/// The library's own table, which ends with a null text; linked in beside the code, as a resource is elsewhere.
extern const StringTableEntryT g_stringTable[];
#endif

/// The text that a module's string table has under the number, its first 1,023 bytes at most; an empty one where there
/// is none.
/// @param module null means the library itself.
std::string StringTableText(HMODULE module, UINT number);

} // namespace gaizior
