// Rows of the sharpener: of gamma codes in the parallel form, of 8-bit tones in the reference form.
#ifndef ORV_PIPELINE_PARALLEL_SHARPENROWS_H
#define ORV_PIPELINE_PARALLEL_SHARPENROWS_H

#include "pipeline/Arithmetic.h"
#include "rows/Avx2.h"

namespace orv {

// Weighted sums 1-2-1 of samples two columns apart, on columns [2, n - 2).
ORV_ALWAYS_INLINE void SumAlongBody(const int16_t* code, int n, int16_t* sum) {
#pragma omp simd
    for (int x = 2; x < n - 2; ++x) {
        sum[x] = static_cast<int16_t>(code[x - 2] + 2 * code[x] + code[x + 2]);
    }
}
ORV_ROW_FUNCTION(SumAlong, (const int16_t* code, int n, int16_t* sum), (code, n, sum))

// Edge response on columns [1, n - 1), to a cross and to a diagonal one.
ORV_ALWAYS_INLINE void EdgeResponseBody(const int16_t* up, const int16_t* mid, const int16_t* down, int n,
                                        int16_t* edge) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const auto cross = static_cast<int16_t>(down[x] + up[x] - (mid[x + 1] + mid[x - 1]));
        const auto diagonal = static_cast<int16_t>(down[x + 1] + up[x - 1] - (down[x - 1] + up[x + 1]));
        edge[x] = static_cast<int16_t>(static_cast<int16_t>(Abs(cross)) + static_cast<int16_t>(Abs(diagonal)));
    }
}
ORV_ROW_FUNCTION(EdgeResponse, (const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* edge),
                 (up, mid, down, n, edge))

// Mean of the surroundings, from three rows of sums.
ORV_ALWAYS_INLINE void LowpassOfSumsBody(const int16_t* up, const int16_t* mid, const int16_t* down, int n,
                                         int16_t* low) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        low[x] = static_cast<int16_t>(static_cast<int16_t>(up[x] + 2 * mid[x] + down[x]) >> 4);
    }
}
ORV_ROW_FUNCTION(LowpassOfSums, (const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* low),
                 (up, mid, down, n, low))

ORV_ALWAYS_INLINE void BrightenRowBody(const int16_t* add, int n, int16_t* color) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        color[x] = Min(static_cast<int16_t>(color[x] + add[x]), static_cast<int16_t>(4095));
    }
}
ORV_ROW_FUNCTION(BrightenRow, (const int16_t* add, int n, int16_t* color), (add, n, color))

// What the sharpener knows of a run of pixels, and their entries of its two tables.
template <class Noisy>
struct DetailSources {
    const Noisy* noisy;      // pan with its noise
    const int16_t* clean;    // cleaned pan
    const int16_t* lowpass;  // its surroundings
    const int16_t* edge;     // its edge response
    const float* threshold;
    const float* restore;
};

// A share of the noise is given back, and what sticks out of the surroundings amplified.
template <class Noisy>
ORV_ALWAYS_INLINE float DetailOf(const DetailSources<Noisy>& in, float maxSharpen, int x) {
    const float gain = SharpenGain(in.edge[x], in.threshold[x], maxSharpen);
    return Fma(static_cast<float>(in.noisy[x] - in.clean[x]), in.restore[x],
               static_cast<float>(in.clean[x] - in.lowpass[x]) * gain);
}

// As a gamma code, none below 0.
ORV_ALWAYS_INLINE void DetailCodesBody(const DetailSources<int16_t>& row, float maxSharpen, int n, int16_t* detail) {
    const auto in = row;
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        detail[x] = static_cast<int16_t>(TruncateClamped(DetailOf(in, maxSharpen, x), 0.0F, 1023.0F));
    }
}

// Added to the tones of three colours.
ORV_ALWAYS_INLINE void AddDetailBody(const DetailSources<uint8_t>& row, float maxSharpen, int n,
                                     int16_t* const* tones) {
    const auto in = row;
    for (int c = 0; c < 3; ++c) {
        int16_t* tone = tones[c];
#pragma omp simd
        for (int x = 0; x < n; ++x) {
            const float sum = static_cast<float>(tone[x]) + DetailOf(in, maxSharpen, x);
            tone[x] = static_cast<int16_t>(TruncateClamped(sum, 0.0F, 255.0F));
        }
    }
}

#if defined(__x86_64__)
// Lines are read and written in full vectors; what stands behind n does not count.

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256 FloatsOf(__m256i words, int half) {
    return _mm256_cvtepi32_ps(WidenHalf(words, half));
}

// Sixteen values of DetailOf.
struct DetailSixteen {
    __m256 half[2];

    template <class Noisy>
    ORV_TARGET_AVX2 ORV_ALWAYS_INLINE DetailSixteen(const DetailSources<Noisy>& in, __m256 maxSharpen, int x) {
        const __m256i clean = Words(in.clean + x);
        const __m256i edge = Words(in.edge + x);
        const __m256i noise = _mm256_sub_epi16(Words(in.noisy + x), clean);
        const __m256i excess = _mm256_sub_epi16(clean, Words(in.lowpass + x));
        for (int k = 0; k < 2; ++k) {
            const int at = x + 8 * k;
            const __m256 ratio = _mm256_div_ps(FloatsOf(edge, k), _mm256_load_ps(in.threshold + at));
            __m256 gain = _mm256_max_ps(_mm256_sub_ps(ratio, _mm256_set1_ps(1.0F)), _mm256_setzero_ps());
            gain = _mm256_min_ps(maxSharpen, gain);
            half[k] = _mm256_fmadd_ps(FloatsOf(noise, k), _mm256_load_ps(in.restore + at),
                                      _mm256_mul_ps(FloatsOf(excess, k), gain));
        }
    }
};

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void DetailCodesBodyAvx2(const DetailSources<int16_t>& row, float maxSharpen, int n,
                                                           int16_t* detail) {
    const auto in = row;
    for (int x = 0; x < n; x += 16) {
        const DetailSixteen value(in, _mm256_set1_ps(maxSharpen), x);
        _mm256_store_si256(reinterpret_cast<__m256i*>(detail + x),
                           PackInOrder(value.half[0], value.half[1], _mm256_set1_ps(1023.0F)));
    }
}

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void AddDetailBodyAvx2(const DetailSources<uint8_t>& row, float maxSharpen, int n,
                                                         int16_t* const* tones) {
    const auto in = row;
    for (int x = 0; x < n; x += 16) {
        const DetailSixteen value(in, _mm256_set1_ps(maxSharpen), x);
        for (int c = 0; c < 3; ++c) {
            int16_t* tone = tones[c] + x;
            const __m256i words = Words(tone);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(tone),
                                PackInOrder(_mm256_add_ps(FloatsOf(words, 0), value.half[0]),
                                            _mm256_add_ps(FloatsOf(words, 1), value.half[1]), _mm256_set1_ps(255.0F)));
        }
    }
}
#endif

ORV_ROW_FUNCTION_TUNED(DetailCodes, (const DetailSources<int16_t>& row, float maxSharpen, int n, int16_t* detail),
                       (row, maxSharpen, n, detail))
ORV_ROW_FUNCTION_TUNED(AddDetail, (const DetailSources<uint8_t>& row, float maxSharpen, int n, int16_t* const* tones),
                       (row, maxSharpen, n, tones))

}  // namespace orv

#endif
