#pragma once

#include "gaizior/platform/windows_api.h"

#include <cstddef>

#ifdef _WIN32
#include <objbase.h>
#include <rpc.h>
#endif

/// The system's UUID functions, as the library calls them. In the build for tests (GAIZIOR_SEAMS) one call can be made
/// to fail; in what ships these are the system's calls and nothing else.
namespace gaizior {

enum class UuidCall { kCreate, kToText, kFreeText, kFromText };

#ifdef GAIZIOR_SEAMS

namespace seams {

/// Lets the next such call of the process fail with `error`, once. Any thread.
void FailUuidCall(UuidCall call, DWORD error);

} // namespace seams

/// What the call is to fail with; NO_ERROR when it is to be made.
DWORD UuidCallError(UuidCall call);

#else

constexpr DWORD UuidCallError(UuidCall /*call*/) {
    return NO_ERROR;
}

#endif

/// Makes a new identifier. @returns false, with the last error as the system leaves it, when there is none.
inline bool CreateUuid(GUID& guid) {
    if (const DWORD error = UuidCallError(UuidCall::kCreate)) {
        ::SetLastError(error);
        return false;
    }
    return ::CoCreateGuid(&guid) >= 0;
}

/// Why a text was not made, and why the system's copy of it was not freed.
struct UuidTextErrors {
    DWORD made = NO_ERROR;
    DWORD freed = NO_ERROR;
};

inline constexpr std::size_t kUuidTextLength = 36;

/// Writes the text's 36 characters, without a NUL.
UuidTextErrors WriteUuidText(const GUID& guid, char* text);

inline UuidTextErrors UuidToText(const GUID& guid, char* text) {
    if (const DWORD error = UuidCallError(UuidCall::kToText)) {
        return {.made = error};
    }
    UuidTextErrors errors = WriteUuidText(guid, text);
    if (const DWORD error = UuidCallError(UuidCall::kFreeText)) {
        errors.freed = error;
    }
    return errors;
}

/// Reads a text. @returns NO_ERROR or the number of a system error.
inline DWORD UuidFromText(char* text, GUID& guid) {
    const DWORD error = UuidCallError(UuidCall::kFromText);
    return error ? error : static_cast<DWORD>(::UuidFromStringA(reinterpret_cast<RPC_CSTR>(text), &guid));
}

} // namespace gaizior
