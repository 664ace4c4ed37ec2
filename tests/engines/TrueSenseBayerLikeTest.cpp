#include "engines/TrueSenseBayerLike.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "engines/BayerLikeStrips.h"
#include "rows/Bands.h"
#include "rows/Simd.h"
#include "support/DriverScope.h"
#include "support/EngineVectors.h"
#include "support/Noise.h"
#include "support/PlaneSink.h"

namespace {

using orvtest::Noise;
using orvtest::NoiseSamples;

using Planes = std::vector<std::vector<int>>;

// The sums of colour and pan by way of OpenCV.
Planes Expected(std::vector<int16_t> mosaic, int W, int H) {
    const orvtest::PlaneSink sink(W, H);
    orv::BayerLikePlanes planes;
    EXPECT_EQ(0, planes.Reconstruct(mosaic.data(), W, H, 2, sink));
    return sink.planes;
}

// `bandRows` rows at a time.
Planes OfStrips(const std::vector<int16_t>& mosaic, int W, int H, int bandRows) {
    const orvtest::PlaneSink sink(W, H);
    std::vector<unsigned char> scratch(orv::BayerLikeScratchBytes(W));
    for (int y = 0; y < H; y += bandRows) {
        orv::ReconstructBayerLikeStrip(mosaic.data(), W, H, y, std::min(y + bandRows, H), scratch.data(), sink);
    }
    return sink.planes;
}

// A region of one 16-bit frame and its result.
struct Frame {
    int width, height;
    int grid = 0;
    std::vector<unsigned short> source;
    std::vector<unsigned short> result;
    tagTrueSenseParam param = {};

    Frame(int w, int h, uint64_t seed, uint32_t top)
        : width(w), height(h), source(NoiseSamples<unsigned short>(seed, static_cast<size_t>(w) * h, top)) {
        TrueSense_DefaultValues(&param);
    }
    int Convert(tagTrueSenseParam* record) {
        result.assign(source.size() * 3, 0x5A5A);
        TrueSenseBayerLike<unsigned short> engine;
        const int status = engine.Init(source.data(), {0, 0, width, height}, {width, height}, 2 * width, 12,
                                       result.data(), 6 * width, static_cast<unsigned char>(grid), record);
        return status != 0 ? status : engine.Calculate();
    }
    void SetMatrix(double first) {
        param.RR = first;
        param.GG = param.BB = 1;
        param.RG = param.RB = param.GR = param.GB = param.BR = param.BG = 0;
    }
};

TEST(TrueSenseBayerLike, GivenFrames) { orvtest::RunVectors<TrueSenseBayerLike>("truesense_bayer_like_"); }

// An OpenCV with other means or roundings shows here.
TEST(TrueSenseBayerLike, StripsEqualOpenCv) {
    const orvtest::DriverScope restore;
    Noise noise(6);
    for (int i = 0; i < 90; ++i) {
        const int W = static_cast<int>(8 + 4 * noise.Below(i < 70 ? 10 : 100));
        const int H = static_cast<int>(8 + 4 * noise.Below(i < 70 ? 10 : 30));
        const size_t count = static_cast<size_t>(W) * H;
        std::vector<int16_t> mosaic = NoiseSamples<int16_t>(noise.Next(), count, i % 3 == 0 ? 3 : 4095);
        if (i % 3 == 1) {  // the largest differences
            std::for_each(mosaic.begin(), mosaic.end(), [](int16_t& v) { v = v < 2048 ? 0 : 4095; });
        }
        const Planes expected = Expected(mosaic, W, H);
        for (const orv::SimdLevel level : {orv::SimdLevel::Baseline, orv::BestSimdLevel()}) {
            orv::SetSimdLevel(level);
            for (const int bandRows : {4, 8, 1000}) {
                ASSERT_EQ(OfStrips(mosaic, W, H, bandRows), expected) << W << " x " << H << ", " << bandRows;
            }
        }
    }
}

// Two sites make no Bayer mosaic: pan alone comes out.
TEST(TrueSenseBayerLike, FourRowsOrColumnsAreGrey) {
    for (const auto& size : {std::pair<int, int>{4, 16}, {16, 4}, {3, 9}, {40, 2}, {1, 1}}) {
        Frame frame(size.first, size.second, 3, 4095);
        frame.SetMatrix(1);
        ASSERT_EQ(frame.Convert(&frame.param), 0);
        for (size_t i = 0; i < frame.result.size(); i += 3) {
            ASSERT_EQ(frame.result[i], frame.result[i + 1]);
            ASSERT_EQ(frame.result[i], frame.result[i + 2]);
            ASSERT_NE(frame.result[i], 0x5A5A);
        }
    }
}

// One element off the identity: sums are no longer clamped before the product, and truncation bites.
TEST(TrueSenseBayerLike, MatrixAndRecord) {
    Frame frame(40, 24, 5, 4095);
    const auto expect = [&frame](bool same, const std::vector<unsigned short>& expected) {
        EXPECT_EQ(frame.Convert(&frame.param), 0);
        EXPECT_EQ(frame.result == expected, same);
    };
    ASSERT_EQ(frame.Convert(nullptr), 0);  // stands for the defaults
    const std::vector<unsigned short> defaults = frame.result;
    expect(true, defaults);
    // Gains, floor and filters do not reach this engine.
    frame.param.darkFloor = 100;
    frame.param.redGain = frame.param.panGain = frame.param.globalGain = 2;
    frame.param.monoEnable = frame.param.impulseFilterEnable = frame.param.sharpnessEnable = 1;
    expect(true, defaults);
    frame.SetMatrix(1);
    expect(false, defaults);
    const std::vector<unsigned short> identity = frame.result;
    frame.SetMatrix(0.9999999);
    expect(false, identity);
}

// Stray bits: pan steps from -32768 to 32767 where all colours are 32767. The differences saturate to 32767 and drop to
// 0 over a few columns, in which their sum with pan passes 16 bits; the matrix takes it whole.
TEST(TrueSenseBayerLike, StraySumsPassSixteenBits) {
    Frame frame(32, 8, 1, 0);
    for (size_t i = 0; i < frame.source.size(); ++i) {
        const size_t x = i % 32;
        const bool pan = (x + i / 32) % 2 == 0;
        frame.source[i] = pan && x < 16 ? 0x8000 : 0x7FFF;
    }
    frame.SetMatrix(1.0 / 16);
    std::vector<int16_t> tones(4096);
    std::iota(tones.begin(), tones.end(), static_cast<int16_t>(0));
    frame.param.toneTable = tones.data();
    ASSERT_EQ(frame.Convert(&frame.param), 0);
    const unsigned short* red = frame.result.data() + 3 * 32 * 4;
    EXPECT_EQ(red[3 * 4], 0);
    EXPECT_EQ(red[3 * 28], 32767 / 16);
    int greatest = 0;
    for (int x = 0; x < 32; ++x) {
        greatest = std::max<int>(greatest, red[3 * x]);
    }
    EXPECT_GT(greatest, 32768 / 16);
}

}  // namespace
