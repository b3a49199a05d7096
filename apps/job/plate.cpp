#include "apps/job/plate.h"

#include "apps/job/message_room.h"
#include "apps/support/failure.h"
#include "apps/support/text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace apps {
namespace {

constexpr std::size_t kPowerDecimals = 6;
constexpr double kMillionthsPerUnit = 1e6;

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

template <typename Number>
std::optional<Number> ParseWhole(std::string_view text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

/// Whether the engine can do with what is told of a plate beside its size.
bool AreDetailsGood(const Plate& plate) {
    const Power power = plate.power.value_or(Power());
    return (plate.name.empty() || IsName(plate.name)) && (plate.calibration.empty() || IsName(plate.calibration)) &&
           kPlateThickness.Holds(plate.thickness.value_or(kPlateThickness.least)) &&
           PowerRange(power.unit).Holds(power.value) && kCassette.Holds(plate.cassette.value_or(kCassette.least)) &&
           FitsMessage(plate);
}

} // namespace

std::optional<std::int64_t> ParseDecimal(std::string_view text, std::size_t decimals) {
    constexpr std::size_t kMostWholeDigits = 6;
    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    std::string fraction(point == text.npos ? "0" : text.substr(point + 1));
    if (whole.empty() || whole.size() > kMostWholeDigits || fraction.empty() || fraction.size() > decimals ||
        !std::ranges::all_of(whole, IsDigit) || !std::ranges::all_of(fraction, IsDigit)) {
        return std::nullopt;
    }
    fraction.resize(decimals, '0');
    return ParseWhole<std::int64_t>(std::string(whole) + fraction);
}

std::string FormatDecimal(std::int64_t number, std::size_t decimals) {
    std::string text = std::to_string(number);
    text.insert(0, decimals + 1 - std::min(text.size(), decimals + 1), '0');
    text.insert(text.size() - decimals, 1, '.');
    text.erase(text.find_last_not_of('0') + 1);
    return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
}

std::optional<Hundredths> ParseHundredths(std::string_view text) {
    const std::optional<std::int64_t> number = ParseDecimal(text, 2);
    return number ? std::optional(static_cast<Hundredths>(*number)) : std::nullopt;
}

std::string FormatHundredths(std::int64_t length) {
    return FormatDecimal(length, 2);
}

std::optional<int> ParseNumber(std::string_view text) {
    return ParseWhole<int>(text);
}

std::string FormatSize(const Size& size) {
    return FormatHundredths(size.width) + " x " + FormatHundredths(size.length) + " mm";
}

std::optional<Polarity> ParsePolarity(std::string_view text) {
    for (const Polarity polarity : {Polarity::kPositive, Polarity::kNegative}) {
        if (text == PolarityName(polarity)) {
            return polarity;
        }
    }
    return std::nullopt;
}

const char* PolarityName(Polarity polarity) {
    return polarity == Polarity::kPositive ? "positive" : "negative";
}

std::optional<Power> ParsePower(std::string_view text) {
    for (const std::string_view unit : {"%", "uJ/cm^2", "uJ cm^2"}) {
        if (text.ends_with(unit)) {
            text.remove_suffix(unit.size());
            text = text.substr(0, text.find_last_not_of(" \t") + 1);
            const std::optional<Millionths> value = ParseDecimal(text, kPowerDecimals);
            const auto type = unit == "%" ? ZRPlateC::e_PowerType_Percentage : ZRPlateC::e_PowerType_EnergyDensity;
            return value ? std::optional(Power{type, *value}) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::string FormatPower(const Power& power) {
    return PowerNumber(power) + PowerUnit(power);
}

std::string PowerNumber(const Power& power) {
    return FormatDecimal(power.value, kPowerDecimals);
}

const char* PowerUnit(const Power& power) {
    return power.unit == ZRPlateC::e_PowerType_Percentage ? "%" : "uJ/cm^2";
}

Range PowerRange(ZRPlateC::PowerTypeT unit) {
    return {0, unit == ZRPlateC::e_PowerType_Percentage ? 100'000'000 : 200'000'000'000};
}

bool IsName(std::string_view name) {
    return !name.empty() && Characters(name) <= kMaxName &&
           std::ranges::none_of(name, [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

ZRErrors::ZRErrorT CheckPlate(const Plate& plate) {
    if (plate.size.width > kPlateWidth.most) {
        return ZRErrors::e_Phs_PlateTooWide;
    }
    if (plate.size.width < kPlateWidth.least) {
        return ZRErrors::e_Phs_PlateTooNarrow;
    }
    if (plate.size.length > kPlateLength.most) {
        return ZRErrors::e_Phs_PlateTooLong;
    }
    if (plate.size.length < kPlateLength.least) {
        return ZRErrors::e_Phs_PlateTooShort;
    }
    return AreDetailsGood(plate) ? ZRErrors::e_General_NoError : kInvalidParameter;
}

std::string PlateText(const Plate& plate) {
    return FormatSize(plate.size) + (plate.name.empty() ? "" : ", '" + Printable(plate.name) + "'");
}

ZRPlateC ToRecord(const Plate& plate) {
    const Power power = plate.power.value_or(Power());
    ZRPlateC record("", Millimetres(plate.size.width), Millimetres(plate.size.length),
                    static_cast<unsigned short>(plate.thickness.value_or(0)), plate.polarity == Polarity::kPositive,
                    static_cast<double>(power.value) / kMillionthsPerUnit, power.unit, plate.calibration.c_str(),
                    static_cast<unsigned short>(plate.cassette.value_or(0)));
    record.SetName(plate.name.c_str()); // the calibration clears it
    return record;
}

} // namespace apps
