#pragma once

#include "gaizior/platform/windows_api.h"

/// Windows of the system's; on Linux those of the toolkit that the host has installed (WindowHost). Calls belong to the
/// thread of the window.
namespace gaizior {

/// The control with that number in a dialog. @returns null, with the last error, where there is none.
HWND FindDialogItem(HWND dialog, UINT id);

/// Subclasses a window, which nobody else has attached: `place`, which must be null and stay where it is, has its
/// handle until the window goes or is detached.
/// @returns false, with the last error, when that is not possible.
bool AttachWindow(HWND window, HWND& place);
/// Lets go of the window, which lives on, and makes `place` null. Does nothing when that is null already.
void DetachWindow(HWND& place);

/// @returns false, with the last error, when the window does not take the text.
bool ShowWindowText(HWND window, const char* text);
/// @returns false, with the last error, when the window has no text that somebody edits.
bool SetEditReadOnly(HWND window, bool isReadOnly);

} // namespace gaizior
