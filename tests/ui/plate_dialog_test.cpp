#include "tests/ui/plate_control.h"

#include <set>

#include <objidl.h> // which the next needs

#include <gdiplus.h>

namespace gaizior::test {
namespace {

WNDPROC g_fieldProcedure = nullptr;
int g_nPassedOn = 0;

/// What an application puts over a control for purposes of its own.
LRESULT CALLBACK PassOn(HWND window, UINT message, WPARAM first, LPARAM second) {
    ++g_nPassedOn;
    return ::CallWindowProcA(g_fieldProcedure, window, message, first, second);
}

/// Writes what a window shows to PLATE_PICTURE, as PNG. @returns how many colours there are inside one of its controls.
std::size_t WritePicture(HWND window, HWND control) {
    RECT whole{};
    RECT inside{};
    ::GetWindowRect(window, &whole);
    ::GetClientRect(control, &inside);
    ::MapWindowPoints(control, nullptr, reinterpret_cast<POINT*>(&inside), 2);
    const int width = whole.right - whole.left;
    const int height = whole.bottom - whole.top;
    const HDC source = ::GetWindowDC(window);
    const HDC target = ::CreateCompatibleDC(source);
    const HBITMAP bits = ::CreateCompatibleBitmap(source, width, height);
    ::SelectObject(target, bits);
    ::BitBlt(target, 0, 0, width, height, source, 0, 0, SRCCOPY);
    std::set<COLORREF> colours;
    for (int y = inside.top - whole.top; y < inside.bottom - whole.top; ++y) {
        for (int x = inside.left - whole.left; x < inside.right - whole.left; ++x) {
            colours.insert(::GetPixel(target, x, y));
        }
    }
    ::DeleteDC(target);
    ::ReleaseDC(window, source);

    constexpr CLSID kPng = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
    const Gdiplus::GdiplusStartupInput input;
    ULONG_PTR gdiPlus = 0; // until the program ends
    EXPECT_EQ(Gdiplus::GdiplusStartup(&gdiPlus, &input, nullptr), Gdiplus::Ok);
    EXPECT_EQ(Gdiplus::Bitmap(bits, nullptr).Save(PLATE_PICTURE, &kPng, nullptr), Gdiplus::Ok);
    ::DeleteObject(bits);
    return colours.size();
}

TEST_F(PlateControl, IsSeenAndLetsNobodyType) {
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    ASSERT_EQ(details.SubclassDlgItem(kField, &parent), 1);
    ::SendMessageA(dialog.Field(), EM_SETSEL, 0, 5);
    ::SendMessageA(dialog.Field(), WM_CHAR, 'x', 1);
    ::SendMessageA(dialog.Field(), WM_KEYDOWN, VK_DELETE, 1);
    EXPECT_EQ(dialog.Shown(), kDailyNews);
    ::SendMessageA(dialog.Field(), EM_SETSEL, 0, 0);
    ::ShowWindow(dialog.Window(), SW_SHOW);
    ::UpdateWindow(dialog.Window());
    for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) {
        ::DispatchMessageA(&message);
    }
    EXPECT_GT(WritePicture(dialog.Window(), dialog.Field()), 1u) << "nothing was painted";
}

TEST_F(PlateControl, LeavesAnApplicationsOwnProcedureInPlace) {
    {
        CPlateDetails first(CPlateDetails::e_Flags_Name);
        ASSERT_EQ(first.SubclassDlgItem(kField, &parent), 1);
        g_fieldProcedure = reinterpret_cast<WNDPROC>(
            ::SetWindowLongPtrA(dialog.Field(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&PassOn)));
    }
    g_nPassedOn = 0;
    EXPECT_EQ(dialog.Shown(), "Invalid Plate");
    EXPECT_GT(g_nPassedOn, 0);
    ASSERT_EQ(details.SubclassDlgItem(kField, &parent), 1);
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_EQ(dialog.Shown(), kDailyNews);
    dialog.Close();
    EXPECT_EQ(details.GetSafeHwnd(), nullptr);
}

TEST_F(PlateControl, LeavesAWideWindowWide) {
    const HWND window = ::CreateWindowExW(0, L"EDIT", L"\u65E5", 0, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    wchar_t text[9] = {};
    CWnd attached;
    EXPECT_EQ(attached.Attach(window), 1);
    EXPECT_TRUE(::IsWindowUnicode(window));
    ::GetWindowTextW(window, text, 9);
    EXPECT_STREQ(text, L"\u65E5");
    EXPECT_EQ(attached.Detach(), window);
    EXPECT_TRUE(::IsWindowUnicode(window));
    ::DestroyWindow(window);
}

} // namespace
} // namespace gaizior::test
