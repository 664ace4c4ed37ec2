#include "pipeline/LowCleaning.h"

#include <algorithm>
#include <type_traits>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "pipeline/Arithmetic.h"

namespace orv {

namespace {

// Gamma codes that the noise depends on: of the uncleaned colour, of the uncleaned pan.
ORV_ALWAYS_INLINE void ColorCodesBody(const int16_t* colorDiff, const int16_t* panSum, int n, int16_t* codes) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        codes[x] = static_cast<int16_t>(Clamp(colorDiff[x] + (panSum[x] >> 2), 0, 1023));
    }
}
ORV_ROW_FUNCTION(ColorCodes, (const int16_t* colorDiff, const int16_t* panSum, int n, int16_t* codes),
                 (colorDiff, panSum, n, codes))

ORV_ALWAYS_INLINE void PanCodesBody(const int16_t* panSum, int n, int16_t* codes) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        codes[x] = static_cast<int16_t>(panSum[x] >> 2);
    }
}
ORV_ROW_FUNCTION(PanCodes, (const int16_t* panSum, int n, int16_t* codes), (panSum, n, codes))

template <int Fraction>
ORV_ALWAYS_INLINE void WidenRowBody(const int16_t* row, int n, int32_t* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[x] = row[x] * (1 << Fraction);
    }
}
ORV_ROW_TEMPLATE((int Fraction), (Fraction), WidenRow, (const int16_t* row, int n, int32_t* out), (row, n, out))

// The values less than `limit` away from a centre: after a shift that takes the window to the low end of T, where sums
// wrap around, one comparison tells.
template <class T>
struct Window {
    using Unsigned = std::make_unsigned_t<T>;
    static constexpr auto kLowest = static_cast<Unsigned>(static_cast<Unsigned>(1) << (8 * sizeof(T) - 1));
    Unsigned shift;
    T end;

    ORV_ALWAYS_INLINE Window(T centre, T limit)
        : shift(static_cast<Unsigned>(static_cast<Unsigned>(limit) - static_cast<Unsigned>(centre) - 1U + kLowest)),
          end(static_cast<T>(static_cast<Unsigned>(Max(2 * limit - 1, 0)) + kLowest)) {}
    // All bits for a value inside, none for others.
    ORV_ALWAYS_INLINE T Mask(T value) const {
        return static_cast<T>(static_cast<T>(static_cast<Unsigned>(value) + shift) < end ? -1 : 0);
    }
};

// The first pass on columns [s, w - s): the plane is its own reference, and differences fit 16 bits.
template <int Fraction>
ORV_ALWAYS_INLINE void FirstSigmaRowBody(const int16_t* up, const int16_t* mid, const int16_t* down,
                                         const int16_t* limits, int s, int w, int32_t* out) {
#pragma omp simd
    for (int x = s; x < w - s; ++x) {
        const int16_t centre = mid[x];
        const Window<int16_t> window(centre, limits[x]);
        const int16_t n[8] = {up[x - s], up[x], up[x + s], mid[x - s], mid[x + s], down[x - s], down[x], down[x + s]};
        int16_t sum = 0;
        int16_t count = 1;
        for (int k = 0; k < 8; ++k) {
            const int16_t accepted = window.Mask(n[k]);
            sum = static_cast<int16_t>(sum + (n[k] & accepted));
            count = static_cast<int16_t>(count - accepted);
        }
        sum = static_cast<int16_t>(sum - static_cast<int16_t>(count - 1) * centre);
        out[x] = centre * (1 << Fraction) + MeanOf(sum * (1 << Fraction), count);
    }
}
// A later one.
template <int Fraction>
ORV_ALWAYS_INLINE void SigmaRowBody(const int32_t* up, const int32_t* mid, const int32_t* down,
                                    const int16_t* reference, const int16_t* limits, int s, int w, int32_t* out) {
#pragma omp simd
    for (int x = s; x < w - s; ++x) {
        const int32_t centre = mid[x];
        const Window<int32_t> window(reference[x] * (1 << Fraction), limits[x] * (1 << Fraction));
        const int32_t n[8] = {up[x - s], up[x], up[x + s], mid[x - s], mid[x + s], down[x - s], down[x], down[x + s]};
        int32_t sum = 0;
        int32_t count = 1;
        for (int k = 0; k < 8; ++k) {
            const int32_t accepted = window.Mask(n[k]);
            sum += n[k] & accepted;
            count -= accepted;
        }
        out[x] = centre + MeanOf(sum - (count - 1) * centre, count);
    }
}
#if defined(__x86_64__)
// By hand for the sake of the mean, which the compiler takes from quotients of double: products with reciprocals give
// the same and leave the divider alone. Rows are read and written in full vectors; what stands behind the last column is
// written again as the end of the row, or between two rows.

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Words(const int16_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Longs(const int32_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Widen(const int16_t* at) {
    return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)));
}
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i WidenHalf(__m256i words, int half) {
    return _mm256_cvtepi16_epi32(half == 0 ? _mm256_castsi256_si128(words) : _mm256_extracti128_si256(words, 1));
}

// sum / count for counts of 1 to 9, and 0 for a count of 1. The reciprocals are 2^32 / count rounded up, 2^33 / 9 for
// 9, by the low three bits of the count. A reciprocal is too large by less than e / count units with e = 2, 4, 2, 3 for
// counts of 3, 5, 6, 7 and 1 for 9: the quotient of a sum below 2^32 / e comes out exact, and count - 1 differences of
// 2046 codes in 16.16 stay below that.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i MeanOfEight(__m256i sum, __m256i count) {
    const __m256i reciprocals = _mm256_setr_epi32(1 << 29, 954437177, static_cast<int32_t>(1U << 31), 1431655766,
                                                  1 << 30, 858993460, 715827883, 613566757);
    const __m256i shifts = _mm256_setr_epi32(0, 1, 0, 0, 0, 0, 0, 0);
    const __m256i reciprocal = _mm256_permutevar8x32_epi32(reciprocals, count);
    const __m256i magnitude = _mm256_abs_epi32(sum);
    const __m256i even = _mm256_mul_epu32(magnitude, reciprocal);
    const __m256i odd = _mm256_mul_epu32(_mm256_srli_epi64(magnitude, 32), _mm256_srli_epi64(reciprocal, 32));
    const __m256i high = _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xAA);
    return _mm256_sign_epi32(_mm256_srlv_epi32(high, _mm256_permutevar8x32_epi32(shifts, count)), sum);
}

template <int Fraction>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void FirstSigmaRowBodyAvx2(const int16_t* up, const int16_t* mid,
                                                             const int16_t* down, const int16_t* limits, int s, int w,
                                                             int32_t* out) {
    const __m256i lowest = _mm256_set1_epi16(INT16_MIN), one = _mm256_set1_epi16(1), zero = _mm256_setzero_si256();
    for (int x = s; x < w - s; x += 16) {
        const int16_t* const neighbours[8] = {up + x - s,  up + x,       up + x + s, mid + x - s,
                                              mid + x + s, down + x - s, down + x,   down + x + s};
        const __m256i centre = Words(mid + x);
        const __m256i limit = Words(limits + x);
        const __m256i inside = _mm256_sub_epi16(limit, one);
        const __m256i shift = _mm256_add_epi16(_mm256_sub_epi16(inside, centre), lowest);
        const __m256i end = _mm256_add_epi16(_mm256_max_epi16(_mm256_add_epi16(limit, inside), zero), lowest);
        __m256i sum = zero, accepted = zero;  // the number of those accepted, negative
        for (const int16_t* neighbour : neighbours) {
            const __m256i n = Words(neighbour);
            const __m256i mask = _mm256_cmpgt_epi16(end, _mm256_add_epi16(n, shift));
            sum = _mm256_add_epi16(sum, _mm256_and_si256(n, mask));
            accepted = _mm256_add_epi16(accepted, mask);
        }
        sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(accepted, centre));
        const __m256i count = _mm256_sub_epi16(one, accepted);
        for (int half = 0; half < 2; ++half) {
            const __m256i mean = MeanOfEight(_mm256_slli_epi32(WidenHalf(sum, half), Fraction), WidenHalf(count, half));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x + 8 * half),
                                _mm256_add_epi32(mean, _mm256_slli_epi32(WidenHalf(centre, half), Fraction)));
        }
    }
}

template <int Fraction>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void SigmaRowBodyAvx2(const int32_t* up, const int32_t* mid, const int32_t* down,
                                                        const int16_t* reference, const int16_t* limits, int s, int w,
                                                        int32_t* out) {
    const __m256i lowest = _mm256_set1_epi32(INT32_MIN), one = _mm256_set1_epi32(1), zero = _mm256_setzero_si256();
    for (int x = s; x < w - s; x += 8) {
        const int32_t* const neighbours[8] = {up + x - s,  up + x,       up + x + s, mid + x - s,
                                              mid + x + s, down + x - s, down + x,   down + x + s};
        const __m256i centre = Longs(mid + x);
        const __m256i limit = _mm256_slli_epi32(Widen(limits + x), Fraction);
        const __m256i inside = _mm256_sub_epi32(limit, one);
        const __m256i shift =
            _mm256_add_epi32(_mm256_sub_epi32(inside, _mm256_slli_epi32(Widen(reference + x), Fraction)), lowest);
        const __m256i end = _mm256_add_epi32(_mm256_max_epi32(_mm256_add_epi32(limit, inside), zero), lowest);
        __m256i sum = zero, accepted = zero;  // the number of those accepted, negative
        for (const int32_t* neighbour : neighbours) {
            const __m256i n = Longs(neighbour);
            const __m256i mask = _mm256_cmpgt_epi32(end, _mm256_add_epi32(n, shift));
            sum = _mm256_add_epi32(sum, _mm256_and_si256(n, mask));
            accepted = _mm256_add_epi32(accepted, mask);
        }
        sum = _mm256_add_epi32(sum, _mm256_mullo_epi32(accepted, centre));
        const __m256i mean = MeanOfEight(sum, _mm256_sub_epi32(one, accepted));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), _mm256_add_epi32(centre, mean));
    }
}
#endif
ORV_ROW_TEMPLATE_TUNED((int Fraction), (Fraction), FirstSigmaRow,
                 (const int16_t* up, const int16_t* mid, const int16_t* down, const int16_t* limits, int s, int w,
                  int32_t* out),
                 (up, mid, down, limits, s, w, out))

ORV_ROW_TEMPLATE_TUNED((int Fraction), (Fraction), SigmaRow,
                 (const int32_t* up, const int32_t* mid, const int32_t* down, const int16_t* reference,
                  const int16_t* limits, int s, int w, int32_t* out),
                 (up, mid, down, reference, limits, s, w, out))

// One pass over one row; the other rows that it reads stand `spacing` above and below.
template <int Fraction>
void FilterRow(const Lines<int16_t>& reference, const Lines<int32_t>* work, int pass, int y, int s, int w,
               const int16_t* limits) {
    int32_t* out = work[pass & 1][y];
    if (pass == 0) {
        FirstSigmaRow<Fraction>(reference[y - s], reference[y], reference[y + s], limits, s, w, out);
        WidenRow<Fraction>(reference[y], s, out);
        WidenRow<Fraction>(reference[y] + w - s, s, out + w - s);
    } else {
        const Lines<int32_t>& from = work[1 - (pass & 1)];
        SigmaRow<Fraction>(from[y - s], from[y], from[y + s], reference[y], limits, s, w, out);
        std::copy(from[y], from[y] + s, out);
        std::copy(from[y] + w - s, from[y] + w, out + w - s);
    }
}

template <int Fraction>
void KeepRow(const Lines<int16_t>& reference, const Lines<int32_t>* work, int pass, int y, int w) {
    int32_t* out = work[pass & 1][y];
    if (pass == 0) {
        WidenRow<Fraction>(reference[y], w, out);
    } else {
        const int32_t* from = work[1 - (pass & 1)][y];
        std::copy(from, from + w, out);
    }
}

struct CleaningLines {
    int16_t *codes, *limits;

    size_t Cut(void* memory, int n) {
        LineCutter cutter(memory);
        codes = cutter.Line<int16_t>(n);
        limits = cutter.Line<int16_t>(n);
        return cutter.Bytes();
    }
};

// `codesOf(y)` gives the gamma codes of a row.
template <int Fraction, class CodesOf>
void CleanPlane(const Lines<int16_t>& reference, const Lines<int32_t>* work, const SigmaPasses& passes, int pass,
                int y0, int y1, int w, int h, const CleaningLines& lines, const CodesOf& codesOf) {
    if (pass >= passes.count) {
        return;
    }
    const SigmaPass& settings = passes.pass[pass];
    const int s = settings.spacing;
    for (int y = y0; y < y1; ++y) {
        if (y < s || y >= h - s) {
            KeepRow<Fraction>(reference, work, pass, y, w);
            continue;
        }
        codesOf(y);
        LookUp(settings.limit, lines.codes + s, w - 2 * s, lines.limits + s);
        FilterRow<Fraction>(reference, work, pass, y, s, w, lines.limits);
    }
}

Lines<int32_t> Last(const Lines<int32_t>* work, const SigmaPasses& passes) {
    return passes.count == 0 ? Lines<int32_t>() : work[(passes.count - 1) & 1];
}

}  // namespace

Lines<int32_t> LowPlanes::CleanColor() const { return Last(color, settings->color); }
Lines<int32_t> LowPlanes::CleanPan() const { return Last(pan, settings->pan); }

size_t CleaningScratchBytes(int n) { return CleaningLines().Cut(nullptr, n); }

void CleanRows(const LowPlanes& planes, int pass, int y0, int y1, void* scratch) {
    CleaningLines lines;
    lines.Cut(scratch, planes.n);
    const int n = planes.n;
    CleanPlane<kColorFraction>(planes.colorDiff, planes.color, planes.settings->color, pass, y0, y1, n, planes.rows,
                               lines,
                               [&](int y) { ColorCodes(planes.colorDiff[y], planes.panSum[y], n, lines.codes); });
    CleanPlane<kPanFraction>(planes.panSum, planes.pan, planes.settings->pan, pass, y0, y1, n, planes.rows, lines,
                             [&](int y) { PanCodes(planes.panSum[y], n, lines.codes); });
}

}  // namespace orv
