// What all engines do alike: walks over the caller's memory, flags, refusals.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "support/Noise.h"
#include "truesense/Engines.h"

namespace {

using Samples = std::vector<unsigned short>;

constexpr int kW = 14, kH = 11;

tagTrueSenseParam Defaults() {
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    return param;
}

Samples NoiseFrame() { return orvtest::NoiseSamples<unsigned short>(3, kW * kH, 4095); }

// Pixels of `channels` samples, mirrored left to right and top to bottom.
Samples Mirrored(const Samples& frame, bool across, bool along, int channels) {
    Samples result;
    for (int y = 0; y < kH; ++y) {
        for (int x = 0; x < kW; ++x) {
            const int from = ((along ? kH - 1 - y : y) * kW + (across ? kW - 1 - x : x)) * channels;
            result.insert(result.end(), frame.begin() + from, frame.begin() + from + channels);
        }
    }
    return result;
}

class Engines : public testing::TestWithParam<unsigned> {
protected:
    std::unique_ptr<IDemConvertion<unsigned short>> Make() const {
        return std::unique_ptr<IDemConvertion<unsigned short>>(
            orv::kTrueSenseEngines.Find<unsigned short>(GetParam())->make());
    }
    // Strides are negative where told: rows run forward then, columns backward from the pointer.
    Samples Convert(const Samples& source, int grid, tagTrueSenseParam param, bool sourceBackward = false,
                    bool resultBackward = false) const {
        const auto engine = Make();
        Samples result(static_cast<size_t>(3 * kW * kH), 0x5A5A);
        engine->SetOutputPixelType(false, true);
        EXPECT_EQ(
            0, engine->Init(source.data() + (sourceBackward ? kW - 1 : 0), {0, 0, kW, kH}, {kW, kH},
                            sourceBackward ? -2 * kW : 2 * kW, 12, result.data() + (resultBackward ? 3 * (kW - 1) : 0),
                            resultBackward ? -6 * kW : 6 * kW, static_cast<unsigned char>(grid), &param));
        EXPECT_EQ(0, engine->Calculate());
        return result;
    }
};
INSTANTIATE_TEST_SUITE_P(TrueSense, Engines, testing::Range(0U, orv::kAlgorithmCount));

TEST_P(Engines, NegativeStridesWalkColumnsBackward) {
    const Samples frame = NoiseFrame();
    for (const int grid : {0, 6, 13}) {
        const Samples expected = Convert(frame, grid, Defaults());
        EXPECT_EQ(expected, Convert(Mirrored(frame, true, false, 1), grid, Defaults(), true));
        EXPECT_EQ(expected, Mirrored(Convert(frame, grid, Defaults(), false, true), true, false, 3));
    }
}

// The flags move the cell only: a frame mirrored in memory gives the mirrored result.
TEST_P(Engines, MirrorFlagsReadTheSameSites) {
    const Samples frame = NoiseFrame();
    for (const int grid : {0, 6, 13}) {
        for (const int mirrors : {1, 2, 3}) {
            const bool across = (mirrors & 1) != 0, along = mirrors > 1;
            tagTrueSenseParam param = Defaults();
            param.horMirrored = across ? 1 : 0;
            param.verMirrored = along ? 1 : 0;
            EXPECT_EQ(Mirrored(Convert(frame, grid, Defaults()), across, along, 3),
                      Convert(Mirrored(frame, across, along, 1), grid, param));
        }
    }
}

// Engines 1 and 3 read the flags as they are, the others their low 32 bits.
TEST_P(Engines, FlagsKeepLowBits) {
    tagTrueSenseParam param = Defaults();
    param.horMirrored = param.verMirrored = param.normalizationEnable = GetParam() % 2;
    const Samples expected = Convert(NoiseFrame(), 5, param);
    param.horMirrored = param.verMirrored = param.normalizationEnable = 1L << 32;
    EXPECT_EQ(expected, Convert(NoiseFrame(), 5, param));
}

// Each with reasons for later refusals, and again, since no geometry of a refused frame may match the next time.
TEST_P(Engines, RefusalsComeInOrderAndWriteNothing) {
    const Samples source = NoiseFrame();
    const Samples untouched(static_cast<size_t>(3 * kW * kH), 0x5A5A);
    Samples result = untouched;
    tagTrueSenseParam param = Defaults();
    const auto engine = Make();
    const auto init = [&](const unsigned short* from, unsigned short* to, _OrvRect rect, int bits, int grid) {
        return engine->Init(from, rect, {rect.width, rect.height}, 2 * kW, bits, to, 6 * kW,
                            static_cast<unsigned char>(grid), &param);
    };
    constexpr int kMost = std::numeric_limits<int>::max();
    for (int round = 0; round < 4; ++round) {
        EXPECT_EQ(8, init(nullptr, result.data(), {0, 0, -1, -1}, 9, 16));
        EXPECT_EQ(8, init(source.data(), nullptr, {0, 0, -1, -1}, 9, 16));
        EXPECT_EQ(7, init(source.data(), result.data(), {0, 0, -1, -1}, 9, 16));
        EXPECT_EQ(7, init(source.data(), result.data(), {0, 0, 0, 0}, 12, 255));
        EXPECT_EQ(9, init(source.data(), result.data(), {0, 0, 0, 0}, 12, 0));
        EXPECT_EQ(9, init(source.data(), result.data(), {0, 0, -1, 8}, 12, 3));
        EXPECT_EQ(9, init(source.data(), result.data(), {0, 0, 8, -5}, 12, 15));
        EXPECT_EQ(9, init(source.data(), result.data(), {0, 0, 0, 8}, 12, 4));
        EXPECT_EQ(9, init(source.data(), result.data(), {0, 0, kMost, kMost}, 12, 15));
        for (const int bits : {0, 7, 9, 11, 13, 15, 17}) {
            EXPECT_EQ(7, init(source.data(), result.data(), {0, 0, kW, kH}, bits, 3));
        }
        EXPECT_NE(0, engine->Calculate());
        if (round == 1) {
            dynamic_cast<IDemosaicing&>(*engine).CleanMemory();
        } else if (round == 2) {
            EXPECT_EQ(0, init(source.data(), result.data(), {0, 0, kW, kH}, 12, 3));
        }
        EXPECT_EQ(untouched, result);
    }
    ASSERT_EQ(0, init(source.data(), result.data(), {0, 0, kW, kH}, 12, 3));
    ASSERT_EQ(0, engine->Calculate());
    engine->SetOutputPixelType(false, true);
    EXPECT_NE(untouched, result);
}

}  // namespace
