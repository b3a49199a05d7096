#include "gaizior/plates/machine_transform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

struct OpenTransform : MachineTransformC {
    using MachineTransformC::GetPPMetre;
    using MachineTransformC::MachineTransformC;
};

TEST(Resolutions, AreFoundByTheirExactValueAndBelongToTheCaller) {
    const double pixels[] = {1200.0, 2400.0, 2400.0, 5080.0}, lines[] = {600.0, 2540.0, 1270.0, 10160.0};
    EXPECT_EQ(MachineTransformC().SetResolution(0.0, 0), 578u);
    MachineTransformC transform(pixels, lines, 3);
    EXPECT_EQ(transform.GetResolution(-1), 1200.0);
    EXPECT_EQ(transform.SetResolution(2400.0, 1), 0u);
    for (const double missing : {std::nextafter(1200.0, 0.0), 5080.0, 1270.0}) {
        EXPECT_EQ(transform.SetResolution(missing, 1), 578u);
        EXPECT_EQ(transform.GetResolution(0), 2540.0) << "the first of two that are the same";
    }
    EXPECT_EQ(transform.SetResolution(1270.0, 0), 0u);
    const MachineTransformC copy(transform);
    EXPECT_EQ(transform.Set(lines, pixels, 1), 0u);
    EXPECT_EQ(transform.GetResolution(1), 1270.0) << "the index stays";
    EXPECT_EQ(transform.SetResolution(1270.0, 1), 578u) << "beyond the count";
    EXPECT_EQ(transform.SetResolution(3), 0u);
    EXPECT_EQ(transform.GetResolution(0) + copy.GetResolution(0) + copy.GetResolution(3, 1), 5080.0 + 1270.0 + 5080.0);
}

/// The numbers are those at which another order of the steps, or a multiplication and an addition in one, gives another
/// result.
TEST(Lengths, AreConvertedByTheStepsInTheirOrder) {
    const double pixels[] = {2540.0, 600.0}, lines[] = {2400.0, 3600.0};
    OpenTransform transform(pixels, lines, 2);
    EXPECT_EQ(transform.GetPPMetre(1), 100'000.0);
    for (const auto& [metres, count] : {std::pair{0.000015, 2u}, {0.0000149, 1u}, {-0.0000149, 0u}, {-0.000015, ~0u}}) {
        EXPECT_EQ(transform.MetreToPixels(metres, 1), count) << metres;
    }
    EXPECT_EQ(transform.MetreToPixels(42'949.672965, 1), 1u) << "the lower 32 bits";
    EXPECT_EQ(transform.MMToLines(25.4), 2400u);
    EXPECT_EQ(transform.LinesToMM(2400), 25.4);
    transform.SetResolution(1);
    EXPECT_EQ(transform.MetreToPixels(2.116666666666666e-05, 1), 1u);
    EXPECT_EQ(transform.MMToPixels(35.1155, 1), 829u);
    EXPECT_EQ(transform.GetPPMetre(0), 0x1.14d2244891225p+17);
    EXPECT_EQ(transform.LinesToMetre(34710), 0.2448983333333333);
    EXPECT_EQ(transform.LinesToMM(34710), 244.8983333333333);
}

/// Four steps round by up to 2^-53 each, so that a count below 2^32 is off by less than 2^-18 before it is rounded, and
/// comes back, whichever it is; those beside the powers of two and some at random are tried. Lengths in the middle
/// between two counts are those that show how each step was rounded.
TEST(Lengths, OfACountGiveTheSameCountAtEveryResolutionOneByOneAndAllAtOnce) {
    std::vector<unsigned> counts = {0};
    for (std::uint64_t power = 1; power < 1ull << 33; power *= 2) {
        for (const std::uint64_t wide : {power - 1, power, power + 1, power * 2654435761u}) {
            counts.push_back(static_cast<unsigned>(wide));
        }
    }
    const std::size_t size = counts.size();
    std::vector<double> metres(size), mm(size), middles(size);
    std::vector<unsigned> ofMetres(size), ofMM(size), ofMiddles(size);
    for (double dpi = 72.0; dpi <= 10160.0; ++dpi) {
        const double twice = 2 * dpi;
        const OpenTransform transform(&dpi, &twice, 1);
        transform.PixelsToMetre(counts.data(), metres.data(), size, 1);
        transform.PixelsToMM(counts.data(), mm.data(), size, 0);
        std::ranges::transform(metres, middles.begin(), [&](double at) { return at + 0.5 / transform.GetPPMetre(1); });
        transform.MetreToPixels(metres.data(), ofMetres.data(), size, 1);
        transform.MMToPixels(mm.data(), ofMM.data(), size, 0);
        transform.MetreToPixels(middles.data(), ofMiddles.data(), size, 1);
        ASSERT_TRUE(ofMetres == counts && ofMM == counts) << dpi;
        for (std::size_t i = 0; i < size; ++i) {
            ASSERT_TRUE(metres[i] == transform.PixelsToMetre(counts[i], 1) && mm[i] == transform.LinesToMM(counts[i]) &&
                        transform.MetreToPixels(metres[i], 1) == counts[i] && transform.MMToLines(mm[i]) == counts[i] &&
                        transform.MetreToPixels(middles[i], 1) == ofMiddles[i])
                << dpi << ' ' << counts[i];
        }
    }
}

} // namespace
