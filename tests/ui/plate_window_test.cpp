#include "apps/bench/plate_window_ids.h"
#include "tests/apps/program.h"

namespace apps::test {
namespace {

/// A bench that shows a plate in a window, waited for.
struct ShownPlate : Program {
    HWND window = nullptr;

    ShownPlate() : Program("bench", {"plate", GAIZIOR_SAMPLES "/pressroom.plates", "Tabloid spread", "--show"}) {
        for (int i = 0; i < 600 && !IsOurs(); ++i, ::Sleep(50)) {
            window = ::FindWindowA("#32770", "Tabloid spread");
        }
    }
    bool IsOurs() const {
        DWORD process = 0;
        ::GetWindowThreadProcessId(window, &process);
        return process == Id();
    }
};

TEST(PlateWindow, ShowsAPlateUntilItIsClosed) {
    const Watchdog watchdog{std::chrono::seconds(300)};
    for (const WPARAM key :
         {WPARAM{VK_RETURN}, WPARAM{VK_ESCAPE}}) { // neither is the field's, which takes several lines
        const ShownPlate bench;
        ASSERT_TRUE(bench.IsOurs()) << bench.Errors();
        char text[256] = {};
        const HWND field = ::GetDlgItem(bench.window, PLATE_DETAILS);
        ::SendMessageA(field, WM_GETTEXT, sizeof(text), reinterpret_cast<LPARAM>(text));
        EXPECT_STREQ(text, "Tabloid spread, Width 580.00 mm, Height 398.50 mm, Thickness 0.30 mm, Type Negative, "
                           "Power 55.00 uJ cm^2, Cassette 2");
        ::PostMessageA(field, WM_KEYDOWN, key, 1);
        EXPECT_EQ(bench.Wait(), 0) << key;
    }
}

} // namespace
} // namespace apps::test
