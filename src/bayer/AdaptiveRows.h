// Row functions of the adaptive Bayer engines.
#ifndef ORV_BAYER_ADAPTIVEROWS_H
#define ORV_BAYER_ADAPTIVEROWS_H

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "bayer/WindowSums.h"
#include "rows/Simd.h"

namespace orv {

// Gradients of a row of sites: one across a1 and a2, one across b1 and b2.
template <class G>
ORV_ALWAYS_INLINE void GradientRowBody(const uint16_t* a1, const uint16_t* a2, const uint16_t* b1, const uint16_t* b2,
                                       int n, G* first, G* second) {
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        // In 16-bit lanes.
        const uint16_t highA = a1[k] > a2[k] ? a1[k] : a2[k];
        const uint16_t lowA = a1[k] > a2[k] ? a2[k] : a1[k];
        const uint16_t highB = b1[k] > b2[k] ? b1[k] : b2[k];
        const uint16_t lowB = b1[k] > b2[k] ? b2[k] : b1[k];
        first[k] = static_cast<G>(static_cast<uint16_t>(highA - lowA));
        second[k] = static_cast<G>(static_cast<uint16_t>(highB - lowB));
    }
}
ORV_ROW_TEMPLATE_WIDE((class G), (G), GradientRow,
                      (const uint16_t* a1, const uint16_t* a2, const uint16_t* b1, const uint16_t* b2, int n, G* first,
                       G* second),
                      (a1, a2, b1, b2, n, first, second))

// x / area, rounded as a division does, from `inverse`, the rounded 1 / area. The area is odd and below 2^20, x is a
// whole number.
//
// The first quotient is off by less than 2^-22 of x / area, so `rest` is exact: a multiple of the quotient's last
// place, fewer than 4 * area of them. The sum is off by less than 2^-45 of x / area before it is rounded. That crosses
// no m half way between two floats: m is an odd multiple of its last place, of 25 bits, and so is m * area, of 25 bits
// or more. x has 24 bits, so it is a multiple of that place where it is near m * area, but never equal: the two are
// apart by one place at least, which is more than 2^-45 of m * area.
ORV_ALWAYS_INLINE float Quotient(float x, float area, float inverse) {
    const float quotient = x * inverse;
    const float rest = Fma(-area, quotient, x);
    return Fma(rest, inverse, quotient);
}

// One row of a pass; N is the type of a neighbour.
template <class S, class N>
struct BlendArgs {
    ScaleRow<S> scales[3];
    // Two neighbours of each site along a, two along b: samples, or differences of green and colour.
    const N* a1;
    const N* a2;
    const N* b1;
    const N* b2;
    const uint16_t* green;
    int low, high;   // within 16 bits for sums of bytes
    int first, end;  // sites
    uint16_t* out;
    S* keep;  // takes second sums of the first scale where they are in single precision
};

// Mean of the neighbours, each direction weighted by the inverse fourth power of its window sum, a half added for
// rounding. The sums are those of the scale whose directions differ most per site; the smaller scale on a tie.
//
// `Difference`: the mean is one of differences to green, and is taken off the site's green; the sample is bound to
// [low, high]. Sums of two neighbours are exact in single precision.
//
// `Contrast` is float for sums that need a rounded quotient. Sums of bytes are compared by products instead: unequal
// quotients differ by more than a division rounds. The integer type must hold sum times area.
template <class S, class Contrast, class N, int Scales, bool Difference>
ORV_ALWAYS_INLINE void BlendRowBody(const BlendArgs<S, N>* args) {
    constexpr bool kBytes = sizeof(S) == 2;
    const BlendArgs<S, N> row = *args;
    const ScaleRow<S> s0 = row.scales[0];
    const ScaleRow<S> s1 = row.scales[1];
    const ScaleRow<S> s2 = row.scales[Scales - 1];
    const int16_t low16 = static_cast<int16_t>(row.low);
    const int16_t high16 = static_cast<int16_t>(row.high);
    const float area0 = *s0.area;
    const float area1 = *s1.area;
    const float area2 = *s2.area;
    const float inverse0 = 1.0F / area0;
    const float inverse1 = 1.0F / area1;
    const float inverse2 = 1.0F / area2;
#pragma omp simd
    for (int k = row.first; k < row.end; ++k) {
        float a = 0.0F;
        float b = 0.0F;
        float alongA = 0.0F;
        float alongB = 0.0F;
        if constexpr (kBytes) {
            const int16_t difference0 = static_cast<int16_t>(s0.a[k] - s0.b[k]);
            const int16_t difference1 = static_cast<int16_t>(s1.a[k] - s1.b[k]);
            const int16_t d0 = static_cast<int16_t>(difference0 < 0 ? -difference0 : difference0);
            const int16_t d1 = static_cast<int16_t>(difference1 < 0 ? -difference1 : difference1);
            const Contrast product0 = static_cast<Contrast>(d0 * static_cast<int16_t>(s1.area[k]));
            const Contrast product1 = static_cast<Contrast>(d1 * static_cast<int16_t>(s0.area[k]));
            const bool take = product0 < product1;
            const uint16_t sumA = take ? s1.a[k] : s0.a[k];
            const uint16_t sumB = take ? s1.b[k] : s0.b[k];
            a = sumA;
            b = sumB;
            alongA = static_cast<int16_t>(row.a1[k] + row.a2[k]);
            alongB = static_cast<int16_t>(row.b1[k] + row.b2[k]);
        } else {
            const float a0 = WindowSum(s0.a, k);
            const float b0 = WindowSum(s0.b, k);
            const float a1 = WindowSum(s1.a, k);
            const float b1 = WindowSum(s1.b, k);
            row.keep[k] = b0;
            const float contrast0 = Quotient(__builtin_fabsf(a0 - b0), area0, inverse0);
            const float contrast1 = Quotient(__builtin_fabsf(a1 - b1), area1, inverse1);
            const bool take = contrast0 < contrast1;
            a = take ? a1 : a0;
            b = take ? b1 : b0;
            if (Scales == 3) {
                const float a2 = WindowSum(s2.a, k);
                const float b2 = WindowSum(s2.b, k);
                const float best = take ? contrast1 : contrast0;
                const float contrast2 = Quotient(__builtin_fabsf(a2 - b2), area2, inverse2);
                a = best < contrast2 ? a2 : a;
                b = best < contrast2 ? b2 : b;
            }
            alongA = static_cast<float>(row.a1[k] + row.a2[k]);
            alongB = static_cast<float>(row.b1[k] + row.b2[k]);
        }
        a *= a;
        b *= b;
        const float weightA = 1.0F / Fma(a, a, 1.0F);
        const float weightB = 1.0F / Fma(b, b, 1.0F);
        const float n = Fma(weightA, alongA, alongB * weightB);
        const float d = (2.0F * weightA + weightB) + weightB;  // 2 * weightA is exact
        const float mean = n / d + 0.5F;
        if constexpr (kBytes) {
            // A mean of bytes or of their differences: weights of such sums do not vanish.
            int16_t v = static_cast<int16_t>(static_cast<int32_t>(mean));
            if (Difference) {
                v = static_cast<int16_t>(row.green[k] - v);
                v = v > high16 ? high16 : v > low16 ? v : low16;
            }
            row.out[k] = static_cast<uint16_t>(v & 255);
        } else {
            // Not-a-number when both weights vanish.
            int v = TruncateSmallToInt32(mean);
            if (Difference) {
                v = row.green[k] - v;
                v = v > row.high ? row.high : v > row.low ? v : row.low;
            }
            row.out[k] = static_cast<uint16_t>(v);
        }
    }
}
ORV_ROW_TEMPLATE_WIDE((class S, class Contrast, class N, int Scales, bool Difference),
                      (S, Contrast, N, Scales, Difference), BlendRow, (const BlendArgs<S, N>* args), (args))

// Green less colour.
template <class N>
ORV_ALWAYS_INLINE void DifferenceRowBody(const uint16_t* green, const uint16_t* colour, int n, N* out) {
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        out[k] = static_cast<N>(green[k] - colour[k]);
    }
}
ORV_ROW_TEMPLATE_WIDE((class N), (N), DifferenceRow, (const uint16_t* green, const uint16_t* colour, int n, N* out),
                      (green, colour, n, out))

// Splits a row into its even and its odd columns.
template <class T>
ORV_ALWAYS_INLINE void SplitColumnsBody(const T* row, int n, uint16_t* even, uint16_t* odd) {
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        even[k] = row[2 * k];
        odd[k] = row[2 * k + 1];
    }
}
ORV_ROW_TEMPLATE((class T), (T), SplitColumns, (const T* row, int n, uint16_t* even, uint16_t* odd),
                 (row, n, even, odd))

template <class T>
ORV_ALWAYS_INLINE void JoinColumnsBody(const uint16_t* even, const uint16_t* odd, int n, T* row) {
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        row[2 * k] = static_cast<T>(even[k]);
        row[2 * k + 1] = static_cast<T>(odd[k]);
    }
}
ORV_ROW_TEMPLATE((class T), (T), JoinColumns, (const uint16_t* even, const uint16_t* odd, int n, T* row),
                 (even, odd, n, row))

// A row of pixels from its even and its odd columns, by channel.
template <class T>
struct PackArgs {
    const uint16_t* even[3];
    const uint16_t* odd[3];
    int n;
    T* out;
};

// From pixel x on, an even one.
template <class T>
ORV_ALWAYS_INLINE void PackFrom(int x, const PackArgs<T>& row) {
    for (; x < row.n; ++x) {
        const uint16_t* const* planes = (x & 1) == 0 ? row.even : row.odd;
        for (int i = 0; i < 3; ++i) {
            row.out[3 * x + i] = static_cast<T>(planes[i][x >> 1]);
        }
    }
}

template <class T>
ORV_ALWAYS_INLINE void PackRowBody(const PackArgs<T>* args) {
    PackFrom(0, *args);
}

#if defined(__x86_64__)
// By hand: the compiler takes three times as many shuffles.

// Three rows of words taken in turn, in each 128-bit lane: the first, second and third eight words of its 24. Word j of
// row i belongs at 3 * j + i, which is one place of eight each, so that one shuffle per row and blends do.
struct Turns {
    __m256i first, second, third;
};
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE Turns TakeInTurn(__m256i a, __m256i b, __m256i c) {
    a = _mm256_shuffle_epi8(
        a, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5, 10, 11)));
    b = _mm256_shuffle_epi8(
        b, _mm256_broadcastsi128_si256(_mm_setr_epi8(10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5)));
    c = _mm256_shuffle_epi8(
        c, _mm256_broadcastsi128_si256(_mm_setr_epi8(4, 5, 10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15)));
    return {_mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x92), c, 0x24),
            _mm256_blend_epi16(_mm256_blend_epi16(c, a, 0x92), b, 0x24),
            _mm256_blend_epi16(_mm256_blend_epi16(b, c, 0x92), a, 0x24)};
}

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i LoadWords(const uint16_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void StoreWords(__m128i words, void* to) {
    _mm_storeu_si128(static_cast<__m128i*>(to), words);
}
// One lane after the other.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void StoreTurns(const Turns& t, uint8_t* low, uint8_t* high) {
    StoreWords(_mm256_castsi256_si128(t.first), low);
    StoreWords(_mm256_castsi256_si128(t.second), low + 16);
    StoreWords(_mm256_castsi256_si128(t.third), low + 32);
    StoreWords(_mm256_extracti128_si256(t.first, 1), high);
    StoreWords(_mm256_extracti128_si256(t.second, 1), high + 16);
    StoreWords(_mm256_extracti128_si256(t.third, 1), high + 32);
}

// 32 pixels from x on.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void PackPixels(const PackArgs<uint8_t>& row, int x) {
    // Two pixels are three words.
    const int k = x / 2;
    const __m256i a = _mm256_or_si256(LoadWords(row.even[0] + k), _mm256_slli_epi16(LoadWords(row.even[1] + k), 8));
    const __m256i b = _mm256_or_si256(LoadWords(row.even[2] + k), _mm256_slli_epi16(LoadWords(row.odd[0] + k), 8));
    const __m256i c = _mm256_or_si256(LoadWords(row.odd[1] + k), _mm256_slli_epi16(LoadWords(row.odd[2] + k), 8));
    uint8_t* out = row.out + 3 * x;
    StoreTurns(TakeInTurn(a, b, c), out, out + 48);
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void PackPixels(const PackArgs<uint16_t>& row, int x) {
    __m256i low[3];   // pixels 0 to 7 and 16 to 23
    __m256i high[3];  // 8 to 15 and 24 to 31
    for (int i = 0; i < 3; ++i) {
        const __m256i even = LoadWords(row.even[i] + x / 2);
        const __m256i odd = LoadWords(row.odd[i] + x / 2);
        low[i] = _mm256_unpacklo_epi16(even, odd);
        high[i] = _mm256_unpackhi_epi16(even, odd);
    }
    uint8_t* out = reinterpret_cast<uint8_t*>(row.out + 3 * x);
    StoreTurns(TakeInTurn(low[0], low[1], low[2]), out, out + 96);
    StoreTurns(TakeInTurn(high[0], high[1], high[2]), out + 48, out + 144);
}

template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void PackRowBodyAvx2(const PackArgs<T>* args) {
    const PackArgs<T> row = *args;
    int x = 0;
    for (; x + 32 <= row.n; x += 32) {
        PackPixels(row, x);
    }
    PackFrom(x, row);
}
#endif
ORV_ROW_TEMPLATE_TUNED((class T), (T), PackRow, (const PackArgs<T>* args), (args))

}  // namespace orv

#endif
