#pragma once

#include "gaizior/platform/no_throw.h"
#include "gaizior/platform/windows_api.h"

#include <cstddef>

namespace gaizior::platform {

/// Sets the calling thread's last error and returns FALSE, so that a call can end with `return Fail(...)`.
BOOL Fail(DWORD error);
/// The same for calls that return a pointer or a handle.
inline std::nullptr_t FailNull(DWORD error) {
    Fail(error);
    return nullptr;
}

/// The Windows number of an errno value: ERROR_SUCCESS for 0, ERROR_GEN_FAILURE for one that has none.
DWORD ErrorOfErrno(int error);

/// Fail and FailNull with the Windows number of the present errno.
BOOL FailErrno();
inline std::nullptr_t FailErrnoNull() {
    FailErrno();
    return nullptr;
}

using gaizior::NoThrow;

} // namespace gaizior::platform
