#pragma once

#include "apps/bench/commands.h"
#include "apps/job/job_file.h"

#include <vector>

namespace apps {

// What 'bench image' tells of a job before and after it runs, on standard output.

/// All that is wrong with the job file, or that it is in order.
void PrintComplaints(const ImageOptions& options, const Job& job, const std::vector<Complaint>& complaints);

/// The plates that the job will need, and the time that they take on the engine.
void PrintPlan(const ImageOptions& options, const Job& job);

/// What a job came to that is done: `seconds` passed here, `engineSeconds` on the engine.
void PrintSummary(const ImageOptions& options, const Job& job, double seconds, double engineSeconds);

} // namespace apps
