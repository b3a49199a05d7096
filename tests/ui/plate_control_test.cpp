#include "gaizior/ui/language.h"
#include "tests/ui/plate_control.h"

#include <optional>

namespace gaizior::test {
namespace {

TEST_F(PlateControl, FollowsItsPlateUntilEitherGoes) {
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    {
        CPlateDetails first(CPlateDetails::e_Flags_Name);
        EXPECT_EQ(first.SubclassDlgItem(kField, &parent), 1);
        EXPECT_EQ(dialog.Shown(), "Invalid Plate");
        EXPECT_EQ(first.Update(Plate("Tabloid")), 0u);
        EXPECT_EQ(details.SubclassDlgItem(kField, &parent), 0) << "it has an object";
        EXPECT_EQ(LoggedError(), "Error: 170");
    }
    EXPECT_EQ(dialog.Shown(), "Tabloid");
    EXPECT_EQ(details.SubclassDlgItem(kField, &parent), 1);
    EXPECT_EQ(dialog.Shown(), kDailyNews);
    EXPECT_TRUE(dialog.IsReadOnly());
    dialog.Close();
    EXPECT_EQ(details.GetSafeHwnd(), nullptr);
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_STREQ(details.GetText(), kDailyNews);
    EXPECT_EQ(log.Take(), "");
}

TEST_F(PlateControl, TellsWhyItCannotBeAttached) {
    EXPECT_EQ(details.SubclassDlgItem(kNothing, &parent), 0);
    EXPECT_EQ(LoggedError(), "Error: 1421");
    EXPECT_EQ(details.SubclassDlgItem(kField, nullptr), 0);
    EXPECT_EQ(LoggedError(), "Error: 1400");
    dialog.Close();
    EXPECT_EQ(details.SubclassDlgItem(kField, &parent), 0);
    EXPECT_EQ(LoggedError(), "Error: 1400");
}

TEST_F(PlateControl, SpeaksALanguageAsFarAsItsLibraryHasTheWords) {
    std::optional<LanguageLibrary> language(std::in_place);
    ASSERT_TRUE(language->Module());
    EXPECT_EQ(details.SubclassDlgItem(kField, &parent), 1);
    EXPECT_EQ(ZRSetLanguageLibrary(language->Module()), nullptr);
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_EQ(dialog.Shown(), "Daily news, Breite 345.00 mm, Height 580.00 mm, Thickness 0.30 mm, Type positiv, "
                              "Power 80.00 %, Cassette 2");
    EXPECT_EQ(ZRSetLanguageLibrary(nullptr), language->Module());
    language.reset();
    EXPECT_EQ(details.Update(Plate("Daily news")), 0u);
    EXPECT_EQ(dialog.Shown(), kDailyNews);
}

} // namespace
} // namespace gaizior::test
