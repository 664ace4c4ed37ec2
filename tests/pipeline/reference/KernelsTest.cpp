// The kernels against values worked out by hand and against plain formulas per site.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <string>

#include "support/Kernels.h"

namespace {

using namespace orvtest;

TEST(Convolve, AppliesTheKernelReversedAndTruncatesTowardZero) {
    Scratch scratch(25 * 4);
    Log log;
    // The response to an impulse is the stored kernel.
    float kernel[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    Shorts plane(25, 0);
    plane[12] = 1;
    ASSERT_EQ(Alg_Convolve2D(plane.data(), 5, 5, kernel, 3, 3, log), 0);
    EXPECT_EQ(plane, (Shorts{0, 0, 0, 0, 0, 0, 1, 2, 3, 0, 0, 4, 5, 6, 0, 0, 7, 8, 9, 0, 0, 0, 0, 0, 0}));
    float left[3] = {1, 0.5F, 0};  // the sample itself and the one to its right
    Ints row = {10, -7, 20, -4, 9};
    ASSERT_EQ(Alg_Convolve1D_Int32(row.data(), 5, 1, left, 3, 0, log), 0);
    EXPECT_EQ(row, (Ints{10, 16, 6, 7, 9}));  // -7/2+20 = 16.5, 20/2-4, -4/2+9
    row = {0, -3, 0};
    float half[1] = {0.5F};
    ASSERT_EQ(Alg_Convolve1D_Int32(row.data(), 3, 1, half, 1, 0, log), 0);
    EXPECT_EQ(row, (Ints{0, -1, 0}));
    // Out of range saturates, also with the weights of the fast sums.
    row = {std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), std::numeric_limits<int>::max()};
    float mean[3] = {0.25F, 0.5F, 0.25F}, sum[3] = {-1, -2, -1};
    ASSERT_EQ(Alg_Convolve1D_Int32(row.data(), 3, 1, mean, 3, 0, log), 0);
    EXPECT_EQ(row[1], std::numeric_limits<int>::max());
    ASSERT_EQ(Alg_Convolve1D_Int32(row.data(), 3, 1, sum, 3, 0, log), 0);
    EXPECT_EQ(row[1], std::numeric_limits<int>::min());
    // No interior, and no such direction.
    const Ints before = row;
    EXPECT_EQ(Alg_Convolve1D_Int32(row.data(), 3, 1, mean, 3, 1, log), 0);
    EXPECT_EQ(Alg_Convolve1D_Int32(row.data(), 3, 1, mean, 3, 2, log), 0);
    EXPECT_EQ(row, before);
}

template <class T>
void ClipSpikes(int type) {
    Scratch scratch(25 * sizeof(T));
    std::vector<T> plane(25, 1);
    plane[6] = 4;
    plane[12] = 9;
    auto expected = plane;
    for (const int other : {0, 3}) {
        ASSERT_EQ(Alg_ImpulseFilter(plane.data(), other, 5, 5, 1, nullptr), 0);
    }
    ASSERT_EQ(Alg_ImpulseFilter(plane.data(), type, 5, 5, 3, nullptr), 0);
    EXPECT_EQ(plane, expected);
    expected[12] = 4;  // while the 4 keeps the 9 of before for a neighbour
    ASSERT_EQ(Alg_ImpulseFilter(plane.data(), type, 5, 5, 1, nullptr), 0);
    EXPECT_EQ(plane, expected);
    expected[12] = 1;  // two sites away all are 1
    ASSERT_EQ(Alg_ImpulseFilter(plane.data(), type, 5, 5, 2, nullptr), 0);
    EXPECT_EQ(plane, expected);
}
TEST(ImpulseFilter, ClipsIntoTheRangeOfTheNeighbours) {
    ClipSpikes<short>(2);
    ClipSpikes<int>(5);
}

TEST(SigmaFilter, ComparesStrictlyAndDividesTowardZero) {
    Scratch scratch(9 * 4);
    Log log;
    Ints reference(9, 0);
    const int one = 1 << 16;
    // Eight neighbours at the limit, then one just inside it: minus 65535 over two.
    Ints plane = {one, -one, one, -one, 0, -one, one, one, one};
    std::vector<unsigned short> thresholds(9, 1);
    ASSERT_EQ(Alg_IterativeSigmaFilter(plane.data(), reference.data(), 3, 3, 1, thresholds.data(), log), 0);
    EXPECT_EQ(plane[4], 0);
    plane[2] = 1 - one;
    ASSERT_EQ(Alg_IterativeSigmaFilter(plane.data(), reference.data(), 3, 3, 1, thresholds.data(), log), 0);
    EXPECT_EQ(plane[4], -32767);
    EXPECT_EQ(plane[2], 1 - one);
    // Thresholds of 0 accept nothing; above 32767 the limit is negative and accepts nothing either.
    for (const int threshold : {0, 40000}) {
        plane = {1, 1, 1, 1, 0, 1, 1, 1, 1};
        thresholds.assign(9, static_cast<unsigned short>(threshold));
        ASSERT_EQ(Alg_IterativeSigmaFilter(plane.data(), reference.data(), 3, 3, 1, thresholds.data(), log), 0);
        EXPECT_EQ(plane[4], 0);
    }
}

TEST(NoiseParameter, IsLinearBetweenRowsAndFlatOutside) {
    float gains[5] = {2, 4, 8, 16, 32}, slopes[5] = {1, 2, 4, 3, 10}, intercepts[5] = {-10, 10, 20, 0, 5};
    const float nan = std::nanf("");
    const float cases[][3] = {{1, 1, -10},    {2, 1, -10}, {3, 1.5F, 0}, {4, 2, 10},  {6, 3, 15},
                              {12, 3.5F, 10}, {32, 10, 5}, {100, 10, 5}, {nan, 10, 5}};
    for (const auto& [gain, expectedSlope, expectedIntercept] : cases) {
        float slope = 0, intercept = 0;
        ASSERT_EQ(Alg_CalculateNoiseParameter(gain, gains, slopes, intercepts, &slope, &intercept, nullptr), 0);
        EXPECT_EQ(slope, expectedSlope) << gain;
        EXPECT_EQ(intercept, expectedIntercept) << gain;
        gains[4] = gain == 32 ? nan : gains[4];
    }
}

TEST(NoiseThreshold, IsTheWiderGammaDistanceOfOneStep) {
    // Codes in the linear part of the curve; pan is given in 16.16, negative and too large values at the table's ends.
    Shorts codes = {0, 100, 200, 1023};
    Ints pan = {-70000, (100 << 16) + 65535, 200 << 16, 2000 << 16};
    struct Case {
        float sigma, gain, slope, intercept;
        std::vector<unsigned short> expected;
    };
    const std::vector<Case> cases = {
        {1, 1, 0, 0, {1, 1, 1, 0}},       // the floor of one
        {1, 1, 0, -5, {1, 1, 1, 0}},      // a root of a negative number counts as one
        {2, 1, 0, 100, {20, 20, 20, 3}},  // deviation 20; at the top 4075 is code 1022 at the nearest
        {1, 2, 0, 0, {1, 51, 101, 0}},    // the model sees half the signal: 50 - 1 and 100 - 1 stand 51 and 101 below
        {1, 1, 1, 0, {1, 10, 14, 0}},     // the root of the signal
    };
    for (const Case& c : cases) {
        std::vector<unsigned short> ofColor(4), ofPan(4);
        Alg_ColorBuildGammaNoiseThreshold(codes.data(), 2, 2, c.sigma, c.gain, c.slope, c.intercept, ofColor.data(),
                                          nullptr);
        Alg_PanBuildGammaNoiseThreshold(pan.data(), 4, 1, c.sigma, c.gain, c.slope, c.intercept, ofPan.data(), nullptr);
        std::vector<unsigned short> expected = c.expected;
        expected[3] = ofColor[3];
        EXPECT_EQ(ofColor, expected) << c.sigma << " " << c.gain << " " << c.slope << " " << c.intercept;
        EXPECT_EQ(ofPan, ofColor);
    }
}

// Behind thresholds of an odd number of samples the filter's scratch is not aligned for its samples.
TEST(Scratch, OneByteTooFewFailsWithTheLabel) {
    const int w = 7, h = 5, n = w * h;
    float kernel[9] = {0, 0, 0, 0.5F, 0.5F, 0, 0, 0, 0}, tables[5] = {1, 2, 3, 4, 5};
    Shorts plane(n, 5);
    Ints wide(n, 5), low(3 * n), up(4 * n), up2 = up, up3 = up;
    std::vector<unsigned short> thresholds(n, 9);
    short* const s = plane.data();
    int* const i = wide.data();
    Log text;
    LogText_t* log = nullptr;
    const auto color = [&] {
        return Alg_LowColorDiffClean(s, i, w, h, 1, 1, 1, 1, 1, tables, tables, tables, 2, 2, 2, 1, 0, 0, log);
    };
    const auto pan = [&] { return Alg_LowPanClean(i, w, h, 1, 1, tables, tables, tables, 2, 2, 2, 0, 1, 0, log); };
    const auto colorUp = [&] {
        g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(low.data());
        return Alg_LowColorDiffUpSample(i, w, h, 1, up.data(), up2.data(), up3.data(), log);
    };
    const struct {
        const char* label;
        int bytes;
        bool last;  // takes no more
        std::function<int()> call;
    } cases[] = {
        {"refBuf", 2 * n, true, [&] { return Alg_ImpulseFilter(s, 2, w, h, 1, log); }},
        {"refBuf", 4 * n, true, [&] { return Alg_ImpulseFilter(i, 5, w, h, 1, log); }},
        {"pBuf", 2 * n, true, [&] { return Alg_Convolve2D(s, w, h, kernel, 3, 3, log); }},
        {"pBuf", 4 * n, true, [&] { return Alg_Convolve1D(i, w, h, kernel, 3, 0, log); }},
        {"pBuf", 16 * n, true, [&] { return Alg_LowPanUpSample(i, w, h, up.data(), log); }},
        {"pBuf", 16 * n, true, colorUp},
        {"bufArray", 4 * n, true,
         [&] { return Alg_IterativeSigmaFilter(i, low.data(), w, h, 1, thresholds.data(), log); }},
        {"bufBayer", 4 * n, false, color},
        {"thresAddr", 6 * n, false, color},
        {"bufArray", 10 * n, true, color},
        {"reflPan", 4 * n, false, pan},
        {"thresAddr", 6 * n, false, pan},
        {"bufArray", 10 * n, true, pan},
    };
    for (const auto& c : cases) {
        text.record.length = 0;
        log = text;
        {
            Scratch scratch(static_cast<size_t>(c.bytes - 1));
            EXPECT_EQ(c.call(), -1);
            EXPECT_EQ(std::string(text.text), std::string(c.label) + " memory alloc error.\n");
            EXPECT_EQ(text.record.length, std::string(text.text).size());
        }
        log = nullptr;
        if (c.last) {
            Scratch scratch(static_cast<size_t>(c.bytes));
            EXPECT_EQ(c.call(), 0);
            g_bufFloor = g_dynamicBuffer + c.bytes + 1;  // refused below the floor, too
            EXPECT_EQ(c.call(), -1);
        }
    }
}

TEST(DarkFloor, ReadsUnsignedSamples) {
    std::vector<uint16_t> samples = {0, 9, 10, 11, 4095, 4105, 4106, 65535};
    Shorts out(8);
    EXPECT_EQ(Alg_SubtractDarkFloor(reinterpret_cast<unsigned char*>(samples.data()), 4, 2, 10, out.data(), nullptr),
              0);
    EXPECT_EQ(out, (Shorts{0, 0, 0, 1, 4085, 4095, 4095, 4095}));
}

TEST(GlobalGain, WorksInSteps) {
    Shorts data = {0, 3, 1000, 4095, -5};
    EXPECT_EQ(ApplyGlobalGain(data.data(), 5, 1.35F), 0);
    EXPECT_EQ(data, (Shorts{0, 4, 1350, 4095, 0}));
    EXPECT_EQ(ApplyGlobalGain(data.data(), 5, std::nanf("")), 0);
    EXPECT_EQ(data, (Shorts{0, 0, 0, 0, 0}));
    data = {7};
    EXPECT_EQ(ApplyGlobalGain(data.data(), -1, 2), 0);
    EXPECT_EQ(data[0], 7);
}

void SplitByTheCell(int pattern) {
    const char* const cells[4] = {"PGPRGPRPPBPGBPGP", "PBPGBPGPPGPRGPRP", "PRPGRPGPPGPBGPBP", "PGPBGPBPPRPGRPGP"};
    const int w = 24, h = 8, qw = w / 2;
    Shorts noise = NoiseSamples<short>(8, w * h, 4000);
    std::for_each(noise.begin(), noise.end(), [](short& v) { v = static_cast<short>(v - 2000); });
    Shorts frame = noise;
    const float red = 1.7F, green = 0.5F, blue = 2.9F, pan = 1.0F;
    std::vector<Shorts> planes(4, Shorts(static_cast<size_t>(qw * h / 2), -1)), expected = planes;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const char site = cells[pattern][(y & 3) * 4 + (x & 3)];
            const float gain = site == 'P' ? pan : site == 'R' ? red : site == 'G' ? green : blue;
            const float product = static_cast<float>(noise[static_cast<size_t>(y * w + x)]) * gain;
            const int v = static_cast<int>(static_cast<double>(product) + 0.5);
            expected[static_cast<size_t>((site == 'P' ? 0 : 2) + (y & 1))][static_cast<size_t>(y / 2 * qw + x / 2)] =
                static_cast<short>(std::clamp(v, 0, 4095));
        }
    }
    Log log;
    ASSERT_EQ(Alg_WhiteBalance(frame.data(), w, h, pattern, red, green, blue, pan, planes[0].data(), planes[1].data(),
                               planes[2].data(), planes[3].data(), log),
              0);
    EXPECT_EQ(planes, expected);
    EXPECT_EQ(Alg_WhiteBalance(frame.data(), w, 0, 7, red, green, blue, pan, nullptr, nullptr, nullptr, nullptr, log),
              0);
    EXPECT_EQ(Alg_WhiteBalance(nullptr, w, h, pattern + 4, 1, 1, 1, 1, nullptr, nullptr, nullptr, nullptr, log), -1);
    EXPECT_STREQ(log.text, "CFA pattern error.\n");
}
TEST(WhiteBalance, SplitsByTheCell) {
    for (int pattern = 0; pattern < 4; ++pattern) {
        SCOPED_TRACE(pattern);
        SplitByTheCell(pattern);
    }
}

TEST(Hash, TakesBytesRowByRow) {
    unsigned char bytes[6] = {0, 1, 2, 200, 3, 255};
    unsigned hash = 2150;
    for (const unsigned char byte : bytes) {
        hash = byte ^ ((hash >> 27) | (hash << 5));
    }
    EXPECT_EQ(calcHash(bytes, 6, 1, 2150), hash);
    EXPECT_EQ(calcHash(bytes, 2, 3, 2150), hash);
    EXPECT_EQ(calcHash(bytes, 1, 1, 2150), 2150U << 5);
    EXPECT_EQ(calcHash(bytes, 1, 0, 2150), 2150U);
}

TEST(RegionData, DumpsEveryType) {
    std::vector<unsigned char> bytes(96);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    char name[] = "plane";
    std::vector<uint16_t> words = {0, 1, 65535, 3, 4, 5, 6, 7};
    std::vector<int> ints = {0, -1, -70000, 3, 4, 5, 6, 7};
    std::vector<float> floats = {0, -1.5F, 12.345F, 3, 4, 5, 6, 7};
    const auto dump = [&](void* data, int type, int x, int width, int height) {
        Log log;
        EXPECT_EQ(Alg_GetRegionData(name, data, type, x, 0, width, height, 4, 3, log), 0);
        EXPECT_EQ(log.record.length, std::string(log.text).size());
        return std::string(log.text);
    };
    EXPECT_EQ(dump(bytes.data(), 0, 1, 3, 2), "plane:\n[[2 3 4]\n [6 7 8]]\n\n");
    EXPECT_EQ(dump(words.data(), 1, 1, 3, 2), "plane:\n[[1 65535 3]\n [5 6 7]]\n\n");
    EXPECT_EQ(dump(words.data(), 2, 1, 2, 1), "plane:\n[[1-1]]\n\n");
    EXPECT_EQ(dump(floats.data(), 3, 0, 3, 2), "plane:\n[[ 0.00 -1.50 12.35]\n [ 4.00  5.00  6.00]]\n\n");
    EXPECT_EQ(dump(ints.data(), 5, 2, 1, 2), "plane:\n[[-70000 [6\n");
    EXPECT_EQ(dump(bytes.data(), 4, 1, 2, 2), "plane:\n[[[4 5 6]\n [7 8 9]]\n\n[[16 17 18]\n [19 20 21]]\n\n\n");
    Log log;
    EXPECT_EQ(Alg_GetRegionData(name, ints.data(), 5, 0, 0, 4, 1, 4, 2, log), -1);
    EXPECT_EQ(Alg_GetRegionData(name, ints.data(), 5, 0, 0, 3, 2, 4, 2, log), -1);
    EXPECT_EQ(Alg_GetRegionData(name, ints.data(), 6, 0, 0, 1, 1, 4, 2, log), -1);
    EXPECT_STREQ(log.text, "region position error.\nregion position error.\nplane:\ndata type error.\n");
}

}  // namespace
