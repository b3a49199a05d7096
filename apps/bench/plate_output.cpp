#include "apps/bench/plate_output.h"

#include "apps/bench/output.h"

namespace apps {

std::string PlateText(const Plate& plate) {
    return FormatSize(plate.size) + (plate.name.empty() ? "" : ", '" + Printable(plate.name) + "'");
}

CPlateDetails::FlagsT ScreenFields(const Plate& plate) {
    using enum CPlateDetails::FlagsT;
    const auto known = [](bool isKnown, CPlateDetails::FlagsT flag) {
        return isKnown ? flag : CPlateDetails::FlagsT();
    };
    return e_Flags_Name | e_Flags_Width | e_Flags_Height | known(plate.thickness.has_value(), e_Flags_Thickness) |
           known(plate.polarity.has_value(), e_Flags_Type) | known(plate.power.has_value(), e_Flags_Power) |
           known(plate.cassette.has_value(), e_Flags_Cassette);
}

std::string ScreenText(const Plate& plate) {
    CPlateDetails details(ScreenFields(plate));
    details.Update(ToRecord(plate));
    return Printable(static_cast<const char*>(details.GetText()));
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
