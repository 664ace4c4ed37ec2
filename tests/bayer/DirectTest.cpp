// The direct Bayer functions.
#include <gtest/gtest.h>

#include <algorithm>

#include "OrvBayer.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;

constexpr uint32_t kBadArgument = 0x80050007U;

TEST(BayerDirect, RecordsAreTested) {
    _OrvImage image = {};
    image.pixelType = OrvPixelBayerGR8;
    EXPECT_EQ(BayerToColor(nullptr, &image, 1), kBadArgument);
    EXPECT_EQ(BayerToColor(&image, nullptr, 1), kBadArgument);
    EXPECT_EQ(BayerToColor(&image, &image, 1), 0x80050008U);
    for (const uint32_t word : {0x0308010CU, 0x03100319U, 0x04080131U}) {
        image.pixelType = word;
        EXPECT_EQ(BayerToColor(&image, &image, 7), kBadArgument);
    }
}

TEST(BayerDirect, NarrowingFailures) {
    const auto samples = orvtest::NoiseSamples<uint16_t>(11, 20 * 20, 4095);
    const auto functions = {BayerToRGB_16u8u_C1C3R, BayerToBGR_16u8u_C1C3R, BayerToRGB_16u8u_C1C4R};
    Image destination(OrvPixelRGB8, 8, 20, 20, 80);
    const auto convert = [&](int width, int height, int bitDepth, int stride, int pattern, int algorithm, int member) {
        return functions.begin()[member](samples.data(), {0, 0, width, height}, {width, height}, 40, bitDepth,
                                         destination.Data(), stride, static_cast<unsigned char>(pattern), algorithm);
    };
    EXPECT_EQ(convert(20, 20, 11, 80, 0, 1, 0), kBadArgument);
    EXPECT_EQ(convert(20, 20, 12, 80, 4, 1, 0), kBadArgument);
    EXPECT_EQ(convert(-1, 20, 12, 80, 0, 1, 0), 0x80050009U);
    EXPECT_EQ(convert(20, 20, 12, 0, 0, 1, 0), 0u);
    EXPECT_EQ(convert(20, 20, 12, -80, 0, 1, 2), 0u);
    EXPECT_EQ(BayerToRGB_16u8u_C1C3R(samples.data(), {0, 0, 20, 0}, {20, 20}, 40, 12, destination.Data(), 80, 0, 1),
              0u);
    EXPECT_EQ(BayerToRGB_16u8u_C1C3R(samples.data(), {0, 0, 20, 20}, {20, 20}, 40, 12, nullptr, 80, 0, 0), 0x80050001U);
    EXPECT_EQ(BayerToRGB_16u8u_C1C3R(samples.data(), {0, 0, 20, 20}, {20, 20}, 40, 12, nullptr, 80, 0, 1), 0x80050008U);
    // Rows of the scratch too short for OpenCV.
    EXPECT_EQ(convert(20, 18, 12, 80, 0, 0, 0), 0x80050001U);
    EXPECT_EQ(convert(20, 18, 12, 80, 0, 2, 1), 0x80050001U);
    EXPECT_EQ(convert(20, 14, 12, 80, 0, 0, 2), 0x80050001U);
    EXPECT_TRUE(destination.Untouched());
    EXPECT_EQ(convert(20, 15, 12, 80, 0, 0, 2), 0u);
    destination.Refill();
    // Nothing is converted, so the scratch is still zero.
    EXPECT_EQ(convert(20, 20, 12, 80, 0, 7, 0), 0u);
    EXPECT_EQ(std::count(destination.Data(), destination.Data() + 60, 0), 60);
}

}  // namespace
