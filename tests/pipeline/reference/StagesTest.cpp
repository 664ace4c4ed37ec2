// The stages made of several kernels, against plain formulas per site; the driver.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>

#include "support/Kernels.h"
#include "truesense/Tables.h"

namespace {

using namespace orvtest;

// Three by three cells, so that one has all its neighbours: pan rises along even rows, and is flat on odd ones.
TEST(InterpolatePan, WeighsEachDirectionByTheActivityAcross) {
    Shorts even = {0, 100, 200, 0, 100, 200, 0, 100, 200}, odd(9, 300);
    Shorts full(36), atEven(9), atOdd(9), work(6 * 9);
    Scratch scratch(2 * 9);
    g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(work.data());
    ASSERT_EQ(Alg_InterpolatePan(even.data(), odd.data(), 6, 6, full.data(), atEven.data(), atOdd.data(), nullptr), 0);
    // Inside (201 * 300 + 1 * 150) / 202 and (300 + 100) / 2; in the ring the samples stand for everything, from
    // 301 * 300 / 902 over (501 * 300 + 701 * 100) / 1202 to (701 * 300 + 801 * 200) / 1502.
    EXPECT_EQ(atEven, (Shorts{100, 183, 246, 100, 299, 246, 100, 183, 246}));
    EXPECT_EQ(atOdd, (Shorts{100, 183, 246, 100, 200, 246, 100, 183, 246}));
    EXPECT_EQ(full[14], 100);
    EXPECT_EQ(full[15], Linear12toGamma10[299]);
    EXPECT_EQ(full[20], 200);
    EXPECT_EQ(full[21], Linear12toGamma10[300]);
}

TEST(GenerateLow, FormsDifferencesInGamma) {
    Shorts pan = {10, 20, 30, 41, 1000, 1000, 1000, 1000};  // one row of two cells
    pan = {10, 20, 1000, 1000, 30, 41, 1000, 1000};
    Shorts panAtEven = {5, 4095}, panAtOdd = {6, 4095}, colorEven = {3, 0}, colorOdd = {5, 1};
    Ints lowPan(2), diff(2);
    Scratch scratch(2 * 4);
    ASSERT_EQ(Alg_GenerateLow(pan.data(), panAtEven.data(), panAtOdd.data(), colorEven.data(), colorOdd.data(), 4, 2,
                              lowPan.data(), panAtOdd.data(), diff.data(), nullptr),
              0);
    EXPECT_EQ(diff, (Ints{(4 - 6) * 65536, (1 - 1023) * 65536}));
    EXPECT_EQ(lowPan, (Ints{101 << 14, 4000 << 14}));
    // The sum lies at 23.25 and at -22: a code, and the clamp; over the plane that it replaces.
    EXPECT_EQ(panAtOdd, (Shorts{23, 0}));
}

TEST(UpSampling, InterpolatesPan) {
    Ints low = {0, 16, 160, 176}, up(16);
    Scratch scratch(16 * 4);
    ASSERT_EQ(Alg_LowPanUpSample(low.data(), 2, 2, up.data(), nullptr), 0);
    EXPECT_EQ(up, (Ints{0, 4, 12, 16, 40, 44, 52, 56, 120, 124, 132, 136, 160, 164, 172, 176}));
}

// A colour that has one value all over comes back with it; the corner, which nothing is added to, is divided as well.
TEST(UpSampling, KnowsEveryMosaic) {
    const int qw = 8, qh = 6, w = 2 * qw, h = 2 * qh;
    const size_t Q = qw * qh;
    const char* const mosaics[4] = {"GRBG", "BGGR", "RGGB", "GBRG"};
    const int values[3] = {8000, -1600, 56};
    for (int pattern = 0; pattern < 4; ++pattern) {
        const auto colorAt = [&](int y, int x) {
            return static_cast<int>(std::string("RGB").find(mosaics[pattern][y % 2 * 2 + x % 2]));
        };
        Ints mosaic, low(3 * Q), planes[3] = {Ints(4 * Q), Ints(4 * Q), Ints(4 * Q)};
        for (int p = 0; p < static_cast<int>(Q); ++p) {
            mosaic.push_back(values[colorAt(p / qw, p % qw)]);
        }
        Scratch scratch(16 * Q);
        g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(low.data());
        ASSERT_EQ(Alg_LowColorDiffUpSample(mosaic.data(), qw, qh, pattern, planes[0].data(), planes[1].data(),
                                           planes[2].data(), nullptr),
                  0);
        for (int c = 0; c < 3; ++c) {
            EXPECT_EQ(planes[c][0], colorAt(0, 0) == c ? values[c] / (c == 1 ? 8 : 4) : 0);
            for (int y = 3; y < h - 3; ++y) {
                for (int x = 3; x < w - 3; ++x) {
                    ASSERT_EQ(planes[c][static_cast<size_t>(y * w + x)], values[c]) << pattern << " " << c;
                }
            }
        }
    }
    Log log;
    EXPECT_EQ(Alg_LowColorDiffUpSample(nullptr, qw, qh, 4, nullptr, nullptr, nullptr, log), -1);
    EXPECT_STREQ(log.text, "CFA pattern error.\n");
}

Shorts IdentityTones() {
    Shorts tones(4096);
    std::iota(tones.begin(), tones.end(), static_cast<short>(0));
    return tones;
}

TEST(ColorCorrection, MixesLinearColours) {
    // Codes below 276 are linear. A sum below 0 counts as 0, one of 1100 as 1023, which is 4095.
    const int code = 1 << 16;
    Ints pan = {100 * code, 100 * code + 65535, 5 * code}, red = {100 * code, 0, 1095 * code},
         green = {0, 100 * code, -6 * code}, blue = {-60 * code, 0, 0};
    std::vector<unsigned char> rgb(9);
    Shorts tones = IdentityTones();
    Alg_ColorCorrection(red.data(), green.data(), blue.data(), pan.data(), 3, 1, 0.5F, 0.25F, 0.125F, 0, -1, 0, 1, 0, 0,
                        rgb.data(), tones.data(), nullptr);
    // 0.5 * 200 + 0.25 * 100 + 0.125 * 40, and so on; of 2048 and of 4095 the low byte is stored.
    EXPECT_EQ(rgb, (std::vector<unsigned char>{130, 0, 200, 112, 0, 100, 0, 0, 255}));
}

// A step from 100 to 121 in cleaned pan, which is 2 below the noisy one.
TEST(Sharpness, AmplifiesWhatSticksOutAndGivesNoiseBack) {
    const int w = 7, h = 5;
    const auto sharpened = [&](float maxSharpen, float noise) {
        Shorts noisy(w * h, 102), edges(2 * w * h), tones = IdentityTones();
        Ints clean(w * h, 100 << 16), lowpass(w * h);
        for (size_t p = 0; p < clean.size(); ++p) {
            if (p % w > 3) {
                clean[p] = (121 << 16) + 65535;
                noisy[p] = 123;
            }
        }
        std::vector<unsigned char> rgb(3 * w * h, 50);
        Scratch scratch(4 * w * h);
        g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(edges.data());
        g_dynamicBuffer2 = reinterpret_cast<unsigned char*>(lowpass.data());
        EXPECT_EQ(Alg_Sharpness(rgb.data(), noisy.data(), clean.data(), w, h, 8, maxSharpen, noise, noise, tones.data(),
                                nullptr),
                  0);
        std::vector<int> row;
        for (size_t x = 0; x < w; ++x) {
            row.push_back(rgb[3 * (2 * w + x) + 1]);
        }
        return row;
    };
    // The surroundings are 105.25 and 115.75 beside the step, the edge responses 21, over thresholds of 5.44 and 5.32.
    EXPECT_EQ(sharpened(0, 0.5F), (std::vector<int>{51, 51, 51, 51, 51, 51, 51}));
    EXPECT_EQ(sharpened(2, 0), (std::vector<int>{50, 50, 50, 40, 62, 50, 50}));
    EXPECT_EQ(sharpened(100, 0), (std::vector<int>{50, 50, 50, 35, 67, 50, 50}));
}

TEST(ImageProcess, TellsItsSizes) {
    DriverRun run(4, 4);
    EXPECT_EQ(run.sum, 384);
    const ImageProcessBuffers& b = run.buffers;
    EXPECT_EQ(b.imageBufferSize, 80U);
    EXPECT_EQ(b.rgbBufferSize, 64U);
    EXPECT_EQ(b.lowPanSize, 16U);
    EXPECT_EQ(b.planeRSize + b.planeGSize + b.planeBSize, 192U);
    EXPECT_EQ(b.fullPanSize, 32U);
    EXPECT_EQ(Api_ImageProcess(&run.param, nullptr), -1);
}

TEST(ImageProcess, LogsTheCheckNumber) {
    DriverRun run(40, 12);
    run.FillWithNoise(31, 4095);
    ASSERT_EQ(Api_ImageProcess(&run.param, &run.buffers), 0);
    char expected[64];
    std::snprintf(expected, sizeof(expected), "Final image check num: %x\n",
                  calcHash(run.rgb.data(), 3 * 40, 12, 2150));
    EXPECT_STREQ(run.text, expected);
    EXPECT_EQ(run.param.toneTable, static_cast<const int16_t*>(Tonescale12));
}

TEST(ImageProcess, StopsAtAFailingStage) {
    for (const uint32_t bytes : {0U, 63U, 3 * 64 + 64 - 1U}) {
        DriverRun run(8, 8);
        run.param.cfaPattern = bytes == 0 ? 4 : 1;
        run.buffers.rgbBufferSize = bytes;
        EXPECT_EQ(Api_ImageProcess(&run.param, &run.buffers), -1);
        EXPECT_STREQ(run.text, bytes == 0 ? "CFA pattern error.\n" : "pBuf memory alloc error.\n");
        EXPECT_EQ(run.rgb, std::vector<uint8_t>(run.rgb.size(), 0xA5));
    }
}

}  // namespace
