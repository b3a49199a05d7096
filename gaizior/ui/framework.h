#pragma once

/// @file
/// The text, window and control classes that the library's declarations name. They are the library's own, unless it is
/// built for a host's framework that has classes of these names (the CMake variable GAIZIOR_FRAMEWORK names its
/// header): then they are the framework's, for the library and for all who use it, and gaizior/ui/window.h is not
/// there.

#include "gaizior/errors/error_codes.h"

#ifdef GAIZIOR_FRAMEWORK

#include GAIZIOR_FRAMEWORK

namespace gaizior {

/// Shows a text in a control that has a window. @returns 0.
inline ZRErrors::ZRErrorT ShowText(CEdit& control, const char* text) {
    control.SetWindowText(text);
    return ZRErrors::e_General_NoError;
}

} // namespace gaizior

#else

#include "gaizior/ui/window.h"
#include "gaizior/values/string.h"

/// The library's text.
using CString = ZRCString;

namespace gaizior {

/// CWnd::SetText, by which the library's controls reach a framework's as well.
inline ZRErrors::ZRErrorT ShowText(CEdit& control, const char* text) {
    return control.SetText(text);
}

} // namespace gaizior

#endif
