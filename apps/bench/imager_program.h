#pragma once

#include "apps/support/failure.h"

#include <string>

namespace apps {

/// Finds the imager's program: the one that is named, or the one beside bench where `named` is empty.
/// @returns nothing and the whole path, or Exit::kNotFound when there is no such file.
Outcome FindImager(const std::string& named, std::string& path);

/// What stands behind the imager's --speed.
std::string SpeedWord(double speed);

} // namespace apps
