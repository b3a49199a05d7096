#pragma once

/// The operating-system calls, types and constants that the library is written against: Windows' own on Windows,
/// the same under the same names with the same behaviour on Linux. See docs/platform.md for what differs.

#include "gaizior/platform/export.h"

#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#else

#include <cstddef>
#include <cstdint>

// The inline namespace keeps the exported symbols apart from those of any other library that offers these names.
inline namespace gaizior_windows_api {

// --- Types -----------------------------------------------------------------------------------------------------

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using SIZE_T = std::size_t;
using HANDLE = void*;
using HWND = struct HWND__*;
using HMODULE = struct HMODULE__*;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

/// Accepted where Windows takes one; no object is ever inherited by a child process, whatever bInheritHandle says.
struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    void* lpSecurityDescriptor;
    BOOL bInheritHandle;
};

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// --- Error numbers ---------------------------------------------------------------------------------------------

// Every number that a call of this header can set has its text in linux/message_texts.h.
inline constexpr DWORD NO_ERROR = 0;
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_BAD_UNIT = 20;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_CALL_NOT_IMPLEMENTED = 120;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_WAIT_NO_CHILDREN = 128;
inline constexpr DWORD ERROR_SEEK_ON_DEVICE = 132;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_TOO_MANY_POSTS = 298;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_INVALID_ADDRESS = 487;
inline constexpr DWORD ERROR_ARITHMETIC_OVERFLOW = 534;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_NOACCESS = 998;
inline constexpr DWORD ERROR_FILE_INVALID = 1006;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;
inline constexpr DWORD ERROR_TOO_MANY_LINKS = 1142;
inline constexpr DWORD ERROR_CANCELLED = 1223;
inline constexpr DWORD ERROR_NO_SYSTEM_RESOURCES = 1450;
inline constexpr DWORD ERROR_TIMEOUT = 1460;
inline constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

/// The calling thread's last error: set by a failing call, left alone by a successful one unless its own text says
/// otherwise (CreateXxx sets 0 or ERROR_ALREADY_EXISTS).
GAIZIOR_API DWORD GetLastError();
GAIZIOR_API void SetLastError(DWORD error);

inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x00000200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x00001000;
inline constexpr DWORD FORMAT_MESSAGE_MAX_WIDTH_MASK = 0x000000FF;

/// Writes the system's English text of an error number, ended by "\r\n", into `buffer` of `size` bytes.
/// `flags` must hold FORMAT_MESSAGE_FROM_SYSTEM; FORMAT_MESSAGE_IGNORE_INSERTS leaves "%1" as it stands;
/// FORMAT_MESSAGE_MAX_WIDTH_MASK ends the text with a blank in place of the line's end. No other flag and no line
/// width is taken. `source`, `language` and `arguments` are ignored.
/// @returns the length without the NUL; 0 with ERROR_MR_MID_NOT_FOUND for a number without a text,
///          ERROR_INSUFFICIENT_BUFFER when text and NUL do not fit (nothing is written then), ERROR_INVALID_PARAMETER
///          for a null buffer, other flags, or a text with inserts without FORMAT_MESSAGE_IGNORE_INSERTS. Any thread.
GAIZIOR_API DWORD FormatMessageA(DWORD flags, const void* source, DWORD messageId, DWORD language, char* buffer,
                                 DWORD size, void* arguments);

// --- Handles and waits -----------------------------------------------------------------------------------------

inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_ABANDONED_0 = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

/// Gives the handle up. An object lives on while another handle or a wait refers to it; a closed handle is never
/// taken for a later object's. @returns FALSE with ERROR_INVALID_HANDLE for anything that is no open handle.
GAIZIOR_API BOOL CloseHandle(HANDLE handle);

/// Waits for one object for at most `milliseconds` (INFINITE: no limit; 0: tests and returns).
/// @returns WAIT_OBJECT_0, WAIT_ABANDONED (a mutex whose owner died; it is acquired all the same), WAIT_TIMEOUT, or
///          WAIT_FAILED with the last error set (ERROR_INVALID_HANDLE).
GAIZIOR_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

/// Waits until any of `count` (1 to 64) objects is signalled and takes the one of the lowest index, once.
/// In-process and named objects may be mixed. A wait for all of them is refused with ERROR_INVALID_PARAMETER.
/// @returns WAIT_OBJECT_0 + index, WAIT_ABANDONED_0 + index, WAIT_TIMEOUT, or WAIT_FAILED with the last error set
///          (ERROR_INVALID_PARAMETER for a count out of range, ERROR_INVALID_HANDLE for a handle that is not open).
GAIZIOR_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);

// --- Events, mutexes, semaphores -------------------------------------------------------------------------------

inline constexpr DWORD SYNCHRONIZE = 0x00100000;
inline constexpr DWORD EVENT_MODIFY_STATE = 0x0002;
inline constexpr DWORD EVENT_ALL_ACCESS = 0x1F0003;
inline constexpr DWORD MUTEX_ALL_ACCESS = 0x1F0001;

/// A null `name` makes an object that only this process knows. A name opens the existing object (last error
/// ERROR_ALREADY_EXISTS, the other arguments are ignored) or makes it. The last error is 0 for a new object.
/// @returns null with ERROR_INVALID_HANDLE when the name belongs to an object of another kind, ERROR_ACCESS_DENIED
///          when it belongs to another user, ERROR_NOT_ENOUGH_MEMORY, ERROR_PATH_NOT_FOUND for a name with '/' or
///          '\\', ERROR_FILENAME_EXCED_RANGE for one that is too long.
GAIZIOR_API HANDLE CreateEventA(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initiallySet, const char* name);
/// Opens an existing named event; null with ERROR_FILE_NOT_FOUND when there is none, else as CreateEventA.
GAIZIOR_API HANDLE OpenEventA(DWORD access, BOOL inherit, const char* name);
GAIZIOR_API BOOL SetEvent(HANDLE event);
GAIZIOR_API BOOL ResetEvent(HANDLE event);

/// As CreateEventA; the mutex is recursive. `initiallyOwned` is ignored when a named one existed already.
GAIZIOR_API HANDLE CreateMutexA(SECURITY_ATTRIBUTES* attributes, BOOL initiallyOwned, const char* name);
/// Opens an existing named mutex; null with ERROR_FILE_NOT_FOUND when there is none, else as CreateMutexA.
GAIZIOR_API HANDLE OpenMutexA(DWORD access, BOOL inherit, const char* name);
/// Undoes one acquisition. @returns FALSE with ERROR_NOT_OWNER unless the calling thread owns the mutex.
GAIZIOR_API BOOL ReleaseMutex(HANDLE mutex);

/// An unnamed counting semaphore: 0 <= initial <= maximum, 1 <= maximum, else null with ERROR_INVALID_PARAMETER.
/// `name` must be null: no part of the library shares a semaphore between processes.
GAIZIOR_API HANDLE CreateSemaphoreA(SECURITY_ATTRIBUTES* attributes, LONG initial, LONG maximum, const char* name);
/// Adds `count` (1 or more) and stores the count before it. @returns FALSE with ERROR_TOO_MANY_POSTS, nothing
/// changed, when that would pass the maximum; ERROR_INVALID_PARAMETER for a count below 1.
GAIZIOR_API BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);

// --- Threads and processes -------------------------------------------------------------------------------------

using LPTHREAD_START_ROUTINE = DWORD (*)(void*);

inline constexpr DWORD STILL_ACTIVE = 259;
inline constexpr DWORD STACK_SIZE_PARAM_IS_A_RESERVATION = 0x00010000;

/// Starts a thread; `stackSize` in bytes, 0 for the default. The handle is signalled when the thread has ended.
GAIZIOR_API HANDLE CreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                                void* argument, DWORD flags, DWORD* threadId);
GAIZIOR_API BOOL GetExitCodeThread(HANDLE thread, DWORD* exitCode);
GAIZIOR_API DWORD GetCurrentThreadId();

struct STARTUPINFOA {
    DWORD cb;
    char* lpReserved;
    char* lpDesktop;
    char* lpTitle;
    DWORD dwX, dwY, dwXSize, dwYSize, dwXCountChars, dwYCountChars, dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput, hStdOutput, hStdError;
};

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

inline constexpr DWORD PROCESS_TERMINATE = 0x0001;
inline constexpr DWORD PROCESS_QUERY_LIMITED_INFORMATION = 0x1000;
inline constexpr DWORD CREATE_NEW_PROCESS_GROUP = 0x00000200;
inline constexpr DWORD CREATE_NO_WINDOW = 0x08000000;

/// Starts a program. `application` is its path; null takes the first word of `commandLine`, looked for beside the
/// running program, in the current directory and on PATH unless it holds a separator. Backslashes in program and
/// directory separate as slashes do. The command line is split by Windows' quoting rules; null is the program alone.
/// Of the caller's descriptors the child gets the standard ones and no other. `environment` is a block of texts, each
/// ended by a NUL, with an empty one at the end; environment and directory are inherited when null.
/// CREATE_NEW_PROCESS_GROUP keeps the terminal's Ctrl-C from the child; CREATE_NO_WINDOW changes nothing. Attributes,
/// `inheritHandles` and the window's wishes in `startup` are ignored.
/// Both handles (the second stands for the first thread) are signalled when the process has ended; the caller closes
/// them. The child is waited for by the library: nobody else may collect it.
/// @returns FALSE with ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED (not executable), ERROR_BAD_EXE_FORMAT,
///          ERROR_DIRECTORY, ERROR_FILENAME_EXCED_RANGE (arguments too long), ERROR_INVALID_PARAMETER (other flags,
///          neither program nor command line), ERROR_NOT_SUPPORTED (standard handles in `startup`), or another error
///          of the system's. Any thread.
GAIZIOR_API BOOL CreateProcessA(const char* application, char* commandLine, SECURITY_ATTRIBUTES* processAttributes,
                                SECURITY_ATTRIBUTES* threadAttributes, BOOL inheritHandles, DWORD flags,
                                void* environment, const char* directory, STARTUPINFOA* startup,
                                PROCESS_INFORMATION* information);
/// A handle of a running process, signalled when it ends; the caller closes it. `access` is checked by
/// TerminateProcess and GetExitCodeProcess, waiting is always allowed.
/// @returns null with ERROR_INVALID_PARAMETER when there is no such process, ERROR_ACCESS_DENIED when it may not be
///          ended though PROCESS_TERMINATE was asked for. Any thread.
GAIZIOR_API HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId);
/// Ends a process at once; it gets no chance to clean up. Handles in this process report `exitCode` for a child of
/// this process. @returns FALSE with ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED (no right to, or it has ended). Any
/// thread.
GAIZIOR_API BOOL TerminateProcess(HANDLE process, UINT exitCode);
/// The exit code, STILL_ACTIVE while it runs. A process that a signal ended reports 128 plus the signal's number.
/// @returns FALSE with ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED (no right to), ERROR_NOT_SUPPORTED when the process
///          has ended and was not a child of this one: only a parent learns the code. Any thread.
GAIZIOR_API BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode);
GAIZIOR_API DWORD GetCurrentProcessId();
/// The absolute path of the running program (`module` null) or of the library (any other `module`).
/// @returns its length; `size` with ERROR_INSUFFICIENT_BUFFER when path and NUL do not fit (what fits is written, with
///          a NUL); 0 with an error of the system's. Any thread.
GAIZIOR_API DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size);

inline constexpr DWORD CTRL_C_EVENT = 0;
inline constexpr DWORD CTRL_BREAK_EVENT = 1;
inline constexpr DWORD CTRL_CLOSE_EVENT = 2;
using PHANDLER_ROUTINE = BOOL (*)(DWORD);

/// Adds (or removes) a handler that is told of Ctrl-C (SIGINT), Ctrl-Break (SIGQUIT) and close (SIGTERM, SIGHUP), on
/// a thread of its own. Handlers are asked last added first until one returns TRUE; otherwise the signal ends the
/// process. Without handlers the signals do what they did before the first was added; a SIGHUP that the process was
/// started to ignore stays ignored. A null handler with TRUE makes this process, and the children it starts from then
/// on, ignore Ctrl-C; with FALSE it is heard again.
/// @returns FALSE with ERROR_INVALID_PARAMETER when a handler to remove was never added. Any thread, handlers too.
GAIZIOR_API BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);

// --- Interlocked operations ------------------------------------------------------------------------------------

inline LONG InterlockedIncrement(volatile LONG* value) {
    return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(volatile LONG* value) {
    return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchange(volatile LONG* target, LONG value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchangeAdd(volatile LONG* target, LONG value) {
    return __atomic_fetch_add(target, value, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedCompareExchange(volatile LONG* target, LONG exchange, LONG comparand) {
    __atomic_compare_exchange_n(target, &comparand, exchange, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}
inline void* InterlockedCompareExchangePointer(void* volatile* target, void* exchange, void* comparand) {
    __atomic_compare_exchange_n(target, &comparand, exchange, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}

// --- Named shared memory ---------------------------------------------------------------------------------------

inline constexpr DWORD PAGE_READWRITE = 0x04;
inline constexpr DWORD FILE_MAP_WRITE = 0x0002;
inline constexpr DWORD FILE_MAP_READ = 0x0004;
inline constexpr DWORD FILE_MAP_ALL_ACCESS = 0xF001F;

/// Makes or opens shared memory: `file` must be INVALID_HANDLE_VALUE, `protection` PAGE_READWRITE. New memory is
/// zero. The last error is ERROR_ALREADY_EXISTS when it existed (it keeps its size), else 0; failures as for
/// CreateEventA. The name goes with the last handle in any process; a view keeps its memory beyond that.
GAIZIOR_API HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection, DWORD sizeHigh,
                                      DWORD sizeLow, const char* name);
/// Opens existing named shared memory; null with ERROR_FILE_NOT_FOUND when there is none.
GAIZIOR_API HANDLE OpenFileMappingA(DWORD access, BOOL inherit, const char* name);
/// Maps `size` bytes from the offset (0: all of it). @returns null with ERROR_ACCESS_DENIED when the section is
/// shorter than that.
GAIZIOR_API void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size);
GAIZIOR_API BOOL UnmapViewOfFile(const void* view);

// --- Time ------------------------------------------------------------------------------------------------------

/// At least `milliseconds`; 0 gives way to other threads, INFINITE never returns.
GAIZIOR_API void Sleep(DWORD milliseconds);
/// Milliseconds since the machine started, those that it was suspended included; never turns back.
GAIZIOR_API ULONGLONG GetTickCount64();
/// Local time in the machine's (or TZ's) zone of this moment.
GAIZIOR_API void GetLocalTime(SYSTEMTIME* time);
/// Universal time, as a date and as 100 ns since the beginning of 1601.
GAIZIOR_API void GetSystemTime(SYSTEMTIME* time);
GAIZIOR_API void GetSystemTimeAsFileTime(FILETIME* time);
/// The week day of `systemTime` is ignored.
/// @returns FALSE with ERROR_INVALID_PARAMETER for fields that are no date and time between 1601 and 30827.
GAIZIOR_API BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime);
/// Drops what is shorter than a millisecond. @returns FALSE with ERROR_INVALID_PARAMETER above 0x7FFFFFFFFFFFFFFF.
GAIZIOR_API BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime);

// --- Message boxes ---------------------------------------------------------------------------------------------

inline constexpr UINT MB_OK = 0x00000000;
inline constexpr UINT MB_ICONSTOP = 0x00000010;
inline constexpr UINT MB_TASKMODAL = 0x00002000;
inline constexpr UINT MB_SETFOREGROUND = 0x00010000;
inline constexpr UINT MB_TOPMOST = 0x00040000;
inline constexpr int IDOK = 1;

/// Hands the box to the installed handler and returns its answer; without one writes caption ("Error" for null) and
/// text to standard error and returns IDOK. Any thread; the handler is called on the caller's.
GAIZIOR_API int MessageBoxA(HWND owner, const char* text, const char* caption, UINT type);

using MessageBoxHandler = int (*)(HWND owner, const char* text, const char* caption, UINT type);
/// Installs what shows message boxes (null: standard error again); a graphical host installs its own at start-up.
/// @returns the handler before.
GAIZIOR_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

} // namespace gaizior_windows_api

#endif
