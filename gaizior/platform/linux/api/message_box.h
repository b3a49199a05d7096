#pragma once

/// @file
/// Message boxes.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// Looks of a message box; Windows' own, handed to the handler.
/// @{
inline constexpr UINT MB_OK = 0x00000000;
inline constexpr UINT MB_ICONSTOP = 0x00000010;
inline constexpr UINT MB_TASKMODAL = 0x00002000;
inline constexpr UINT MB_SETFOREGROUND = 0x00010000;
inline constexpr UINT MB_TOPMOST = 0x00040000;
/// @}
inline constexpr int IDOK = 1; ///< the answer of the OK button

/// Hands the box to the installed handler and returns its answer; without one writes caption ("Error" for null) and
/// text to standard error and returns IDOK. Any thread; the handler is called on the caller's.
GAIZIOR_API int MessageBoxA(HWND owner, const char* text, const char* caption, UINT type);

/// Shows a box, waits for the answer and returns it; MessageBoxA's arguments, on the thread that called it.
using MessageBoxHandler = int (*)(HWND owner, const char* text, const char* caption, UINT type);
/// Installs what shows message boxes (null: standard error again); a graphical host installs its own at start-up.
/// @returns the handler before.
GAIZIOR_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

} // namespace gaizior_windows_api
