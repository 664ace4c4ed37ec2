// Pan at the colour sites, and the colour differences of the 2 by 2 cells.
#include "pipeline/Arithmetic.h"
#include "pipeline/Scratch.h"

using orv::Activity;
using orv::Elements;
using orv::TruncateClamped;

namespace {

// Work planes of the interpolation: prediction (three fractional bits), gradient and Laplacian of the pan samples of
// even rows, A, and of odd rows, B.
enum { kPredA, kGradA, kLapA, kPredB, kGradB, kLapB, kPlanes };

// Stored kernels; a convolution reads them reversed, so that the tap left of the centre weights the sample to the
// right. These serve the colour sites of even rows, the transposed ones those of odd rows.
constexpr float kKernels[kPlanes][9] = {
    {0, 0, 0, 0.5F, 0.5F, 0, 0, 0, 0}, {0, 0, 0, -1, 1, 0, 0, 0, 0}, {-1, -1, 0, 2, 2, 0, -1, -1, 0},
    {0, 0, 0, 0, 0.5F, 0, 0, 0.5F, 0}, {0, 0, 0, 0, 1, 0, 0, -1, 0}, {0, 0, 0, -1, 2, -1, -1, 2, -1},
};

// Pointers to one row of each work plane.
struct WorkRow {
    const short* plane[kPlanes];
};

// One row of colour sites: blends the prediction along rows and the one along columns, each weighted by the activity
// across the other. Writes the estimates, and the row of `fullPan` they share with the measured samples `known`, which
// stand on the columns of parity KnownAt.
template <int KnownAt>
ORV_ALWAYS_INLINE void BlendRowBody(const WorkRow& work, const int32_t* gammaTable, const short* known, int n,
                                    short* estimate, short* fullPan) {
    const short* predA = work.plane[kPredA];
    const short* gradA = work.plane[kGradA];
    const short* lapA = work.plane[kLapA];
    const short* predB = work.plane[kPredB];
    const short* gradB = work.plane[kGradB];
    const short* lapB = work.plane[kLapB];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int a = Activity(lapB[x], gradA[x]);
        const int b = Activity(lapA[x], gradB[x]);
        // Products and sum are exact, fused or not.
        const double sum = a * (predB[x] * 0.125) + (predA[x] * 0.125) * b;
        estimate[x] = static_cast<short>(TruncateClamped(sum / (a + b), 0.0, 4095.0));
    }
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        fullPan[2 * x + KnownAt] = static_cast<short>(gammaTable[known[x]]);
        fullPan[2 * x + 1 - KnownAt] = static_cast<short>(gammaTable[estimate[x]]);
    }
}
ORV_ROW_TEMPLATE((int KnownAt), (KnownAt), BlendRow,
                 (const WorkRow& work, const int32_t* gammaTable, const short* known, int n, short* estimate,
                  short* fullPan),
                 (work, gammaTable, known, n, estimate, fullPan))

ORV_ALWAYS_INLINE void LoadPlanesBody(const short* pan, ptrdiff_t n, short* pred, short* grad, short* lap) {
#pragma omp simd
    for (ptrdiff_t i = 0; i < n; ++i) {
        pred[i] = static_cast<short>((pan[i] & 0x1FFF) * 8);
        grad[i] = pan[i];
        lap[i] = pan[i];
    }
}
ORV_ROW_FUNCTION(LoadPlanes, (const short* pan, ptrdiff_t n, short* pred, short* grad, short* lap),
                 (pan, n, pred, grad, lap))

void Transpose(float* kernel) {
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < y; ++x) {
            const float value = kernel[3 * y + x];
            kernel[3 * y + x] = kernel[3 * x + y];
            kernel[3 * x + y] = value;
        }
    }
}

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
    const ptrdiff_t Q = Elements(qw, qh);
    if (Alg_ImpulseFilter(panEven, 2, qw, qh, 1, log) != 0 || Alg_ImpulseFilter(panOdd, 2, qw, qh, 1, log) != 0) {
        return -1;
    }
    short* plane[kPlanes];
    float kernel[kPlanes][9];
    for (int p = 0; p < kPlanes; ++p) {
        plane[p] = reinterpret_cast<short*>(g_dynamicBuffer1) + p * Q;
        for (int k = 0; k < 9; ++k) {
            kernel[p][k] = kKernels[p][k];
        }
    }
    for (int parity = 0; parity < 2; ++parity) {
        LoadPlanes(panEven, Q, plane[kPredA], plane[kGradA], plane[kLapA]);
        LoadPlanes(panOdd, Q, plane[kPredB], plane[kGradB], plane[kLapB]);
        for (int p = 0; p < kPlanes; ++p) {
            if (Alg_Convolve2D(plane[p], qw, qh, kernel[p], 3, 3, log) != 0) {
                return -1;
            }
        }
        for (int i = 0; i < qh; ++i) {
            const ptrdiff_t at = Elements(qw, i);
            WorkRow work;
            for (int p = 0; p < kPlanes; ++p) {
                work.plane[p] = plane[p] + at;
            }
            short* full = fullPan + Elements(w, 2 * i + parity);
            if (parity == 0) {
                BlendRow<0>(work, Linear12toGamma10, panEven + at, qw, panAtEven + at, full);
            } else {
                BlendRow<1>(work, Linear12toGamma10, panOdd + at, qw, panAtOdd + at, full);
            }
        }
        for (float* k : kernel) {
            Transpose(k);
        }
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
