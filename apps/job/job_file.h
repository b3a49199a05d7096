#pragma once

#include "apps/job/job.h"
#include "apps/job/section_file.h"

#include <istream>
#include <string>

namespace apps {

/// Reads a job file: "key = value" lines in sections, lengths in mm, the resolution in dpi. A '#' at a line's
/// beginning, or with a blank on either side, begins a comment.
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
/// @returns nothing and the job, or why it cannot be used: "FILE:LINE: what is wrong" of its first fault, and how many
///          there are. Exit::kNotFound when there is no such file, Exit::kUsage when something in it is wrong.
Outcome ReadJobFile(const std::string& path, Job& job);

/// The same from a stream; `name` stands for the file in the texts.
Outcome ReadJob(std::istream& stream, const std::string& name, Job& job);

/// Reads a job file and tells all of its faults, in the order of their lines; without any the job is stored.
/// @returns nothing, or why there is nothing to look at, as ReadJobFile.
Outcome CheckJobFile(const std::string& path, Job& job, std::vector<Complaint>& complaints);

/// The same from a stream. @returns the faults.
std::vector<Complaint> CheckJob(std::istream& stream, Job& job);

} // namespace apps
