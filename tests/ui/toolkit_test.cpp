#include "tests/ui/plate_control.h"
#include "tests/ui/toolkit.h"

namespace gaizior::test {
namespace {

TEST_F(PlateControl, LogsWhatAToolkitCannotDo) {
    Toolkit& toolkit = Toolkit::Instance();
    toolkit.isRefusing = true;
    EXPECT_EQ(details.SubclassDlgItem(kField, &parent), 1);
    EXPECT_EQ(log.Take(), "0 ERROR: CEdit::SetReadOnly(): Error: 1400 (0x578) Invalid window handle.\n"
                          "0 ERROR: CWnd::SetText(): Error: 1400 (0x578) Invalid window handle.\n");
    EXPECT_EQ(details.Update(Plate("Daily news")), 0x20000000u + ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(LoggedError(), "Error: 1400");
    toolkit.isRefusing = false;
    EXPECT_EQ(details.Update(details.GetPlate()), 0u);
    EXPECT_EQ(dialog.Shown(), kDailyNews);
}

} // namespace
} // namespace gaizior::test
