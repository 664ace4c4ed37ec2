// Rows of the planes on their way back to full size.
#ifndef ORV_PIPELINE_PARALLEL_COLOURROWS_H
#define ORV_PIPELINE_PARALLEL_COLOURROWS_H

#include "pipeline/parallel/Forms.h"

namespace orv {

enum { kRed, kGreen, kBlue, kColors };

constexpr int kPixelsAtOnce = 512;  // that a row function takes through its local lines

// A row of 16.16 values.
template <class Form, class Lane>
ORV_ALWAYS_INLINE void ToLanesBody(const int32_t* row, int n, Lane* lanes) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        lanes[x] = Form::ToLane(row[x]);
    }
}
ORV_ROW_TEMPLATE((class Form, class Lane), (Form, Lane), ToLanes, (const int32_t* row, int n, Lane* lanes),
                 (row, n, lanes))

// Twice the samples along the row. Reads one sample on either side.
template <class Form, class Lane>
ORV_ALWAYS_INLINE void DoubleAlongBody(const Lane* low, int n, Lane* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[2 * x] = Form::ToLane(Form::template Smooth<true>(low[x], low[x - 1]));
        out[2 * x + 1] = Form::ToLane(Form::template Smooth<false>(low[x], low[x + 1]));
    }
}
ORV_ROW_TEMPLATE((class Form, class Lane), (Form, Lane), DoubleAlong, (const Lane* low, int n, Lane* out),
                 (low, n, out))

// The rows of double width that a row lies between: of its own block, and the next beyond it.
template <class Lane>
struct RowPair {
    const Lane* near;
    const Lane* far;
    RowPair From(int x) const { return {near + x, far + x}; }
};

// Cleaned pan of one row as gamma codes.
template <class Form, bool FarFirst, class Lane>
ORV_ALWAYS_INLINE void CodesOfPanUpBody(RowPair<Lane> pan, int n, int16_t* code) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        code[x] = static_cast<int16_t>(Form::template Smooth<FarFirst>(pan.near[x], pan.far[x]) >> 16);
    }
}
ORV_ROW_TEMPLATE((class Form, bool FarFirst, class Lane), (Form, FarFirst, Lane), CodesOfPanUp,
                 (RowPair<Lane> pan, int n, int16_t* code), (pan, n, code))

// Gamma codes of the three colours: pan and difference; n at most kPixelsAtOnce.
template <class Form, bool FarFirst, class Lane>
ORV_ALWAYS_INLINE void CodesOfColoursBody(RowPair<Lane> pan, const RowPair<Lane>* diffs, int n,
                                          int16_t (*codes)[kPixelsAtOnce]) {
    const RowPair<Lane> red = diffs[kRed], green = diffs[kGreen], blue = diffs[kBlue];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int32_t p = Form::template Smooth<FarFirst>(pan.near[x], pan.far[x]);
        codes[kRed][x] = CodeOf(p + Form::template Smooth<FarFirst>(red.near[x], red.far[x]));
        codes[kGreen][x] = CodeOf(p + Form::template Smooth<FarFirst>(green.near[x], green.far[x]));
        codes[kBlue][x] = CodeOf(p + Form::template Smooth<FarFirst>(blue.near[x], blue.far[x]));
    }
}
ORV_ROW_TEMPLATE((class Form, bool FarFirst, class Lane), (Form, FarFirst, Lane), CodesOfColours,
                 (RowPair<Lane> pan, const RowPair<Lane>* diffs, int n, int16_t (*codes)[kPixelsAtOnce]),
                 (pan, diffs, n, codes))

// The mosaic of differences in the reference form: of each colour the sums of its samples with weights 1 2 1, missing
// ones counted as 0, along rows and then along columns, over the density of the colour.

// Along a row, sites [1, n - 1); `greenSites` has all bits at green sites.
ORV_ALWAYS_INLINE void SumAlongRowBody(const int32_t* mosaic, const int32_t* greenSites, int n, float* chroma,
                                       float* green) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const float own = 2.0F * static_cast<float>(mosaic[x]);
        const float beside = static_cast<float>(mosaic[x - 1]) + static_cast<float>(mosaic[x + 1]);
        chroma[x] = greenSites[x] != 0 ? beside : own;
        green[x] = greenSites[x] != 0 ? own : beside;
    }
}
ORV_ROW_FUNCTION(SumAlongRow, (const int32_t* mosaic, const int32_t* greenSites, int n, float* chroma, float* green),
                 (mosaic, greenSites, n, chroma, green))

// Over the density, toward zero: `share` of the sums of one row, a quarter of those of two.
ORV_ALWAYS_INLINE void ShareOfRowBody(const float* sums, float share, int n, float* low) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        low[x] = ReferenceForm::ToLane(static_cast<int32_t>(sums[x] * share));
    }
}
ORV_ROW_FUNCTION(ShareOfRow, (const float* sums, float share, int n, float* low), (sums, share, n, low))

ORV_ALWAYS_INLINE void QuarterOfRowsBody(const float* up, const float* down, int n, float* low) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        low[x] = ReferenceForm::ToLane(static_cast<int32_t>((up[x] + down[x]) * 0.25F));
    }
}
ORV_ROW_FUNCTION(QuarterOfRows, (const float* up, const float* down, int n, float* low), (up, down, n, low))

// Of green, an eighth of three rows.
ORV_ALWAYS_INLINE void EighthOfRowsBody(const float* up, const float* own, const float* down, int n, float* low) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        low[x] = ReferenceForm::ToLane(static_cast<int32_t>(((up[x] + 2.0F * own[x]) + down[x]) * 0.125F));
    }
}
ORV_ROW_FUNCTION(EighthOfRows, (const float* up, const float* own, const float* down, int n, float* low),
                 (up, own, down, n, low))

}  // namespace orv

#endif
