// Reconstruction of the fast engine over strips of rows, with line rings in place of planes.
//
// Rows are kept as lanes (truesense/PanRows.h), so that no loop tests the cell.
// Rows of one parity form a half-size Bayer mosaic of their own; rows r, r + 2, r - 2 are its neighbours:
//
//     rows 0, 1:  B G B G ...        (colour lane i is column 2i + 1 on even rows, 2i on odd rows)
//     rows 2, 3:  G R G R ...
//
// On it live the differences pan - colour. Missing neighbours at the rim count as those on the other side, which
// doubles them; the corners have rules of their own.
#ifndef ORV_ENGINES_FASTSTRIPS_H
#define ORV_ENGINES_FASTSTRIPS_H

#include <cstddef>
#include <cstdint>

#include "truesense/TrueSenseEngine.h"

namespace orv {

// Bytes of scratch memory that one strip of a plane of `W` columns needs.
size_t FastScratchBytes(int W);

// Reconstructs rows [y0, y1) of the mosaic and hands them to `sink` in order. `W`, `H`, `y0` and `y1` are multiples of
// 4. Reads up to 6 more rows of the mosaic on either side; writes `scratch` only.
//
// `narrow` promises that every sample of the mosaic lies in 0 to 4095; all sums then fit 16 bits. Else sums are 32-bit
// and stored samples wrap to signed 16 bits. For such samples both give the same.
void ReconstructFastStrip(const int16_t* mosaic, int W, int H, int y0, int y1, bool narrow, void* scratch,
                          const ColourRowSink& sink);
// The same of a mosaic of 8-bit samples, which count 16 times.
void ReconstructFastStrip(const uint8_t* mosaic, int W, int H, int y0, int y1, void* scratch,
                          const ColourRowSink& sink);

}  // namespace orv

#endif
