#pragma once

#include "apps/job/plate.h"

#include <string>
#include <string_view>
#include <vector>

namespace apps {

/// One colour of a job and on how many plates it is exposed.
struct Separation {
    std::string name;
    int copies = 1;
    bool operator==(const Separation&) const = default;
};

struct Job {
    std::string name;
    Plate plate;
    Size image;
    int resolution = 0; ///< dpi
    std::vector<Separation> separations;
    bool operator==(const Job&) const = default;
};

// What the engine takes. With these bounds every job whose name is ASCII fits into one message.
inline constexpr Range kImageSide{10'00, 1500'00};
inline constexpr Range kResolution{600, 3600};
inline constexpr Range kCopies{1, 9};
inline constexpr int kMaxSeparations = 8;
inline constexpr std::size_t kMaxSeparationName = 16;

/// 1 to 16 letters, digits, '-' and '_': what may name a separation.
bool IsSeparationName(std::string_view name);

/// Whether the engine can expose the job on its plate. @returns 0 or the code that says why not.
ZRErrors::ZRErrorT CheckExposure(const Job& job);

/// How many plates the job needs: the copies of all separations.
int CountPlates(const Job& job);
/// The separation of each plate, in the order in which they are exposed.
std::vector<std::string> PlateSeparations(const Job& job);
/// Lines of one plate: the image's length at the job's resolution.
int CountLines(const Job& job);

} // namespace apps
