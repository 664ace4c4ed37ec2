#include "rows/Simd.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "rows/Avx2.h"
#include "support/Levels.h"
#include "support/Noise.h"

namespace {

ORV_ALWAYS_INLINE void FmaFloatsBody(const float* a, const float* b, const float* c, int n, float* out) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        out[i] = orv::Fma(a[i], b[i], c[i]);
    }
}
ORV_ROW_FUNCTION(FmaFloats, (const float* a, const float* b, const float* c, int n, float* out), (a, b, c, n, out))

ORV_ALWAYS_INLINE void ProductPlusBody(const float* a, const float* b, const float* c, int n, float* out) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        out[i] = a[i] * b[i] + c[i];
    }
}
ORV_ROW_FUNCTION(ProductPlus, (const float* a, const float* b, const float* c, int n, float* out), (a, b, c, n, out))

template <class Float>
ORV_ALWAYS_INLINE void TruncateBody(const Float* in, int n, int32_t* out) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        out[i] = orv::TruncateToInt32(in[i]);
    }
}
ORV_ROW_TEMPLATE_WIDE((class Float), (Float), Truncate, (const Float* in, int n, int32_t* out), (in, n, out))

ORV_ALWAYS_INLINE void TruncateBoundedBody(const double* in, int n, int32_t* out) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        out[i] = orv::TruncateClamped(in[i], 0.0, 4095.0);
    }
}
ORV_ROW_FUNCTION(TruncateBounded, (const double* in, int n, int32_t* out), (in, n, out))

// Rounded once: two roundings, or double precision narrowed, give the next float above.
TEST(SimdRows, FmaRoundsOnceAndSumsOfProductsTwice) {
    constexpr int n = 19;
    const std::vector<float> a(n, 0x1.000002p-12F), b(n, 0x1.fffffcp-13F), c(n, 0x1.000002p0F);
    std::vector<float> out(n);
    orvtest::AtEveryLevel([&] {
        FmaFloats(a.data(), b.data(), c.data(), n, out.data());
        EXPECT_EQ(std::vector<float>(n, 0x1.000002p0F), out);
        ProductPlus(a.data(), b.data(), c.data(), n, out.data());
        EXPECT_EQ(std::vector<float>(n, 0x1.000004p0F), out);
    });
}

template <class Float>
std::vector<Float> Edges() {
    constexpr double kInf = std::numeric_limits<double>::infinity(), kNan = std::numeric_limits<double>::quiet_NaN();
    std::vector<Float> v;
    for (const double edge : {0.0, -0.0, 1.4e-45, 0.5, -0.999, 4094.999, 4095.0, 4096.0, 1e30, -1e30, 2147483520.0,
                              2147483647.9, 2147483648.0, -2147483648.0, -2147483904.0, kInf, -kInf, kNan, -kNan}) {
        v.push_back(static_cast<Float>(edge));
    }
    orvtest::Noise noise(3);
    for (int i = 0; i < 200; ++i) {
        v.push_back(static_cast<Float>(noise.Next()) / static_cast<Float>(1 << noise.Below(30)) - Float(1000));
    }
    return v;
}

template <class Float>
void ExpectTruncation() {
    const std::vector<Float> in = Edges<Float>();
    std::vector<int32_t> out(in.size());
    Truncate<Float>(in.data(), static_cast<int>(in.size()), out.data());
    for (size_t i = 0; i < in.size(); ++i) {
        const double x = in[i];
        const double bound = std::fmin(std::fmax(x, -2147483648.0), 2147483647.0);
        EXPECT_EQ(std::isnan(x) ? 0 : static_cast<int32_t>(std::trunc(bound)), out[i]) << x;
    }
}
TEST(SimdRows, TruncationSaturates) {
    orvtest::AtEveryLevel([] {
        ExpectTruncation<float>();
        ExpectTruncation<double>();
    });
}

TEST(SimdRows, BoundedTruncationIsTruncationThenClamp) {
    const std::vector<double> in = Edges<double>();
    std::vector<int32_t> out(in.size());
    orvtest::AtEveryLevel([&] {
        TruncateBounded(in.data(), static_cast<int>(in.size()), out.data());
        for (size_t i = 0; i < in.size(); ++i) {
            EXPECT_EQ(orv::Clamp(orv::TruncateToInt32(in[i]), 0, 4095), out[i]) << in[i];
        }
    });
}

#if defined(__x86_64__)
ORV_TARGET_AVX2 void Means(const int32_t* sums, int32_t count, int32_t* means) {
    const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sums));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(means), orv::MeanOfEight(eight, _mm256_set1_epi32(count)));
}

// Sums at and beside multiples of every count, over the range of int.
TEST(MeanOfEight, DividesExactly) {
    if (orv::BestSimdLevel() < orv::SimdLevel::Avx2) {
        GTEST_SKIP() << "no AVX2";
    }
    for (int count = 2; count <= 9; ++count) {
        for (int64_t quotient = 1; quotient * count + 4 < (int64_t{1} << 31); quotient = quotient * 5 / 4 + 1) {
            int32_t sums[8], means[8];
            for (int k = 0; k < 8; ++k) {
                sums[k] = static_cast<int32_t>((quotient * count + k % 4 - 1) * (k < 4 ? 1 : -1));
            }
            Means(sums, count, means);
            for (int k = 0; k < 8; ++k) {
                ASSERT_EQ(means[k], sums[k] / count) << sums[k] << " / " << count;
            }
        }
    }
}
#endif

}  // namespace
