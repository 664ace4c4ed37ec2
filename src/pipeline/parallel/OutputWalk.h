// The way from an engine's result to the caller's destination, for every engine that keeps one: mirrors, negative
// strides, channel order and count are the same whatever the result is read from.
#ifndef ORV_PIPELINE_PARALLEL_OUTPUTWALK_H
#define ORV_PIPELINE_PARALLEL_OUTPUTWALK_H

#include "rows/Bands.h"
#include "rows/Simd.h"
#include "truesense/GridFrame.h"

namespace orv {

// Stores n pixels, `step` elements apart; more than three elements of a pixel are left alone. `pixels` is one row of a
// result: `pixels.At<Out>(x, c)` gives channel c (red, green, blue) of pixel x and is inlined always.
template <class Out, class Pixels>
ORV_ALWAYS_INLINE void StorePixelsBody(const Pixels& pixels, ptrdiff_t step, bool bgr, int n, Out* dst) {
    const Pixels p = pixels;
    const int first = bgr ? 2 : 0;
    if (step == 3) {
#pragma omp simd
        for (int x = 0; x < n; ++x) {
            dst[3 * x] = p.template At<Out>(x, first);
            dst[3 * x + 1] = p.template At<Out>(x, 1);
            dst[3 * x + 2] = p.template At<Out>(x, 2 - first);
        }
        return;
    }
    for (int x = 0; x < n; ++x, dst += step) {
        dst[0] = p.template At<Out>(x, first);
        dst[1] = p.template At<Out>(x, 1);
        dst[2] = p.template At<Out>(x, 2 - first);
    }
}
ORV_ROW_TEMPLATE((class Out, class Pixels), (Out, Pixels), StorePixels,
                 (const Pixels& pixels, ptrdiff_t step, bool bgr, int n, Out* dst), (pixels, step, bgr, n, dst))

// Writes w by h pixels at `dst` on `threads` threads, 0 for the process's default. `rowOf(y)` gives the pixels of row y
// of the result's region.
template <class Out, class RowOf>
void WriteRegion(Out* dst, const RegionWalk& walk, bool bgr, int w, int h, int threads, const RowOf& rowOf) {
    ForEachBand(h, threads, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            StorePixels<Out, decltype(rowOf(y))>(rowOf(y), walk.columnStep, bgr, w,
                                                 dst + walk.rowStart + y * walk.rowStep + walk.columnStart);
        }
    });
}

}  // namespace orv

#endif
