#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"
#include "gaizior/plates/machine_transform.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace benchmarks {
namespace {

constexpr std::size_t kCount = 10'000;
constexpr int kPixelAxis = 1;

double g_dpi = 2400.0;

/// What a caller without the transform would write: the same steps.
double PixelsPerMetre() {
    Keep(g_dpi);
    return g_dpi * 1000.0 / 25.4;
}

unsigned PixelsInMM(double mm, double pixelsPerMetre) {
    return static_cast<unsigned>(static_cast<std::int64_t>(mm / 1000.0 * pixelsPerMetre + 0.5));
}

double MMOf(unsigned pixels, double pixelsPerMetre) {
    return pixels / pixelsPerMetre * 1000.0;
}

struct Names {
    const char* atOnce;
    const char* oneByOne;
};

/// Turns one list into another: in one call of ours, in a call for each value, and with the factor in the caller's
/// hand.
template <auto kBare, typename To, typename From, typename AtOnce, typename One>
void Convert(const Names& names, const std::vector<From>& from, AtOnce atOnce, One one) {
    std::vector<To> to(kCount);
    const auto each = [&](auto convert) {
        std::transform(from.data(), from.data() + kCount, to.data(), convert);
        Keep(to);
    };
    const Batch factorOnce =
        Repeat([&] { each([factor = PixelsPerMetre()](From value) { return kBare(value, factor); }); });
    const Batch factorEachTime = Repeat([&] { each([](From value) { return kBare(value, PixelsPerMetre()); }); });
    Compare(names.atOnce, Repeat([&] {
                atOnce(from.data(), to.data());
                Keep(to);
            }),
            {{"bare arithmetic, inline", factorOnce, 1.5}});
    Compare(names.oneByOne, Repeat([&] { each(one); }),
            {{"bare arithmetic, factor made each time", factorEachTime, 1.5},
             {"bare arithmetic, factor made once", factorOnce, 0}});
}

} // namespace

void Lengths() {
    const MachineTransformC transform(&g_dpi, &g_dpi, 1);
    std::mt19937 random(1);
    std::vector<double> mm(kCount);
    std::vector<unsigned> pixels(kCount);
    std::ranges::generate(mm, [&] { return std::uniform_real_distribution(0.0, 2000.0)(random); });
    std::ranges::generate(pixels, [&] { return static_cast<unsigned>(random() % 200'000); });
    Convert<PixelsInMM, unsigned>(
        {"10,000 lengths to pixels, in one call", "10,000 lengths to pixels, one by one"}, mm,
        [&](const double* from, unsigned* to) { transform.MMToPixels(from, to, kCount, kPixelAxis); },
        [&](double value) { return transform.MMToPixels(value, kPixelAxis); });
    Convert<MMOf, double>(
        {"10,000 lengths of pixels, in one call", "10,000 lengths of pixels, one by one"}, pixels,
        [&](const unsigned* from, double* to) { transform.PixelsToMM(from, to, kCount, kPixelAxis); },
        [&](unsigned value) { return transform.PixelsToMM(value, kPixelAxis); });
}

} // namespace benchmarks
