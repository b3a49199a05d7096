#include "gaizior/plates/plate_details.h"

#include <gtest/gtest.h>

#include <string>

namespace {

ZRPlateC DailyNews(double power, ZRPlateC::PowerTypeT powerType, int positive = 1) {
    ZRPlateC plate("", 345, 580.126, 30, positive, power, powerType, "Cal", 2);
    plate.SetName("Daily news");
    return plate;
}

std::string Shown(const ZRPlateC& plate, CPlateDetails::FlagsT flags) {
    CPlateDetails details(flags);
    EXPECT_EQ(details.Update(plate), 0u);
    EXPECT_STREQ(details.GetPlate().GetName(), plate.GetName());
    EXPECT_EQ(details.GetThicknessMM(), plate.GetThicknessMM());
    return static_cast<const char*>(details.GetText());
}

TEST(PlateDetails, ShowTheChosenFieldsInTheirOrder) {
    using enum CPlateDetails::FlagsT;
    using enum ZRPlateC::PowerTypeT;
    const ZRPlateC plate = DailyNews(80, e_PowerType_Percentage);
    EXPECT_EQ(Shown(plate, e_Flags_All),
              "Daily news, Width 345.00 mm, Height 580.13 mm, Thickness 0.30 mm, Type Positive, "
              "Power 80.00 %, Cassette 2");
    EXPECT_EQ(Shown(DailyNews(0.25, e_PowerType_EnergyDensity, 0), e_Flags_Power | e_Flags_Type),
              "Type Negative, Power 0.250000 uJ cm^2");
    EXPECT_EQ(Shown(DailyNews(1, e_PowerType_EnergyDensity), e_Flags_Power), "Power 1.00 uJ cm^2");
    EXPECT_EQ(Shown(plate, e_Flags_Cassette | e_Flags_Name), "Daily news, Cassette 2");
    EXPECT_EQ(Shown(plate, CPlateDetails::FlagsT()), "");
    EXPECT_EQ(Shown(DailyNews(1e300, e_PowerType_Percentage), e_Flags_Power).size(),
              std::string("Power .00 %").size() + 301);
}

TEST(PlateDetails, BeginWithAPlateThatWorksPositiveAndCallOneWithoutANameInvalid) {
    const CPlateDetails details(CPlateDetails::e_Flags_All);
    EXPECT_EQ(details.GetPlate().IsPositivePlate(), 1);
    EXPECT_STREQ(details.GetText(), "Invalid Plate");
    EXPECT_EQ(Shown(ZRPlateC("name", 1, 1, 1, 1, 1, ZRPlateC::e_PowerType_Percentage, "clears it", 1),
                    CPlateDetails::e_Flags_Width),
              "Invalid Plate");
}

} // namespace
