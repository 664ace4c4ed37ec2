// The Bayer-like reconstruction over strips of rows, with line rings in place of planes and 16-bit sums.
//
// The result is that of BayerLikePlanes, whose OpenCV calls come down to a few integer means for samples of 12 bits:
// nothing saturates, the offset of the unsigned Bayer conversion cancels, and doubling has weights of sixteenths,
// rounded once, half to even.
#ifndef ORV_ENGINES_BAYERLIKESTRIPS_H
#define ORV_ENGINES_BAYERLIKESTRIPS_H

#include <cstddef>
#include <cstdint>

#include "truesense/TrueSenseEngine.h"

namespace orv {

// False for planes of 4 rows or columns, whose differences OpenCV leaves out: two sites make no Bayer mosaic.
inline bool BayerLikeStripsFit(int W, int H) { return W > 4 && H > 4; }

// Bytes of scratch memory that one strip of a plane of `W` columns needs.
size_t BayerLikeScratchBytes(int W);

// Reconstructs rows [y0, y1) of the mosaic and hands them to `sink` in order. `W`, `H`, `y0` and `y1` are multiples of
// 4 and fit; every sample lies in 0 to 4095. Reads up to 6 more rows of the mosaic on either side; writes `scratch`
// only.
void ReconstructBayerLikeStrip(const int16_t* mosaic, int W, int H, int y0, int y1, void* scratch,
                               const ColourRowSink& sink);

}  // namespace orv

#endif
