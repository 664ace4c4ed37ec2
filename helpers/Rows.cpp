// Rows of results to other depths and channel counts.
#include "Words.h"
#include "rows/Simd.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orv::helpers {
namespace {

// Samples beyond the depth count as its largest.
template <int Bits>
ORV_ALWAYS_INLINE uint16_t Bounded(uint16_t v) {
    constexpr uint16_t top = static_cast<uint16_t>((1U << Bits) - 1U);
    return v < top ? v : top;
}

template <int Bits>
ORV_ALWAYS_INLINE void UpperBitsBody(const uint16_t* in, int64_t n, uint8_t* out) {
#pragma omp simd
    for (int64_t i = 0; i < n; ++i) {
        out[i] = static_cast<uint8_t>(Bounded<Bits>(in[i]) >> (Bits - 8));
    }
}
ORV_ROW_TEMPLATE((int Bits), (Bits), UpperBits, (const uint16_t* in, int64_t n, uint8_t* out), (in, n, out))

template <int Bits>
ORV_ALWAYS_INLINE void SpreadBody(const uint16_t* in, int64_t n, uint16_t* out) {
#pragma omp simd
    for (int64_t i = 0; i < n; ++i) {
        const uint16_t v = Bounded<Bits>(in[i]);
        out[i] = static_cast<uint16_t>(v << (16 - Bits) | v >> (2 * Bits - 16));
    }
}
ORV_ROW_TEMPLATE((int Bits), (Bits), Spread, (const uint16_t* in, int64_t n, uint16_t* out), (in, n, out))

template <class T>
ORV_ALWAYS_INLINE void AddAlphaBody(const T* in, T alpha, int64_t n, T* out) {
    for (int64_t i = 0; i < n; ++i) {
        out[4 * i] = in[3 * i];
        out[4 * i + 1] = in[3 * i + 1];
        out[4 * i + 2] = in[3 * i + 2];
        out[4 * i + 3] = alpha;
    }
}

#if defined(__x86_64__)
// 32 bytes of result from 24 of source at a time.
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void AddAlphaBodyAvx2(const T* in, T alpha, int64_t n, T* out) {
    constexpr int kPixels = 8 / static_cast<int>(sizeof(T));
    const __m256i bytes = _mm256_broadcastsi128_si256(
        sizeof(T) == 1 ? _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)
                       : _mm_setr_epi8(0, 1, 2, 3, 4, 5, -1, -1, 6, 7, 8, 9, 10, 11, -1, -1));
    const __m256i fourth = sizeof(T) == 1
                               ? _mm256_set1_epi32(static_cast<int32_t>(static_cast<uint32_t>(alpha) << 24))
                               : _mm256_set1_epi64x(static_cast<int64_t>(static_cast<uint64_t>(alpha) << 48));
    for (; n * 3 * static_cast<int64_t>(sizeof(T)) >= 28; n -= kPixels) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 12 / sizeof(T)));
        const __m256i pixels = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), bytes);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_or_si256(pixels, fourth));
        in += 3 * kPixels;
        out += 4 * kPixels;
    }
    AddAlphaBody(in, alpha, n, out);
}
#endif
ORV_ROW_TEMPLATE_TUNED((class T), (T), AddAlpha, (const T* in, T alpha, int64_t n, T* out), (in, alpha, n, out))

// Whether rows of `bytes` bytes may stand `stride` apart, made of samples of `sampleBytes`.
bool FitsStride(int64_t stride, int64_t bytes, int64_t sampleBytes) {
    return (stride >= bytes || stride <= -bytes) && stride % sampleBytes == 0;
}

// Calls `row(from, to)` for all rows. Null pointers are fine where there is nothing to do.
template <class From, class To, class Row>
uint32_t ForEachRow(const From* source, int64_t sourceStride, int64_t sourceSamples, To* destination,
                    int64_t destinationStride, int64_t destinationSamples, int64_t rows, const Row& row) {
    const auto sourceSample = static_cast<int64_t>(sizeof(From));
    const auto destinationSample = static_cast<int64_t>(sizeof(To));
    if (rows < 0 || sourceSamples < 0 || sourceSamples > kMaxCount ||
        !FitsStride(sourceStride, sourceSamples * sourceSample, sourceSample) ||
        !FitsStride(destinationStride, destinationSamples * destinationSample, destinationSample)) {
        return kBadArgument;
    }
    if (rows == 0 || sourceSamples == 0) {
        return 0;
    }
    if (source == nullptr || destination == nullptr) {
        return kBadArgument;
    }
    for (int64_t y = 0; y < rows; ++y) {
        row(source + y * (sourceStride / sourceSample), destination + y * (destinationStride / destinationSample));
    }
    return 0;
}

// The member of a family of row functions for a depth; null for other depths.
template <class Function>
Function ByDepth(int bits, const Function (&functions)[5]) {
    return bits >= 8 && bits <= 16 && bits % 2 == 0 ? functions[(bits - 8) / 2] : nullptr;
}

template <class T>
uint32_t AddAlphaRows(const T* source, int64_t sourceStride, T* destination, int64_t destinationStride, int64_t pixels,
                      int64_t rows, T alpha) {
    if (pixels < 0 || pixels > kMaxCount) {
        return kBadArgument;
    }
    return ForEachRow(source, sourceStride, 3 * pixels, destination, destinationStride, 4 * pixels, rows,
                      [&](const T* from, T* to) { AddAlpha<T>(from, alpha, pixels, to); });
}

}  // namespace
}  // namespace orv::helpers

using namespace orv::helpers;

uint32_t OrvRows_To8(const uint16_t* source, int64_t sourceStride, uint8_t* destination, int64_t destinationStride,
                     int64_t samples, int64_t rows, int bits) {
    using Function = void (*)(const uint16_t*, int64_t, uint8_t*);
    const auto convert =
        ByDepth<Function>(bits, {UpperBits<8>, UpperBits<10>, UpperBits<12>, UpperBits<14>, UpperBits<16>});
    return convert == nullptr ? kBadArgument
                              : ForEachRow(source, sourceStride, samples, destination, destinationStride, samples, rows,
                                           [&](const uint16_t* from, uint8_t* to) { convert(from, samples, to); });
}

uint32_t OrvRows_To16(const uint16_t* source, int64_t sourceStride, uint16_t* destination, int64_t destinationStride,
                      int64_t samples, int64_t rows, int bits) {
    using Function = void (*)(const uint16_t*, int64_t, uint16_t*);
    const auto convert = ByDepth<Function>(bits, {Spread<8>, Spread<10>, Spread<12>, Spread<14>, Spread<16>});
    return convert == nullptr ? kBadArgument
                              : ForEachRow(source, sourceStride, samples, destination, destinationStride, samples, rows,
                                           [&](const uint16_t* from, uint16_t* to) { convert(from, samples, to); });
}

uint32_t OrvRows_AddAlpha8(const uint8_t* source, int64_t sourceStride, uint8_t* destination, int64_t destinationStride,
                           int64_t pixels, int64_t rows, uint8_t alpha) {
    return AddAlphaRows(source, sourceStride, destination, destinationStride, pixels, rows, alpha);
}

uint32_t OrvRows_AddAlpha16(const uint16_t* source, int64_t sourceStride, uint16_t* destination,
                            int64_t destinationStride, int64_t pixels, int64_t rows, uint16_t alpha) {
    return AddAlphaRows(source, sourceStride, destination, destinationStride, pixels, rows, alpha);
}
