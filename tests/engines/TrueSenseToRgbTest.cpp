#include "engines/TrueSenseToRgb.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "engines/FastReference.h"
#include "rows/Bands.h"
#include "rows/Simd.h"
#include "support/EngineVectors.h"
#include "support/Noise.h"
#include "truesense/Tables.h"

namespace {

using orvtest::FastCall;
using orvtest::FastReference;
using orvtest::Noise;

constexpr int kGuard = 0x5A;

tagTrueSenseParam Defaults() {
    tagTrueSenseParam param = {};
    TrueSense_DefaultValues(&param);
    return param;
}

void SetMatrix(tagTrueSenseParam& param, const double (&m)[9]) {
    param.RR = m[0], param.RG = m[1], param.RB = m[2];
    param.GR = m[3], param.GG = m[4], param.GB = m[5];
    param.BR = m[6], param.BG = m[7], param.BB = m[8];
}
const double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// A tone table whose entries all differ, signed ones among them, so that any wrong index or order shows.
const std::vector<int16_t>& Tones() {
    static const std::vector<int16_t> tones = [] {
        std::vector<int16_t> t(4096);
        for (int i = 0; i < 4096; ++i) {
            t[static_cast<size_t>(i)] = static_cast<int16_t>(static_cast<uint16_t>(i * 13u + 7u));
        }
        return t;
    }();
    return tones;
}

// A source region in a larger buffer and a destination with padding; both may be walked with negative strides.
template <class Sample, class Out>
struct Frame {
    FastCall call;
    _OrvSize size = {};
    std::vector<Sample> source;
    std::vector<Out> result;
    long sourceOrigin = 0, resultOrigin = 0;

    Frame(const FastCall& c, uint64_t seed, uint32_t top) : call(c) {
        const _OrvRect& rect = call.rect;
        size = {rect.x + rect.width + 3, rect.y + rect.height + 2};
        const int srcStride = size.width + 2;
        const int dstStride = rect.width * (call.alpha ? 4 : 3) + 5;
        source = orvtest::NoiseSamples<Sample>(seed, static_cast<size_t>(srcStride) * (size.height + 2), top);
        result.assign(static_cast<size_t>(dstStride) * (rect.height + 2) + 8, static_cast<Out>(kGuard));
        // Negative strides walk rows forward and columns backward.
        call.srcStride = c.srcStride < 0 ? -srcStride : srcStride;
        call.dstStride = c.dstStride < 0 ? -dstStride : dstStride;
        sourceOrigin = c.srcStride < 0 ? srcStride : 0;
        resultOrigin = c.dstStride < 0 ? dstStride : 4;
    }
    Sample* Source() { return source.data() + sourceOrigin; }
    Out* Result() { return result.data() + resultOrigin; }

    std::vector<Out> Expected(const tagTrueSenseParam& param) {
        std::vector<Out> expected(result.size(), static_cast<Out>(kGuard));
        tagTrueSenseParam p = param;
        p.toneTable = p.toneTable == nullptr ? Tonescale12Table12 : p.toneTable;
        FastReference(call, p).Run([this](long i) { return source.at(static_cast<size_t>(sourceOrigin + i)); },
                                   [this, &expected](long i, uint32_t v) {
                                       expected.at(static_cast<size_t>(resultOrigin + i)) = static_cast<Out>(v);
                                   });
        return expected;
    }
};

// Calls the entry that the frame's sample types select.
template <class T>
int Start(TrueSenseToRgb<T>& engine, Frame<T, T>& f, tagTrueSenseParam* param) {
    engine.SetOutputPixelType(f.call.alpha, f.call.bgr);
    return engine.Init(f.Source(), f.call.rect, f.size, f.call.srcStride * static_cast<int>(sizeof(T)), f.call.bits,
                       f.Result(), f.call.dstStride * static_cast<int>(sizeof(T)), f.call.grid, param);
}
template <class T>
int Finish(TrueSenseToRgb<T>& engine, Frame<T, T>&) {
    return engine.Calculate();
}
template <class T>
int StartRgb(TrueSenseToRgb<T>& engine, Frame<unsigned short, unsigned char>& f, tagTrueSenseParam* param) {
    engine.SetOutputPixelType(f.call.alpha, f.call.bgr);
    return engine.InitRGB(f.Source(), f.call.rect, f.size, f.call.srcStride * 2, f.call.bits, f.Result(),
                          f.call.dstStride, f.call.grid, param);
}

std::string Describe(const FastCall& c) {
    return "grid " + std::to_string(c.grid) + " bits " + std::to_string(c.bits) + " rect " + std::to_string(c.rect.x) +
           "," + std::to_string(c.rect.y) + " " + std::to_string(c.rect.width) + "x" + std::to_string(c.rect.height) +
           " strides " + std::to_string(c.srcStride) + "," + std::to_string(c.dstStride) + " alpha " +
           std::to_string(c.alpha) + " bgr " + std::to_string(c.bgr);
}

template <class Out>
void ExpectSame(const std::vector<Out>& expected, const std::vector<Out>& result, const FastCall& call) {
    for (size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(expected[i], result[i]) << "sample " << i << ", " << Describe(call);
    }
}

// One frame through every entry that can take it, on fresh engines.
void CheckCall(FastCall call, uint64_t seed, uint32_t top, tagTrueSenseParam param) {
    if (call.bits == 8 && top < 256) {
        Frame<unsigned char, unsigned char> f(call, seed, top);
        TrueSenseToRgb<unsigned char> engine;
        ASSERT_EQ(0, Start(engine, f, &param));
        ASSERT_EQ(0, Finish(engine, f));
        ExpectSame(f.Expected(param), f.result, f.call);
    }
    {
        Frame<unsigned short, unsigned short> f(call, seed, top);
        TrueSenseToRgb<unsigned short> engine;
        ASSERT_EQ(0, Start(engine, f, &param));
        ASSERT_EQ(0, Finish(engine, f));
        ExpectSame(f.Expected(param), f.result, f.call);
    }
    call.toBytes = true;
    Frame<unsigned short, unsigned char> f(call, seed, top);
    const auto expected = f.Expected(param);
    TrueSenseToRgb<unsigned char> narrow;
    ASSERT_EQ(0, StartRgb(narrow, f, &param));
    ASSERT_EQ(0, narrow.CalculateRGB());
    ExpectSame(expected, f.result, f.call);
    std::fill(f.result.begin(), f.result.end(), static_cast<unsigned char>(kGuard));
    TrueSenseToRgb<unsigned short> wide;
    ASSERT_EQ(0, StartRgb(wide, f, &param));
    ASSERT_EQ(0, wide.CalculateRGB());
    ExpectSame(expected, f.result, f.call);
}

TEST(TrueSenseToRgb, GivenFrames) { orvtest::RunVectors<TrueSenseToRgb>("truesense_to_rgb_"); }

// Every grid code and depth, layout and mirror pair, with regions inside larger frames.
TEST(TrueSenseToRgb, GridsDepthsAndLayouts) {
    const int depths[] = {8, 10, 12, 14, 16};
    Noise noise(1);
    for (int grid = 0; grid < 16; ++grid) {
        for (const int bits : depths) {
            for (int flags = 0; flags < 16; ++flags) {
                tagTrueSenseParam param = Defaults();
                param.toneTable = (flags + grid) % 3 == 0 ? nullptr : Tones().data();
                param.horMirrored = flags & 1;
                param.verMirrored = (flags >> 1) & 1;
                param.normalizationEnable = noise.Below(4) == 0;
                if (noise.Below(3) == 0) {
                    SetMatrix(param, kIdentity);
                }
                FastCall call;
                call.alpha = (flags & 4) != 0;
                call.bgr = (flags & 8) != 0;
                call.grid = static_cast<unsigned char>(grid);
                call.bits = bits;
                call.rect = {static_cast<int>(noise.Below(5)), static_cast<int>(noise.Below(5)),
                             static_cast<int>(4 + noise.Below(40)), static_cast<int>(4 + noise.Below(30))};
                ASSERT_NO_FATAL_FAILURE(CheckCall(call, noise.Next(), (1u << bits) - 1, param));
            }
        }
    }
}

TEST(TrueSenseToRgb, SizesFromOnePixel) {
    for (int h = 0; h <= 20; ++h) {
        for (int w = 0; w <= 20; ++w) {
            FastCall call;
            call.grid = static_cast<unsigned char>((w * 7 + h * 5) % 16);
            call.rect = {1, 2, w, h};
            if ((w == 0 && call.grid % 4 == 0) || (h == 0 && call.grid / 4 == 0)) {
                continue;
            }
            ASSERT_NO_FATAL_FAILURE(CheckCall(call, static_cast<uint64_t>(w * 21 + h), 255, Defaults()));
        }
    }
}

TEST(TrueSenseToRgb, NegativeStrides) {
    for (int i = 0; i < 16; ++i) {
        tagTrueSenseParam param = Defaults();
        param.horMirrored = i & 1;
        param.verMirrored = (i >> 1) & 1;
        FastCall call;
        call.bits = 12;
        call.grid = static_cast<unsigned char>(i);
        call.srcStride = (i & 4) != 0 ? -1 : 1;
        call.dstStride = (i & 8) != 0 || i < 4 ? -1 : 1;
        call.alpha = (i % 3) == 0;
        call.rect = {0, 0, 13, 11};
        Frame<unsigned short, unsigned short> f(call, 5, 4095);
        TrueSenseToRgb<unsigned short> engine;
        ASSERT_EQ(0, Start(engine, f, &param));
        ASSERT_EQ(0, Finish(engine, f));
        ExpectSame(f.Expected(param), f.result, f.call);
    }
}

// Samples above the stated depth wrap to signed 16 bits in the plane and overflow 16-bit sums.
TEST(TrueSenseToRgb, StrayHighBits) {
    for (const int bits : {8, 10, 12, 14, 16}) {
        for (const uint32_t top : {8191u, 65535u}) {
            FastCall call;
            call.bits = bits;
            call.grid = 6;
            call.rect = {0, 0, 41, 26};
            tagTrueSenseParam param = Defaults();
            ASSERT_NO_FATAL_FAILURE(CheckCall(call, top + static_cast<uint32_t>(bits), top, param));
            SetMatrix(param, kIdentity);
            ASSERT_NO_FATAL_FAILURE(CheckCall(call, 3, top, param));
        }
    }
}

// Only the two ends of the range, for the largest differences that stay within 12 bits.
TEST(TrueSenseToRgb, ExtremeSamples) {
    Noise noise(9);
    for (int i = 0; i < 20; ++i) {
        FastCall call;
        call.bits = 12;
        call.grid = static_cast<unsigned char>(i % 16);
        call.rect = {0, 0, 33, 17};
        Frame<unsigned short, unsigned short> f(call, 1, 0);
        for (unsigned short& sample : f.source) {
            sample = noise.Below(2) == 0 ? 0 : 4095;
        }
        tagTrueSenseParam param = Defaults();
        TrueSenseToRgb<unsigned short> engine;
        ASSERT_EQ(0, Start(engine, f, &param));
        ASSERT_EQ(0, Finish(engine, f));
        ExpectSame(f.Expected(param), f.result, f.call);
    }
}

TEST(TrueSenseToRgb, ExtremeMatrices) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double matrices[][9] = {{1e300, 1e300, -1e300, -1e9, 0, 0, 3e6, 1, 1},
                                  {nan, 0, 0, 0, nan, 0, 1, 1, nan},
                                  {inf, -inf, 0, inf, 0, 0, -inf, 0, 0},
                                  {1.0000001, 0, 0, 0, 1, 0, 0, 0, 1},
                                  {0, 0, 1, 1, 0, 0, 0, 1, 0},
                                  {0.1, 0.2, 0.7, 1e-3, 0.999, 0, -1, -1, -1}};
    for (const auto& matrix : matrices) {
        tagTrueSenseParam param = Defaults();
        SetMatrix(param, matrix);
        FastCall call;
        call.bgr = &matrix != matrices;
        call.rect = {0, 0, 37, 9};
        ASSERT_NO_FATAL_FAILURE(CheckCall(call, 17, 255, param));
    }
}

// Grey input lands on whole numbers, where the order of the rounded terms decides.
TEST(TrueSenseToRgb, GreyThroughMatrix) {
    for (const int level : {1, 255, 1000, 2047, 3001, 4095}) {
        FastCall call;
        call.bits = 12;
        call.rect = {0, 0, 16, 8};
        Frame<unsigned short, unsigned short> f(call, 1, 0);
        std::fill(f.source.begin(), f.source.end(), static_cast<unsigned short>(level));
        TrueSenseToRgb<unsigned short> engine;
        ASSERT_EQ(0, Start(engine, f, nullptr));  // stands for the defaults
        ASSERT_EQ(0, Finish(engine, f));
        ExpectSame(f.Expected(Defaults()), f.result, f.call);
    }
}

TEST(TrueSenseToRgb, RefusalsInOrderAndRepeated) {
    FastCall call;
    call.rect = {0, 0, 8, 8};
    tagTrueSenseParam param = Defaults();
    Frame<unsigned char, unsigned char> f(call, 1, 255);
    const auto untouched = f.result;
    TrueSenseToRgb<unsigned char> engine;
    const auto init = [&](const unsigned char* src, _OrvRect rect, int bits, int grid) {
        return engine.Init(src, rect, f.size, 16, bits, f.Result(), 32, static_cast<unsigned char>(grid), &param);
    };
    const _OrvRect rect = call.rect;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(8, init(nullptr, {0, 0, -1, -1}, 9, 16));
        EXPECT_EQ(7, init(f.Source(), {0, 0, -1, -1}, 9, 16));
        EXPECT_EQ(7, init(f.Source(), {0, 0, -1, -1}, 9, 16));
        EXPECT_EQ(9, init(f.Source(), {0, 0, -1, 8}, 9, 3));
        EXPECT_EQ(9, init(f.Source(), {0, 0, 8, -5}, 9, 15));
        EXPECT_EQ(9, init(f.Source(), {0, 0, 0, 8}, 9, 4));
        EXPECT_EQ(9, init(f.Source(), {0, 0, 0, 8}, 9, 4));
        EXPECT_EQ(7, init(f.Source(), rect, 9, 3));
        EXPECT_EQ(7, init(f.Source(), rect, 9, 3));
        EXPECT_EQ(7, engine.Calculate());
        EXPECT_EQ(7, init(f.Source(), rect, 8, 255));
        // Nothing is stored that the all-zero geometry of a fresh or cleaned engine would match.
        EXPECT_EQ(7, engine.Init(f.Source(), {0, 0, 0, 0}, {0, 0}, 0, 8, f.Result(), 0, 255, &param));
        engine.Clear();
        EXPECT_EQ(7, engine.Init(f.Source(), {0, 0, 0, 0}, {0, 0}, 0, 8, f.Result(), 0, 255, &param));
        EXPECT_EQ(9, engine.Init(f.Source(), {0, 0, 0, 0}, {0, 0}, 0, 8, f.Result(), 0, 0, &param));
        EXPECT_EQ(untouched, f.result);
    }
    ASSERT_EQ(0, Start(engine, f, &param));
    ASSERT_EQ(0, engine.Calculate());
    ExpectSame(f.Expected(param), f.result, f.call);
}

// Only the low 32 bits of the record's flags count.
TEST(TrueSenseToRgb, FlagsKeepLowBits) {
    FastCall call;
    call.bits = 10;
    call.rect = {0, 0, 9, 6};
    Frame<unsigned short, unsigned short> f(call, 3, 1023);
    tagTrueSenseParam param = Defaults();
    const auto expected = f.Expected(param);
    param.horMirrored = param.verMirrored = param.normalizationEnable = param.threads_num = 1L << 32;
    TrueSenseToRgb<unsigned short> engine;
    ASSERT_EQ(0, Start(engine, f, &param));
    ASSERT_EQ(0, engine.Calculate());
    ExpectSame(expected, f.result, f.call);
}

}  // namespace
