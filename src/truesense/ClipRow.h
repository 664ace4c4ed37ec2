// The impulse filter of the pipelines and of the simple engine, a row at a time.
#ifndef ORV_TRUESENSE_CLIPROW_H
#define ORV_TRUESENSE_CLIPROW_H

#include "rows/Simd.h"

namespace orv {

// Clips columns [s, w - s) of `mid` into the range of eight neighbours: two s columns away on the row itself, three
// each on rows above and below, of which those straight above and below come from the `near` rows.
template <class T>
ORV_ALWAYS_INLINE void ClipRowBody(const T* up, const T* nearUp, const T* mid, const T* nearDown, const T* down, int s,
                                   int w, T* out) {
#pragma omp simd
    for (int x = s; x < w - s; ++x) {
        T low = Min(up[x - s], nearUp[x]);
        T high = Max(up[x - s], nearUp[x]);
        low = Min(low, Min(up[x + s], mid[x - s]));
        high = Max(high, Max(up[x + s], mid[x - s]));
        low = Min(low, Min(mid[x + s], down[x - s]));
        high = Max(high, Max(mid[x + s], down[x - s]));
        low = Min(low, Min(nearDown[x], down[x + s]));
        high = Max(high, Max(nearDown[x], down[x + s]));
        out[x] = Max(Min(high, mid[x]), low);
    }
}
ORV_ROW_TEMPLATE((class T), (T), ClipRow,
                 (const T* up, const T* nearUp, const T* mid, const T* nearDown, const T* down, int s, int w, T* out),
                 (up, nearUp, mid, nearDown, down, s, w, out))

}  // namespace orv

#endif
