#include "gaizior/plates/plate_details.h"

#include <gtest/gtest.h>

TEST(Framework, OfTheHostTakesThePlaceOfTheLibrarysClasses) {
    CWnd dialog;
    CPlateDetails details(CPlateDetails::e_Flags_All);
    EXPECT_EQ(details.SubclassDlgItem(1, nullptr), 0);
    EXPECT_EQ(details.shown, "");
    EXPECT_EQ(details.SubclassDlgItem(1, &dialog), 1);
    EXPECT_TRUE(details.isReadOnly);
    EXPECT_EQ(details.shown, "Invalid Plate");
    ZRPlateC plate;
    plate.SetName("Daily news");
    EXPECT_EQ(details.Update(plate), 0u);
    EXPECT_EQ(details.shown.find("Daily news, Width 0.00 mm, "), 0u);
}
