#pragma once

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <cstddef>
#include <cstdint>

/// Turns lengths on the plate into pixels along a line and lines across the plate, and back, at the resolution in use.
///
///     const double pixelDpi[] = {1200.0, 2400.0};
///     const double lineDpi[] = {1200.0, 2400.0};
///     MachineTransformC transform(pixelDpi, lineDpi, 2);
///     if (transform.SetResolution(2400.0, 1) == ZRErrors::e_General_NoError) {
///         const unsigned lines = transform.MMToLines(25.4); // 2400
///     }
///
/// The engine's resolutions stand in two lists of the caller's, in dots per inch, which must live as long as the object
/// and its copies. One index says which is in use in both. An `axis` of 0 means the list of the lines, any other that
/// of the pixels. Nothing but the search for a resolution is checked: an index within the lists, and lists that are
/// there, are the caller's part.
///
/// Lengths become counts by adding a half and cutting the rest off, so halves round up; counts become lengths by a
/// division alone. A count of pixels or lines that becomes metres or millimetres comes back as the same count, for all
/// counts of 32 bits at every resolution: what the steps round off adds up to less than 2^-18 of a pixel.
///
/// Each step rounds to a double, in the order of the formulas, on every machine: the conversions stand in the library,
/// where nothing that a host's compiler is told can fuse or reorder them. A single one works out the factor each time;
/// those of many values at once do so once and give the same numbers, several times as fast.
///
/// An object that nobody changes may be read by any thread.
class GAIZIOR_API MachineTransformC {
public:
    /// No resolutions.
    MachineTransformC();
    /// Two lists of `count` resolutions each; the first is in use.
    MachineTransformC(const double* const pixelResolutions, const double* const lineResolutions, unsigned int count);
    /// Copies share the caller's lists.
    /// @{
    MachineTransformC(const MachineTransformC& other) = default;
    MachineTransformC& operator=(const MachineTransformC& other) = default;
    /// @}
    virtual ~MachineTransformC();

    /// Takes other lists; the index stays. @returns 0.
    ZRErrors::ZRErrorT Set(const double* const pixelResolutions, const double* const lineResolutions,
                           unsigned int count);
    /// Uses the resolution at `index`, whatever the count is, a decision of this system. @returns 0.
    ZRErrors::ZRErrorT SetResolution(unsigned int index);
    /// Uses the first resolution of the axis that is exactly this one.
    /// @returns 0; 578 e_Resolution_OutOfRange when there is none: the index stays, and nothing is logged.
    ZRErrors::ZRErrorT SetResolution(double resolution, int axis);

    /// @returns the resolution in use, or the one at `index`, in dots per inch.
    /// @{
    double GetResolution(int axis) const;
    double GetResolution(unsigned int index, int axis) const;
    /// @}

    /// @returns the length that so many pixels have: the count divided by the pixels of a metre, and for millimetres
    ///   multiplied by 1000.
    /// @{
    double PixelsToMetre(unsigned int pixels, int axis) const;
    double PixelsToMM(unsigned int pixels, int axis) const;
    /// @}
    /// @returns the nearest count. The sum of a negative length and the half is cut off towards zero too: from more
    ///   than -1.5 pixels up it gives 0, below that the lower 32 bits of a negative count. Beyond 64 bits, and for what
    ///   is no number, the result has no meaning.
    /// @{
    unsigned int MetreToPixels(double metres, int axis) const;
    unsigned int MMToPixels(double mm, int axis) const;
    /// @}

    /// The same for `count` values at once, which stand in the one list and whose results are written to the other.
    /// @{
    void PixelsToMetre(const unsigned int* pixels, double* metres, std::size_t count, int axis) const;
    void PixelsToMM(const unsigned int* pixels, double* mm, std::size_t count, int axis) const;
    void MetreToPixels(const double* metres, unsigned int* pixels, std::size_t count, int axis) const;
    void MMToPixels(const double* mm, unsigned int* pixels, std::size_t count, int axis) const;
    /// @}

    /// The same on the axis of the lines.
    /// @{
    double LinesToMetre(unsigned int lines) const;
    double LinesToMM(unsigned int lines) const;
    unsigned int MetreToLines(double metres) const;
    unsigned int MMToLines(double mm) const;
    /// @}

protected:
    /// @returns pixels per metre at the resolution in use.
    double GetPPMetre(int axis) const;

private:
    const double* ResolutionsOf(int axis) const;

    std::uint32_t m_nCount;
    std::uint32_t m_nIndex = 0;
    const double* m_pPixelResolutions;
    const double* m_pLineResolutions;
};
