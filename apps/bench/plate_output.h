#pragma once

#include "apps/job/plate.h"
#include "gaizior/plates/plate_details.h"

#include <string>

namespace apps {

/// What an operator's screen shows of a plate: the fields of which something is known.
CPlateDetails::FlagsT ScreenFields(const Plate& plate);
/// What it says there.
std::string ScreenText(const Plate& plate);

/// A plate as a JSON object; null for what is not known of it.
std::string PlateJson(const Plate& plate);

} // namespace apps
