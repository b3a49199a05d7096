#pragma once

/// @file
/// The version: which one a program is compiled with, and which one it has loaded.

#include "gaizior/platform/export.h"

/// The version in three numbers, which stand nowhere else: the build reads them here. Libraries with the same first
/// number can replace each other.
/// @{
#define GAIZIOR_VERSION_MAJOR 2
#define GAIZIOR_VERSION_MINOR 1
#define GAIZIOR_VERSION_PATCH 0
/// @}

/// The three numbers as a text, "2.1.0".
#define GAIZIOR_VERSION GAIZIOR_VERSION_TEXT(GAIZIOR_VERSION_MAJOR, GAIZIOR_VERSION_MINOR, GAIZIOR_VERSION_PATCH)
/// @cond
#define GAIZIOR_VERSION_TEXT(major, minor, patch) GAIZIOR_VERSION_QUOTED(major, minor, patch)
#define GAIZIOR_VERSION_QUOTED(major, minor, patch) #major "." #minor "." #patch
/// @endcond

/// Tells the version of the library that is loaded, which need not be the one whose header a program was compiled with.
/// @returns what GAIZIOR_VERSION was when the library was built; the library's own text, never null, never changing.
/// Never fails. Any thread may call it.
extern "C" GAIZIOR_API const char* ZRGetVersion();
