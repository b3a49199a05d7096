#pragma once

#include "gaizior/plates/plate_details.h"
#include "tests/support/log_capture.h"
#include "tests/support/watchdog.h"
#include "tests/ui/dialog.h"

#include <gtest/gtest.h>

namespace gaizior::test {

inline constexpr const char* kDailyNews = "Daily news, Width 345.00 mm, Height 580.00 mm, Thickness 0.30 mm, "
                                          "Type Positive, Power 80.00 %, Cassette 2";

inline ZRPlateC Plate(const char* name) {
    ZRPlateC plate("", 345, 580, 30, 1, 80, ZRPlateC::e_PowerType_Percentage, "Violet", 2);
    plate.SetName(name);
    return plate;
}

/// A control for a plate and a dialog with a field for it.
class PlateControl : public testing::Test {
protected:
    PlateControl() {
        EXPECT_EQ(parent.Attach(dialog.Window()), 1);
    }
    /// The number of the error in the one line that was logged.
    std::string LoggedError() {
        const std::string line = log.Take();
        const std::size_t number = line.find("Error: ");
        return line.find('\n') + 1 == line.size() ? line.substr(number, line.find(" (") - number) : line;
    }

    Watchdog watchdog{std::chrono::seconds(120)};
    LogCapture log;
    Dialog dialog;
    CWnd parent;
    CPlateDetails details{CPlateDetails::e_Flags_All};
};

} // namespace gaizior::test
