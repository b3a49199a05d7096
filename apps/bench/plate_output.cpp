#include "apps/bench/plate_output.h"

#include "apps/bench/output.h"

namespace apps {

CPlateDetails::FlagsT ScreenFields(const Plate& plate) {
    using Details = CPlateDetails;
    auto fields = Details::e_Flags_Name | Details::e_Flags_Width | Details::e_Flags_Height;
    const auto add = [&](bool isKnown, Details::FlagsT field) { fields = isKnown ? fields | field : fields; };
    add(plate.thickness.has_value(), Details::e_Flags_Thickness);
    add(plate.polarity.has_value(), Details::e_Flags_Type);
    add(plate.power.has_value(), Details::e_Flags_Power);
    add(plate.cassette.has_value(), Details::e_Flags_Cassette);
    return fields;
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
