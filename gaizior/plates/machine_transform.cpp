#include "gaizior/plates/machine_transform.h"

#include <algorithm>
#include <cfloat>

// What a length comes to depends on the order of the steps and on each being rounded to a double. They stand here
// alone, and not in the header, since this file is compiled without fused multiply-adds (x86-64 has none of them unless
// the compiler is told of a later processor).
static_assert(FLT_EVAL_METHOD == 0, "each step is rounded to a double");

namespace {

constexpr int kLineAxis = 0;
constexpr double kMillimetresPerMetre = 1000.0;
constexpr double kMillimetresPerInch = 25.4;

double MetresOf(unsigned int pixels, double pixelsPerMetre) {
    return pixels / pixelsPerMetre;
}

double MMOf(unsigned int pixels, double pixelsPerMetre) {
    return MetresOf(pixels, pixelsPerMetre) * kMillimetresPerMetre;
}

unsigned int PixelsInMetres(double metres, double pixelsPerMetre) {
    const double halfAbove = metres * pixelsPerMetre + 0.5;
    return static_cast<unsigned>(static_cast<std::int64_t>(halfAbove));
}

unsigned int PixelsInMM(double mm, double pixelsPerMetre) {
    return PixelsInMetres(mm / kMillimetresPerMetre, pixelsPerMetre);
}

template <auto kConvert, typename From, typename To>
void ConvertEach(const From* from, To* to, std::size_t count, double pixelsPerMetre) {
    std::transform(from, from + count, to, [=](From value) { return kConvert(value, pixelsPerMetre); });
}

} // namespace

MachineTransformC::MachineTransformC() : MachineTransformC(nullptr, nullptr, 0) {}

MachineTransformC::MachineTransformC(const double* const pixelResolutions, const double* const lineResolutions,
                                     unsigned int count)
    : m_nCount(count), m_pPixelResolutions(pixelResolutions), m_pLineResolutions(lineResolutions) {}

MachineTransformC::~MachineTransformC() = default;

ZRErrors::ZRErrorT MachineTransformC::Set(const double* const pixelResolutions, const double* const lineResolutions,
                                          unsigned int count) {
    m_nCount = count;
    m_pPixelResolutions = pixelResolutions;
    m_pLineResolutions = lineResolutions;
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT MachineTransformC::SetResolution(unsigned int index) {
    m_nIndex = index;
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT MachineTransformC::SetResolution(double resolution, int axis) {
    const double* const first = ResolutionsOf(axis);
    const double* const last = first + m_nCount;
    const double* const found = std::find(first, last, resolution);
    if (found == last) {
        return ZRErrors::e_Resolution_OutOfRange;
    }
    return SetResolution(static_cast<unsigned>(found - first));
}

double MachineTransformC::GetResolution(int axis) const {
    return GetResolution(m_nIndex, axis);
}

double MachineTransformC::GetResolution(unsigned int index, int axis) const {
    return ResolutionsOf(axis)[index];
}

double MachineTransformC::PixelsToMetre(unsigned int pixels, int axis) const {
    return MetresOf(pixels, GetPPMetre(axis));
}

double MachineTransformC::PixelsToMM(unsigned int pixels, int axis) const {
    return MMOf(pixels, GetPPMetre(axis));
}

unsigned int MachineTransformC::MetreToPixels(double metres, int axis) const {
    return PixelsInMetres(metres, GetPPMetre(axis));
}

unsigned int MachineTransformC::MMToPixels(double mm, int axis) const {
    return PixelsInMM(mm, GetPPMetre(axis));
}

void MachineTransformC::PixelsToMetre(const unsigned int* pixels, double* metres, std::size_t count, int axis) const {
    ConvertEach<MetresOf>(pixels, metres, count, GetPPMetre(axis));
}

void MachineTransformC::PixelsToMM(const unsigned int* pixels, double* mm, std::size_t count, int axis) const {
    ConvertEach<MMOf>(pixels, mm, count, GetPPMetre(axis));
}

void MachineTransformC::MetreToPixels(const double* metres, unsigned int* pixels, std::size_t count, int axis) const {
    ConvertEach<PixelsInMetres>(metres, pixels, count, GetPPMetre(axis));
}

void MachineTransformC::MMToPixels(const double* mm, unsigned int* pixels, std::size_t count, int axis) const {
    ConvertEach<PixelsInMM>(mm, pixels, count, GetPPMetre(axis));
}

double MachineTransformC::LinesToMetre(unsigned int lines) const {
    return PixelsToMetre(lines, kLineAxis);
}

double MachineTransformC::LinesToMM(unsigned int lines) const {
    return PixelsToMM(lines, kLineAxis);
}

unsigned int MachineTransformC::MetreToLines(double metres) const {
    return MetreToPixels(metres, kLineAxis);
}

unsigned int MachineTransformC::MMToLines(double mm) const {
    return MMToPixels(mm, kLineAxis);
}

double MachineTransformC::GetPPMetre(int axis) const {
    return GetResolution(axis) * kMillimetresPerMetre / kMillimetresPerInch;
}

const double* MachineTransformC::ResolutionsOf(int axis) const {
    return axis == kLineAxis ? m_pLineResolutions : m_pPixelResolutions;
}
