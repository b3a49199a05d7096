#pragma once

#include "apps/job/section_file.h"

#include <istream>
#include <string>
#include <vector>

namespace apps {

inline constexpr int kMaxPlates = 100;

/// The keys of whatever has a size.
std::vector<Key> SizeKeys(const std::function<Size&()>& size, Range widths, Range lengths);
/// The keys that tell a plate beside its name, in a job file as in a plate file.
std::vector<Key> PlateKeys(const std::function<Plate&()>& plate);

/// Reads a plate file, "key = value" lines in sections of which there are 1 to 100:
///
///     [plate]
///     name = Daily news            # needed here, and no other plate's
///     width = 345 mm
///     length = 580 mm
///     thickness = 0.30 mm          # this and what follows may be left out
///     polarity = positive          # or negative
///     power = 80 %                 # or 120 uJ cm^2
///     calibration = Violet 2540
///     cassette = 2
///
/// @returns nothing and the plates, or why they cannot be used, as ReadJobFile.
Outcome ReadPlateFile(const std::string& path, std::vector<Plate>& plates);

/// The same from a stream; `name` stands for the file in the texts.
Outcome ReadPlates(std::istream& stream, const std::string& name, std::vector<Plate>& plates);

} // namespace apps
