#pragma once

#include "apps/job/job.h"

namespace apps {

// How fast the engine is, in seconds.

inline constexpr double kLoadSeconds = 4;
inline constexpr double kUnloadSeconds = 3;

/// Writing one plate of the job.
double ExposeSeconds(const Job& job);
/// One plate of the job from loading to unloading.
double PlateSeconds(const Job& job);

} // namespace apps
