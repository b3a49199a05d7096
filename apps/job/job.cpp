#include "apps/job/job.h"

#include "apps/support/failure.h"
#include "gaizior/plates/machine_transform.h"

#include <algorithm>

namespace apps {
namespace {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsNameCharacter(char c) {
    return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

} // namespace

bool IsSeparationName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxSeparationName && std::ranges::all_of(name, IsNameCharacter);
}

ZRErrors::ZRErrorT CheckExposure(const Job& job) {
    if (!kImageSide.Holds(job.image.width) || !kImageSide.Holds(job.image.length) || !IsName(job.name)) {
        return kInvalidParameter;
    }
    if (job.image.width > job.plate.size.width || job.image.length > job.plate.size.length) {
        return kImageTooBig;
    }
    if (!kResolution.Holds(job.resolution)) {
        return kResolutionNotSet;
    }
    const bool good = std::ranges::all_of(job.separations, [](const Separation& separation) {
        return IsSeparationName(separation.name) && kCopies.Holds(separation.copies);
    });
    if (!good || job.separations.empty() || job.separations.size() > kMaxSeparations) {
        return kWrongSeparations;
    }
    return ZRErrors::e_General_NoError;
}

int CountPlates(const Job& job) {
    int plates = 0;
    for (const Separation& separation : job.separations) {
        plates += separation.copies;
    }
    return plates;
}

std::vector<std::string> PlateSeparations(const Job& job) {
    std::vector<std::string> names;
    for (const Separation& separation : job.separations) {
        names.insert(names.end(), static_cast<std::size_t>(separation.copies), separation.name);
    }
    return names;
}

int CountLines(const Job& job) {
    const double resolution = job.resolution;
    const MachineTransformC transform(&resolution, &resolution, 1);
    return static_cast<int>(transform.MMToLines(Millimetres(job.image.length)));
}

} // namespace apps
