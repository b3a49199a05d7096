#pragma once

/// @file
/// Windows, of which Linux has none: they are those of the toolkit that the host uses.

#include "gaizior/platform/export.h"
#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// What a host makes of a control's calls. An HWND is whatever the host takes for a dialog or one of its controls; null
/// is none. Each call comes on the thread that called the control.
class WindowHost {
public:
    /// @returns the control with that number in the dialog; null where there is none.
    virtual HWND FindItem(HWND dialog, UINT id) = 0;
    /// Shows a text in place of the one before; the text is the caller's. @returns FALSE when that is not possible.
    virtual BOOL ShowText(HWND control, const char* text) = 0;
    /// Lets nobody change the control's text, or lets them again. @returns FALSE when that is not possible.
    virtual BOOL SetReadOnly(HWND control, BOOL isReadOnly) = 0;

protected:
    ~WindowHost() = default;
};

/// Installs what shows windows, at start-up, before the first control is attached; it must outlive them all. Without
/// one (null) there are no windows.
/// @returns the host before.
GAIZIOR_API WindowHost* SetWindowHost(WindowHost* host);

/// What the host calls when a window goes: the control that is attached to it lets go of it. Does nothing for others.
GAIZIOR_API void WindowIsGone(HWND window);

} // namespace gaizior_windows_api
