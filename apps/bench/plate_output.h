#pragma once

#include "apps/job/plate.h"

#include <string>

namespace apps {

/// "345 x 580 mm, 'Daily news'": a plate within a sentence.
std::string PlateText(const Plate& plate);

/// A plate as a JSON object; null for what is not known of it.
std::string PlateJson(const Plate& plate);

} // namespace apps
