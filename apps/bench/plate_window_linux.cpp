#include "apps/bench/plate_window.h"

namespace apps {

Outcome ShowPlate(const ZRPlateC& /*plate*/, CPlateDetails::FlagsT /*fields*/, const Interrupt& /*interrupt*/) {
    return Fail("ShowPlate(): ", kUnimplemented, Exit::kUsage,
                "there are no dialogs on this system: without --show the plate is printed");
}

} // namespace apps
