#pragma once

#include "benchmarks/compare.h"

namespace benchmarks {

inline constexpr char kLine[] = "PlateC::LoadPlate(): plate {} is at step {}";

/// spdlog at its fastest: inlined, its clock one that is read from memory, and a sink that takes the bare text without
/// any formatter. A library of its own, since that clock is chosen when spdlog is compiled.
[[gnu::visibility("default")]] Batch WriteWithCoarseSpdlog(int& plate, int& step);

} // namespace benchmarks
