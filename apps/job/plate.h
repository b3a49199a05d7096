#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/plates/plate.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace apps {

/// Lengths are whole hundredths of a millimetre: both a message and a job file carry them without loss.
using Hundredths = int;
constexpr double Millimetres(Hundredths length) {
    return length / 100.0;
}
/// The same for powers.
using Millionths = std::int64_t;

struct Size {
    Hundredths width = 0;
    Hundredths length = 0;
    bool operator==(const Size&) const = default;
};

enum class Polarity { kPositive, kNegative };

/// How strongly a plate is exposed, in percent of full power or in microjoules per square centimetre.
struct Power {
    ZRPlateC::PowerTypeT unit = ZRPlateC::e_PowerType_Percentage;
    Millionths value = 0;
    bool operator==(const Power&) const = default;
};

/// A plate as a file or a message tells it: its size, and of the rest what is known.
struct Plate {
    Size size;
    std::string name = {};
    std::optional<Hundredths> thickness = {};
    std::optional<Polarity> polarity = {};
    std::optional<Power> power = {};
    std::string calibration = {};
    std::optional<int> cassette = {};
    bool operator==(const Plate&) const = default;
};

struct Range {
    std::int64_t least;
    std::int64_t most;
    bool Holds(std::int64_t value) const {
        return value >= least && value <= most;
    }
};

// What the engine takes. With these bounds, and those of the power, every plate whose names are ASCII fits into one
// message.
inline constexpr Range kPlateWidth{250'00, 1200'00};
inline constexpr Range kPlateLength{300'00, 1500'00};
inline constexpr Range kPlateThickness{10, 50};
inline constexpr Range kCassette{1, 99};
inline constexpr std::size_t kMaxName = 40; ///< characters of a job's, a plate's or a calibration's name

/// A number in units of its last decimal: with two decimals "325.5" is 32550. At most six digits before the point and
/// `decimals` behind it, no exponent, no sign. Nothing for any other text.
std::optional<std::int64_t> ParseDecimal(std::string_view text, std::size_t decimals);
std::string FormatDecimal(std::int64_t number, std::size_t decimals);
std::optional<Hundredths> ParseHundredths(std::string_view text);
std::string FormatHundredths(std::int64_t length);
/// A whole number without anything around it.
std::optional<int> ParseNumber(std::string_view text);

/// "345 x 580 mm".
std::string FormatSize(const Size& size);
std::optional<Polarity> ParsePolarity(std::string_view text);
const char* PolarityName(Polarity polarity);
/// "80 %", "120 uJ cm^2" or "120 uJ/cm^2"; the blank before the unit may be left out.
std::optional<Power> ParsePower(std::string_view text);
/// "80%", "120.5uJ/cm^2": one word, made of its number and its unit.
std::string FormatPower(const Power& power);
std::string PowerNumber(const Power& power);
const char* PowerUnit(const Power& power);
/// What the engine takes of powers in that unit, in millionths.
Range PowerRange(ZRPlateC::PowerTypeT unit);
/// 1 to 40 characters, none of them an ASCII control character.
bool IsName(std::string_view name);

/// Whether the engine takes such a plate. @returns 0 or the code that says what is wrong with it.
ZRErrors::ZRErrorT CheckPlate(const Plate& plate);

/// "345 x 580 mm, 'Daily news'": a plate within a sentence.
std::string PlateText(const Plate& plate);

/// The library's record of a plate that CheckPlate found good; what is not known is 0 or empty.
ZRPlateC ToRecord(const Plate& plate);

} // namespace apps
