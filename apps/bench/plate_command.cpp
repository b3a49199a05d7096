#include "apps/bench/commands.h"
#include "apps/bench/plate_choice.h"
#include "apps/bench/plate_output.h"
#include "apps/bench/plate_window.h"

#include <cstdio>

namespace apps {

Outcome PlateCommand(const PlateOptions& options, const Interrupt& interrupt) {
    Plate plate;
    if (Outcome failure = ChoosePlate(options.file, options.name, plate)) {
        return failure;
    }
    if (plate.name.empty()) {
        return Fail("PlateCommand(): ", kNameNotFound, Exit::kUsage,
                    "the plate of " + options.file +
                        " has no name, without which none is shown: add one to its [plate]");
    }
    if (options.show) {
        return ShowPlate(ToRecord(plate), ScreenFields(plate), interrupt);
    }
    std::printf("%s\n", ScreenText(plate).c_str());
    return std::nullopt;
}

} // namespace apps
