#pragma once

/// @file
/// Handles, waits and what is waited for: events, mutexes, semaphores.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

inline constexpr DWORD INFINITE = 0xFFFFFFFF; ///< the time-out without an end
/// What a wait returns.
/// @{
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_ABANDONED_0 = 0x80;
inline constexpr DWORD WAIT_IO_COMPLETION = 192; ///< no call answers it: there are no completion routines here
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
/// @}
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64; ///< that one call waits for

/// Gives the handle up. An object lives on while another handle or a wait refers to it. A closed handle is refused as
/// long as fewer than 2^44 objects have been made since (days of nothing else), and only then may lead to one of them.
/// The two lowest bits of a handle are ignored by every call.
/// @returns FALSE with ERROR_INVALID_HANDLE for anything that is no open handle. Any thread.
GAIZIOR_API BOOL CloseHandle(HANDLE handle);

/// Waits for one object for at most `milliseconds` (INFINITE: no limit; 0: tests and returns).
/// @returns WAIT_OBJECT_0, WAIT_ABANDONED (a mutex whose owner died; it is acquired all the same), WAIT_TIMEOUT, or
///          WAIT_FAILED with the last error set (ERROR_INVALID_HANDLE; ERROR_ACCESS_DENIED for a section or a key). Any
///          thread.
GAIZIOR_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

/// Waits until any of `count` (1 to 64) objects is signalled and takes the one of the lowest index, once.
/// In-process and named objects may be mixed. A wait for all of them is refused with ERROR_INVALID_PARAMETER.
/// @returns WAIT_OBJECT_0 + index, WAIT_ABANDONED_0 + index, WAIT_TIMEOUT, or WAIT_FAILED with the last error set
///          (ERROR_INVALID_PARAMETER for a count out of range; else as the first handle that cannot be waited for has
///          it: ERROR_INVALID_HANDLE for one that is not open, ERROR_ACCESS_DENIED for a section). Any thread.
GAIZIOR_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);

/// What a handle is opened for; events and mutexes allow everything.
/// @{
inline constexpr DWORD SYNCHRONIZE = 0x00100000;
inline constexpr DWORD EVENT_MODIFY_STATE = 0x0002;
inline constexpr DWORD EVENT_ALL_ACCESS = 0x1F0003;
inline constexpr DWORD MUTEX_ALL_ACCESS = 0x1F0001;
/// @}

/// Makes or opens an event. A null or empty `name` makes an object that only this process knows. A name opens the
/// existing object (last error ERROR_ALREADY_EXISTS, the other arguments are ignored) or makes it. The last error is 0
/// for a new object.
/// @returns null with ERROR_INVALID_HANDLE when the name belongs to an object of another kind, ERROR_ACCESS_DENIED
///          when it belongs to another user, ERROR_BUSY when another process that makes, removes or looks at it has
///          stood still for 5 s, ERROR_NOT_ENOUGH_MEMORY, ERROR_DISK_FULL, ERROR_TOO_MANY_OPEN_FILES,
///          ERROR_INVALID_NAME for "." and "..", ERROR_PATH_NOT_FOUND for a name with '/' or '\\' (but "Local\\" and
///          "Global\\" may lead it in), ERROR_FILENAME_EXCED_RANGE for one that is too long. Any thread.
GAIZIOR_API HANDLE CreateEventA(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initiallySet, const char* name);
/// Opens an existing named event and leaves the last error alone.
/// @returns null with ERROR_FILE_NOT_FOUND when there is none, ERROR_INVALID_PARAMETER for a null name,
///          ERROR_INVALID_HANDLE for an empty one, else as CreateEventA. Any thread.
GAIZIOR_API HANDLE OpenEventA(DWORD access, BOOL inherit, const char* name);
/// Sets or resets an event. @returns FALSE with ERROR_INVALID_HANDLE for anything that is no event. Any thread.
/// @{
GAIZIOR_API BOOL SetEvent(HANDLE event);
GAIZIOR_API BOOL ResetEvent(HANDLE event);
/// @}

/// As CreateEventA; the mutex is recursive. `initiallyOwned` is ignored when a named one existed already.
GAIZIOR_API HANDLE CreateMutexA(SECURITY_ATTRIBUTES* attributes, BOOL initiallyOwned, const char* name);
/// Opens an existing named mutex, as OpenEventA does an event.
GAIZIOR_API HANDLE OpenMutexA(DWORD access, BOOL inherit, const char* name);
/// Undoes one acquisition. @returns FALSE with ERROR_NOT_OWNER unless the calling thread owns the mutex,
/// ERROR_INVALID_HANDLE for anything that is no mutex. Any thread.
GAIZIOR_API BOOL ReleaseMutex(HANDLE mutex);

/// Makes a counting semaphore: 0 <= initial <= maximum, 1 <= maximum. `name` must be null or empty: no part of the
/// library shares a semaphore between processes.
/// @returns null with ERROR_INVALID_PARAMETER for other arguments, ERROR_NOT_ENOUGH_MEMORY. Any thread.
GAIZIOR_API HANDLE CreateSemaphoreA(SECURITY_ATTRIBUTES* attributes, LONG initial, LONG maximum, const char* name);
/// Adds `count` (1 or more) and stores the count before it. @returns FALSE with ERROR_TOO_MANY_POSTS, nothing
/// changed, when that would pass the maximum; ERROR_INVALID_PARAMETER for a count below 1; ERROR_INVALID_HANDLE for
/// anything that is no semaphore. Any thread.
GAIZIOR_API BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);

} // namespace gaizior_windows_api
