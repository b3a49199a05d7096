#include "tests/support/watchdog.h"
#include "tests/ui/picture.h"
#include "tests/ui/plate_dialog.h"

#include <gtest/gtest.h>

#include <string>

namespace gaizior::test {
namespace {

INT_PTR CALLBACK Procedure(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

TEST(PlateDialog, Shows) {
    const Watchdog watchdog{std::chrono::seconds(120)};
    const HWND dialog = ::CreateDialogParamA(nullptr, MAKEINTRESOURCEA(PLATE_DIALOG), nullptr, &Procedure, 0);
    ASSERT_TRUE(dialog) << ::GetLastError();
    ::SetDlgItemTextA(dialog, PLATE_DETAILS, "Violet 0.30 Width 745.00 mm Height 605.00 mm Thickness 0.30 mm Type Positive Power 50.00% Cassette 12");
    ::ShowWindow(dialog, SW_SHOW);
    ::UpdateWindow(dialog);
    for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) {
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
    EXPECT_GT(WritePicture(dialog, L"plate-dialog.png"), 1u);
    ::DestroyWindow(dialog);
}

} // namespace
} // namespace gaizior::test
