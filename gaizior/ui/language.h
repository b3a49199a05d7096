#pragma once

/// @file
/// The language of what the library shows on a screen.

#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

/// Takes the library's texts for the screen from another library's string table. Texts that it lacks stay the library's
/// own, as all do for null. What is on the screen changes when it is next updated. Any thread.
/// @param library the caller's, loaded until another is set; on Linux what dlopen returned, see StringTableEntryT.
/// @returns the library before, null for none.
GAIZIOR_API HMODULE ZRSetLanguageLibrary(HMODULE library);
