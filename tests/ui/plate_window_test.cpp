#include "apps/bench/plate_window_ids.h"
#include "tests/apps/program.h"

namespace apps::test {
namespace {

/// The window of a program under that title, waited for.
HWND WaitForWindow(const Program& program, const char* title) {
    for (int i = 0; i < 600; ++i, ::Sleep(50)) {
        const HWND window = ::FindWindowA("#32770", title);
        DWORD process = 0;
        ::GetWindowThreadProcessId(window, &process);
        if (process == program.Id()) {
            return window;
        }
    }
    return nullptr;
}

TEST(PlateWindow, ShowsAPlateUntilItIsClosed) {
    const Watchdog watchdog{std::chrono::seconds(240)};
    for (const char* control : {"Edit", "Button"}) {
        for (const WPARAM key : {WPARAM{VK_RETURN}, WPARAM{VK_ESCAPE}}) {
            const Program bench("bench", {"plate", GAIZIOR_SAMPLES "/pressroom.plates", "Tabloid spread", "--show"});
            const HWND window = WaitForWindow(bench, "Tabloid spread");
            ASSERT_TRUE(window) << bench.Errors();
            char text[256] = {};
            ::SendDlgItemMessageA(window, PLATE_DETAILS, WM_GETTEXT, sizeof(text), reinterpret_cast<LPARAM>(text));
            EXPECT_STREQ(text, "Tabloid spread, Width 580.00 mm, Height 398.50 mm, Thickness 0.30 mm, Type Negative, "
                               "Power 55.00 uJ cm^2, Cassette 2");
            ::PostMessageA(::FindWindowExA(window, nullptr, control, nullptr), WM_KEYDOWN, key, 1);
            EXPECT_EQ(bench.Wait(), 0) << control << key;
        }
    }
}

} // namespace
} // namespace apps::test
