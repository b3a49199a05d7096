#pragma once

#include "apps/job/job.h"

namespace apps {

// A name is limited in characters, of which one may take up to four bytes, a message in bytes: whether they go
// together.

/// Whether every message that tells of the plate has room for its names.
bool FitsMessage(const Plate& plate);
/// Whether the command to expose the job has room for the names of job and separations.
bool FitsMessage(const Job& job);

} // namespace apps
