#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace gaizior {

/// Who has a mutex, as far as the system tells.
struct MutexOwner {
    bool isHeld = false;
    bool isAbandoned = false; ///< its last owner died and nobody has taken it over yet
    DWORD process = 0;        ///< 0: the system does not tell
    DWORD thread = 0;         ///< 0: the system does not tell
    std::string program;      ///< the process's program, without its path; empty: the system does not tell
    LONGLONG since = 0;       ///< when the owner took it, in ms since 1970 UTC; 0: the system does not tell
};

/// Looks at an open named mutex; neither waits for it nor takes it. Any thread.
/// @returns false with the last error set: ERROR_INVALID_HANDLE for anything else than that.
bool QueryMutexOwner(HANDLE mutex, MutexOwner& owner);

} // namespace gaizior
