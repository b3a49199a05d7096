#pragma once

#include "apps/support/failure.h"
#include "apps/support/process_events.h"
#include "gaizior/plates/plate_details.h"

namespace apps {

/// Shows those fields of a plate in a small window until it is closed or Ctrl-C is pressed; one source for each system.
/// @returns why it cannot be shown, as on systems without dialogs.
Outcome ShowPlate(const ZRPlateC& plate, CPlateDetails::FlagsT fields, const Interrupt& interrupt);

} // namespace apps
