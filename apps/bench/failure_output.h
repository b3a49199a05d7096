#pragma once

#include "apps/support/failure.h"

namespace apps {

/// Says a failure on standard error, behind all that standard output was told before, and with `json` also there, as
/// one object. @returns the exit code.
int PrintFailure(const Failure& failure, bool json);

} // namespace apps
