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

template <auto kCall>
LRESULT CALLBACK AttachedProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    const WNDPROC before = ProcedureBefore(window);
    if (message == WM_NCDESTROY) {
        if (auto* const place = static_cast<HWND*>(::GetPropA(window, kPlace))) {
            DetachWindow(*place);
        }
        ::RemovePropA(window, kProcedure);
    }
    return kCall(before, window, message, first, second);
}

/// How a window is subclassed without making a narrow one of it, or a wide one.
struct Subclassing {
    decltype(&::GetWindowLongPtrA) get;
    decltype(&::SetWindowLongPtrA) set;
    WNDPROC procedure;
};
const Subclassing kNarrow{&::GetWindowLongPtrA, &::SetWindowLongPtrA, &AttachedProcedure<&::CallWindowProcA>};
const Subclassing kWide{&::GetWindowLongPtrW, &::SetWindowLongPtrW, &AttachedProcedure<&::CallWindowProcW>};

/// In place already where somebody subclassed the window before it was detached.
bool PutProcedure(HWND window) {
    if (ProcedureBefore(window)) {
        return true;
    }
    const Subclassing& subclassing = ::IsWindowUnicode(window) ? kWide : kNarrow;
    const LONG_PTR before = subclassing.get(window, GWLP_WNDPROC);
    return before && ::SetPropA(window, kProcedure, reinterpret_cast<HANDLE>(before)) &&
           subclassing.set(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(subclassing.procedure));
}

/// Where somebody has subclassed the window since, the procedure stays and passes everything on.
void TakeProcedureOff(HWND window) {
    for (const Subclassing& subclassing : {kNarrow, kWide}) {
        if (subclassing.get(window, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(subclassing.procedure)) {
            subclassing.set(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ProcedureBefore(window)));
            ::RemovePropA(window, kProcedure);
            return;
        }
    }
}

} // namespace

HWND FindDialogItem(HWND dialog, UINT id) {
    ::SetLastError(ERROR_CONTROL_ID_NOT_FOUND); // Wine leaves it to the caller to know
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

bool SetEditReadOnly(HWND window, bool isReadOnly) {
    const bool isDone = ::SendMessageA(window, EM_SETREADONLY, isReadOnly, 0) != 0;
    if (!isDone) {
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE); // it edits no text
    }
    return isDone;
}

} // namespace gaizior
