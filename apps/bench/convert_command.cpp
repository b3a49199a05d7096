#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "gaizior/plates/machine_transform.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <string_view>

namespace apps {
namespace {

constexpr const char* kFunction = "ConvertCommand(): ";
constexpr double kMostPixels = std::numeric_limits<std::uint32_t>::max();

constexpr std::array<std::string_view, 5> kCountUnits = {"px", "pixel", "pixels", "line", "lines"};

/// A number and its unit: a length, or a count of pixels or lines.
struct Quantity {
    double value;
    std::string_view unit;

    bool IsCount() const {
        return std::ranges::find(kCountUnits, unit) != kCountUnits.end();
    }
    /// What the count is told in: what was asked in.
    const char* CountName() const {
        return unit.starts_with("line") ? "line" : "pixel";
    }
    bool IsSensible() const {
        const bool isWhole = value <= kMostPixels && value == std::floor(value);
        return value >= 0.0 && std::isfinite(value) && (IsCount() ? isWhole : unit == "mm" || unit == "m");
    }
};

/// Reads "25.4mm" and "25.4 mm"; whatever follows the number is its unit.
std::optional<Quantity> Parse(std::string_view text) {
    Quantity quantity{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, quantity.value);
    const std::string_view unit(rest, static_cast<std::size_t>(end - rest));
    quantity.unit = unit.substr(std::min(unit.find_first_not_of(' '), unit.size()));
    return error == std::errc() && quantity.IsSensible() ? std::optional(quantity) : std::nullopt;
}

/// The digits that make the same number again, in every locale.
std::string Exact(double value) {
    std::array<char, 400> text; // the longest without an exponent
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return {text.data(), result.ptr};
}

/// The pixels that a quantity comes to; nothing when they are more than the engine can count.
std::optional<unsigned> ToPixels(const Quantity& quantity, const MachineTransformC& transform) {
    if (quantity.IsCount()) {
        return static_cast<unsigned>(quantity.value);
    }
    const bool isMetres = quantity.unit == "m";
    const double perUnit = transform.GetResolution(0) / (isMetres ? 0.0254 : 25.4);
    if (quantity.value * perUnit > kMostPixels) {
        return std::nullopt;
    }
    return isMetres ? transform.MetreToLines(quantity.value) : transform.MMToLines(quantity.value);
}

} // namespace

Outcome ConvertCommand(const ConvertOptions& options) {
    std::string asked;
    for (const std::string& word : options.words) {
        asked += (asked.empty() ? "" : " ") + word;
    }
    const std::optional<Quantity> quantity = Parse(asked);
    if (!quantity) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    "'" + asked + "' is neither a length nor a count of pixels or lines: write 25.4mm, 0.5m or 2400px");
    }
    const MachineTransformC transform(&options.dpi, &options.dpi, 1);
    const std::optional<unsigned> pixels = ToPixels(*quantity, transform);
    if (!pixels) {
        return Fail(kFunction, kImageTooBig, Exit::kUsage,
                    asked + " are more pixels than the engine can count at " + Exact(options.dpi) + " dpi");
    }
    const double mm = transform.LinesToMM(*pixels);
    if (options.json) {
        std::printf("%s\n", JsonObject()
                                .Value("dpi", Exact(options.dpi))
                                .Number("pixels", *pixels)
                                .Value("mm", Exact(mm))
                                .Value("metres", Exact(transform.LinesToMetre(*pixels)))
                                .Json()
                                .c_str());
    } else {
        std::printf("%s = %.4f mm\n", Counted(*pixels, quantity->CountName()).c_str(), mm);
    }
    return std::nullopt;
}

} // namespace apps
