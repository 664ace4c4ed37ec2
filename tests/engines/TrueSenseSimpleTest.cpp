#include "engines/TrueSenseSimple.h"

#include <gtest/gtest.h>

#include <vector>

#include "engines/SimpleStrips.h"
#include "support/EngineVectors.h"
#include "support/Noise.h"
#include "support/PlaneSink.h"

namespace {

using Samples = std::vector<unsigned short>;

// Identity matrix and tones, so that results are the engine's 12-bit values.
tagTrueSenseParam PlainParam() {
    static const std::vector<int16_t> tones = [] {
        std::vector<int16_t> t;
        for (int i = 0; i < 4096; ++i) {
            t.push_back(static_cast<int16_t>(i));
        }
        return t;
    }();
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    param.impulseFilterEnable = 0;
    param.RG = param.RB = param.GR = param.GB = param.BR = param.BG = 0;
    param.RR = param.GG = param.BB = 1;
    param.toneTable = tones.data();
    return param;
}

constexpr unsigned short kGuard = 0xA5A5;

// Red, green, blue of each pixel, with two samples of the guard value behind each row.
Samples Convert(const Samples& source, int w, int h, tagTrueSenseParam* param, unsigned char grid = 0) {
    TrueSenseSimple<unsigned short> engine;
    engine.SetOutputPixelType(false, false);
    const int stride = 3 * w + 2;
    Samples result(static_cast<size_t>(stride) * static_cast<size_t>(h), kGuard);
    EXPECT_EQ(0, engine.Init(source.data(), {0, 0, w, h}, {w, h}, 2 * w, 12, result.data(), 2 * stride, grid, param));
    EXPECT_EQ(0, engine.Calculate());
    return result;
}

// A mosaic with the cell at (0, 0) from fn(y, x, pan site).
template <class Fn>
Samples Mosaic(int w, int h, const Fn& fn) {
    Samples samples;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            samples.push_back(static_cast<unsigned short>(fn(y, x, (y + x) % 2 == 0)));
        }
    }
    return samples;
}

TEST(TrueSenseSimple, GivenFrames) { orvtest::RunVectors<TrueSenseSimple>("truesense_simple_"); }

// Pan is flat along each row and in rows of one parity, so that both pairs of every colour site differ by 0.
TEST(TrueSenseSimple, TiesTakeThePanOfOddRowsAndOnlyOtherGainsClamp) {
    const auto value = [](int y, int, bool pan) { return pan ? 5000 + 2000 * (y % 2) : 3000; };
    const Samples source = Mosaic(16, 16, value);
    tagTrueSenseParam param = PlainParam();
    const auto inner = [&](int y) { return Convert(source, 16, 16, &param)[static_cast<size_t>(y * 50 + 8 * 3)]; };
    // The difference is 3000 - 7000 in every block.
    EXPECT_EQ(1000, inner(6));
    EXPECT_EQ(3000, inner(7));
    param.panGain = 2;
    EXPECT_EQ(3000, inner(6));
    param.panGain = 1;
    param.redGain = 1.5;
    param.greenGain = param.blueGain = 0.0001;  // to 0.8, which rounds down
    EXPECT_EQ(4095 - 2000, inner(6));
    EXPECT_EQ(4095, inner(7));
}

TEST(TrueSenseSimple, SumsAreBoundedBeforeTheMatrix) {
    tagTrueSenseParam param = PlainParam();
    const Samples bright(64, 5000);
    param.RR = 0.5;
    param.GG = 2.0;
    param.BB = -1.0;
    const Samples result = Convert(bright, 8, 8, &param);
    EXPECT_EQ(Samples({2047, 4095, 0}), Samples(result.begin(), result.begin() + 3));
}

// Constant differences of each colour reach every site, borders and small planes included.
TEST(TrueSenseSimple, ConstantDifferencesStayConstant) {
    const int colours[2][2] = {{900, 1100}, {1100, 1300}};
    for (const int w : {4, 8, 40}) {
        for (const int h : {4, 8, 20}) {
            const Samples source =
                Mosaic(w, h, [&](int y, int x, bool pan) { return pan ? 1000 : colours[(y >> 1) & 1][(x >> 1) & 1]; });
            for (const int impulse : {0, 1}) {
                tagTrueSenseParam param = PlainParam();
                param.impulseFilterEnable = impulse;
                const Samples result = Convert(source, w, h, &param);
                for (size_t i = 0; i < result.size(); ++i) {
                    const size_t at = i % static_cast<size_t>(3 * w + 2);
                    const bool padding = at >= static_cast<size_t>(3 * w);
                    ASSERT_EQ(padding ? kGuard : 1300 - 200 * (at % 3), result[i]) << w << " by " << h << ", " << i;
                }
            }
        }
    }
}

TEST(TrueSenseSimple, OnlyOneSwitchesTheImpulseFilterOn) {
    const Samples source = orvtest::NoiseSamples<unsigned short>(8, 40 * 40, 4095);
    tagTrueSenseParam param = PlainParam();
    const Samples off = Convert(source, 40, 40, &param);
    param.impulseFilterEnable = 2;
    EXPECT_EQ(off, Convert(source, 40, 40, &param));
    param.impulseFilterEnable = 1L << 32 | 1;
    EXPECT_EQ(off, Convert(source, 40, 40, &param));
    param.impulseFilterEnable = 1;
    EXPECT_NE(off, Convert(source, 40, 40, &param));
    TrueSense_DefaultValues(&param);
    const Samples on = Convert(source, 40, 40, &param);
    param.impulseFilterEnable = 0;
    EXPECT_EQ(Convert(source, 40, 40, &param), Convert(source, 40, 40, nullptr));
    EXPECT_NE(on, Convert(source, 40, 40, nullptr));
}

// 1 2 1 along rows (step 1) or columns (step w) but for the first and last position.
std::vector<int> Smoothed(const std::vector<int>& plane, int w, int h, bool columns) {
    std::vector<int> out = plane;
    for (int y = columns ? 1 : 0; y < h - (columns ? 1 : 0); ++y) {
        for (int x = columns ? 0 : 1; x < w - (columns ? 0 : 1); ++x) {
            const int at = y * w + x;
            const int step = columns ? w : 1;
            const auto value = [&plane](int i) { return plane[static_cast<size_t>(i)]; };
            out[static_cast<size_t>(at)] = (value(at - step) + 2 * value(at) + value(at + step)) >> 2;
        }
    }
    return out;
}

TEST(SimpleStrips, SmoothingIsThatOfWholePlanes) {
    const int w = 44;
    const int h = 32;
    const int pan = 2000;  // flat, so that the planes are it and the differences
    orvtest::Noise noise(5);
    std::vector<int16_t> mosaic;
    for (const unsigned short v :
         Mosaic(w, h, [&](int, int, bool panSite) { return panSite ? pan : 1500 + noise.Below(1000); })) {
        mosaic.push_back(static_cast<int16_t>(v));
    }
    std::vector<unsigned char> scratch(orv::SimpleScratchBytes(w) + 64);
    void* aligned = scratch.data() + (64 - reinterpret_cast<uintptr_t>(scratch.data()) % 64);
    for (const bool narrow : {true, false}) {
        for (const bool impulse : {true, false}) {
            orv::SimpleSettings settings = {1, 1, 1, 1, {1, 0, 0, 0, 1, 0, 0, 0, 1}, impulse, false, false};
            orvtest::PlaneSink blocks(w, h);
            orv::ReconstructSimpleStrip(mosaic.data(), w, h, 0, h, narrow, settings, aligned, blocks);
            settings.panSmoothEnable = settings.colorSmoothEnable = true;
            orvtest::PlaneSink smooth(w, h);
            for (const int y : {0, 4, 16, 28}) {
                const int end = y == 0 ? 4 : y == 28 ? h : y == 4 ? 16 : 28;
                orv::ReconstructSimpleStrip(mosaic.data(), w, h, y, end, narrow, settings, aligned, smooth);
            }
            for (int k = 0; k < 3; ++k) {
                std::vector<int> expected = blocks.planes[static_cast<size_t>(k)];
                for (int& v : expected) {
                    v -= pan;
                }
                expected = Smoothed(Smoothed(expected, w, h, false), w, h, true);
                for (int& v : expected) {
                    v += pan;
                }
                EXPECT_EQ(expected, smooth.planes[static_cast<size_t>(k)]) << k << narrow << impulse;
            }
        }
    }
}

}  // namespace
