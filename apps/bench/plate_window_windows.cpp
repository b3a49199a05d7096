#include "apps/bench/plate_window.h"

#include "apps/bench/plate_window_ids.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/platform/windows_api.h"

#include <memory>
#include <type_traits>

namespace apps {
namespace {

using Window = std::unique_ptr<std::remove_pointer_t<HWND>, decltype(&::DestroyWindow)>;

INT_PTR CALLBACK OnMessage(HWND /*window*/, UINT message, WPARAM command, LPARAM /*control*/) {
    if (message == WM_COMMAND && (LOWORD(command) == IDOK || LOWORD(command) == IDCANCEL)) {
        ::PostQuitMessage(0);
        return TRUE;
    }
    return message == WM_INITDIALOG; // the system chooses the focus
}

Outcome FailToShow(ZRErrors::ZRErrorT code) {
    return Fail("ShowPlate(): ", code, Exit::kFailed, "the plate cannot be shown: " + ErrorText(code));
}

Outcome RunUntilClosed(HWND window, const Interrupt& interrupt) {
    const HANDLE interrupted = interrupt.Event();
    DWORD woken = WAIT_OBJECT_0;
    do {
        for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) {
            if (message.message == WM_QUIT) {
                return std::nullopt;
            }
            if (!::IsDialogMessageA(window, &message)) {
                ::TranslateMessage(&message);
                ::DispatchMessageA(&message);
            }
        }
        woken = ::MsgWaitForMultipleObjects(1, &interrupted, FALSE, INFINITE, QS_ALLINPUT);
    } while (woken == WAIT_OBJECT_0 + 1);
    return woken == WAIT_FAILED ? FailToShow(gaizior::LastSystemError()) : std::nullopt;
}

} // namespace

Outcome ShowPlate(const ZRPlateC& plate, CPlateDetails::FlagsT fields, const Interrupt& interrupt) {
    const Window window(
        ::CreateDialogParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(PLATE_WINDOW), nullptr, &OnMessage, 0),
        &::DestroyWindow);
    if (!window) {
        return FailToShow(gaizior::LastSystemError());
    }
    CWnd dialog;
    CPlateDetails details(fields);
    if (!dialog.Attach(window.get()) || !details.SubclassDlgItem(PLATE_DETAILS, &dialog)) {
        return FailToShow(ZRErrors::e_Resource_AllocationFailed); // the log says more
    }
    if (const ZRErrors::ZRErrorT code = details.Update(plate)) {
        return FailToShow(code);
    }
    if (*plate.GetName()) {
        ::SetWindowTextA(window.get(), plate.GetName());
    }
    ::ShowWindow(window.get(), SW_SHOW);
    ::SetForegroundWindow(window.get()); // the console has been in front
    return RunUntilClosed(window.get(), interrupt);
}

} // namespace apps
