#include "pipeline/parallel/TrueSenseKodakLike.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>

#include "pipeline/parallel/StripSettings.h"
#include "support/EngineVectors.h"
#include "support/Noise.h"
#include "truesense/Tables.h"

namespace {

constexpr int kSize = 24;

TEST(TrueSenseKodakLike, GivenFrames) { orvtest::RunVectors<TrueSenseKodakLike>("truesense_kodak_like_"); }

// Every step off, the tones the values themselves.
tagTrueSenseParam Plain() {
    static const std::vector<int16_t> tones = [] {
        std::vector<int16_t> identity(4096);
        std::iota(identity.begin(), identity.end(), static_cast<int16_t>(0));
        return identity;
    }();
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    param.impulseFilterEnable = param.sharpnessEnable = 0;
    param.panRadius0 = param.colorRadius0 = param.colorRadius1 = 0;
    param.RR = param.GG = param.BB = 1;
    param.RG = param.RB = param.GR = param.GB = param.BR = param.BG = 0;
    param.toneTable = tones.data();
    return param;
}

using Samples = std::vector<unsigned short>;

// A square frame of 12-bit samples at grid 0.
Samples Convert(const Samples& source, tagTrueSenseParam* param) {
    Samples result(source.size() * 3);
    TrueSenseKodakLike<unsigned short> engine;
    engine.SetOutputPixelType(false, false);
    EXPECT_EQ(0, engine.Init(source.data(), {0, 0, kSize, kSize}, {kSize, kSize}, 2 * kSize, 12, result.data(),
                             6 * kSize, 0, param));
    EXPECT_EQ(0, engine.Calculate());
    return result;
}
Samples Convert(const Samples& source, tagTrueSenseParam param) { return Convert(source, &param); }

Samples Flat(int value) { return Samples(kSize * kSize, static_cast<unsigned short>(value)); }
Samples NoiseFrame() { return orvtest::NoiseSamples<unsigned short>(5, kSize * kSize, 4095); }
// What a flat grey frame comes to.
Samples Grey(int linear) {
    return Samples(kSize * kSize * 3, static_cast<unsigned short>(Gamma10toLinear12[Linear12toGamma10[linear]]));
}

// Both colour samples of a cell.
void SetCell(Samples& frame, int row, int column, int value) {
    frame[static_cast<size_t>(2 * row * kSize + 2 * column + 1)] = static_cast<unsigned short>(value);
    frame[static_cast<size_t>((2 * row + 1) * kSize + 2 * column)] = static_cast<unsigned short>(value);
}

// Limits come with the steps: without any, samples above 12 bits reach the factors.
TEST(TrueSenseKodakLike, FrontEndStepsAreLeftOutWhereTheyChangeNothing) {
    auto param = Plain();
    param.redGain = param.greenGain = param.blueGain = param.panGain = 0.5;
    EXPECT_EQ(Grey(2500), Convert(Flat(5000), param));
    param.darkFloor = 1;
    EXPECT_EQ(Grey(2048), Convert(Flat(5000), param));
    param = Plain();
    EXPECT_EQ(Grey(2000), Convert(Flat(2000), param));
    param.globalGain = 0.5;
    EXPECT_EQ(Grey(1000), Convert(Flat(2000), param));
}

TEST(TrueSenseKodakLike, FrontEndRoundsOnceAndReadsSigned) {
    const auto with = [](double color, double pan, long darkFloor) {
        auto param = Plain();
        param.redGain = param.greenGain = param.blueGain = color;
        param.panGain = pan;
        param.darkFloor = darkFloor;
        return param;
    };
    // 11 times the gain lies just beside a half, which the rounded product would hit.
    const double below = std::nextafter(0.5 / 11, 0.0), above = std::nextafter(0.5 / 11, 1.0);
    EXPECT_EQ(Grey(0), Convert(Flat(11), with(below, below, 0)));
    EXPECT_EQ(Grey(1), Convert(Flat(11), with(above, above, 0)));
    // 0xFFFF is -1.
    EXPECT_EQ(Grey(9), Convert(Flat(0xFFFF), with(1, 1, -10)));
    EXPECT_EQ(Grey(0), Convert(Flat(0xFFFF), with(1, 1, 10)));
    // A colour sample of 8000 counts as 4095 after any factor, and as itself without one.
    auto frame = Flat(4000);
    for (size_t p = 0; p < frame.size(); ++p) {
        if (p / kSize % 2 == 0 && p % 2 == 1) {
            frame[p] = 8000;
        } else if (p / kSize % 2 == 1 && p % 2 == 0) {
            frame[p] = 0;
        }
    }
    EXPECT_EQ(Grey(4000), Convert(frame, with(1, 1, 0)));
    EXPECT_EQ(Grey(2048), Convert(frame, with(std::nextafter(1.0, 2.0), 1, 0)));
}

// Any floor but 0 is subtracted by its low 32 bits, wrapping, and brings the limits.
TEST(TrueSenseKodakLike, FloorsBeyondTheSamplesWrap) {
    constexpr long kTwo32 = 1L << 32;
    const auto kInt = std::numeric_limits<int>::min();
    const struct {
        long floor;
        int above, below, within;  // what 5000, 0xFFFF and 11 come to
    } cases[] = {{kTwo32, 4095, 0, 11},
                 {-kTwo32, 4095, 0, 11},
                 {kTwo32 + 3, 4095, 0, 8},
                 {kInt, 0, 4095, 0},
                 {std::numeric_limits<int>::max(), 0, 0, 0},
                 {std::numeric_limits<long>::min(), 4095, 0, 11},
                 {std::numeric_limits<long>::max(), 4095, 0, 12}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.floor);
        auto param = Plain();
        param.darkFloor = c.floor;
        EXPECT_EQ(Grey(c.above), Convert(Flat(5000), param));
        EXPECT_EQ(Grey(c.below), Convert(Flat(0xFFFF), param));
        EXPECT_EQ(Grey(c.within), Convert(Flat(11), param));
    }
}

TEST(TrueSenseKodakLike, NoRecordMeansBothFilters) {
    tagTrueSenseParam defaults;
    TrueSense_DefaultValues(&defaults);
    const auto expected = Convert(NoiseFrame(), defaults);
    EXPECT_EQ(expected, Convert(NoiseFrame(), nullptr));
    for (long* flag : {&defaults.impulseFilterEnable, &defaults.sharpnessEnable}) {
        for (const long value : {0L, 2L, 1L << 32}) {  // only 1 is on
            *flag = value;
            EXPECT_NE(expected, Convert(NoiseFrame(), defaults));
        }
        *flag = 1;
    }
}

// A blue cell above grey is kept by the cells straight above and below it, of another colour, and by none two rows
// away.
TEST(TrueSenseKodakLike, VerticalNeighboursOfTheColourClipStandOneRowAway) {
    auto param = Plain();
    param.impulseFilterEnable = 1;
    auto beside = Flat(1000), away = Flat(1000);
    for (auto* frame : {&beside, &away}) {
        SetCell(*frame, 6, 6, 1500);
    }
    SetCell(beside, 5, 6, 1500);
    SetCell(away, 4, 6, 1500);
    SetCell(away, 8, 6, 1500);
    EXPECT_EQ(Grey(1000), Convert(away, param));
    EXPECT_GT(Convert(beside, param)[3 * (12 * kSize + 12) + 2], Grey(1000)[0]);
}

TEST(TrueSenseKodakLike, MonoDropsColour) {
    auto param = Plain();
    param.monoEnable = 1;
    const auto result = Convert(NoiseFrame(), param);
    for (size_t i = 0; i < result.size(); i += 3) {
        ASSERT_TRUE(result[i] == result[i + 1] && result[i] == result[i + 2]);
    }
}

TEST(TrueSenseKodakLike, SharpeningBrightensOnly) {
    auto param = Plain();
    const auto soft = Convert(NoiseFrame(), param);
    param.sharpnessEnable = 1;
    const auto sharp = Convert(NoiseFrame(), param);
    int brighter = 0;
    for (size_t i = 0; i < soft.size(); ++i) {
        ASSERT_GE(sharp[i], soft[i]);
        brighter += sharp[i] > soft[i] ? 1 : 0;
    }
    EXPECT_GT(brighter, static_cast<int>(soft.size()) / 4);
    // The threshold at code 256, the linear value 256, is exactly 1.
    param.sharpenParam = 2;
    const auto settings = std::make_unique<orv::KodakLikeSettings>();
    settings->Fill(param, 8, 8);
    EXPECT_EQ(std::numeric_limits<float>::infinity(), settings->sharpening.threshold[256]);
    EXPECT_EQ(1.5F, settings->sharpening.threshold[64]);
}

// A step from 100 to 200 between cells, where codes are linear. In the first row and column the tones stand for the
// edge responses, and the gain meets its limit.
TEST(TrueSenseKodakLike, SharpensAStep) {
    auto across = Flat(100);
    for (size_t p = 0; p < across.size(); ++p) {
        across[p] = p % kSize < 12 ? 100 : 200;
    }
    auto param = Plain();
    const auto greens = [](const Samples& result, int line, bool alongRow) {
        std::vector<int> values;
        for (int i = 10; i < 16; ++i) {
            values.push_back(result[static_cast<size_t>(3 * (alongRow ? line * kSize + i : i * kSize + line) + 1)]);
        }
        return values;
    };
    using Values = std::vector<int>;
    EXPECT_EQ((Values{100, 124, 174, 199, 199, 200}), greens(Convert(across, param), 12, true));
    param.sharpnessEnable = 1;
    param.sharpenParam = 10;  // thresholds of 6.03 at 161 and 5.81 at 180
    param.maxSharpen = 4;
    param.highLumaNoise = param.lowLumaNoise = 0;
    // 174 + 13 * (25 / 6.03 - 1) and 199 + 19 * (25 / 5.81 - 1)
    EXPECT_EQ((Values{100, 124, 214, 261, 199, 200}), greens(Convert(across, param), 12, true));
    EXPECT_EQ((Values{100, 125, 227, 276, 228, 200}), greens(Convert(across, param), 0, true));
    Samples down(across.size());
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            down[static_cast<size_t>(y * kSize + x)] = across[static_cast<size_t>(x * kSize + y)];
        }
    }
    EXPECT_EQ((Values{100, 125, 227, 276, 228, 200}), greens(Convert(down, param), 0, false));
}

TEST(TrueSenseKodakLike, PanIsCleanedByTheColourNoiseLine) {
    auto param = Plain();
    param.panRadius0 = 1;
    param.ISOColorIntercept_0 = 40000;
    const auto expected = Convert(NoiseFrame(), param);
    param.ISOPanSlope_0 = param.ISOPanIntercept_0 = 7;
    EXPECT_EQ(expected, Convert(NoiseFrame(), param));
    param.ISOColorIntercept_0 = 4000;
    EXPECT_NE(expected, Convert(NoiseFrame(), param));
}

// 64-bit radii that no plane has room for, and spacings of twice their value.
TEST(TrueSenseKodakLike, PassesWithoutAnInteriorChangeNothing) {
    auto param = Plain();
    const auto expected = Convert(NoiseFrame(), param);
    for (const long radius : {-1L, 6L, (1L << 31) + 1, (1L << 32) + 1, std::numeric_limits<long>::max()}) {
        param.panRadius1 = radius;
        param.colorRadius2 = radius;
        EXPECT_EQ(expected, Convert(NoiseFrame(), param)) << radius;
    }
    param.colorRadius2 = 3;
    EXPECT_EQ(expected, Convert(NoiseFrame(), param));
    param.panRadius1 = 5;  // 2 of 12 cells
    param.panSigma1 = 1000;
    EXPECT_NE(expected, Convert(NoiseFrame(), param));
}

}  // namespace
