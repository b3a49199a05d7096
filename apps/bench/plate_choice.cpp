#include "apps/bench/plate_choice.h"

#include "apps/bench/output.h"
#include "apps/job/job_file.h"
#include "apps/job/plate_file.h"
#include "apps/support/suggest.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace apps {
namespace {

constexpr const char* kFunction = "ChoosePlate(): ";

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
Outcome ChooseOf(const std::vector<Plate>& plates, const std::string& file, const std::string& name, Plate& plate) {
    if (name.empty() && plates.size() > 1) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    file + " has " + Counted(static_cast<long long>(plates.size()), "plate") +
                        ": say which by its name, see 'bench plates " + file + "'");
    }
    const auto found = name.empty() ? plates.begin() : std::ranges::find(plates, name, &Plate::name);
    if (found == plates.end()) {
        std::vector<std::string> names;
        std::ranges::transform(plates, std::back_inserter(names), &Plate::name);
        return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                    file + " has no plate '" + name + "'" + Suggestion(name, names));
    }
    plate = *found;
    return std::nullopt;
}

} // namespace

Outcome ChoosePlate(const std::string& file, const std::string& name, Plate& plate) {
    std::vector<Plate> plates;
    Outcome failure = ReadPlatesOf(file, plates);
    return failure ? failure : ChooseOf(plates, file, name, plate);
}

} // namespace apps
