#include "pipeline/LowCleaning.h"

#include <algorithm>
#include <type_traits>

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
ORV_ROW_TEMPLATE((int Fraction), (Fraction), FirstSigmaRow,
                 (const int16_t* up, const int16_t* mid, const int16_t* down, const int16_t* limits, int s, int w,
                  int32_t* out),
                 (up, mid, down, limits, s, w, out))

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
ORV_ROW_TEMPLATE((int Fraction), (Fraction), SigmaRow,
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
