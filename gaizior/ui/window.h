#pragma once

/// @file
/// What the library's controls need of a window framework; included through gaizior/ui/framework.h.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

/// Stands for a window of the system's, on Linux for one of the host's toolkit (WindowHost). It neither makes nor
/// destroys the window: both may go first. An object belongs to the thread of its window.
class GAIZIOR_API CWnd {
public:
    /// No window.
    CWnd();
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;
    /// Lets go of the window.
    virtual ~CWnd();

    /// @returns the window; null when there is none, or none any more.
    HWND GetSafeHwnd() const;
    /// Subclasses a window, a dialog for one, in place of the one before.
    /// @returns 1; 0, which is logged, when it is none (on Linux all but null are taken for one) or another object has
    ///   it: the object has no window then.
    int Attach(HWND window);
    /// Lets go of the window. @returns it, null when there was none.
    HWND Detach();
    /// Attaches the control with that number in the dialog `parent`.
    /// @returns 1; 0 when there is no dialog or no such control, or another object has it: that is logged, and the
    ///   object has no window then.
    int SubclassDlgItem(unsigned int id, CWnd* parent);

    /// Shows a text in the window; null counts as empty. Does nothing without a window.
    /// @returns 0; the system's error, folded, when the window does not take it: that is logged.
    ZRErrors::ZRErrorT SetText(const char* text);

protected:
    HWND m_hWnd = nullptr; ///< becomes null when the window goes
};

/// A field with a text, which an operator may edit.
class GAIZIOR_API CEdit : public CWnd {
public:
    /// Lets nobody edit the text, or lets them again (0).
    /// @returns 1; 0 without a window, or when its text is none to edit: the latter is logged.
    int SetReadOnly(int readOnly = 1);
};
