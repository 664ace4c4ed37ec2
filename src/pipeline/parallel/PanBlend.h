// Pan at the colour sites of a row of cells, from the grids A and B of pan samples on even and odd rows of the mosaic.
// Along each direction there is a prediction, weighted by the activity across it. Both forms of the pipeline have these
// stencils; what a prediction is and how two of them are blended is theirs:
//
//     Blending::Predict(a, b)             from the samples on either side
//     Blending::Own(sample)               on the rim, where the samples of the cell stand in for everything
//     Blending::Blend(predA, predB, a, b) with the activities as weights
#ifndef ORV_PIPELINE_PARALLEL_PANBLEND_H
#define ORV_PIPELINE_PARALLEL_PANBLEND_H

#include "rows/Simd.h"

namespace orv {

// How much pan changes along one direction: from a Laplacian and a gradient, wrapped at 16 bits.
ORV_ALWAYS_INLINE int16_t Activity(int laplacian, int gradient) {
    return static_cast<int16_t>(Abs(laplacian) + 1 + 2 * Abs(gradient));
}

ORV_ALWAYS_INLINE int16_t Laplacian(int16_t s, int16_t t, int16_t sBefore, int16_t tBefore, int16_t sAfter,
                                    int16_t tAfter) {
    return static_cast<int16_t>(2 * s + 2 * t - sBefore - tBefore - sAfter - tAfter);
}

ORV_ALWAYS_INLINE int16_t Gradient(int16_t s, int16_t t) { return static_cast<int16_t>(s - t); }

// Three rows about a row of cells.
struct Rows3 {
    const int16_t* up;
    const int16_t* mid;
    const int16_t* down;
};

// Columns [1, n - 1) of the colour sites of even rows: A predicts along the row, B along the column.
template <class Blending>
ORV_ALWAYS_INLINE void BlendEvenRowBody(Rows3 A, Rows3 B, int n, int16_t* pan) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const int16_t gradA = Gradient(A.mid[x], A.mid[x + 1]);
        const int16_t gradB = Gradient(B.mid[x], B.up[x]);
        const int16_t lapA = Laplacian(A.mid[x], A.mid[x + 1], A.up[x], A.up[x + 1], A.down[x], A.down[x + 1]);
        const int16_t lapB = Laplacian(B.mid[x], B.up[x], B.mid[x - 1], B.up[x - 1], B.mid[x + 1], B.up[x + 1]);
        pan[x] = Blending::Blend(Blending::Predict(A.mid[x], A.mid[x + 1]), Blending::Predict(B.mid[x], B.up[x]),
                                 Activity(lapB, gradA), Activity(lapA, gradB));
    }
}
ORV_ROW_TEMPLATE((class Blending), (Blending), BlendEvenRow, (Rows3 A, Rows3 B, int n, int16_t* pan), (A, B, n, pan))

// The same for odd rows: A predicts along the column, B along the row.
template <class Blending>
ORV_ALWAYS_INLINE void BlendOddRowBody(Rows3 A, Rows3 B, int n, int16_t* pan) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const int16_t gradA = Gradient(A.mid[x], A.down[x]);
        const int16_t gradB = Gradient(B.mid[x], B.mid[x - 1]);
        const int16_t lapA = Laplacian(A.mid[x], A.down[x], A.mid[x - 1], A.down[x - 1], A.mid[x + 1], A.down[x + 1]);
        const int16_t lapB = Laplacian(B.mid[x], B.mid[x - 1], B.up[x], B.up[x - 1], B.down[x], B.down[x - 1]);
        pan[x] = Blending::Blend(Blending::Predict(A.mid[x], A.down[x]), Blending::Predict(B.mid[x], B.mid[x - 1]),
                                 Activity(lapB, gradA), Activity(lapA, gradB));
    }
}
ORV_ROW_TEMPLATE((class Blending), (Blending), BlendOddRow, (Rows3 A, Rows3 B, int n, int16_t* pan), (A, B, n, pan))

// Cells of the outer ring.
template <class Blending>
ORV_ALWAYS_INLINE int16_t BlendRim(int16_t a, int16_t b) {
    return Blending::Blend(Blending::Own(a), Blending::Own(b), Activity(b, a), Activity(a, b));
}

template <class Blending>
ORV_ALWAYS_INLINE void BlendRimRowBody(const int16_t* A, const int16_t* B, int n, int16_t* pan) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        pan[x] = BlendRim<Blending>(A[x], B[x]);
    }
}
ORV_ROW_TEMPLATE((class Blending), (Blending), BlendRimRow, (const int16_t* A, const int16_t* B, int n, int16_t* pan),
                 (A, B, n, pan))

}  // namespace orv

#endif
