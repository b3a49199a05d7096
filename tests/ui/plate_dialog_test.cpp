#include "gaizior/plates/plate_details.h"
#include "gaizior/ui/language.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include <objidl.h> // which the next needs

#include <gdiplus.h>

namespace gaizior::test {
namespace {

constexpr int kDialog = 100; // these two are plate_dialog.rc's
constexpr int kField = 101;
constexpr const char* kDailyNews = "Daily news, Width 345.00 mm, Height 580.00 mm, Thickness 0.30 mm, Type Positive, "
                                   "Power 80.00 %, Cassette 2";

ZRPlateC Plate(const char* name) {
    ZRPlateC plate("", 345, 580, 30, 1, 80, ZRPlateC::e_PowerType_Percentage, "Violet", 2);
    plate.SetName(name);
    return plate;
}

INT_PTR CALLBACK OnDialogMessage(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

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

/// A dialog of an application, with a field for a plate's details.
class PlateDialog : public testing::Test {
protected:
    PlateDialog() {
        EXPECT_EQ(m_dialog.Attach(::CreateDialogParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(kDialog), nullptr,
                                                       &OnDialogMessage, 0)),
                  1);
    }
    ~PlateDialog() override {
        Close();
    }
    void Close() {
        ::DestroyWindow(m_dialog.GetSafeHwnd());
    }
    HWND Field() const {
        return ::GetDlgItem(m_dialog.GetSafeHwnd(), kField);
    }
    /// What the window itself says.
    std::string Shown() const {
        char text[512] = {};
        ::GetDlgItemTextA(m_dialog.GetSafeHwnd(), kField, text, sizeof(text));
        return text;
    }

    Watchdog m_watchdog{std::chrono::seconds(120)};
    LogCapture m_log;
    CWnd m_dialog;
};

TEST_F(PlateDialog, ShowsThePlateThatIsLoaded) {
    CPlateDetails details(CPlateDetails::e_Flags_All);
    ASSERT_EQ(details.SubclassDlgItem(kField, &m_dialog), 1);
    EXPECT_EQ(Shown(), "Invalid Plate");
    for (const char* name : {"Tabloid", "Daily news"}) {
        EXPECT_EQ(details.Update(Plate(name)), 0u);
        EXPECT_EQ(Shown(), name + std::string(kDailyNews).substr(std::string("Daily news").size()));
    }
    ::ShowWindow(m_dialog.GetSafeHwnd(), SW_SHOW);
    ::UpdateWindow(m_dialog.GetSafeHwnd());
    for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) {
        ::DispatchMessageA(&message);
    }
    EXPECT_GT(WritePicture(m_dialog.GetSafeHwnd(), Field()), 1u) << "nothing was painted";
}

TEST_F(PlateDialog, LetsNobodyTypeIntoThePlate) {
    CPlateDetails details(CPlateDetails::e_Flags_All);
    ASSERT_EQ(details.SubclassDlgItem(kField, &m_dialog), 1);
    details.Update(Plate("Daily news"));
    EXPECT_TRUE(::GetWindowLongA(Field(), GWL_STYLE) & ES_READONLY);
    ::SendMessageA(Field(), EM_SETSEL, 0, 5);
    ::SendMessageA(Field(), WM_CHAR, 'x', 1);
    ::SendMessageA(Field(), WM_KEYDOWN, VK_DELETE, 1);
    EXPECT_EQ(Shown(), kDailyNews);
}

TEST_F(PlateDialog, MayGoBeforeOrAfterTheObject) {
    CPlateDetails details(CPlateDetails::e_Flags_All);
    {
        CPlateDetails first(CPlateDetails::e_Flags_Name);
        ASSERT_EQ(first.SubclassDlgItem(kField, &m_dialog), 1);
        first.Update(Plate("Tabloid"));
        EXPECT_EQ(details.SubclassDlgItem(kField, &m_dialog), 0) << "it has an object";
        EXPECT_EQ(m_log.Take().find("0 ERROR: CWnd::Attach(): Error: 170 (0xAA) "), 0u);
        g_fieldProcedure =
            reinterpret_cast<WNDPROC>(::SetWindowLongPtrA(Field(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&PassOn)));
    }
    g_nPassedOn = 0;
    EXPECT_EQ(Shown(), "Tabloid");
    EXPECT_GT(g_nPassedOn, 0) << "the application's procedure was taken off";
    ASSERT_EQ(details.SubclassDlgItem(kField, &m_dialog), 1);
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_EQ(Shown(), kDailyNews);
    Close();
    EXPECT_FALSE(details.GetSafeHwnd());
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_STREQ(details.GetText(), kDailyNews);
    EXPECT_EQ(m_log.Take(), "");
    EXPECT_EQ(details.SubclassDlgItem(kField, &m_dialog), 0);
    EXPECT_EQ(m_log.Take().find("0 ERROR: CWnd::SubclassDlgItem(): control 101: Error: 1400 (0x578) "), 0u);
}

TEST_F(PlateDialog, SpeaksALanguageAsFarAsItsLibraryHasTheWords) {
    CPlateDetails details(CPlateDetails::e_Flags_All);
    ASSERT_EQ(details.SubclassDlgItem(kField, &m_dialog), 1);
    const HMODULE language = ::LoadLibraryA(GAIZIOR_LANGUAGE);
    ASSERT_TRUE(language) << ::GetLastError();
    EXPECT_EQ(ZRSetLanguageLibrary(language), nullptr);
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_EQ(Shown(), "Daily news, Breite 345.00 mm, Height 580.00 mm, Thickness 0.30 mm, Type positiv, "
                       "Power 80.00 %, Cassette 2");
    EXPECT_EQ(ZRSetLanguageLibrary(nullptr), language);
    ::FreeLibrary(language);
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_EQ(Shown(), kDailyNews);
}

} // namespace
} // namespace gaizior::test
