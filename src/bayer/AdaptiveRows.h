// Row functions of the adaptive Bayer engines.
#ifndef ORV_BAYER_ADAPTIVEROWS_H
#define ORV_BAYER_ADAPTIVEROWS_H

#include "rows/Avx2.h"

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

// 32 pixels from x on.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void PackPixels(const PackArgs<uint8_t>& row, int x) {
    // Two pixels are three words.
    const int k = x / 2;
    const __m256i a = _mm256_or_si256(Words(row.even[0] + k), _mm256_slli_epi16(Words(row.even[1] + k), 8));
    const __m256i b = _mm256_or_si256(Words(row.even[2] + k), _mm256_slli_epi16(Words(row.odd[0] + k), 8));
    const __m256i c = _mm256_or_si256(Words(row.odd[1] + k), _mm256_slli_epi16(Words(row.odd[2] + k), 8));
    StoreInterleaved<uint16_t>(a, b, c, reinterpret_cast<uint16_t*>(row.out + 3 * x));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void PackPixels(const PackArgs<uint16_t>& row, int x) {
    __m256i low[3];
    __m256i high[3];
    for (int i = 0; i < 3; ++i) {
        const __m256i even = Words(row.even[i] + x / 2);
        const __m256i odd = Words(row.odd[i] + x / 2);
        const __m256i outer = _mm256_unpacklo_epi16(even, odd);  // pixels 0 to 7 and 16 to 23
        const __m256i inner = _mm256_unpackhi_epi16(even, odd);  // 8 to 15 and 24 to 31
        low[i] = _mm256_permute2x128_si256(outer, inner, 0x20);
        high[i] = _mm256_permute2x128_si256(outer, inner, 0x31);
    }
    StoreInterleaved<uint16_t>(low[0], low[1], low[2], row.out + 3 * x);
    StoreInterleaved<uint16_t>(high[0], high[1], high[2], row.out + 3 * x + 48);
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
