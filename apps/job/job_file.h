#pragma once

#include "apps/job/job.h"
#include "apps/support/failure.h"

#include <istream>
#include <string>

namespace apps {

/// Reads a job file: "key = value" lines in sections, '#' begins a comment, lengths in mm, the resolution in dpi.
///
///     [job]
///     name = Front page            # at most 40 characters
///     resolution = 1270 dpi
///     [plate]
///     width = 345 mm
///     length = 580 mm
///     name = Daily news            # this and more of the plate may be told, as in a plate file (plate_file.h)
///     [image]
///     width = 325 mm
///     length = 550 mm
///     [separation]                 # one for each colour, 1 to 8
///     name = Black
///     copies = 2                   # plates of this colour; 1 when it is left out
///
/// @returns nothing and the job, or why it cannot be used: "FILE:LINE: what is wrong". Exit::kNotFound when there is
///          no such file, Exit::kUsage when something in it is wrong.
Outcome ReadJobFile(const std::string& path, Job& job);

/// The same from a stream; `name` stands for the file in the texts.
Outcome ReadJob(std::istream& stream, const std::string& name, Job& job);

} // namespace apps
