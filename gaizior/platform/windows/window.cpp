#include "gaizior/platform/window.h"

#include <utility>

namespace gaizior {
namespace {

// Properties of an attached window.
constexpr const char* kPlace = "gaizior.place";
constexpr const char* kProcedure = "gaizior.procedure"; ///< the procedure before

WNDPROC ProcedureBefore(HWND window) {
    return reinterpret_cast<WNDPROC>(::GetPropA(window, kProcedure));
}

LRESULT CALLBACK AttachedProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    const WNDPROC before = ProcedureBefore(window);
    if (message == WM_NCDESTROY) {
        if (auto* const place = static_cast<HWND*>(::GetPropA(window, kPlace))) {
            DetachWindow(*place);
        }
        ::RemovePropA(window, kProcedure);
    }
    return ::CallWindowProcA(before, window, message, first, second);
}

/// In place already where somebody subclassed the window before it was detached.
bool PutProcedure(HWND window) {
    if (ProcedureBefore(window)) {
        return true;
    }
    const auto before = ::GetWindowLongPtrA(window, GWLP_WNDPROC);
    return before && ::SetPropA(window, kProcedure, reinterpret_cast<HANDLE>(before)) &&
           ::SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AttachedProcedure));
}

/// Where somebody has subclassed the window since, the procedure stays and passes everything on.
void TakeProcedureOff(HWND window) {
    if (::GetWindowLongPtrA(window, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(&AttachedProcedure)) {
        ::SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ProcedureBefore(window)));
        ::RemovePropA(window, kProcedure);
    }
}

} // namespace

HWND FindDialogItem(HWND dialog, UINT id) {
    return ::GetDlgItem(dialog, static_cast<int>(id));
}

bool AttachWindow(HWND window, HWND& place) {
    if (::GetPropA(window, kPlace)) {
        ::SetLastError(ERROR_BUSY);
        return false;
    }
    if (!::SetPropA(window, kPlace, &place)) {
        return false;
    }
    if (!PutProcedure(window)) {
        const DWORD error = ::GetLastError();
        ::RemovePropA(window, kPlace);
        ::RemovePropA(window, kProcedure);
        ::SetLastError(error);
        return false;
    }
    place = window;
    return true;
}

void DetachWindow(HWND& place) {
    if (const HWND window = std::exchange(place, nullptr)) {
        ::RemovePropA(window, kPlace);
        TakeProcedureOff(window);
    }
}

bool ShowWindowText(HWND window, const char* text) {
    return ::SetWindowTextA(window, text) != FALSE;
}

void SetEditReadOnly(HWND window, bool isReadOnly) {
    ::SendMessageA(window, EM_SETREADONLY, isReadOnly, 0);
}

} // namespace gaizior
