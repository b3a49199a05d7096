#pragma once

/// Threads.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

using LPTHREAD_START_ROUTINE = DWORD (*)(void*);

inline constexpr DWORD STACK_SIZE_PARAM_IS_A_RESERVATION = 0x00010000;

/// Starts a thread; `stackSize` in bytes, 0 for the default. The handle is signalled when the thread has ended.
GAIZIOR_API HANDLE CreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                                void* argument, DWORD flags, DWORD* threadId);
GAIZIOR_API BOOL GetExitCodeThread(HANDLE thread, DWORD* exitCode);
GAIZIOR_API DWORD GetCurrentThreadId();

} // namespace gaizior_windows_api
