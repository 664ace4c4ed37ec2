// Steps of row functions that are written by hand for AVX2.
#ifndef ORV_ROWS_AVX2_H
#define ORV_ROWS_AVX2_H

#if defined(__x86_64__)
#include <immintrin.h>

#include "rows/Simd.h"

namespace orv {

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Words(const int16_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Words(const uint16_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Words(const uint8_t* at) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Longs(const int32_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Widen(const int16_t* at) {
    return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Widen(const uint16_t* at) {
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i WidenHalf(__m256i words, int half) {
    return _mm256_cvtepi16_epi32(half == 0 ? _mm256_castsi256_si128(words) : _mm256_extracti128_si256(words, 1));
}

// Of every three samples one from each vector, in their places within the half vectors.
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i OneOfThree(__m256i a, __m256i b, __m256i c) {
    if (sizeof(T) == 2) {
        return _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x92), c, 0x24);
    }
    const __m256i second =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0));
    const __m256i third =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0));
    return _mm256_blendv_epi8(_mm256_blendv_epi8(a, b, second), c, third);
}

// Stores three channels, a vector of each, as pixels of three samples.
//
// Sample i of a channel stands at place 3 * i + channel of the pixels. Modulo the samples of a half vector these places
// are all different: one shuffle puts each sample where it belongs in one of three vectors, blends choose it there.
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void StoreInterleaved(__m256i first, __m256i second, __m256i third, T* out) {
    const __m128i bytes = _mm_setr_epi8(0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5);
    const __m128i words = _mm_setr_epi8(0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5, 10, 11);
    const __m128i at0 = sizeof(T) == 1 ? bytes : words;
    const __m128i at1 = _mm_alignr_epi8(at0, at0, 16 - sizeof(T));
    const __m128i at2 = _mm_alignr_epi8(at0, at0, 16 - 2 * sizeof(T));
    const __m256i a = _mm256_shuffle_epi8(first, _mm256_broadcastsi128_si256(at0));
    const __m256i b = _mm256_shuffle_epi8(second, _mm256_broadcastsi128_si256(at1));
    const __m256i c = _mm256_shuffle_epi8(third, _mm256_broadcastsi128_si256(at2));
    // A vector of bytes ends within the first sample of a pixel, one of words within the second.
    const __m256i start = OneOfThree<T>(a, b, c);
    const __m256i middle = sizeof(T) == 1 ? OneOfThree<T>(b, c, a) : OneOfThree<T>(c, a, b);
    const __m256i end = sizeof(T) == 1 ? OneOfThree<T>(c, a, b) : OneOfThree<T>(b, c, a);
    auto* vectors = reinterpret_cast<__m256i*>(out);
    _mm256_storeu_si256(vectors, _mm256_permute2x128_si256(start, middle, 0x20));
    _mm256_storeu_si256(vectors + 1, _mm256_blend_epi32(end, start, 0xF0));
    _mm256_storeu_si256(vectors + 2, _mm256_permute2x128_si256(middle, end, 0x31));
}

// sum / count for counts of 2 to 9 and any sums, for a count of 1 and a sum of 0. The factors, by the low three bits of
// the count, are 2^(32 + shift) / count rounded up. A factor is too large by e / count with e = 1, 1, 2, 5, 4 for
// counts of 3, 5, 6, 7, 9, which leaves quotients exact as long as e * |sum| stays below 2^(32 + shift).
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i MeanOfEight(__m256i sum, __m256i count) {
    const __m256i factors =
        _mm256_setr_epi32(1 << 29, static_cast<int32_t>(3817748708U), static_cast<int32_t>(1U << 31),
                          static_cast<int32_t>(2863311531U), 1 << 30, static_cast<int32_t>(3435973837U),
                          static_cast<int32_t>(2863311531U), static_cast<int32_t>(2454267027U));
    const __m256i shifts = _mm256_setr_epi32(0, 3, 0, 1, 0, 2, 2, 2);
    const __m256i factor = _mm256_permutevar8x32_epi32(factors, count);
    const __m256i magnitude = _mm256_abs_epi32(sum);
    const __m256i even = _mm256_mul_epu32(magnitude, factor);
    const __m256i odd = _mm256_mul_epu32(_mm256_srli_epi64(magnitude, 32), _mm256_srli_epi64(factor, 32));
    const __m256i high = _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xAA);
    return _mm256_sign_epi32(_mm256_srlv_epi32(high, _mm256_permutevar8x32_epi32(shifts, count)), sum);
}

// The sum of Mix for eight pixels; `k` has the factors of red, green and blue.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256 MixEight(__m256 r, __m256 g, __m256 b, const __m256* k) {
    return _mm256_fmadd_ps(b, k[2], _mm256_fmadd_ps(r, k[0], _mm256_mul_ps(g, k[1])));
}

// Truncated between 0 and `high`, packed within the halves of the vectors. Not-a-number passes the bound; like
// everything below the range of int32 it converts to the least int32, which the unsigned packing takes to 0. By hand,
// since the compiler keeps the comparisons of a bound apart from its selections.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i PackTruncated(__m256 first, __m256 second, __m256 high) {
    return _mm256_packus_epi32(_mm256_cvttps_epi32(_mm256_min_ps(high, first)),
                               _mm256_cvttps_epi32(_mm256_min_ps(high, second)));
}
// The same in the order of the pixels.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i PackInOrder(__m256 first, __m256 second, __m256 high) {
    return _mm256_permute4x64_epi64(PackTruncated(first, second, high), 0xD8);
}

}  // namespace orv

#endif
#endif
