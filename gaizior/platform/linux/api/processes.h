#pragma once

/// @file
/// Other programs and this one.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// Windows' wishes for the window and the standard handles of a new program: ignored, but for standard handles, which
/// are refused.
struct STARTUPINFOA {
    /// As Windows has it.
    /// @{
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
    /// @}
};

/// A program that was started.
struct PROCESS_INFORMATION {
    HANDLE hProcess;   ///< the caller's to close
    HANDLE hThread;    ///< the first thread's; the caller's to close
    DWORD dwProcessId; ///< the process's id
    DWORD dwThreadId;  ///< its first thread's id
};

/// What a process is opened for.
/// @{
inline constexpr DWORD PROCESS_TERMINATE = 0x0001;
inline constexpr DWORD PROCESS_QUERY_LIMITED_INFORMATION = 0x1000;
/// @}
/// A flag of CreateProcessA.
/// @{
inline constexpr DWORD CREATE_NEW_PROCESS_GROUP = 0x00000200;
inline constexpr DWORD CREATE_NO_WINDOW = 0x08000000;
/// @}

/// Starts a program. `application` is its path; null takes the first word of `commandLine`, looked for beside the
/// running program, in the current directory and on PATH unless it holds a separator. Backslashes in program and
/// directory separate as slashes do. The command line is split by Windows' quoting rules; null is the program alone.
/// Of the caller's descriptors the child gets the standard ones and no other; one that is closed, or not to be
/// inherited, leads nowhere (/dev/null) in the child. `environment` is a block of texts, each ended by a NUL, with an
/// empty one at the end; environment and directory are inherited when null.
/// CREATE_NEW_PROCESS_GROUP keeps the terminal's Ctrl-C from the child; CREATE_NO_WINDOW changes nothing. Attributes,
/// `inheritHandles` and the window's wishes in `startup` are ignored.
/// Both handles (the second stands for the first thread) are signalled when the process has ended; the caller closes
/// them. The child is waited for by the library: nobody else may collect it.
/// @returns FALSE, with `information` all zero, with ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND (an empty
///          `application`, a folder that is none), ERROR_ACCESS_DENIED (not executable), ERROR_BAD_EXE_FORMAT,
///          ERROR_DIRECTORY, ERROR_FILENAME_EXCED_RANGE (arguments too long), ERROR_INVALID_PARAMETER (other flags,
///          neither program nor command line, `""` as the first word), ERROR_NOT_SUPPORTED (standard handles in
///          `startup`), or another error of the system's. Any thread.
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
/// @returns the calling process's id. Any thread.
GAIZIOR_API DWORD GetCurrentProcessId();
/// The absolute path of the running program (`module` null) or of the library (any other `module`).
/// @returns its length; `size` with ERROR_INSUFFICIENT_BUFFER when path and NUL do not fit (what fits is written, with
///          a NUL); 0 with an error of the system's. Any thread.
GAIZIOR_API DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size);

} // namespace gaizior_windows_api
