#pragma once

#include "apps/job/plate.h"
#include "apps/support/failure.h"

#include <string>

namespace apps {

/// Finds a plate in a file.
/// @param file a plate file, or a job file, whose name ends in ".job"
/// @param name the plate's; empty for the only one
/// @param plate receives it
/// @returns nothing, or why there is no such plate: Exit::kNotFound, or Exit::kUsage for a file in which something is
///   wrong, or that has several plates where no name says which.
Outcome ChoosePlate(const std::string& file, const std::string& name, Plate& plate);

} // namespace apps
