// Pan at the colour sites, and the colour differences of the 2 by 2 cells.
#include <initializer_list>

#include "pipeline/Arithmetic.h"
#include "pipeline/PanBlend.h"
#include "pipeline/reference/Scratch.h"

using orv::Elements;
using orv::TruncateClamped;

namespace {

// Predictions with three fractional bits, within 16 bits for samples of 12, blended in double precision.
struct Blending {
    static ORV_ALWAYS_INLINE int16_t Own(int16_t sample) { return static_cast<int16_t>((sample & 0x1FFF) * 8); }
    static ORV_ALWAYS_INLINE int16_t Predict(int16_t a, int16_t b) {
        return static_cast<int16_t>((Own(a) + Own(b)) / 2);
    }
    static ORV_ALWAYS_INLINE int16_t Blend(int16_t predA, int16_t predB, int16_t a, int16_t b) {
        // Products and sum are exact, fused or not.
        const double sum = a * (predB * 0.125) + (predA * 0.125) * b;
        return static_cast<int16_t>(TruncateClamped(sum / (a + b), 0.0, 4095.0));
    }
};

// One row of pan as gamma codes: measured samples on the columns of parity KnownAt, estimates on the others.
template <int KnownAt>
ORV_ALWAYS_INLINE void GammaRowBody(const int32_t* gammaTable, const short* known, const short* estimate, int n,
                                    short* fullPan) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        fullPan[2 * x + KnownAt] = static_cast<short>(gammaTable[known[x]]);
        fullPan[2 * x + 1 - KnownAt] = static_cast<short>(gammaTable[estimate[x]]);
    }
}
ORV_ROW_TEMPLATE((int KnownAt), (KnownAt), GammaRow,
                 (const int32_t* gammaTable, const short* known, const short* estimate, int n, short* fullPan),
                 (gammaTable, known, estimate, n, fullPan))

// One row of cells. `pan` is the upper of their two rows of pan, w samples apart.
ORV_ALWAYS_INLINE void LowRowBody(const short* pan, int w, const short* panAtEven, const short* panAtOdd,
                                  const short* colorEven, const short* colorOdd, const int32_t* gammaTable, int n,
                                  int* lowPan, int* diff) {
    const short* below = pan + w;
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int color = (colorEven[x] + colorOdd[x] + 1) / 2;
        const int panMean = (panAtEven[x] + panAtOdd[x] + 1) / 2;
        diff[x] = (gammaTable[color] - gammaTable[panMean]) * 65536;
        lowPan[x] = (pan[2 * x] + pan[2 * x + 1] + below[2 * x] + below[2 * x + 1]) * 16384;
    }
}
ORV_ROW_FUNCTION(LowRow,
                 (const short* pan, int w, const short* panAtEven, const short* panAtOdd, const short* colorEven,
                  const short* colorOdd, const int32_t* gammaTable, int n, int* lowPan, int* diff),
                 (pan, w, panAtEven, panAtOdd, colorEven, colorOdd, gammaTable, n, lowPan, diff))

ORV_ALWAYS_INLINE void LowGammaBody(const int* diff, const int* lowPan, ptrdiff_t n, short* lowGamma) {
#pragma omp simd
    for (ptrdiff_t i = 0; i < n; ++i) {
        lowGamma[i] = orv::CodeOf(diff[i] + lowPan[i]);
    }
}
ORV_ROW_FUNCTION(LowGamma, (const int* diff, const int* lowPan, ptrdiff_t n, short* lowGamma),
                 (diff, lowPan, n, lowGamma))

}  // namespace

int Alg_InterpolatePan(short* panEven, short* panOdd, int w, int h, short* fullPan, short* panAtEven, short* panAtOdd,
                       LogText_t* log) {
    const int qw = w / 2, qh = h / 2;
    if (Alg_ImpulseFilter(panEven, 2, qw, qh, 1, log) != 0 || Alg_ImpulseFilter(panOdd, 2, qw, qh, 1, log) != 0) {
        return -1;
    }
    for (int i = 0; i < qh; ++i) {
        const ptrdiff_t at = Elements(qw, i);
        const short* const a = panEven + at;
        const short* const b = panOdd + at;
        short* const even = panAtEven + at;
        short* const odd = panAtOdd + at;
        if (i == 0 || i == qh - 1 || qw < 3) {
            orv::BlendRimRow<Blending>(a, b, qw, even);
            orv::BlendRimRow<Blending>(a, b, qw, odd);
        } else {
            const orv::Rows3 A = {a - qw, a, a + qw}, B = {b - qw, b, b + qw};
            orv::BlendEvenRow<Blending>(A, B, qw, even);
            orv::BlendOddRow<Blending>(A, B, qw, odd);
            for (const int end : {0, qw - 1}) {
                even[end] = odd[end] = orv::BlendRim<Blending>(a[end], b[end]);
            }
        }
        short* const full = fullPan + Elements(w, 2 * i);
        GammaRow<0>(Linear12toGamma10, a, even, qw, full);
        GammaRow<1>(Linear12toGamma10, b, odd, qw, full + w);
    }
    return 0;
}

int Alg_GenerateLow(short* fullPan, short* panAtEven, short* panAtOdd, short* colorEven, short* colorOdd, int w, int h,
                    int* lowPan, short* lowGamma, int* lowColorDiff, LogText_t* log) {
    const int qw = w / 2, qh = h / 2;
    for (int i = 0; i < qh; ++i) {
        const ptrdiff_t at = Elements(qw, i);
        LowRow(fullPan + Elements(w, 2 * i), w, panAtEven + at, panAtOdd + at, colorEven + at, colorOdd + at,
               Linear12toGamma10, qw, lowPan + at, lowColorDiff + at);
    }
    if (Alg_ImpulseFilter(lowColorDiff, 5, qw, qh, 2, log) != 0) {
        return -1;
    }
    LowGamma(lowColorDiff, lowPan, Elements(qw, qh), lowGamma);
    return 0;
}
