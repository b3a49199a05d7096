#pragma once

#include "gaizior/errors/error_codes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace apps {

/// Lengths are whole hundredths of a millimetre: both a message and a job file carry them without loss.
using Hundredths = int;

struct Size {
    Hundredths width = 0;
    Hundredths length = 0;
    bool operator==(const Size&) const = default;
};

/// One colour of a job and on how many plates it is exposed.
struct Separation {
    std::string name;
    int copies = 1;
    bool operator==(const Separation&) const = default;
};

struct Job {
    std::string name;
    Size plate;
    Size image;
    int resolution = 0; ///< dpi
    std::vector<Separation> separations;
    bool operator==(const Job&) const = default;
};

struct Range {
    int least;
    int most;
    bool Holds(int value) const {
        return value >= least && value <= most;
    }
};

// What the engine takes. With these bounds every job fits into one message.
inline constexpr Range kPlateWidth{250'00, 1200'00};
inline constexpr Range kPlateLength{300'00, 1500'00};
inline constexpr Range kImageSide{10'00, 1500'00};
inline constexpr Range kResolution{600, 3600};
inline constexpr Range kCopies{1, 9};
inline constexpr std::size_t kMaxSeparations = 8;
inline constexpr std::size_t kMaxSeparationName = 16;
inline constexpr std::size_t kMaxJobName = 40;

/// "325.5" is 32550: at most two decimals, no exponent, no sign. Nothing for any other text.
std::optional<Hundredths> ParseHundredths(std::string_view text);
std::string FormatHundredths(Hundredths length);
/// "345 x 580 mm".
std::string FormatSize(const Size& size);
/// A whole number without anything around it.
std::optional<int> ParseNumber(std::string_view text);

/// 1 to 16 letters, digits, '-' and '_': what may name a separation.
bool IsSeparationName(std::string_view name);
/// 1 to 40 printable characters.
bool IsJobName(std::string_view name);

/// Whether the engine takes such a plate. @returns 0 or the code that says what is wrong with it.
ZRErrors::ZRErrorT CheckPlate(const Size& plate);
/// Whether the engine can expose the job on its plate. @returns 0 or the code that says why not.
ZRErrors::ZRErrorT CheckExposure(const Job& job);

/// How many plates the job needs: the copies of all separations.
int CountPlates(const Job& job);
/// Lines of one plate: the image's length at the job's resolution.
int CountLines(const Job& job);

} // namespace apps
