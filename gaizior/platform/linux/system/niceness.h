#pragma once

#include "gaizior/platform/windows_api.h"

#include <sys/types.h>

/// A thread's priority is its niceness, counted from the process's own, which is that of its first thread.
namespace gaizior::platform {

bool IsThreadPriority(int priority);

/// Gives a running thread of this process the niceness for a priority. @returns 0, or ERROR_ACCESS_DENIED when the
/// system refuses to raise it.
DWORD SetNiceness(pid_t thread, int priority);

/// Brings the calling thread, which began with its starter's niceness, to the process's, where the system lets it.
void BeginAtNormalPriority();

} // namespace gaizior::platform
