#include "truesense/OutputRows.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "rows/Simd.h"

namespace orv {

namespace {

template <class Value>
ORV_ALWAYS_INLINE void ClampRowBody(const Value* from, int n, uint16_t* to) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const Value v = from[x] < 0 ? static_cast<Value>(0) : from[x];
        to[x] = static_cast<uint16_t>(v > 4095 ? static_cast<Value>(4095) : v);
    }
}
ORV_ROW_TEMPLATE((class Value), (Value), ClampRow, (const Value* from, int n, uint16_t* to), (from, n, to))

template <class Value>
struct Planes {
    const Value* red;
    const Value* green;
    const Value* blue;
};

// Pixels [x, n) through the nine factors of `m`, clamped to 12 bits.
template <class Value>
ORV_ALWAYS_INLINE void MatrixFrom(Planes<Value> in, const double* m, int x, int n, uint16_t* const* out) {
    for (; x < n; ++x) {
        const double r = in.red[x];
        const double g = in.green[x];
        const double b = in.blue[x];
        for (int k = 0; k < 3; ++k) {
            const double* row = m + 3 * k;
            out[k][x] = static_cast<uint16_t>(TruncateClamped(Fma(b, row[2], Fma(r, row[0], g * row[1])), 0.0, 4095.0));
        }
    }
}

template <class Value>
ORV_ALWAYS_INLINE void MatrixRowBody(Planes<Value> in, const double* m, int n, uint16_t* const* out) {
    MatrixFrom(in, m, 0, n, out);
}

#if defined(__x86_64__)
// By hand: the compiler's version of this row function takes three times as long, most of it in the bounds, where it
// keeps comparisons apart from selections.

// Not-a-number passes the bound; like everything below the range of int32 it converts to the least int32, which the
// unsigned packing after it takes to 0.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m128i MatrixFour(__m256d r, __m256d g, __m256d b, const __m256d* m) {
    const __m256d t = _mm256_fmadd_pd(b, m[2], _mm256_fmadd_pd(r, m[0], _mm256_mul_pd(g, m[1])));
    return _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_set1_pd(4095.0), t));
}

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256d LoadFour(const int32_t* from) {
    return _mm256_cvtepi32_pd(_mm_load_si128(reinterpret_cast<const __m128i*>(from)));
}

template <class Value>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void MatrixRowBodyAvx2(Planes<Value> in, const double* m, int n,
                                                         uint16_t* const* out) {
    __m256d factors[9];
    for (int i = 0; i < 9; ++i) {
        factors[i] = _mm256_set1_pd(m[i]);
    }
    // Samples go through memory as int32: conversions that load spare the shuffle port, which bounds this loop.
    constexpr int kBlock = 96;
    alignas(32) int32_t red[kBlock];
    alignas(32) int32_t green[kBlock];
    alignas(32) int32_t blue[kBlock];
    const int whole = n & ~7;
    for (int start = 0; start < whole; start += kBlock) {
        const int count = whole - start < kBlock ? whole - start : kBlock;
        for (int i = 0; i < count; ++i) {
            red[i] = in.red[start + i];
            green[i] = in.green[start + i];
            blue[i] = in.blue[start + i];
        }
        for (int i = 0; i < count; i += 8) {
            const __m256d r[2] = {LoadFour(red + i), LoadFour(red + i + 4)};
            const __m256d g[2] = {LoadFour(green + i), LoadFour(green + i + 4)};
            const __m256d b[2] = {LoadFour(blue + i), LoadFour(blue + i + 4)};
            for (int k = 0; k < 3; ++k) {
                const __m256d* row = factors + 3 * k;
                _mm_storeu_si128(
                    reinterpret_cast<__m128i*>(out[k] + start + i),
                    _mm_packus_epi32(MatrixFour(r[0], g[0], b[0], row), MatrixFour(r[1], g[1], b[1], row)));
            }
        }
    }
    MatrixFrom(in, m, whole, n, out);
}
#endif
ORV_ROW_TEMPLATE_TUNED((class Value), (Value), MatrixRow,
                       (Planes<Value> in, const double* m, int n, uint16_t* const* out), (in, m, n, out))

// Tones shifted right, then left; signed ones or as unsigned ones.
template <bool Signed>
ORV_ALWAYS_INLINE void FillEntriesBody(const int16_t* tones, int right, int left, uint32_t* entries) {
#pragma omp simd
    for (int v = 0; v < 4096; ++v) {
        const int32_t tone = Signed ? tones[v] >> right : static_cast<uint16_t>(tones[v]);
        entries[v] = static_cast<uint32_t>(tone) << left;
    }
}
ORV_ROW_TEMPLATE((bool Signed), (Signed), FillEntries, (const int16_t* tones, int right, int left, uint32_t* entries),
                 (tones, right, left, entries))

// Table lookups are faster one by one than gathered on processors that mitigate Gather Data Sampling.
template <class T>
ORV_ALWAYS_INLINE void TonePixels(const uint16_t* const* in, const OutputTable<T>& tones, ptrdiff_t step, int x, int n,
                                  T* out) {
    const uint16_t* first = in[0];
    const uint16_t* second = in[1];
    const uint16_t* third = in[2];
#pragma GCC unroll 4
    for (; x < n; ++x, out += step) {
        out[0] = tones.Sample(first[x]);
        out[1] = tones.Sample(second[x]);
        out[2] = tones.Sample(third[x]);
    }
}

// Pixels side by side, by words of samples.
template <class T>
void TonePacked(const uint16_t* const* in, const OutputTable<T>& tones, int n, T* out) {
    constexpr int kPlaces = OutputTable<T>::kPlaces;
    const uint16_t* const planes[3] = {in[0], in[1], in[2]};
    int x = 0;
    for (; x <= n - kPlaces; x += kPlaces, out += 3 * kPlaces) {
        for (int word = 0; word < 3; ++word) {
            uint32_t samples = 0;
            for (int place = 0; place < kPlaces; ++place) {
                const int sample = word * kPlaces + place;
                samples |= tones.At(place, planes[sample % 3][x + sample / 3]);
            }
            std::memcpy(out + word * kPlaces, &samples, sizeof(samples));
        }
    }
    TonePixels(in, tones, 3, x, n, out);
}

template <class T>
void StoreRow(const uint16_t* const* in, const OutputTable<T>& tones, ptrdiff_t step, int n, T* out) {
    if (step == 3) {
        TonePacked(in, tones, n, out);
    } else {
        TonePixels(in, tones, step, 0, n, out);
    }
}

}  // namespace

int OutputShift(int bits, bool normalize, bool* ok) {
    const int inputShift = InputShift(bits, ok);
    *ok = *ok || normalize;
    return normalize ? 4 : -inputShift;
}

template <class T>
void OutputTable<T>::Fill(const int16_t* toneTable, int shift) {
    constexpr int kUp = 32 - 8 * static_cast<int>(sizeof(T));
    if (shift < 0) {
        FillEntries<true>(toneTable, -shift, kUp, entries);
    } else {
        FillEntries<false>(toneTable, 0, shift + kUp, entries);
    }
    entries[4096] = 0;
}

bool IsIdentity(const double (&matrix)[9]) {
    for (int i = 0; i < 9; ++i) {
        if (matrix[i] != (i % 4 == 0 ? 1.0 : 0.0)) {
            return false;
        }
    }
    return true;
}

template <class T>
template <class Value>
void OutputRows<T>::Write(int y, const Value* red, const Value* green, const Value* blue, int n) const {
    T* out = dst + walk.rowStart + y * walk.rowStep + walk.columnStart;
    if constexpr (sizeof(Value) == sizeof(uint16_t)) {
        if (bounded) {
            const uint16_t* const planes[3] = {reinterpret_cast<const uint16_t*>(bgr ? blue : red),
                                               reinterpret_cast<const uint16_t*>(green),
                                               reinterpret_cast<const uint16_t*>(bgr ? red : blue)};
            StoreRow(planes, *table, walk.columnStep, n, out);
            return;
        }
    }
    // Runs short enough for their values to stay in the first-level cache.
    constexpr int kRun = 512;
    alignas(64) uint16_t values[3][kRun];
    uint16_t* const first = values[bgr ? 2 : 0];
    uint16_t* const third = values[bgr ? 0 : 2];
    uint16_t* const results[3] = {first, values[1], third};
    const uint16_t* const stored[3] = {values[0], values[1], values[2]};
    for (int x = 0; x < n; x += kRun, out += kRun * walk.columnStep) {
        const int count = n - x < kRun ? n - x : kRun;
        if (matrix == nullptr) {
            ClampRow<Value>(red + x, count, results[0]);
            ClampRow<Value>(green + x, count, results[1]);
            ClampRow<Value>(blue + x, count, results[2]);
        } else {
            MatrixRow<Value>({red + x, green + x, blue + x}, matrix, count, results);
        }
        StoreRow(stored, *table, walk.columnStep, count, out);
    }
}

template struct OutputTable<unsigned char>;
template struct OutputTable<unsigned short>;
template struct OutputRows<unsigned char>;
template struct OutputRows<unsigned short>;
#define ORV_WRITE(T, Value) \
    template void OutputRows<T>::Write(int, const Value*, const Value*, const Value*, int) const;
ORV_WRITE(unsigned char, int16_t)
ORV_WRITE(unsigned char, int32_t)
ORV_WRITE(unsigned short, int16_t)
ORV_WRITE(unsigned short, int32_t)
#undef ORV_WRITE

}  // namespace orv
