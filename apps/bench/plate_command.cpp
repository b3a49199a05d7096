#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/plate_output.h"
#include "apps/bench/plate_window.h"
#include "apps/job/job_file.h"
#include "apps/job/plate_file.h"
#include "apps/support/suggest.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>

namespace apps {
namespace {

constexpr const char* kFunction = "PlateCommand(): ";

/// Whether the name ends in ".job", in upper or lower case.
bool IsJobFileName(const std::string& path) {
    constexpr std::string_view kEnding = ".job";
    return path.size() >= kEnding.size() && std::ranges::equal(path.substr(path.size() - kEnding.size()), kEnding, {},
                                                               [](unsigned char c) { return std::tolower(c); });
}

/// The plates of a plate file, or the one of a job file, which its name tells.
Outcome ReadPlatesOf(const std::string& path, std::vector<Plate>& plates) {
    if (!IsJobFileName(path)) {
        return ReadPlateFile(path, plates);
    }
    Job job;
    Outcome failure = ReadJobFile(path, job);
    if (!failure) {
        plates.push_back(job.plate);
    }
    return failure;
}

/// The plate of that name, or the only one where no name is given.
Outcome Choose(const PlateOptions& options, const std::vector<Plate>& plates, Plate& plate) {
    if (options.name.empty() && plates.size() > 1) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    options.file + " has " + Counted(static_cast<long long>(plates.size()), "plate") +
                        ": say which by its name, see 'bench plates " + options.file + "'");
    }
    const auto found = options.name.empty() ? plates.begin() : std::ranges::find(plates, options.name, &Plate::name);
    if (found == plates.end()) {
        std::vector<std::string> names;
        std::ranges::transform(plates, std::back_inserter(names), &Plate::name);
        return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                    options.file + " has no plate '" + options.name + "'" + Suggestion(options.name, names));
    }
    if (found->name.empty()) {
        return Fail(kFunction, kNameNotFound, Exit::kUsage,
                    "the plate of " + options.file +
                        " has no name, without which none is shown: add one to its [plate]");
    }
    plate = *found;
    return std::nullopt;
}

} // namespace

Outcome PlateCommand(const PlateOptions& options, const Interrupt& interrupt) {
    std::vector<Plate> plates;
    Plate plate;
    if (Outcome failure = ReadPlatesOf(options.file, plates)) {
        return failure;
    }
    if (Outcome failure = Choose(options, plates, plate)) {
        return failure;
    }
    if (options.show) {
        return ShowPlate(ToRecord(plate), ScreenFields(plate), interrupt);
    }
    std::printf("%s\n", ScreenText(plate).c_str());
    return std::nullopt;
}

} // namespace apps
