#pragma once

/// @file
/// Formats that the compiler checks.

#include <cstdio>

/// Lets the compiler check a printf-like function's arguments: the format is parameter number `format_index`, the
/// values begin at number `values`, counted from 1 (a member function's object is number 1). Formats are C99's
/// everywhere.
#ifdef __MINGW_PRINTF_FORMAT
#define GAIZIOR_PRINTF(format_index, values) __attribute__((format(__MINGW_PRINTF_FORMAT, format_index, values)))
#else
#define GAIZIOR_PRINTF(format_index, values) __attribute__((format(printf, format_index, values)))
#endif
