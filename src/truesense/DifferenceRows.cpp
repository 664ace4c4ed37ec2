#include "truesense/DifferenceRows.h"

#include "rows/Simd.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

// Sites [1, n - 1); `greenSites` has all bits at green sites.
template <class Lane>
ORV_ALWAYS_INLINE void FillAlongBody(const Lane* mosaic, const Lane* greenSites, int n, Lane* chroma, Lane* green) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const Lane mean = Half(mosaic[x - 1], mosaic[x + 1]);
        chroma[x] = Select(greenSites[x], mean, mosaic[x]);
        green[x] = Select(greenSites[x], mosaic[x], mean);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), FillAlong,
                 (const Lane* mosaic, const Lane* greenSites, int n, Lane* chroma, Lane* green),
                 (mosaic, greenSites, n, chroma, green))

// Sites without green are smoothed with the green sites above and below.
template <class Lane>
ORV_ALWAYS_INLINE void SmoothGreenBody(const Lane* up, const Lane* along, const Lane* down, const Lane* greenSites,
                                       int n, Lane* green) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        green[x] = Select(greenSites[x], along[x], Quarter(up[x], along[x], along[x], down[x]));
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), SmoothGreen,
                 (const Lane* up, const Lane* along, const Lane* down, const Lane* greenSites, int n, Lane* green),
                 (up, along, down, greenSites, n, green))

template <class Lane>
ORV_ALWAYS_INLINE void MeanRowBody(const Lane* up, const Lane* down, int n, Lane* mean) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        mean[x] = Half(up[x], down[x]);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), MeanRow, (const Lane* up, const Lane* down, int n, Lane* mean),
                 (up, down, n, mean))

bool Odd(int row) { return (row & 1) != 0; }

}  // namespace

template <class Lane>
void FillAlongRow(const Lane* mosaic, int row, int n, const Lane* alternate, Lane* chroma, Lane* green) {
    FillAlong<Lane>(mosaic, alternate + (row & 1), n, chroma, green);
    // One end has a site of chroma, the other one takes it from beside.
    const int last = n - 1;
    chroma[0] = mosaic[Odd(row) ? 1 : 0];
    chroma[last] = mosaic[Odd(row) ? last : last - 1];
    green[0] = mosaic[0];
    green[last] = mosaic[last];
}

template <class Lane>
void FillOtherChroma(const Lane* up, const Lane* down, int n, Lane* other) {
    MeanRow<Lane>(up, down, n, other);
}

template <class Lane>
void FillGreen(const Lane* up, const Lane* along, const Lane* down, int row, bool rim, int n, const Lane* alternate,
               Lane* green) {
    SmoothGreen<Lane>(rim ? along : up, along, rim ? along : down, alternate + (row & 1), n, green);
    // The end with neighbours above and below only; in the corners one of them is missing.
    const int end = Odd(row) ? n - 1 : 0;
    const Lane beside = along[Odd(row) ? end - 1 : 1];
    green[end] = Half(up[end], rim ? beside : down[end]);
}

#define ORV_DIFFERENCE_ROWS(Lane)                                                       \
    template void FillAlongRow<Lane>(const Lane*, int, int, const Lane*, Lane*, Lane*); \
    template void FillOtherChroma<Lane>(const Lane*, const Lane*, int, Lane*);          \
    template void FillGreen<Lane>(const Lane*, const Lane*, const Lane*, int, bool, int, const Lane*, Lane*);
ORV_DIFFERENCE_ROWS(int16_t)
ORV_DIFFERENCE_ROWS(int32_t)
#undef ORV_DIFFERENCE_ROWS

}  // namespace orv
