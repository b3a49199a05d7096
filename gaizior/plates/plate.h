#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <cstddef>
#include <cstdint>

/// One kind of printing plate: what it is called, how large it is, how it is exposed, and the cassette that holds it.
/// Nothing here logs or fills the error stack. An object that nobody changes may be read by any thread.
class GAIZIOR_API ZRPlateC {
public:
    /// The unit of a plate's power.
    enum PowerTypeT {
        e_PowerType_Percentage,    ///< percent of full power
        e_PowerType_EnergyDensity, ///< microjoules per square centimetre
    };

    /// Everything zero or empty.
    ZRPlateC();
    /// Sets the name, the numbers and the calibration, in this order. So the calibration clears the name, a decision of
    /// this system: only where it is too long the name stays. A text that its setter refuses leaves its field empty.
    /// @param name what the plate is called.
    /// @param width,height millimetres.
    /// @param thickness hundredths of a millimetre.
    /// @param positive not 0 for a plate that works positive.
    /// @param power how strongly it is exposed.
    /// @param powerType the unit of `power`.
    /// @param calibration what the calibration is called that belongs to the plate.
    /// @param cassette the cassette that holds it.
    ZRPlateC(const char* name, double width, double height, unsigned short thickness, int positive, double power,
             PowerTypeT powerType, const char* calibration, unsigned short cassette);
    /// A copy shares nothing with its source.
    /// @{
    ZRPlateC(const ZRPlateC& other) = default;
    ZRPlateC& operator=(const ZRPlateC& other) = default;
    /// @}
    virtual ~ZRPlateC();

    /// Sets the name; the text is copied and may be one of this plate's.
    /// @returns 0; 2100 e_Object_Null for a null text, 2006 e_Arguments_Bad for one of 256 characters or more: the
    ///   plate stays as it was.
    ZRErrors::ZRErrorT SetName(const char* name);
    /// Sets the name of the calibration that belongs to the plate; null counts as empty. The text may be one of this
    /// plate's. It clears the plate's name, a decision of this system. It is written over the old one without clearing
    /// that, a decision of this system too: an empty text changes nothing, a shorter one keeps the old one's tail.
    /// @returns 0; 2006 e_Arguments_Bad for a text of 256 characters or more: the plate stays as it was.
    ZRErrors::ZRErrorT SetCalibration(const char* calibration);

    /// @returns the name; the plate's, changed with it. Never null.
    const char* GetName() const;
    /// @returns millimetres.
    /// @{
    double GetWidth() const;
    double GetHeight() const;
    /// @}
    /// @returns not 0 for a plate that works positive: the number that was set.
    int IsPositivePlate() const;
    /// @returns the unit of the power.
    PowerTypeT GetPowerType() const;
    /// @returns the power in that unit.
    double GetPower() const;
    /// @returns hundredths of a millimetre.
    unsigned short GetThickness() const;
    /// @returns millimetres.
    double GetThicknessMM() const;
    /// @returns the calibration's name; the plate's, changed with it. Never null.
    const char* GetCalibration() const;
    /// @returns the number of the cassette that holds the plate.
    unsigned short GetCassette() const;

protected:
    static constexpr std::size_t kTextSize = 256; ///< with the NUL that ends every text

    /// What the getters return.
    /// @{
    char m_szName[kTextSize] = {};
    double m_dWidth = 0.0;
    double m_dHeight = 0.0;
    int m_bPositive = 0;
    PowerTypeT m_PowerType = e_PowerType_Percentage;
    double m_dPower = 0.0;
    std::uint16_t m_nThickness = 0;
    char m_szCalibration[kTextSize] = {};
    std::uint16_t m_nCassette = 0;
    /// @}
};
