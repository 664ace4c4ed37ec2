#include "pipeline/parallel/TrueSenseKodak.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <type_traits>

#include "rows/Bands.h"
#include "rows/Simd.h"
#include "support/DriverScope.h"
#include "support/Image.h"
#include "support/Kernels.h"
#include "support/Noise.h"
#include "truesense/Tables.h"

namespace {

using Samples16 = std::vector<unsigned short>;

tagTrueSenseParam Defaults() {
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    return param;
}

// A frame in memory, its region, and how to convert it.
template <class Sample>
struct Job {
    int w, h, bits;
    int grid = 0;
    tagTrueSenseParam param = Defaults();
    bool alpha = false, bgr = false;
    std::vector<Sample> source = {};
    int srcStride = 0;     // samples; 0: w
    size_t srcOrigin = 0;  // sample that the walk starts from

    _OrvRect Rect() const { return {0, 0, w, h}; }
    int Channels() const { return alpha ? 4 : 3; }
    int SourceBytes() const { return (srcStride != 0 ? srcStride : w) * static_cast<int>(sizeof(Sample)); }
};

// The result, after a check that nothing else of the destination was written. Out tells Init from InitRGB.
template <class Out, class Sample>
std::vector<Out> Convert(TrueSenseKodak<Sample>& engine, const Job<Sample>& job) {
    const int rowSamples = job.Channels() * job.w, stride = rowSamples * static_cast<int>(sizeof(Out)) + 6;
    orvtest::Image image(0, job.bits, job.w, job.h, stride);
    tagTrueSenseParam param = job.param;
    Out* dst = image.template Row<Out>(0);
    engine.SetOutputPixelType(job.alpha, job.bgr);
    const auto grid = static_cast<unsigned char>(job.grid);
    const Sample* src = job.source.data() + job.srcOrigin;
    if constexpr (std::is_same_v<Out, Sample>) {
        EXPECT_EQ(engine.Init(src, job.Rect(), {job.w, job.h}, job.SourceBytes(), job.bits, dst, stride, grid, &param),
                  0);
        EXPECT_EQ(engine.Calculate(), 0);
    } else {
        EXPECT_EQ(
            engine.InitRGB(src, job.Rect(), {job.w, job.h}, job.SourceBytes(), job.bits, dst, stride, grid, &param), 0);
        EXPECT_EQ(engine.CalculateRGB(), 0);
    }
    EXPECT_TRUE(image.OutsideUntouched(static_cast<size_t>(rowSamples) * sizeof(Out)));
    std::vector<Out> result;
    for (int y = 0; y < job.h; ++y) {
        const Out* row = image.template Row<Out>(y);
        result.insert(result.end(), row, row + rowSamples);
    }
    return result;
}
template <class Out, class Sample>
std::vector<Out> Convert(const Job<Sample>& job) {
    TrueSenseKodak<Sample> engine;
    return Convert<Out>(engine, job);
}

template <class Sample>
Job<Sample> NoiseJob(int w, int h, int bits, int grid, uint64_t seed = 1) {
    Job<Sample> job{w, h, bits};
    job.grid = grid;
    job.source = orvtest::NoiseSamples<Sample>(seed, static_cast<size_t>(std::max(1, w * h)), (1U << bits) - 1);
    return job;
}

class KodakGrids : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(All, KodakGrids, testing::Range(0, 16));

TEST_P(KodakGrids, FlatGreyStaysFlat) {
    const auto tone = [](int sample, int bits) {
        const int linear = bits <= 12 ? sample << (12 - bits) : sample >> (bits - 12);
        return Tonescale12[Gamma10toLinear12[Linear12toGamma10[linear]]];
    };
    for (const int mirrors : {0, 1, 2, 3}) {
        for (const int bits : {8, 10, 12, 14, 16}) {
            const int sample = (1 << bits) / 3;
            const auto prepare = [&](auto job) {
                job.grid = GetParam();
                job.param.horMirrored = mirrors & 1;
                job.param.verMirrored = mirrors >> 1;
                job.param.RR = job.param.GG = job.param.BB = 1;
                job.param.RG = job.param.RB = job.param.GR = job.param.GB = job.param.BR = job.param.BG = 0;
                job.source.assign(13 * 10, static_cast<typename decltype(job.source)::value_type>(sample));
                return job;
            };
            const auto expected = static_cast<unsigned short>(tone(sample, bits) << (bits - 8));
            if (bits == 8) {
                EXPECT_EQ((Convert<unsigned char>(prepare(Job<unsigned char>{13, 10, bits}))),
                          std::vector<unsigned char>(390, static_cast<unsigned char>(expected)));
            }
            EXPECT_EQ((Convert<unsigned short>(prepare(Job<unsigned short>{13, 10, bits}))),
                      std::vector<unsigned short>(390, expected))
                << bits;
        }
    }
}

// The flags of the record move the cell only: a frame mirrored in memory, read with the flag, gives the mirrored
// result.
TEST_P(KodakGrids, MirrorsAndNegativeStridesReadTheSameSites) {
    const int w = 14, h = 11;
    for (const int mirrors : {1, 2, 3}) {
        auto job = NoiseJob<unsigned short>(w, h, 12, GetParam());
        job.bgr = true;
        const auto plain = Convert<unsigned short>(job);
        auto mirrored = job;
        mirrored.param.horMirrored = mirrors & 1;
        mirrored.param.verMirrored = mirrors >> 1;
        const auto from = [&](int y, int x) {
            return static_cast<size_t>((mirrors > 1 ? h - 1 - y : y) * w + ((mirrors & 1) != 0 ? w - 1 - x : x));
        };
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                mirrored.source[static_cast<size_t>(y * w + x)] = job.source[from(y, x)];
            }
        }
        const auto result = Convert<unsigned short>(mirrored);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                for (size_t c = 0; c < 3; ++c) {
                    ASSERT_EQ(result[3 * static_cast<size_t>(y * w + x) + c], plain[3 * from(y, x) + c]);
                }
            }
        }
    }
    // Rows forward, columns backward from the pointer.
    auto job = NoiseJob<unsigned char>(w, h, 8, GetParam());
    auto backward = job;
    for (int y = 0; y < h; ++y) {
        std::reverse(backward.source.begin() + y * w, backward.source.begin() + (y + 1) * w);
    }
    backward.srcStride = -w;
    backward.srcOrigin = static_cast<size_t>(w - 1);
    EXPECT_EQ(Convert<unsigned char>(backward), Convert<unsigned char>(job));
}

TEST(TrueSenseKodak, LayoutsCarryTheSamePixels) {
    auto job = NoiseJob<unsigned short>(21, 18, 12, 9);
    const auto rgb = Convert<unsigned short>(job);
    const auto bytes = Convert<unsigned char>(job);
    job.alpha = job.bgr = true;
    const auto bgra = Convert<unsigned short>(job);
    job.bgr = false;
    const auto rgba = Convert<unsigned char>(job);
    job.alpha = false;
    job.param.normalizationEnable = 1;
    const auto normalized = Convert<unsigned short>(job);
    for (size_t p = 0; p < rgb.size() / 3; ++p) {
        for (size_t c = 0; c < 3; ++c) {
            ASSERT_EQ(rgb[3 * p + c], bytes[3 * p + c] << 4);
            ASSERT_EQ(bgra[4 * p + 2 - c], rgb[3 * p + c]);
            ASSERT_EQ(rgba[4 * p + c], bytes[3 * p + c]);
            ASSERT_EQ(normalized[3 * p + c], bytes[3 * p + c] << 8);
        }
        ASSERT_EQ(bgra[4 * p + 3], 0xA5A5);
        ASSERT_EQ(rgba[4 * p + 3], 0xA5);
    }
    auto narrow = NoiseJob<unsigned char>(8, 8, 8, 0);
    narrow.param.normalizationEnable = 1;
    EXPECT_EQ(Convert<unsigned char>(narrow), std::vector<unsigned char>(8 * 8 * 3, 0));
}

TEST(TrueSenseKodak, NoRecordMeansTheDefaults) {
    const auto job = NoiseJob<unsigned char>(20, 20, 8, 0);
    const auto expected = Convert<unsigned char>(job);
    TrueSenseKodak<unsigned char> engine;
    std::vector<unsigned char> result(expected.size());
    // A record's flags do not stay behind.
    auto other = job;
    other.param.monoEnable = other.param.horMirrored = other.param.verMirrored = other.param.normalizationEnable = 1;
    Convert<unsigned char>(engine, other);
    ASSERT_EQ(engine.Init(job.source.data(), job.Rect(), {20, 20}, 20, 8, result.data(), 60, 0, nullptr), 0);
    ASSERT_EQ(engine.Calculate(), 0);
    EXPECT_EQ(result, expected);
}

TEST(TrueSenseKodak, WithoutAFrameCalculateFails) {
    TrueSenseKodak<unsigned char> engine;
    const auto job = NoiseJob<unsigned char>(8, 8, 8, 0);
    const std::vector<unsigned char> untouched(8 * 8 * 3, 0xA5);
    std::vector<unsigned char> result = untouched;
    const auto init = [&](int bits, unsigned char grid) {
        return engine.Init(job.source.data(), job.Rect(), {8, 8}, 8, bits, result.data(), 24, grid, nullptr);
    };
    EXPECT_EQ(engine.Calculate(), 1);
    EXPECT_EQ(engine.CalculateRGB(), 1);
    for (const int refused : {9, 8}) {  // no such depth, no such grid
        EXPECT_EQ(init(8, 0), 0);
        EXPECT_EQ(init(refused, refused == 8 ? 16 : 0), 7);
        EXPECT_EQ(engine.Calculate(), 1);
    }
    EXPECT_EQ(init(8, 0), 0);
    engine.CleanMemory();
    EXPECT_EQ(engine.Calculate(), 1);
    EXPECT_EQ(result, untouched);
}

TEST(TrueSenseKodak, RefusesWithTheCodeAndForgetsTheGeometry) {
    TrueSenseKodak<unsigned short> engine;
    const auto job = NoiseJob<unsigned short>(8, 8, 12, 0);
    std::vector<unsigned short> dst(8 * 8 * 3);
    std::vector<unsigned char> bytes(8 * 8 * 3);
    const auto init = [&](const unsigned short* src, unsigned short* to, _OrvRect rect, int bits, unsigned char grid) {
        return engine.Init(src, rect, {rect.width, rect.height}, 16, bits, to, 48, grid, nullptr);
    };
    const auto initRgb = [&](const unsigned short* src, unsigned char* to, int bits, unsigned char grid) {
        return engine.InitRGB(src, job.Rect(), {8, 8}, 17, bits, to, 24, grid, nullptr);
    };
    const unsigned short* src = job.source.data();
    // An engine that holds nothing matches nothing, its own empty state included.
    for (int repeat = 0; repeat < 2; ++repeat) {
        EXPECT_EQ(init(src, dst.data(), {0, 0, 0, 0}, 12, 255), 7);
        EXPECT_EQ(init(src, dst.data(), job.Rect(), 12, 16), 7);
        EXPECT_EQ(init(src, dst.data(), {0, 0, 40000, 40000}, 12, 0), 9);
        EXPECT_EQ(init(src, dst.data(), {0, 0, 30000, 30000}, 12, 0), 9);
        EXPECT_EQ(init(src, dst.data(), {0, 0, -1, 8}, 12, 3), 9);
        EXPECT_EQ(init(src, dst.data(), {0, 0, 0, 8}, 12, 0), 9);
        EXPECT_EQ(init(src, dst.data(), {0, 0, 2147483647, 2147483647}, 12, 15), 9);
    }
    EXPECT_EQ(init(nullptr, dst.data(), job.Rect(), 12, 0), 8);
    EXPECT_EQ(init(src, nullptr, job.Rect(), 11, 16), 8);
    EXPECT_EQ(initRgb(nullptr, bytes.data(), 12, 0), 8);
    EXPECT_EQ(initRgb(src, nullptr, 12, 0), 8);
    for (const int bits : {0, 7, 9, 11, 13, 15, 17}) {
        EXPECT_EQ(init(src, dst.data(), job.Rect(), bits, 0), 7);
        EXPECT_EQ(initRgb(src, bytes.data(), bits, 0), 7);
    }
    EXPECT_EQ(init(src, dst.data(), job.Rect(), 10, 0), 0);
    EXPECT_EQ(initRgb(src, bytes.data(), 10, 0), 7);
    EXPECT_EQ(initRgb(src, bytes.data(), 12, 16), 7);
    // An odd stride loses its low bit.
    EXPECT_EQ(initRgb(src, bytes.data(), 12, 0), 0);
    EXPECT_EQ(engine.CalculateRGB(), 0);
    EXPECT_EQ(bytes, Convert<unsigned char>(job));
}

constexpr double kInf = std::numeric_limits<double>::infinity(), kNan = std::numeric_limits<double>::quiet_NaN();

template <class T, size_t Count>
T OneOf(orvtest::Noise* noise, const T (&values)[Count]) {
    return values[noise->Below(static_cast<uint32_t>(Count))];
}

// Anything that a record can hold, mostly near the defaults.
void Scramble(orvtest::Noise* noise, tagTrueSenseParam* p) {
    const auto rarely = [noise] { return noise->Below(6) == 0; };
    const long radii[] = {0, 1, 1, 2, 3, 4, 5, 17, 1024, -3, 1L << 31, (1L << 32) + 2};
    for (long* radius :
         {&p->panRadius0, &p->panRadius1, &p->panRadius2, &p->colorRadius0, &p->colorRadius1, &p->colorRadius2}) {
        *radius = OneOf(noise, radii);
    }
    const long floors[] = {0, 40, 4095, -1, -5000, 1L << 31, (1L << 31) + 7, 1L << 32, -(1L << 31)};
    p->darkFloor = rarely() ? OneOf(noise, floors) : 0;
    const long switches[] = {0, 1, 2, (1L << 32) + 1};
    p->monoEnable = rarely() ? OneOf(noise, switches) : 0;
    const double gains[] = {1.0, 1.0, 0.7, 1.3, 3.99, 0.0, -1.0, kNan, kInf, 1e300};
    for (double* gain : {&p->redGain, &p->greenGain, &p->blueGain, &p->panGain, &p->globalGain}) {
        *gain = rarely() ? OneOf(noise, gains) : 1.0 + 0.01 * noise->Below(60);
    }
    const double sigmas[] = {0.0, 0.5, 2.0, 2.0, 7.0, 1000.0, -1.0, kNan, kInf, -1e300};
    for (double* sigma : {&p->panSigma0, &p->panSigma1, &p->colorSigma0, &p->colorSigma1, &p->colorSigma2}) {
        *sigma = OneOf(noise, sigmas);
    }
    p->analogGain = 40.0 * noise->Below(100) / 100;
    double* wild[] = {&p->RR,
                      &p->GB,
                      &p->BG,
                      &p->sharpenParam,
                      &p->maxSharpen,
                      &p->highLumaNoise,
                      &p->analogGain,
                      &p->lowLumaNoise,
                      &p->ISOPanSlope_1,
                      &p->ISOColorIntercept_2};
    const double values[] = {0.0, 1.0, -3.0, 12.5, kNan, kInf, -kInf, 1e300, 1e-300};
    if (rarely()) {
        *OneOf(noise, wild) = OneOf(noise, values);
    }
}

// A frame by the kernels: the whole of the engine's definition.
Samples16 ByKernels(const Job<unsigned short>& job) {
    const orv::GridGeometry g = orv::GridGeometry::Make(job.Rect(), static_cast<unsigned char>(job.grid));
    orvtest::DriverRun run(g.W, g.H);
    const tagTrueSenseParam& p = job.param;
    const auto walk = orv::RegionWalk::Make(0, 0, job.w, job.h, job.w, 1, false, false);
    orv::ReadMosaic(job.source.data(), walk, 12 - job.bits, g, reinterpret_cast<int16_t*>(run.sensor.data()), g.W, 1);
    orv::NarrowParameters(p, &run.param);
    EXPECT_EQ(0, Api_ImageProcess(&run.param, &run.buffers));
    Samples16 result;
    for (int y = 0; y < job.h; ++y) {
        const auto row = run.rgb.begin() + 3 * ((g.gridY + y) * g.W + g.gridX);
        std::transform(row, row + 3 * job.w, std::back_inserter(result),
                       [&](uint8_t v) { return static_cast<unsigned short>(v << (job.bits - 8)); });
    }
    return result;
}

// Wild parameters, stray samples, odd, tiny and wide frames, tone tables that strips do not take.
TEST(TrueSenseKodak, StripsGiveTheBytesOfTheKernels) {
    const orvtest::DriverScope restore;
    orvtest::Noise noise(77);
    Samples16 strange(4096);
    std::generate(strange.begin(), strange.end(), [&] { return static_cast<unsigned short>(noise.Below(65536)); });
    for (int round = 0; round < 120; ++round) {
        const auto size = [&] { return 1 + static_cast<int>(noise.Below(noise.Below(4) == 0 ? 12 : 90)); };
        const int depths[] = {12, 12, 12, 10, 16};
        auto job = NoiseJob<unsigned short>(round % 15 == 0 ? 1200 + size() : size(), size(), OneOf(&noise, depths),
                                            static_cast<int>(noise.Below(16)), noise.Next());
        if (noise.Below(3) != 0) {  // scenes, which stay below the limits of the noise filters
            const uint32_t base = noise.Below(3000), contrast = 1 + noise.Below(900);
            for (auto& v : job.source) {
                v = static_cast<unsigned short>((base + v % contrast) << (job.bits == 16 ? 4 : 0));
            }
        }
        if (noise.Below(8) == 0) {
            job.source[noise.Below(static_cast<uint32_t>(job.source.size()))] = 65535;
        }
        Scramble(&noise, &job.param);
        if (noise.Below(20) == 0) {
            job.param.toneTable = reinterpret_cast<const int16_t*>(strange.data());
        }
        orv::SetSimdLevel(static_cast<orv::SimdLevel>(noise.Below(orv::kSimdLevels)));
        const auto expected = ByKernels(job);
        for (int level = 0; level <= static_cast<int>(orv::BestSimdLevel()); ++level) {
            orv::SetSimdLevel(static_cast<orv::SimdLevel>(level));
            orv::SetBandRows(static_cast<int>(4 * noise.Below(6)));
            orv::SetBandOrder(static_cast<int>(noise.Below(50)));
            job.param.threads_num = 1 + noise.Below(5);
            ASSERT_EQ(expected, Convert<unsigned short>(job))
                << "frame " << round << ", " << job.w << " by " << job.h << ", level " << level;
        }
    }
}

}  // namespace
