#pragma once

/// @file
/// What the shared library exports.

// Not #error, behind which every header would add pages of its own: a missing file ends the compilation in one line.
#if __cplusplus < 202002L
#include "gaizior needs C++20: compile with -std=c++20 or later"
#endif

/// Marks what the shared library exports. GAIZIOR_BUILDING is set while the library itself is compiled,
/// GAIZIOR_STATIC for whoever links it as a static library.
#if defined(GAIZIOR_STATIC)
#define GAIZIOR_API
#elif defined(_WIN32)
#if defined(GAIZIOR_BUILDING)
#define GAIZIOR_API __declspec(dllexport)
#else
#define GAIZIOR_API __declspec(dllimport)
#endif
#else
#define GAIZIOR_API __attribute__((visibility("default")))
#endif
