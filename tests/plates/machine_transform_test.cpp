#include "gaizior/plates/machine_transform.h"

#include <gtest/gtest.h>

#include <cmath>

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
/// comes back, whichever it is; those beside the powers of two and some at random are tried.
TEST(Lengths, OfACountGiveTheSameCountAtEveryResolution) {
    for (double dpi = 72.0; dpi <= 10160.0; ++dpi) {
        const OpenTransform transform(&dpi, &dpi, 1);
        for (std::uint64_t power = 1; power < 1ull << 33; power *= 2) {
            for (const std::uint64_t wide : {power - 1, power, power + 1, power * 2654435761u}) {
                const auto count = static_cast<unsigned>(wide);
                const double metres = transform.PixelsToMetre(count, 1), mm = transform.LinesToMM(count);
                ASSERT_TRUE(transform.MetreToPixels(metres, 1) == count && transform.MMToLines(mm) == count) << dpi;
                ASSERT_LT(std::abs(mm / 1000.0 * transform.GetPPMetre(0) - count), 0x1p-18) << dpi;
            }
        }
    }
}

} // namespace
