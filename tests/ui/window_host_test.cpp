#include "gaizior/plates/plate_details.h"
#include "gaizior/ui/language.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <dlfcn.h>

namespace gaizior::test {
namespace {

constexpr UINT kPlate = 1001;
constexpr UINT kNoControl = 1002;

/// A toolkit with one dialog that has one field.
class Toolkit : public WindowHost {
public:
    Toolkit() {
        SetWindowHost(this);
    }
    virtual ~Toolkit() {
        SetWindowHost(nullptr);
    }
    HWND FindItem(HWND dialog, UINT id) override {
        return dialog == Dialog() && id == kPlate ? Field() : nullptr;
    }
    BOOL ShowText(HWND control, const char* newText) override {
        text = newText;
        return control == Field() && !isRefusing;
    }
    void SetReadOnly(HWND control, BOOL nowReadOnly) override {
        isReadOnly = control == Field() && nowReadOnly;
    }
    HWND Dialog() {
        return reinterpret_cast<HWND>(this);
    }
    HWND Field() {
        return reinterpret_cast<HWND>(&text);
    }

    std::string text;
    bool isReadOnly = false;
    bool isRefusing = false;
};

class WindowHostTest : public ::testing::Test {
protected:
    WindowHostTest() {
        EXPECT_EQ(dialog.Attach(toolkit.Dialog()), 1);
        plate.SetName("Daily news");
    }
    Toolkit toolkit;
    CWnd dialog;
    ZRPlateC plate;
    LogCapture log;
};

TEST_F(WindowHostTest, TheHostsFieldFollowsTheControlUntilEitherGoes) {
    auto details = std::make_unique<CPlateDetails>(CPlateDetails::e_Flags_Name);
    EXPECT_EQ(details->Update(plate), 0u);
    EXPECT_EQ(details->SubclassDlgItem(kPlate, &dialog), 1);
    EXPECT_TRUE(toolkit.isReadOnly);
    EXPECT_EQ(toolkit.text, "Daily news");
    details.reset();
    details = std::make_unique<CPlateDetails>(CPlateDetails::e_Flags_Name);
    EXPECT_EQ(details->SubclassDlgItem(kPlate, &dialog), 1) << "the one before has let go";
    EXPECT_EQ(toolkit.text, "Invalid Plate");
    WindowIsGone(toolkit.Field());
    EXPECT_EQ(details->GetSafeHwnd(), nullptr);
    EXPECT_EQ(details->Update(plate), 0u);
    EXPECT_EQ(toolkit.text, "Invalid Plate");
    EXPECT_EQ(log.Take(), "");
}

TEST_F(WindowHostTest, WhatCannotBeAttachedOrShownIsLogged) {
    CPlateDetails details(CPlateDetails::e_Flags_All), other(CPlateDetails::e_Flags_All);
    EXPECT_EQ(details.SubclassDlgItem(kPlate, &dialog), 1);
    EXPECT_EQ(other.SubclassDlgItem(kPlate, &dialog) + other.SubclassDlgItem(kNoControl, &dialog) +
                  other.SubclassDlgItem(kPlate, &other),
              0);
    EXPECT_EQ(log.Take(),
              "0 ERROR: CWnd::Attach(): Error: 170 (0xAA) The requested resource is in use.\n"
              "0 ERROR: CWnd::SubclassDlgItem(): control 1002: Error: 1421 (0x58D) Control ID not found.\n"
              "0 ERROR: CWnd::SubclassDlgItem(): control 1001: Error: 1400 (0x578) Invalid window handle.\n");
    toolkit.isRefusing = true;
    EXPECT_EQ(details.Update(plate), 0x20000000u + ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(log.Take(), "0 ERROR: CWnd::SetText(): Error: 1400 (0x578) Invalid window handle.\n");
    EXPECT_STREQ(details.GetPlate().GetName(), "Daily news");
}

TEST_F(WindowHostTest, ALanguageLibraryReplacesTheLabelsThatItHas) {
    void* const library = ::dlopen(GAIZIOR_LANGUAGE, RTLD_NOW);
    ASSERT_TRUE(library) << ::dlerror();
    CPlateDetails details(CPlateDetails::e_Flags_Width | CPlateDetails::e_Flags_Height | CPlateDetails::e_Flags_Type);
    EXPECT_EQ(details.SubclassDlgItem(kPlate, &dialog), 1);
    ZRPlateC positive("", 1, 2, 3, 1, 4, ZRPlateC::e_PowerType_Percentage, "", 5);
    positive.SetName("Daily news");
    EXPECT_EQ(ZRSetLanguageLibrary(static_cast<HMODULE>(library)), nullptr);
    EXPECT_EQ(details.Update(positive), 0u);
    EXPECT_EQ(toolkit.text, "Breite 1.00 mm, Height 2.00 mm, Type positiv");
    EXPECT_EQ(ZRSetLanguageLibrary(nullptr), static_cast<HMODULE>(library));
    EXPECT_EQ(details.Update(positive), 0u);
    EXPECT_EQ(toolkit.text, "Width 1.00 mm, Height 2.00 mm, Type Positive");
    ::dlclose(library);
}

} // namespace
} // namespace gaizior::test
