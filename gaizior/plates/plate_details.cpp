#include "gaizior/plates/plate_details.h"

#include "gaizior/errors/failure.h"
#include "gaizior/ui/labels.h"

#include <new>
#include <string>

namespace {

using gaizior::Label;

/// Texts of the string table.
enum LabelT : unsigned {
    e_Label_InvalidPlate = 4105,
    e_Label_Width,
    e_Label_Height,
    e_Label_Thickness,
    e_Label_Type,
    e_Label_Positive,
    e_Label_Negative,
    e_Label_Power,
    e_Label_Percent,
    e_Label_EnergyDensity,
    e_Label_Cassette,
};

constexpr const char* kSizeFormat = "%2.2f";
constexpr const char* kSmallPowerFormat = "%2.6f"; ///< of less than one unit
constexpr const char* kMillimetres = "mm";

/// A label and its value, a blank between them; the label may end in one.
std::string Labelled(std::string label, const std::string& value) {
    if (!label.ends_with(' ')) {
        label += ' ';
    }
    return label + value;
}

} // namespace

CPlateDetails::CPlateDetails(FlagsT flags)
    : m_nFlags(flags), m_Plate("", 0.0, 0.0, 0, 1, 0.0, ZRPlateC::e_PowerType_Percentage, "", 0) {}

CPlateDetails::~CPlateDetails() = default;

ZRErrors::ZRErrorT CPlateDetails::Update(const ZRPlateC& plate) {
    m_Plate = plate;
    return Update();
}

ZRErrors::ZRErrorT CPlateDetails::Update() {
    if (!GetSafeHwnd()) {
        return ZRErrors::e_General_NoError;
    }
    try {
        return gaizior::ShowText(*this, ToString());
    } catch (const std::bad_alloc&) {
        return gaizior::Fail("CPlateDetails::Update(): ", ZRErrors::e_Memory_AllocationFailed);
    }
}

ZRPlateC CPlateDetails::GetPlate() const {
    return m_Plate;
}

double CPlateDetails::GetThicknessMM() const {
    return m_Plate.GetThicknessMM();
}

CString CPlateDetails::GetText() const {
    return ToString();
}

int CPlateDetails::SubclassDlgItem(unsigned int id, CWnd* parent) {
    if (!CEdit::SubclassDlgItem(id, parent)) {
        return 0;
    }
    SetReadOnly(1);
    Update();
    return 1;
}

CString CPlateDetails::ToString() const {
    return ToString(m_nFlags);
}

CString CPlateDetails::ToString(FlagsT flags) const {
    const ZRPlateC& plate = m_Plate;
    if (!*plate.GetName()) {
        return Label(e_Label_InvalidPlate).c_str();
    }
    CString text;
    const auto add = [&](FlagsT field, const auto& show) {
        if (flags & field) {
            text += text.IsEmpty() ? "" : ", ";
            text += show();
        }
    };
    const auto size = [&](LabelT label, double millimetres) {
        return ShowSizeMM(Label(label).c_str(), millimetres, kSizeFormat, kMillimetres, 1.0, 1.0);
    };
    add(e_Flags_Name, [&] { return CString(plate.GetName()); });
    add(e_Flags_Width, [&] { return size(e_Label_Width, plate.GetWidth()); });
    add(e_Flags_Height, [&] { return size(e_Label_Height, plate.GetHeight()); });
    add(e_Flags_Thickness, [&] { return size(e_Label_Thickness, plate.GetThicknessMM()); });
    add(e_Flags_Type, [&] {
        const LabelT type = plate.IsPositivePlate() ? e_Label_Positive : e_Label_Negative;
        return CString(Labelled(Label(e_Label_Type), Label(type)).c_str());
    });
    add(e_Flags_Power, [&] { return ShowPower(); });
    add(e_Flags_Cassette,
        [&] { return CString(Labelled(Label(e_Label_Cassette), std::to_string(plate.GetCassette())).c_str()); });
    return text;
}

CString CPlateDetails::ShowSizeMM(const char* label, double value, const char* format, const char* units,
                                  double multiplier, double divisor) const {
    CString number;
    number.Format(format, value * multiplier / divisor);
    return (Labelled(label, static_cast<const char*>(number)) + ' ' + units).c_str();
}

CString CPlateDetails::ShowPower() const {
    const double power = m_Plate.GetPower();
    const bool isPercentage = m_Plate.GetPowerType() == ZRPlateC::e_PowerType_Percentage;
    return ShowSizeMM(Label(e_Label_Power).c_str(), power, power < 1.0 ? kSmallPowerFormat : kSizeFormat,
                      Label(isPercentage ? e_Label_Percent : e_Label_EnergyDensity).c_str(), 1.0, 1.0);
}
