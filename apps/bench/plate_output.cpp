#include "apps/bench/plate_output.h"

#include "apps/bench/output.h"

namespace apps {

std::string PlateText(const Plate& plate) {
    return FormatSize(plate.size) + (plate.name.empty() ? "" : ", '" + Printable(plate.name) + "'");
}

std::string PlateJson(const Plate& plate) {
    const auto millimetres = [](std::optional<Hundredths> length) {
        return length ? FormatHundredths(*length) : "null";
    };
    return JsonObject()
        .TextOrNull("name", plate.name)
        .Value("widthMm", millimetres(plate.size.width))
        .Value("lengthMm", millimetres(plate.size.length))
        .Value("thicknessMm", millimetres(plate.thickness))
        .TextOrNull("polarity", plate.polarity ? PolarityName(*plate.polarity) : "")
        .Value("power", plate.power ? PowerNumber(*plate.power) : "null")
        .TextOrNull("powerUnit", plate.power ? PowerUnit(*plate.power) : "")
        .TextOrNull("calibration", plate.calibration)
        .Value("cassette", plate.cassette ? std::to_string(*plate.cassette) : "null")
        .Json();
}

} // namespace apps
