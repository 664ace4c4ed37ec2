// Reconstruction of the simple engine over strips of rows, with line rings in place of planes.
//
// Pan is completed at the colour sites. Each 2 by 2 block then gives one difference colour - pan; the differences form
// a Bayer mosaic of half the size,
//
//     B G B G ...
//     G R G R ...
//
// which is completed by fixed means. Every site gets the three differences of its block added to its pan. Rows and
// columns of the half-size planes are counted in blocks.
#ifndef ORV_ENGINES_SIMPLESTRIPS_H
#define ORV_ENGINES_SIMPLESTRIPS_H

#include <cstddef>
#include <cstdint>

#include "truesense/TrueSenseEngine.h"

namespace orv {

struct SimpleSettings {
    double panGain, redGain, greenGain, blueGain;  // exactly 1.0 leaves samples as they are, others clamp to 12 bits
    float matrix[9];                               // row by row
    bool impulseFilter;
    bool panSmoothEnable, colorSmoothEnable;  // passes of 1 2 1 over full-size block means of pan, over differences
};

// Bytes of scratch memory that one strip of a plane of `W` columns needs.
size_t SimpleScratchBytes(int W);

// Reconstructs rows [y0, y1) of the mosaic and hands them to `sink` in order, values of 12 bits. `W`, `H`, `y0` and
// `y1` are multiples of 4. Reads up to 10 more rows of the mosaic on either side; writes `scratch` only. `narrow`
// promises that every sample of the mosaic lies in 0 to 4095.
void ReconstructSimpleStrip(const int16_t* mosaic, int W, int H, int y0, int y1, bool narrow,
                            const SimpleSettings& settings, void* scratch, const ColourRowSink& sink);

}  // namespace orv

#endif
