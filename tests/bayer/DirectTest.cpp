// The direct Bayer functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bayer/BayerDirect.h"
#include "bayer/OrvBayerImp.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;

constexpr uint32_t kBadArgument = 0x80050007U;

// By pattern number: GR, RG, BG, GB.
const uint32_t kWords[][4] = {{OrvPixelBayerGR10, OrvPixelBayerRG10, OrvPixelBayerBG10, OrvPixelBayerGB10},
                              {OrvPixelBayerGR12, OrvPixelBayerRG12, OrvPixelBayerBG12, OrvPixelBayerGB12},
                              {OrvPixelBayerGR14, OrvPixelBayerRG14, OrvPixelBayerBG14, OrvPixelBayerGB14},
                              {OrvPixelBayerGR16, OrvPixelBayerRG16, OrvPixelBayerBG16, OrvPixelBayerGB16}};

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

TEST(BayerDirect, FillsARecordFromANumberedPattern) {
    _OrvRect rect = {1, 2, 3, 4};
    _OrvSize size = {30, 20};
    const unsigned short sample = 0;
    for (unsigned char pattern = 0; pattern < 5; ++pattern) {
        for (const int bitDepth : {8, 10, 11, 12, 14, 16}) {
            _OrvImage image;
            std::memset(&image, 0x5A, sizeof image);
            _OrvImage expected = image;
            expected.bitDepth = bitDepth;
            expected.width = 30;
            expected.height = 20;
            expected.stride = 64;
            expected.imageSize = 1280;
            expected.data = const_cast<unsigned short*>(&sample);
            const bool good = pattern < 4 && bitDepth >= 10 && bitDepth % 2 == 0;
            if (good) {
                expected.pixelType = kWords[(bitDepth - 10) / 2][pattern];
            }
            EXPECT_EQ(fillInSrc(&image, &sample, rect, size, 64, pattern, bitDepth), good ? 0 : 7);
            EXPECT_EQ(std::memcmp(&image, &expected, sizeof image), 0) << int{pattern} << ' ' << bitDepth;
        }
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
