#pragma once

/// @file
/// A plate on the screen.

#include "gaizior/errors/error_codes.h"
#include "gaizior/plates/plate.h"
#include "gaizior/platform/export.h"
#include "gaizior/ui/framework.h"

/// A field of a dialog that shows a plate as one line of text, which nobody can edit:
///
///     Daily news, Width 345.00 mm, Height 580.00 mm, Thickness 0.30 mm, Type Positive, Power 80.00 %, Cassette 2
///
/// The words come from the string table (ZRSetLanguageLibrary), the decimal point from the process's C locale. A plate
/// without a name shows "Invalid Plate" and nothing else. The object needs no window: its text can be asked for, and
/// whatever SubclassDlgItem attaches later shows it. An object belongs to one thread, its window's where it has one.
///
///     CPlateDetails details(CPlateDetails::e_Flags_All);
///     details.SubclassDlgItem(1001, &dialog);
///     details.Update(plate);
class GAIZIOR_API CPlateDetails : public CEdit {
public:
    /// The fields of a plate, in the order in which they are shown.
    enum FlagsT {
        e_Flags_Name = 0x01,
        e_Flags_Width = 0x02,
        e_Flags_Height = 0x04,
        e_Flags_Thickness = 0x08,
        e_Flags_Type = 0x10, ///< whether it works positive or negative
        e_Flags_Power = 0x20,
        e_Flags_Cassette = 0x40,
        e_Flags_All = 0x7F,
    };

    /// A plate that works positive, with all else zero or empty.
    /// @param flags the fields to show; others are ignored.
    explicit CPlateDetails(FlagsT flags);
    ~CPlateDetails() override;

    /// Shows a copy of the plate.
    /// @returns 0, without a window too; 2001 e_Memory_AllocationFailed, or the system's error, folded, when the window
    ///   does not take the text: that is logged, and the plate is kept.
    ZRErrors::ZRErrorT Update(const ZRPlateC& plate);
    /// @returns a copy of the plate.
    ZRPlateC GetPlate() const;
    /// @returns the plate's thickness in millimetres.
    double GetThicknessMM() const;
    /// @returns the plate's text in the language that is set. Memory that runs out throws std::bad_alloc.
    CString GetText() const;

    /// Attaches the object to a control of the dialog `parent`, which shows the plate from now on and cannot be edited.
    /// @returns 1, also when the field does not take the text or stays open to editing, which is logged; 0 as CWnd's.
    int SubclassDlgItem(unsigned int id, CWnd* parent);

protected:
    /// Shows the plate again. @returns what the other form does.
    ZRErrors::ZRErrorT Update();
    /// @returns the text with the fields that are to be shown.
    CString ToString() const;

private:
    CString ToString(FlagsT flags) const;
    CString ShowSizeMM(const char* label, double value, const char* format, const char* units, double multiplier,
                       double divisor) const;
    CString ShowPower() const;

    FlagsT m_nFlags;
    ZRPlateC m_Plate;
};

/// Several fields.
constexpr CPlateDetails::FlagsT operator|(CPlateDetails::FlagsT left, CPlateDetails::FlagsT right) {
    return static_cast<CPlateDetails::FlagsT>(static_cast<unsigned>(left) | static_cast<unsigned>(right));
}
