#pragma once

/// @file
/// Threads.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// The body of a thread: takes the argument of CreateThread, returns the exit code.
using LPTHREAD_START_ROUTINE = DWORD (*)(void*);

inline constexpr DWORD STACK_SIZE_PARAM_IS_A_RESERVATION = 0x00010000; ///< a flag of CreateThread

/// Starts a thread that runs `start(argument)`; `threadId`, which may be null, gets its id. `attributes` are ignored.
/// `stackSize` in bytes is what the stack begins with: it grows to the system's default size (`ulimit -s`, mostly
/// 8 MiB) where that is more. With STACK_SIZE_PARAM_IS_A_RESERVATION, the only flag that is taken, `stackSize` is
/// all it needs to hold. 0 is the default.
/// The handle is signalled when the thread has ended: its thread_local destructors have run, and the mutexes that it
/// still owned are abandoned. The caller closes it, before or after. The thread is detached or joined by the library,
/// never by anybody else.
/// @returns null with ERROR_INVALID_PARAMETER (no `start`, other flags), ERROR_NOT_ENOUGH_MEMORY, or another error of
///          the system's. Any thread.
GAIZIOR_API HANDLE CreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                                void* argument, DWORD flags, DWORD* threadId);
/// What the thread's function returned, STILL_ACTIVE before its end. For a thread that left by pthread_exit the lower
/// half of the value given there, for the first thread of a child process the process's exit code.
/// @returns FALSE with ERROR_INVALID_HANDLE. Any thread.
GAIZIOR_API BOOL GetExitCodeThread(HANDLE thread, DWORD* exitCode);

/// Suspends a thread of this process, which may be the calling one, until ResumeThread was called as often. When it
/// returns, the thread has stopped, or is in a call of the layer that it does not leave before it is resumed. What it
/// holds then, a mutex of the host's or the C library's lock of its memory, stays held: who needs that waits. An object
/// that the thread waits for may still be handed to it.
/// The thread is stopped by a signal. Not to be called while it has that one blocked: the call lasts as long.
/// @returns how often it was suspended before, or 0xFFFFFFFF with ERROR_INVALID_HANDLE, ERROR_SIGNAL_REFUSED (127 times
///          already), ERROR_ACCESS_DENIED (it has ended), ERROR_NOT_SUPPORTED (the thread of a child process),
///          ERROR_NO_SYSTEM_RESOURCES (no real-time signal is free), or another error of the system's. Any thread.
GAIZIOR_API DWORD SuspendThread(HANDLE thread);
/// Takes one suspension back; with the last one the thread goes on.
/// @returns how often it was suspended before: 0 when it was not, or has ended; 0xFFFFFFFF with ERROR_INVALID_HANDLE
///          or ERROR_NOT_SUPPORTED (the thread of a child process). Any thread.
GAIZIOR_API DWORD ResumeThread(HANDLE thread);

/// A priority of SetThreadPriority's.
/// @{
inline constexpr int THREAD_PRIORITY_IDLE = -15;
inline constexpr int THREAD_PRIORITY_LOWEST = -2;
inline constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;
inline constexpr int THREAD_PRIORITY_NORMAL = 0;
inline constexpr int THREAD_PRIORITY_ABOVE_NORMAL = 1;
inline constexpr int THREAD_PRIORITY_HIGHEST = 2;
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
/// @}
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF; ///< GetThreadPriority failed

/// Gives a thread of this process one of the priorities above: a niceness that is higher than the process's own by 10
/// (LOWEST) or 5, lower by 5 or 10 (HIGHEST), 19 (IDLE) or -20 (TIME_CRITICAL). A thread begins at NORMAL, whoever
/// starts it. One that has ended takes any priority and does nothing with it.
/// @returns FALSE, with nothing changed, with ERROR_INVALID_HANDLE, ERROR_NOT_SUPPORTED (the thread of a child
///          process), ERROR_INVALID_PARAMETER (another number), ERROR_ACCESS_DENIED (the system does not let this user
///          raise a thread so far, not even back to NORMAL). Any thread.
GAIZIOR_API BOOL SetThreadPriority(HANDLE thread, int priority);
/// The priority that was last set, THREAD_PRIORITY_NORMAL before.
/// @returns THREAD_PRIORITY_ERROR_RETURN with ERROR_INVALID_HANDLE or ERROR_NOT_SUPPORTED. Any thread.
GAIZIOR_API int GetThreadPriority(HANDLE thread);
/// The calling thread's id, which no other thread of the machine has while it runs.
GAIZIOR_API DWORD GetCurrentThreadId();

} // namespace gaizior_windows_api
