#include "gaizior/plates/plate.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr double kThicknessUnitsPerMM = 100.0;

/// A text of the caller's, taken as it was before a field is changed, in which it may stand.
template <std::size_t Size>
class TakenText {
public:
    explicit TakenText(const char* text) : m_nLength(::strnlen(text, Size)) {
        std::memcpy(m_szText, text, m_nLength);
    }
    bool Fits() const {
        return m_nLength < Size;
    }
    /// Writes the characters over what stands there.
    void WriteTo(char (&field)[Size]) const {
        std::memcpy(field, m_szText, m_nLength);
    }

private:
    std::size_t m_nLength;
    char m_szText[Size];
};

} // namespace

ZRPlateC::ZRPlateC() = default;

ZRPlateC::ZRPlateC(const char* name, double width, double height, unsigned short thickness, int positive, double power,
                   PowerTypeT powerType, const char* calibration, unsigned short cassette)
    : m_dWidth(width), m_dHeight(height), m_bPositive(positive), m_PowerType(powerType), m_dPower(power),
      m_nThickness(thickness), m_nCassette(cassette) {
    SetName(name);
    SetCalibration(calibration);
}

ZRPlateC::~ZRPlateC() = default;

ZRErrors::ZRErrorT ZRPlateC::SetName(const char* name) {
    if (!name) {
        return ZRErrors::e_Object_Null;
    }
    const TakenText<kTextSize> text(name);
    if (!text.Fits()) {
        return ZRErrors::e_Arguments_Bad;
    }
    std::ranges::fill(m_szName, '\0');
    text.WriteTo(m_szName);
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT ZRPlateC::SetCalibration(const char* calibration) {
    const TakenText<kTextSize> text(calibration ? calibration : "");
    if (!text.Fits()) {
        return ZRErrors::e_Arguments_Bad;
    }
    std::ranges::fill(m_szName, '\0');
    text.WriteTo(m_szCalibration);
    return ZRErrors::e_General_NoError;
}

const char* ZRPlateC::GetName() const {
    return m_szName;
}

double ZRPlateC::GetWidth() const {
    return m_dWidth;
}

double ZRPlateC::GetHeight() const {
    return m_dHeight;
}

int ZRPlateC::IsPositivePlate() const {
    return m_bPositive;
}

ZRPlateC::PowerTypeT ZRPlateC::GetPowerType() const {
    return m_PowerType;
}

double ZRPlateC::GetPower() const {
    return m_dPower;
}

unsigned short ZRPlateC::GetThickness() const {
    return m_nThickness;
}

double ZRPlateC::GetThicknessMM() const {
    return m_nThickness / kThicknessUnitsPerMM;
}

const char* ZRPlateC::GetCalibration() const {
    return m_szCalibration;
}

unsigned short ZRPlateC::GetCassette() const {
    return m_nCassette;
}
