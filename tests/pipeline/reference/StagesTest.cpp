// The stages made of several kernels, against plain formulas per site; the driver.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>

#include "support/Kernels.h"
#include "truesense/Tables.h"

namespace {

using namespace orvtest;

// Noise within L12, without the impulses that the first step of the interpolation would clip: a sample and its
// neighbours take turns as extremes, so the filter runs in the reference as well.
Shorts PanNoise(uint64_t seed, int w, int h) { return NoiseSamples<short>(seed, static_cast<size_t>(w * h), 4095); }

// Prediction, gradient and Laplacian at (y, x) of the pair (y, x) and (y + dy, x + dx); `inside` false on the rim.
struct Pair {
    int pred8, grad, lap;
};
Pair PairAt(const Shorts& plane, int w, int h, int y, int x, int dy, int dx) {
    const View<short> s{plane, w};
    if (y < 1 || x < 1 || y >= h - 1 || x >= w - 1) {
        return {8 * s(y, x), s(y, x), s(y, x)};
    }
    const int py = dx != 0 ? 1 : 0, px = dx != 0 ? 0 : 1;
    const int here = s(y, x), there = s(y + dy, x + dx);
    return {4 * (here + there), here - there,
            2 * here + 2 * there - s(y - py, x - px) - s(y + py, x + px) - s(y + dy - py, x + dx - px) -
                s(y + dy + py, x + dx + px)};
}

short Blend(const Pair& a, const Pair& b) {
    const int wa = static_cast<short>(std::abs(b.lap) + 1 + 2 * std::abs(a.grad));
    const int wb = static_cast<short>(std::abs(a.lap) + 1 + 2 * std::abs(b.grad));
    const double pan = (wa * (b.pred8 / 8.0) + wb * (a.pred8 / 8.0)) / (wa + wb);
    return static_cast<short>(std::clamp(static_cast<int>(pan), 0, 4095));
}

TEST_P(KernelLevels, InterpolatePanFollowsTheFormula) {
    for (const auto& [qw, qh] : {std::pair{34, 12}, std::pair{2, 2}, std::pair{3, 6}, std::pair{8, 4}}) {
        const int w = 2 * qw, h = 2 * qh;
        const size_t Q = static_cast<size_t>(qw * qh);
        Shorts even = PanNoise(1, qw, qh), odd = PanNoise(2, qw, qh);
        Shorts full(4 * Q), atEven(Q), atOdd(Q), work(6 * Q);
        Scratch scratch(2 * Q);
        g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(work.data());
        Log log;
        ASSERT_EQ(Alg_InterpolatePan(even.data(), odd.data(), w, h, full.data(), atEven.data(), atOdd.data(), log), 0);
        Shorts cleaned = PanNoise(1, qw, qh);
        ASSERT_EQ(Alg_ImpulseFilter(cleaned.data(), 2, qw, qh, 1, log), 0);
        EXPECT_EQ(even, cleaned);
        for (int y = 0; y < qh; ++y) {
            for (int x = 0; x < qw; ++x) {
                const size_t k = static_cast<size_t>(y * qw + x), p = static_cast<size_t>(2 * y * w + 2 * x);
                ASSERT_EQ(atEven[k], Blend(PairAt(even, qw, qh, y, x, 0, 1), PairAt(odd, qw, qh, y, x, -1, 0)))
                    << y << " " << x;
                ASSERT_EQ(atOdd[k], Blend(PairAt(even, qw, qh, y, x, 1, 0), PairAt(odd, qw, qh, y, x, 0, -1)))
                    << y << " " << x;
                const size_t below = p + static_cast<size_t>(w);
                ASSERT_EQ(full[p], Linear12toGamma10[even[k]]);
                ASSERT_EQ(full[p + 1], Linear12toGamma10[atEven[k]]);
                ASSERT_EQ(full[below], Linear12toGamma10[atOdd[k]]);
                ASSERT_EQ(full[below + 1], Linear12toGamma10[odd[k]]);
            }
        }
    }
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

TEST_P(KernelLevels, UpSamplingFollowsTheFormula) {
    const int qw = 22, qh = 8, w = 2 * qw, h = 2 * qh;
    const size_t Q = static_cast<size_t>(qw * qh);
    const char* const mosaics[4] = {"GRBG", "BGGR", "RGGB", "GBRG"};
    const std::vector<float> sums = {1, 2, 1}, means = {0.25F, 0.5F, 0.25F};
    const auto twice = [](Ints plane, int width, int height, const std::vector<float>& kernel) {
        return ConvolveBySite(ConvolveBySite(plane, width, height, kernel, 3, 1), width, height, kernel, 1, 3);
    };
    const auto expanded = [&](const Ints& low) {
        Ints full(4 * Q);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                full[static_cast<size_t>(y * w + x)] = low[static_cast<size_t>(y / 2 * qw + x / 2)];
            }
        }
        return twice(full, w, h, means);
    };
    Scratch scratch(16 * Q);
    Log log;
    const Ints mosaic = SignedNoise<int>(4, static_cast<int>(Q), 1 << 26);
    Ints source = mosaic, up(4 * Q);
    ASSERT_EQ(Alg_LowPanUpSample(source.data(), qw, qh, up.data(), log), 0);
    EXPECT_EQ(up, expanded(mosaic));
    // Also from inside the result, and from the scratch that the filters take.
    std::copy(mosaic.begin(), mosaic.end(), up.begin());
    ASSERT_EQ(Alg_LowPanUpSample(up.data(), qw, qh, up.data(), log), 0);
    EXPECT_EQ(up, expanded(mosaic));
    int* const inScratch = reinterpret_cast<int*>(g_dynamicBuffer);
    std::copy(mosaic.begin(), mosaic.end(), inScratch);
    ASSERT_EQ(Alg_LowPanUpSample(inScratch, qw, qh, up.data(), log), 0);
    EXPECT_EQ(up, expanded(mosaic));
    for (int pattern = 0; pattern < 4; ++pattern) {
        Ints low(3 * Q), planes[3] = {up, up, up};
        g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(low.data());
        // In place of the three low planes, in the scratch and apart.
        int* const places[4] = {low.data(), low.data() + Q, inScratch, source.data()};
        std::copy(mosaic.begin(), mosaic.end(), places[pattern]);
        ASSERT_EQ(Alg_LowColorDiffUpSample(places[pattern], qw, qh, pattern, planes[0].data(), planes[1].data(),
                                           planes[2].data(), log),
                  0);
        for (int c = 0; c < 3; ++c) {
            Ints sparse(Q);
            for (int p = 0; p < static_cast<int>(Q); ++p) {
                const char site = mosaics[pattern][p / qw % 2 * 2 + p % qw % 2];
                sparse[static_cast<size_t>(p)] = site == "RGB"[c] ? mosaic[static_cast<size_t>(p)] : 0;
            }
            sparse = twice(sparse, qw, qh, sums);
            for (int& v : sparse) {
                v /= c == 1 ? 8 : 4;
            }
            EXPECT_EQ(planes[c], expanded(sparse)) << "pattern " << pattern << " colour " << c;
        }
    }
    EXPECT_EQ(Alg_LowColorDiffUpSample(source.data(), qw, qh, 4, nullptr, nullptr, nullptr, log), -1);
    EXPECT_STREQ(log.text, "CFA pattern error.\n");
}

TEST_P(KernelLevels, ColorCorrectionFollowsTheFormula) {
    const int w = 307, h = 3, N = w * h;
    Ints r = SignedNoise<int>(11, N, 900 << 16), g = SignedNoise<int>(12, N, 900 << 16),
         b = SignedNoise<int>(13, N, 900 << 16);
    Ints pan = NoiseSamples<int>(14, static_cast<size_t>(N), 1100U << 16);
    std::vector<unsigned char> rgb(static_cast<size_t>(3 * N));
    Shorts tone = NoiseSamples<short>(15, 4096, 1000);  // the low byte counts
    const float m[9] = {1.657F, -0.5325F, -0.1245F, -0.106F, 1.443F, -0.337F, 0.131F, -0.445F, 1.314F};
    Alg_ColorCorrection(r.data(), g.data(), b.data(), pan.data(), w, h, m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7],
                        m[8], rgb.data(), tone.data(), nullptr);
    for (size_t p = 0; p < r.size(); ++p) {
        const auto linear = [&](int diff) {
            return static_cast<float>(Gamma10toLinear12[std::clamp((pan[p] + diff) / 65536, 0, 1023)]);
        };
        const float R = linear(r[p]), G = linear(g[p]), B = linear(b[p]);
        for (size_t c = 0; c < 3; ++c) {
            const float out = std::fma(B, m[3 * c + 2], std::fma(R, m[3 * c], G * m[3 * c + 1]));
            const int index = std::clamp(static_cast<int>(out), 0, 4095);
            ASSERT_EQ(rgb[3 * p + c], static_cast<unsigned char>(tone[static_cast<size_t>(index)])) << p;
        }
    }
}

TEST_P(KernelLevels, SharpnessFollowsTheFormula) {
    for (const float sharpenParam : {40.0F, 3.0F, 0.0F}) {
        const int w = 291, h = 9, N = w * h;
        const size_t n = static_cast<size_t>(N);
        const float maxSharpen = 1.5F, high = 2.0F, low = 0.5F;
        const Shorts noisy = NoiseSamples<short>(21, n, 1023);
        const Ints cleaned = SignedNoise<int>(22, N, 1100 << 16);
        const auto before = NoiseSamples<unsigned char>(23, n * 3, 255);
        Shorts fullPan = noisy, edges(2 * n);
        Ints panUp = cleaned, lowpass(n);
        auto rgb = before;
        Scratch scratch(4 * n);
        g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(edges.data());
        g_dynamicBuffer2 = reinterpret_cast<unsigned char*>(lowpass.data());
        Log log;
        short* tone = const_cast<short*>(static_cast<const short*>(Tonescale12));
        ASSERT_EQ(Alg_Sharpness(rgb.data(), fullPan.data(), panUp.data(), w, h, sharpenParam, maxSharpen, high, low,
                                tone, log),
                  0);

        Shorts t(n);
        Ints lp(n);
        for (size_t p = 0; p < n; ++p) {
            t[p] = Tonescale12[Gamma10toLinear12[std::clamp(cleaned[p] / 65536, 0, 1023)]];
            lp[p] = t[p] << 16;
        }
        const Shorts edgeA = ConvolveBySite(t, w, h, {0, 1, 0, -1, 0, -1, 0, 1, 0}, 3, 3);
        const Shorts edgeB = ConvolveBySite(t, w, h, {1, 0, -1, 0, 0, 0, -1, 0, 1}, 3, 3);
        const std::vector<float> binomial = {0.25F, 0, 0.5F, 0, 0.25F};
        lp = ConvolveBySite(ConvolveBySite(lp, w, h, binomial, 5, 1), w, h, binomial, 1, 5);
        for (size_t p = 0; p < n; ++p) {
            const int l = lp[p] / 65536;
            const auto root = [](int code) { return std::sqrt(static_cast<double>(Gamma10toLinear12[code])); };
            const auto threshold =
                static_cast<float>((32.0 - root(std::clamp(l, 0, 255))) * static_cast<double>(sharpenParam) * 0.03125);
            const auto restore = static_cast<float>(std::fma(1.5, root(std::clamp<int>(t[p], 0, 255)) * 0.03125, 0.5));
            float gain = static_cast<float>(std::abs(edgeA[p]) + std::abs(edgeB[p])) / threshold - 1.0F;
            gain = std::isnan(gain) ? 0.0F : std::min(std::max(gain, 0.0F), maxSharpen);
            const short full = Tonescale12[Gamma10toLinear12[noisy[p]]];
            const float detail =
                std::fma(static_cast<float>(full - t[p]), restore, static_cast<float>(t[p] - l) * gain);
            for (size_t c = 0; c < 3; ++c) {
                const float v = static_cast<float>(before[3 * p + c]) + detail;
                ASSERT_EQ(rgb[3 * p + c], std::clamp(static_cast<int>(v), 0, 255)) << p;
            }
        }
    }
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

TEST(ImageProcess, FitsItsBuffersExactlyAndLogsTheCheckNumber) {
    for (const int w : {4, 8, 40}) {
        DriverRun run(w, 12);
        run.FillWithNoise(31, 4095);
        run.param.colorRadius0 = run.param.panRadius0 = 1;
        ASSERT_EQ(Api_ImageProcess(&run.param, &run.buffers), 0);
        char expected[64];
        std::snprintf(expected, sizeof(expected), "Final image check num: %x\n",
                      calcHash(run.rgb.data(), 3 * w, 12, 2150));
        EXPECT_STREQ(run.text, expected);
        EXPECT_EQ(run.param.toneTable, static_cast<const int16_t*>(Tonescale12));
        const auto first = run.rgb;
        ASSERT_EQ(Api_ImageProcess(&run.param, &run.buffers), 0);
        EXPECT_EQ(run.rgb, first);
    }
}

TEST(ImageProcess, StopsAtAFailingStage) {
    struct Case {
        int pattern;
        uint32_t rgbBufferSize;
        const char* text;
    };
    for (const Case& c : {Case{4, 0, "CFA pattern error.\n"}, Case{1, 3 * 64 + 64 - 1, "pBuf memory alloc error.\n"},
                          Case{1, 63, "pBuf memory alloc error.\n"}}) {
        DriverRun run(8, 8);
        run.param.cfaPattern = c.pattern;
        run.buffers.rgbBufferSize = c.rgbBufferSize;
        EXPECT_EQ(Api_ImageProcess(&run.param, &run.buffers), -1);
        EXPECT_STREQ(run.text, c.text);
        EXPECT_EQ(run.rgb, std::vector<uint8_t>(run.rgb.size(), 0xA5));
    }
}

TEST(ImageProcess, MonoDropsTheDifferencesOnlyAtOne) {
    const auto result = [](int mono, float gain) {
        DriverRun run(32, 16);
        run.FillWithNoise(32, 3000);
        run.param.monoEnable = mono;
        run.param.globalGain = gain;
        EXPECT_EQ(Api_ImageProcess(&run.param, &run.buffers), 0);
        return run.rgb;
    };
    const auto grey = result(1, 1);
    for (size_t p = 0; p < grey.size(); p += 3) {
        ASSERT_TRUE(grey[p] == grey[p + 1] && grey[p] == grey[p + 2]);
    }
    EXPECT_EQ(result(2, 1), result(0, 1));
    EXPECT_NE(result(0, 1), grey);
    // The frame gain counts above 1 only. Nothing else reads it here.
    EXPECT_EQ(result(0, 0.5F), result(0, 1));
    EXPECT_NE(result(0, 1.5F), result(0, 1));
}

}  // namespace
