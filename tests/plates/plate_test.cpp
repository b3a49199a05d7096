#include "gaizior/plates/plate.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Texts(const ZRPlateC& plate) {
    return std::string(plate.GetName()) + "|" + plate.GetCalibration();
}

/// All but the texts, to tell apart by decimal places.
double Numbers(const ZRPlateC& plate) {
    return plate.GetWidth() + plate.GetHeight() * 1e2 + plate.GetPower() * 1e4 + int{plate.GetPowerType()} * 1e6 +
           plate.IsPositivePlate() * 1e7 + plate.GetThickness() * 1e8 + plate.GetCassette() * 1e10;
}

TEST(Plates, KeepWhatTheyAreGivenButTheNameThatTheCalibrationClears) {
    const ZRPlateC plate("A", 12, 34, 30, 7, 56, ZRPlateC::e_PowerType_EnergyDensity, "Cal", 89);
    ZRPlateC copy("B", 1, 2, 3, 0, 4, ZRPlateC::e_PowerType_Percentage, std::string(256, 'c').c_str(), 5);
    EXPECT_EQ(Texts(copy), "B|");
    copy = plate;
    EXPECT_EQ(Texts(copy), "|Cal");
    EXPECT_EQ(Numbers(ZRPlateC(copy)), 893'071'563'412.0);
    EXPECT_EQ(copy.GetThicknessMM(), 0.3);
    const ZRPlateC refused(nullptr, 0, 0, 0, 0, 0, ZRPlateC::e_PowerType_Percentage, nullptr, 0);
    EXPECT_EQ(Texts(refused) + Texts(ZRPlateC()), "||");
    EXPECT_EQ(Numbers(ZRPlateC()), 0.0);
}

TEST(Plates, TakeTextsOfUpTo255CharactersAndWriteCalibrationsOverOneAnother) {
    const std::string longest(255, 'n'), tooLong(256, 'n');
    ZRPlateC plate, other;
    EXPECT_EQ(plate.SetName(longest.c_str()) + plate.SetCalibration(tooLong.c_str()), 2006u);
    EXPECT_EQ(plate.SetName(tooLong.c_str()) + plate.SetName(nullptr), 2006u + 2100u);
    EXPECT_EQ(Texts(plate), longest + "|");
    EXPECT_EQ(plate.SetCalibration(plate.GetName()), 0u);
    EXPECT_EQ(Texts(plate), "|" + longest) << "the name as it was";
    for (const auto& [calibration, text] : {std::pair{"Long", "|Long"}, {"X", "|Xong"}, {"", "|Xong"}}) {
        EXPECT_EQ(other.SetName("ABCD") + other.SetCalibration(calibration), 0u);
        EXPECT_EQ(Texts(other), text);
    }
    other.SetCalibration(other.GetCalibration() + 1);
    EXPECT_EQ(other.SetName("ABCD") + other.SetName(other.GetName() + 2), 0u);
    EXPECT_EQ(Texts(other), "CD|ongg");
}

} // namespace
