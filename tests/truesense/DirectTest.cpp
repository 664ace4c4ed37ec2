// Plain functions: bad input and flags of the record.
#include <gtest/gtest.h>

#include <limits>

#include "OrvTrueSense.h"
#include "support/Frames.h"

namespace {

using orvtest::Image;

// The status, and not a byte written. Functions of 8 bits clear a flag of the record before all else.
TEST(TrueSenseDirect, Refusals) {
    Image source(OrvPixelTrueSense8, 8, 8, 8, 8);
    Image wide(OrvPixelTrueSense10, 10, 8, 8, 16);
    Image result(OrvPixelRGB8, 8, 8, 8, 24);
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    const auto convert = [&](const uint8_t* from, _OrvRect rect, int bits, int grid, int algorithm) {
        param.normalizationEnable = 1;
        const uint32_t status = TrueSenseToBGR_8u_C1C3R(from, rect, {8, 8}, 8, bits, result.Data(), 24,
                                                        static_cast<unsigned char>(grid), &param, algorithm, false);
        EXPECT_EQ(0, param.normalizationEnable);
        return status;
    };
    const _OrvRect whole = {0, 0, 8, 8};
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 0, 5));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 0, -1));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 16, 0));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 9, 0, 4));
    EXPECT_EQ(0x80060008U, convert(nullptr, whole, 8, 0, 0));
    EXPECT_EQ(0x80060009U, convert(source.Data(), {0, 0, -1, 8}, 8, 0, 0));
    // With the grid the plane would be wider than an int counts.
    EXPECT_EQ(0x80060009U, convert(source.Data(), {0, 0, std::numeric_limits<int>::max(), 1}, 8, 3, 1));

    EXPECT_EQ(0x80060007U, TrueSenseToColor(nullptr, &result.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, nullptr, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, &source.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&result.record, &result.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&wide.record, &result.record, &param, 4, false));
    result.record.pixelType = OrvPixelRGB10;
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, &result.record, &param, 0, false));
    EXPECT_TRUE(result.Untouched());

    // Algorithm 0 takes any `bits` for 8, and the engine works on after a failure.
    EXPECT_EQ(0U, convert(source.Data(), whole, 9, 0, 0));
    EXPECT_TRUE(result.OutsideUntouched(24));
    EXPECT_FALSE(result.Untouched());
}

// Engines 1 and 3 read the flags as they are, the others their low 32 bits.
TEST(TrueSenseDirect, FlagsKeepLowBits) {
    Image source = orvtest::FrameOf(OrvPixelTrueSense12, 12, 14, 11);
    FillFrame(source, orvtest::Content::Noise, 3, 4095);
    for (int algorithm = 0; algorithm < 5; ++algorithm) {
        const auto convert = [&](long flag) {
            tagTrueSenseParam param;
            TrueSense_DefaultValues(&param);
            param.horMirrored = param.verMirrored = param.normalizationEnable = flag;
            Image result = orvtest::FrameOf(OrvPixelRGB16, 12, 14, 11);
            EXPECT_EQ(0U, TrueSenseToColor(&source.record, &result.record, &param, algorithm, false));
            return result.bytes;
        };
        EXPECT_EQ(convert(algorithm % 2), convert(1L << 32)) << algorithm;
    }
}

}  // namespace
