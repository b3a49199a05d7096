#pragma once

/// @file
/// What a terminal tells a process.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

inline constexpr DWORD CTRL_C_EVENT = 0;     ///< Ctrl-C, or SIGINT
inline constexpr DWORD CTRL_BREAK_EVENT = 1; ///< Ctrl-Break, or SIGQUIT
inline constexpr DWORD CTRL_CLOSE_EVENT = 2; ///< SIGTERM or SIGHUP
/// A handler: takes one of the three, returns TRUE when no other is to be asked.
using PHANDLER_ROUTINE = BOOL (*)(DWORD);

/// Adds (or removes) a handler that is told of Ctrl-C (SIGINT), Ctrl-Break (SIGQUIT) and close (SIGTERM, SIGHUP), on
/// a thread of its own. Handlers are asked last added first until one returns TRUE; otherwise the signal ends the
/// process. Without handlers the signals do what they did before the first was added; a SIGHUP that the process was
/// started to ignore stays ignored. A null handler with TRUE makes this process, and the children it starts from then
/// on, ignore Ctrl-C; with FALSE it is heard again.
/// @returns FALSE with ERROR_INVALID_PARAMETER when a handler to remove was never added. Any thread, handlers too.
GAIZIOR_API BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);

} // namespace gaizior_windows_api
