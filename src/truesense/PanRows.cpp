#include "truesense/PanRows.h"

#include "rows/Simd.h"

namespace orv {

namespace {

template <class Sample, class Lane>
ORV_ALWAYS_INLINE void SplitLanesBody(const Sample* row, int n, Lane* even, Lane* odd) {
    constexpr Lane kScale = sizeof(Sample) == 1 ? 16 : 1;
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        even[i] = static_cast<Lane>(row[2 * i] * kScale);
        odd[i] = static_cast<Lane>(row[2 * i + 1] * kScale);
    }
}
ORV_ROW_TEMPLATE((class Sample, class Lane), (Sample, Lane), SplitLanes,
                 (const Sample* row, int n, Lane* even, Lane* odd), (row, n, even, odd))

template <class Lane, bool TiesAcross>
ORV_ALWAYS_INLINE Lane SmootherPair(Lane left, Lane right, Lane up, Lane down) {
    const Lane across = Distance(left, right);
    const Lane along = Distance(up, down);
    const bool horizontal = TiesAcross ? !(along < across) : across < along;
    return horizontal ? Half(left, right) : Half(up, down);
}

template <class Lane, bool TiesAcross>
ORV_ALWAYS_INLINE void PanRowBody(const Lane* left, const Lane* right, const Lane* up, const Lane* down, int n,
                                  Lane* pan) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        pan[i] = SmootherPair<Lane, TiesAcross>(left[i], right[i], up[i], down[i]);
    }
}
ORV_ROW_TEMPLATE((class Lane, bool TiesAcross), (Lane, TiesAcross), PanRow,
                 (const Lane* left, const Lane* right, const Lane* up, const Lane* down, int n, Lane* pan),
                 (left, right, up, down, n, pan))

template <class Lane, bool TiesAcross>
ORV_ALWAYS_INLINE void PanDiffRowBody(const Lane* left, const Lane* right, const Lane* up, const Lane* down,
                                      const Lane* colour, int n, Lane* pan, Lane* diff) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane value = SmootherPair<Lane, TiesAcross>(left[i], right[i], up[i], down[i]);
        pan[i] = value;
        diff[i] = static_cast<Lane>(value - colour[i]);
    }
}
ORV_ROW_TEMPLATE((class Lane, bool TiesAcross), (Lane, TiesAcross), PanDiffRow,
                 (const Lane* left, const Lane* right, const Lane* up, const Lane* down, const Lane* colour, int n,
                  Lane* pan, Lane* diff),
                 (left, right, up, down, colour, n, pan, diff))

// On the first and last row of the plane, where `inner` is the only vertical neighbour.
template <class Lane>
ORV_ALWAYS_INLINE void PanRimRowBody(const Lane* left, const Lane* right, const Lane* inner, int n, Lane* pan) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        pan[i] = Quarter(left[i], right[i], inner[i], inner[i]);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), PanRimRow,
                 (const Lane* left, const Lane* right, const Lane* inner, int n, Lane* pan),
                 (left, right, inner, n, pan))

bool OddRow(int y) { return (y & 1) != 0; }

// The colour site of the row without a neighbour on one side.
int RimLane(int y, int n) { return OddRow(y) ? 0 : n - 1; }

template <class Lane>
const Lane* LeftNeighbours(const PanNeighbours<Lane>& sites) {
    return OddRow(sites.y) ? sites.own - 1 : sites.own;
}

template <class Lane>
Lane RimSite(const PanNeighbours<Lane>& sites, int lane) {
    return Quarter(sites.own[lane], sites.own[lane], sites.above[lane], sites.below[lane]);
}

}  // namespace

template <class Sample, class Lane>
void SplitRow(const Sample* row, int n, Lane* even, Lane* odd) {
    SplitLanes<Sample, Lane>(row, n, even, odd);
}

template <PanTies Ties, class Lane>
void CompletePanRow(const PanNeighbours<Lane>& sites, int n, Lane* pan) {
    const Lane* left = LeftNeighbours(sites);
    if (sites.rim) {
        PanRimRow<Lane>(left, left + 1, sites.above, n, pan);
    } else if (Ties == PanTies::OddRows && OddRow(sites.y)) {
        PanRow<Lane, true>(left, left + 1, sites.above, sites.below, n, pan);
    } else {
        PanRow<Lane, false>(left, left + 1, sites.above, sites.below, n, pan);
    }
    const int lane = RimLane(sites.y, n);
    pan[lane] = RimSite(sites, lane);
}

template <PanTies Ties, class Lane>
void CompletePanRow(const PanNeighbours<Lane>& sites, const Lane* colour, int n, Lane* pan, Lane* diff) {
    const Lane* left = LeftNeighbours(sites);
    if (sites.rim) {
        PanRimRow<Lane>(left, left + 1, sites.above, n, pan);
        for (int i = 0; i < n; ++i) {
            diff[i] = static_cast<Lane>(pan[i] - colour[i]);
        }
    } else if (Ties == PanTies::OddRows && OddRow(sites.y)) {
        PanDiffRow<Lane, true>(left, left + 1, sites.above, sites.below, colour, n, pan, diff);
    } else {
        PanDiffRow<Lane, false>(left, left + 1, sites.above, sites.below, colour, n, pan, diff);
    }
    const int lane = RimLane(sites.y, n);
    pan[lane] = RimSite(sites, lane);
    diff[lane] = static_cast<Lane>(pan[lane] - colour[lane]);
}

#define ORV_PAN_ROWS(Lane)                                                                         \
    template void SplitRow<int16_t, Lane>(const int16_t*, int, Lane*, Lane*);                      \
    template void CompletePanRow<PanTies::Vertical, Lane>(const PanNeighbours<Lane>&, int, Lane*); \
    template void CompletePanRow<PanTies::OddRows, Lane>(const PanNeighbours<Lane>&, int, Lane*);  \
    template void CompletePanRow<PanTies::Vertical, Lane>(const PanNeighbours<Lane>&, const Lane*, int, Lane*, Lane*);
ORV_PAN_ROWS(int16_t)
ORV_PAN_ROWS(int32_t)
#undef ORV_PAN_ROWS
template void SplitRow<uint8_t, int16_t>(const uint8_t*, int, int16_t*, int16_t*);

}  // namespace orv
