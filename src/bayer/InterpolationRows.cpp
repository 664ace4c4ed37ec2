#include "bayer/InterpolationRows.h"

#include <cstddef>

#include "rows/Avx2.h"
#include "rows/Simd.h"

namespace orv {

namespace {

// Even, so that every run begins at the same kind of site; the rows of a run stay in the first-level cache.
constexpr int kRun = 256;

// 0, all bits, 0, all bits ...
template <class T>
struct Alternate {
    T mask[kRun + 1];
    constexpr Alternate() : mask() {
        for (int i = 1; i < kRun; i += 2) {
            mask[i] = static_cast<T>(-1);
        }
    }
};
template <class T>
constexpr Alternate<T> kAlternate;

#if defined(__x86_64__)
// Three words each of eight pixels, or of eight pairs of pixels with samples of a byte; the two bytes after them are
// written, too.
ORV_ALWAYS_INLINE void StoreEight(__m128i first, __m128i second, __m128i third, unsigned char* out) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low[2] = {_mm_unpacklo_epi16(first, second), _mm_unpackhi_epi16(first, second)};
    const __m128i high[2] = {_mm_unpacklo_epi16(third, zero), _mm_unpackhi_epi16(third, zero)};
    for (int i = 0; i < 4; ++i, out += 12) {
        const __m128i two =
            i % 2 == 0 ? _mm_unpacklo_epi32(low[i / 2], high[i / 2]) : _mm_unpackhi_epi32(low[i / 2], high[i / 2]);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), two);
        _mm_storeh_pi(reinterpret_cast<__m64*>(out + 6), _mm_castsi128_ps(two));  // at any address
    }
}
ORV_ALWAYS_INLINE __m128i LoadSixteen(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }

// By hand, since compilers do not interleave three rows without byte shuffles. Return how many pixels they stored.
ORV_ALWAYS_INLINE int StoreVectors(const uint16_t* first, const uint16_t* second, const uint16_t* third, int n,
                                   uint16_t* out) {
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        StoreEight(LoadSixteen(first + i), LoadSixteen(second + i), LoadSixteen(third + i),
                   reinterpret_cast<unsigned char*>(out + 3 * i));
    }
    return i;
}
ORV_ALWAYS_INLINE int StoreVectors(const uint8_t* first, const uint8_t* second, const uint8_t* third, int n,
                                   uint8_t* out) {
    const __m128i even = _mm_set1_epi16(0xFF);
    int i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i a = LoadSixteen(first + i);
        const __m128i b = LoadSixteen(second + i);
        const __m128i c = LoadSixteen(third + i);
        StoreEight(_mm_or_si128(_mm_and_si128(even, a), _mm_slli_epi16(b, 8)),
                   _mm_or_si128(_mm_and_si128(even, c), _mm_andnot_si128(even, a)),
                   _mm_or_si128(_mm_srli_epi16(b, 8), _mm_andnot_si128(even, c)), out + 3 * i);
    }
    return i;
}
#else
template <class T>
ORV_ALWAYS_INLINE int StoreVectors(const T*, const T*, const T*, int, T*) {
    return 0;
}
#endif

template <class T>
ORV_ALWAYS_INLINE void StorePixels(const T* first, const T* second, const T* third, int n, T* out) {
    const int stored = StoreVectors(first, second, third, n, out);
#pragma omp simd
    for (int i = stored; i < n; ++i) {
        out[3 * i] = first[i];
        out[3 * i + 1] = second[i];
        out[3 * i + 2] = third[i];
    }
}

// The `n` pixels from column 1 on, and up to two bytes after them.
template <Interpolation Kind, class T>
ORV_ALWAYS_INLINE void InnerPixelsBody(const MosaicRow<T>& row, int n, T* out) {
    alignas(64) T green[kRun];
    alignas(64) T own[kRun];
    alignas(64) T other[kRun];
    const T* greenSites = kAlternate<T>.mask + (row.greenFirst ? 0 : 1);
    for (ptrdiff_t x = 0; x < n; x += kRun) {
        const int count = n - x < kRun ? static_cast<int>(n - x) : kRun;
        BayerRowBody<Kind, T>(row.up + 1 + x, row.middle + 1 + x, row.down + 1 + x, greenSites, count, green, own,
                              other);
        StorePixels<T>(row.ownFirst ? own : other, green, row.ownFirst ? other : own, count, out + 3 * x);
    }
}

#if defined(__x86_64__)
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Load(const T* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i HalfOf(__m256i a, __m256i b) {
    return sizeof(T) == 1 ? _mm256_avg_epu8(a, b) : _mm256_avg_epu16(a, b);
}
// As RoundedQuarter.
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i QuarterOf(__m256i a, __m256i b, __m256i c, __m256i d) {
    const __m256i first = HalfOf<T>(a, b);
    const __m256i second = HalfOf<T>(c, d);
    const __m256i odd = _mm256_and_si256(_mm256_or_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(c, d)),
                                         _mm256_xor_si256(first, second));
    const __m256i half = HalfOf<T>(first, second);
    return sizeof(T) == 1 ? _mm256_sub_epi8(half, _mm256_and_si256(odd, _mm256_set1_epi8(1)))
                          : _mm256_sub_epi16(half, _mm256_and_si256(odd, _mm256_set1_epi16(1)));
}
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Excess(__m256i a, __m256i b) {
    return sizeof(T) == 1 ? _mm256_subs_epu8(a, b) : _mm256_subs_epu16(a, b);
}
// As GreenBetween.
template <Interpolation Kind, class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i GreenOf(__m256i left, __m256i right, __m256i up, __m256i down) {
    if (Kind == Interpolation::Bilinear) {
        return QuarterOf<T>(left, right, up, down);
    }
    const __m256i across = _mm256_or_si256(Excess<T>(left, right), Excess<T>(right, left));
    const __m256i along = _mm256_or_si256(Excess<T>(up, down), Excess<T>(down, up));
    const __m256i excess = Excess<T>(across, along);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i horizontal = sizeof(T) == 1 ? _mm256_cmpeq_epi8(excess, zero) : _mm256_cmpeq_epi16(excess, zero);
    return _mm256_blendv_epi8(HalfOf<T>(up, down), HalfOf<T>(left, right), horizontal);
}

// All bits at green sites, from inner column `x` on.
template <class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i GreenSites(bool greenFirst, int x) {
    return Load(kAlternate<T>.mask + ((x & 1) ^ (greenFirst ? 0 : 1)));
}

// The pixels from inner column `x` on.
template <Interpolation Kind, bool OwnFirst, class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void InterpolateLanes(const MosaicRow<T>& row, __m256i greenSites, int x, T* out) {
    const T* up = row.up + 1 + x;
    const T* middle = row.middle + 1 + x;
    const T* down = row.down + 1 + x;
    const __m256i sample = Load(middle);
    const __m256i left = Load(middle - 1);
    const __m256i right = Load(middle + 1);
    const __m256i above = Load(up);
    const __m256i below = Load(down);
    const __m256i between = GreenOf<Kind, T>(left, right, above, below);
    const __m256i diagonal = QuarterOf<T>(Load(up - 1), Load(up + 1), Load(down - 1), Load(down + 1));
    const __m256i green = _mm256_blendv_epi8(between, sample, greenSites);
    const __m256i own = _mm256_blendv_epi8(sample, HalfOf<T>(left, right), greenSites);
    const __m256i other = _mm256_blendv_epi8(diagonal, HalfOf<T>(above, below), greenSites);
    // Frames beyond the caches wait for the lines that they write: up to a tenth less time when asked for ahead.
    constexpr int kAhead = 1024;
    T* pixels = out + 3 * static_cast<ptrdiff_t>(x);
    __builtin_prefetch(reinterpret_cast<const char*>(pixels) + kAhead, 1);
    __builtin_prefetch(reinterpret_cast<const char*>(pixels) + kAhead + 64, 1);
    StoreInterleaved<T>(OwnFirst ? own : other, green, OwnFirst ? other : own, pixels);
}

template <Interpolation Kind, bool OwnFirst, class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void InterpolateVectors(MosaicRow<T> row, int n, T* out) {
    constexpr int kLanes = 32 / static_cast<int>(sizeof(T));
    const int last = n - kLanes;
    if (last > 0) {
        InterpolateLanes<Kind, OwnFirst, T>(row, GreenSites<T>(row.greenFirst, 0), 0, out);
        // From the column on whose pixel is aligned to 32 bytes: 11 times 3 is 1 modulo 32 and modulo 16.
        const unsigned bytes = 0U - static_cast<unsigned>(reinterpret_cast<uintptr_t>(out));
        int x = static_cast<int>(bytes / sizeof(T) * 11 % kLanes);
        const __m256i greenSites = GreenSites<T>(row.greenFirst, x);
        for (; x < last; x += kLanes) {
            InterpolateLanes<Kind, OwnFirst, T>(row, greenSites, x, out);
        }
    }
    InterpolateLanes<Kind, OwnFirst, T>(row, GreenSites<T>(row.greenFirst, last), last, out);
}

template <Interpolation Kind, class T>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void InnerPixelsBodyAvx2(const MosaicRow<T>& row, int n, T* out) {
    if (n < 32 / static_cast<int>(sizeof(T))) {
        InnerPixelsBody<Kind, T>(row, n, out);
    } else if (row.ownFirst) {
        InterpolateVectors<Kind, true, T>(row, n, out);
    } else {
        InterpolateVectors<Kind, false, T>(row, n, out);
    }
}
#endif
ORV_ROW_TEMPLATE_TUNED((Interpolation Kind, class T), (Kind, T), InnerPixels, (const MosaicRow<T>& row, int n, T* out),
                       (row, n, out))

}  // namespace

template <Interpolation Kind, class T>
void InterpolateRow(const MosaicRow<T>& row, int width, T* pixels) {
    InnerPixels<Kind, T>(row, width - 2, pixels + 3);
    T* last = pixels + 3 * (static_cast<ptrdiff_t>(width) - 1);
    for (int channel = 0; channel < 3; ++channel) {
        pixels[channel] = pixels[3 + channel];
        last[channel] = last[channel - 3];
    }
}

template void InterpolateRow<Interpolation::Bilinear>(const MosaicRow<uint8_t>&, int, uint8_t*);
template void InterpolateRow<Interpolation::Bilinear>(const MosaicRow<uint16_t>&, int, uint16_t*);
template void InterpolateRow<Interpolation::EdgeAware>(const MosaicRow<uint8_t>&, int, uint8_t*);
template void InterpolateRow<Interpolation::EdgeAware>(const MosaicRow<uint16_t>&, int, uint16_t*);

}  // namespace orv
