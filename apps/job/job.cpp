#include "apps/job/job.h"

#include "apps/support/failure.h"

#include <algorithm>
#include <charconv>

namespace apps {
namespace {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsNameCharacter(char c) {
    return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

} // namespace

std::optional<int> ParseNumber(std::string_view text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::optional<Hundredths> ParseHundredths(std::string_view text) {
    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    std::string decimals(point == std::string_view::npos ? "0" : text.substr(point + 1));
    constexpr std::size_t kMostWholeDigits = 6;
    if (whole.empty() || whole.size() > kMostWholeDigits || decimals.empty() || decimals.size() > 2 ||
        !std::ranges::all_of(whole, IsDigit) || !std::ranges::all_of(decimals, IsDigit)) {
        return std::nullopt;
    }
    decimals.resize(2, '0');
    return *ParseNumber(whole) * 100 + *ParseNumber(decimals);
}

std::string FormatHundredths(Hundredths length) {
    std::string text = std::to_string(length / 100);
    if (const int rest = length % 100; rest != 0) {
        text += '.';
        text += static_cast<char>('0' + rest / 10);
        if (rest % 10 != 0) {
            text += static_cast<char>('0' + rest % 10);
        }
    }
    return text;
}

std::string FormatSize(const Size& size) {
    return FormatHundredths(size.width) + " x " + FormatHundredths(size.length) + " mm";
}

bool IsSeparationName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxSeparationName && std::ranges::all_of(name, IsNameCharacter);
}

bool IsJobName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxJobName &&
           std::ranges::none_of(name, [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

ZRErrors::ZRErrorT CheckPlate(const Size& plate) {
    if (plate.width > kPlateWidth.most) {
        return ZRErrors::e_Phs_PlateTooWide;
    }
    if (plate.width < kPlateWidth.least) {
        return ZRErrors::e_Phs_PlateTooNarrow;
    }
    if (plate.length > kPlateLength.most) {
        return ZRErrors::e_Phs_PlateTooLong;
    }
    if (plate.length < kPlateLength.least) {
        return ZRErrors::e_Phs_PlateTooShort;
    }
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT CheckExposure(const Job& job) {
    if (!kImageSide.Holds(job.image.width) || !kImageSide.Holds(job.image.length) || !IsJobName(job.name)) {
        return kInvalidParameter;
    }
    if (job.image.width > job.plate.width || job.image.length > job.plate.length) {
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

int CountLines(const Job& job) {
    constexpr int kHundredthsPerInch = 2540;
    return job.image.length * job.resolution / kHundredthsPerInch;
}

} // namespace apps
