// Rows of a mosaic as lanes, and pan at the colour sites.
//
// A row of the plane is kept as two rows of lanes, pan samples and colour samples, so that no loop tests the cell. Pan
// lane i is column 2i on even rows and 2i + 1 on odd rows; colour lane i is the other one of the pair. Lanes are
// int16_t where all sums fit, int32_t else.
#ifndef ORV_TRUESENSE_PANROWS_H
#define ORV_TRUESENSE_PANROWS_H

#include <cstddef>
#include <cstdint>

#include "rows/Numeric.h"

namespace orv {

// The mask of every other lane: 0, -1, 0, -1 ...
template <class Lane>
void FillAlternate(int n, Lane* mask) {
    for (int i = 0; i < n; ++i) {
        mask[i] = static_cast<Lane>(-(i & 1));
    }
}

// The casts keep the sums in lanes of their width.
template <class Lane>
ORV_ALWAYS_INLINE Lane Half(Lane a, Lane b) {
    return static_cast<Lane>(static_cast<Lane>(a + b) >> 1);
}

template <class Lane>
ORV_ALWAYS_INLINE Lane Quarter(Lane a, Lane b, Lane c, Lane d) {
    return static_cast<Lane>(static_cast<Lane>(static_cast<Lane>(a + b) + static_cast<Lane>(c + d)) >> 2);
}

// `row` of 2n samples to its even and odd columns, in 12 bits: bytes count 16 times.
template <class Sample, class Lane>
void SplitRow(const Sample* row, int n, Lane* even, Lane* odd);

// Which pair of neighbours a colour site takes where both differ by the same.
enum class PanTies {
    Vertical,
    OddRows  // the pair that lies on odd rows: vertical on even rows, horizontal on odd rows
};

// Pan lanes of row `y` and of its neighbours; at the rim of the plane the one neighbour stands for both. Of each row
// the lanes 0 to n - 1 count; one lane beside them is read, too.
template <class Lane>
struct PanNeighbours {
    const Lane* above;
    const Lane* own;
    const Lane* below;
    int y;
    bool rim;  // first or last row of the plane
};

// Pan at the `n` colour sites of a row, from two or more rows and lanes: the mean of the pair of neighbours that
// differs less; at the rim of the plane the mean of what neighbours are there, with the inner one counted twice.
template <PanTies Ties, class Lane>
void CompletePanRow(const PanNeighbours<Lane>& sites, int n, Lane* pan);
// The same, with the differences pan - colour.
template <PanTies Ties, class Lane>
void CompletePanRow(const PanNeighbours<Lane>& sites, const Lane* colour, int n, Lane* pan, Lane* diff);

}  // namespace orv

#endif
