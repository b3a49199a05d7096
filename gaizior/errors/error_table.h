#pragma once

/// @file
/// The message table, for tools.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

/// One row of the message table. Both texts are constant and the library's.
struct ZRErrorRowT {
    ZRErrors::ZRErrorT nCode; ///< the code
    unsigned nTextLength;     ///< of pText, in bytes without the NUL
    const char* pName;        ///< the enumerator's name; null for a code that has none
    const char* pText;        ///< the message, without the code
};

extern "C" {

/// Gives the message table, for tools that search or list it: ascending codes, the sentinel 0xFFFF last.
/// @param count takes the number of rows, 1,657; may be null.
/// @returns the first row; the table is the library's and never changes. Any thread may call it.
GAIZIOR_API const ZRErrorRowT* ZRErrorRows(unsigned* count);

/// Finds the code of an enumerator by its name ("e_Phs_NoPlate"; upper and lower case differ).
/// @param name null finds nothing.
/// @param code takes the code when the name is found, else it is left alone; may be null.
/// @returns whether the name is one of the table's. Any thread may call it.
GAIZIOR_API bool ZRErrorFromName(const char* name, ZRErrors::ZRErrorT* code);

} // extern "C"
