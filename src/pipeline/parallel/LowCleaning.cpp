#include "pipeline/parallel/LowCleaning.h"

#include <algorithm>
#include <type_traits>

#include "pipeline/Arithmetic.h"
#include "rows/Avx2.h"

namespace orv {

namespace {

// Gamma codes that the noise depends on: of the uncleaned colour, of the uncleaned pan.
ORV_ALWAYS_INLINE void CodesOfColorBody(const int16_t* colorDiff, const int16_t* panSum, int n, int16_t* codes) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        codes[x] = static_cast<int16_t>(Clamp(colorDiff[x] + (panSum[x] >> 2), 0, 1023));
    }
}
ORV_ROW_FUNCTION(CodesOfColor, (const int16_t* colorDiff, const int16_t* panSum, int n, int16_t* codes),
                 (colorDiff, panSum, n, codes))

ORV_ALWAYS_INLINE void CodesOfPanBody(const int16_t* panSum, int n, int16_t* codes) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        codes[x] = static_cast<int16_t>(panSum[x] >> 2);
    }
}
ORV_ROW_FUNCTION(CodesOfPan, (const int16_t* panSum, int n, int16_t* codes), (panSum, n, codes))

template <int Fraction>
ORV_ALWAYS_INLINE void CodesToFixedBody(const int16_t* row, int n, int32_t* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[x] = row[x] * (1 << Fraction);
    }
}
ORV_ROW_TEMPLATE((int Fraction), (Fraction), CodesToFixed, (const int16_t* row, int n, int32_t* out), (row, n, out))

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
ORV_ALWAYS_INLINE void SigmaFirstBody(const int16_t* up, const int16_t* mid, const int16_t* down, const int16_t* limits,
                                      int s, int w, int32_t* out) {
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
ORV_ALWAYS_INLINE void SigmaLaterBody(const int32_t* up, const int32_t* mid, const int32_t* down,
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
// the same and leave the divider alone. Rows are read and written in full vectors; what stands behind the last column
// is written again as the end of the row, or between two rows.

template <int Fraction>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void SigmaFirstBodyAvx2(const int16_t* up, const int16_t* mid, const int16_t* down,
                                                          const int16_t* limits, int s, int w, int32_t* out) {
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
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void SigmaLaterBodyAvx2(const int32_t* up, const int32_t* mid, const int32_t* down,
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

ORV_ROW_TEMPLATE_TUNED((int Fraction), (Fraction), SigmaFirst,
                       (const int16_t* up, const int16_t* mid, const int16_t* down, const int16_t* limits, int s, int w,
                        int32_t* out),
                       (up, mid, down, limits, s, w, out))

ORV_ROW_TEMPLATE_TUNED((int Fraction), (Fraction), SigmaLater,
                       (const int32_t* up, const int32_t* mid, const int32_t* down, const int16_t* reference,
                        const int16_t* limits, int s, int w, int32_t* out),
                       (up, mid, down, reference, limits, s, w, out))

// The limits of a pass for row y.
void MakeLimits(const LowPlane& plane, int pass, int y, int16_t* codes, int16_t* limits) {
    if (plane.color) {
        CodesOfColor(plane.codes[y], plane.panSum[y], plane.n, codes);
    } else {
        CodesOfPan(plane.codes[y], plane.n, codes);
    }
    LookUp(plane.passes->pass[pass].limit, codes, plane.n, limits);
}

// Columns [x0, x1) of row y as they are before a pass.
template <int Fraction>
void KeepColumns(const LowPlane& plane, int pass, int y, const Lines<int32_t>& from, int x0, int x1, int32_t* out) {
    if (pass == 0) {
        CodesToFixed<Fraction>(plane.codes[y] + x0, x1 - x0, out + x0);
    } else {
        std::copy(from[y] + x0, from[y] + x1, out + x0);
    }
}

// What a pass makes of row y; `from` has the rows of the pass before, and is not read by the first.
template <int Fraction>
void FilterRow(const LowPlane& plane, int pass, int y, const Lines<int32_t>& from, const int16_t* limits,
               int32_t* out) {
    const int w = plane.n;
    const int s = plane.passes->pass[pass].spacing;
    const Lines<int16_t>& before = plane.codes;
    if (y < s || y >= plane.rows - s) {
        KeepColumns<Fraction>(plane, pass, y, from, 0, w, out);
        return;
    }
    if (pass == 0) {
        SigmaFirst<Fraction>(before[y - s], before[y], before[y + s], limits, s, w, out);
    } else {
        SigmaLater<Fraction>(from[y - s], from[y], from[y + s], before[y], limits, s, w, out);
    }
    KeepColumns<Fraction>(plane, pass, y, from, 0, s, out);
    KeepColumns<Fraction>(plane, pass, y, from, w - s, w, out);
}

void MakeRow(const LowPlane& plane, int pass, int y, const Lines<int32_t>& from, const int16_t* limits, int32_t* out) {
    if (plane.color) {
        FilterRow<kColorFraction>(plane, pass, y, from, limits, out);
    } else {
        FilterRow<kPanFraction>(plane, pass, y, from, limits, out);
    }
}

// A row that no pass changes.
void WidenRow(const LowPlane& plane, int y, int32_t* out) {
    if (plane.color) {
        CodesToFixed<kColorFraction>(plane.codes[y], plane.n, out);
    } else {
        CodesToFixed<kPanFraction>(plane.codes[y], plane.n, out);
    }
}

constexpr int kMostRows = 8;  // of spacings after the first pass that rings are worth

}  // namespace

bool LowPlane::InRings() const {
    int64_t rowsAhead = 0;
    for (int k = 1; k < passes->count; ++k) {
        rowsAhead += passes->pass[k].spacing;
    }
    return rowsAhead <= kMostRows;
}

int LowPlane::LimitsOf(int pass) const {
    while (passes->pass[pass].limitsOfLast) {
        --pass;
    }
    return pass;
}

size_t CleaningScratchBytes(int n) {
    LineCutter cutter(nullptr);
    cutter.Line<int16_t>(n);
    cutter.Line<int16_t>(n);
    return cutter.Bytes();
}

void LowPlane::Clean(int pass, int y0, int y1, void* scratch) const {
    if (InRings() || pass >= passes->count) {
        return;
    }
    LineCutter cutter(scratch);
    int16_t* codeLine = cutter.Line<int16_t>(n);
    int16_t* limitLine = cutter.Line<int16_t>(n);
    for (int y = y0; y < y1; ++y) {
        MakeLimits(*this, pass, y, codeLine, limitLine);
        MakeRow(*this, pass, y, work[1 - (pass & 1)], limitLine, work[pass & 1][y]);
    }
}

StripStage CleanStage(const LowPlane& plane, int first, int stage) {
    const int skipped = kCleanStages - plane.passes->count;
    const int pass = stage - skipped;
    if (!plane.InRings() || pass < 1) {
        return {1, {}};  // the first pass reads the plane
    }
    return {1, {{first + stage - 1, plane.passes->pass[pass].spacing}, {first + skipped + plane.LimitsOf(pass), 0}}};
}

const int32_t* CleanRows::operator[](int y) const {
    return plane_.InRings() ? rings_[kCleanStages - 1][y] : plane_.work[(plane_.passes->count - 1) & 1][y];
}

void CleanRows::Make(int stage, int y) const {
    if (!Used(stage)) {
        return;
    }
    int32_t* row = rings_[stage].Make(y);
    const int pass = PassOf(stage);
    if (pass < 0) {
        WidenRow(plane_, y, row);
        return;
    }
    const int maker = stage - pass + plane_.LimitsOf(pass);
    if (maker == stage) {
        MakeLimits(plane_, pass, y, codes_, limits_[stage].Make(y));
    }
    MakeRow(plane_, pass, y, rings_[std::max(0, stage - 1)], limits_[maker][y], row);
}

}  // namespace orv
