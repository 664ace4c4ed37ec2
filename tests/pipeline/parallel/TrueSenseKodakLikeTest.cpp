#include "pipeline/parallel/TrueSenseKodakLike.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "truesense/Tables.h"

namespace {

constexpr int kSize = 24;

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
using Engine = TrueSenseKodakLike<unsigned short>;
Samples ConvertBy(Engine* engine, const Samples& source, tagTrueSenseParam param) {
    Samples result(source.size() * 3);
    engine->SetOutputPixelType(false, false);
    EXPECT_EQ(0, engine->Init(source.data(), {0, 0, kSize, kSize}, {kSize, kSize}, 2 * kSize, 12, result.data(),
                              6 * kSize, 0, &param));
    EXPECT_EQ(0, engine->Calculate());
    return result;
}
Samples Convert(const Samples& source, const tagTrueSenseParam& param) {
    Engine engine;
    return ConvertBy(&engine, source, param);
}

Samples Flat(int value) { return Samples(kSize * kSize, static_cast<unsigned short>(value)); }
// What a flat grey frame comes to.
Samples Grey(int linear) {
    return Samples(kSize * kSize * 3, static_cast<unsigned short>(Gamma10toLinear12[Linear12toGamma10[linear]]));
}

// Tables are kept from frame to frame as long as what they come from stays.
TEST(TrueSenseKodakLike, ParametersOfTheFrameBeforeLeaveNothing) {
    Samples source(kSize * kSize);
    uint32_t state = 1;
    for (unsigned short& sample : source) {
        state = state * 1664525U + 1013904223U;
        sample = static_cast<unsigned short>(1000 + (state >> 20) / 4);
    }
    tagTrueSenseParam first;
    TrueSense_DefaultValues(&first);
    const auto with = [&first](double tagTrueSenseParam::*field, double value) {
        tagTrueSenseParam param = first;
        param.*field = value;
        return param;
    };
    using P = tagTrueSenseParam;
    tagTrueSenseParam fewer = first;
    fewer.colorRadius0 = 0;
    tagTrueSenseParam sharp = first;
    sharp.sharpnessEnable = 1;
    Engine engine;
    for (const tagTrueSenseParam& next :
         {with(&P::colorSigma0, 7), with(&P::colorSigma1, 9), with(&P::colorSigma1, first.colorSigma0),
          with(&P::globalGain, 3), with(&P::analogGain, 9), with(&P::panSigma0, 8), with(&P::redGain, 5), fewer,
          sharp}) {
        for (const tagTrueSenseParam& param : {next, first}) {
            EXPECT_EQ(Convert(source, param), ConvertBy(&engine, source, param));
        }
    }
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

// A step from 100 to 200 between cells, where codes are linear. In the first row and column the tones stand for the
// edge responses, and the gain meets its limit.
TEST(TrueSenseKodakLike, SharpensAStep) {
    Samples across, down;
    for (int p = 0; p < kSize * kSize; ++p) {
        across.push_back(p % kSize < 12 ? 100 : 200);
        down.push_back(p / kSize < 12 ? 100 : 200);
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
    EXPECT_EQ((Values{100, 125, 227, 276, 228, 200}), greens(Convert(down, param), 0, false));
}

}  // namespace
