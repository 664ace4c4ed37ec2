// Second half of the parallel pipeline, strip by strip in line rings: from the cleaned half-size planes to finished
// rows.
//
// The colour differences of the cells are a mosaic of their own,
//
//     B G B G
//     G R G R
//
// which is filled from nearest neighbours, once along rows and once along columns; where the frame ends before the next
// site of a colour, the last line is repeated. Planes return to full size as blocks of 2 by 2, smoothed by 1-2-1 along
// rows, then along columns, each rounded down. Inside a block that is (near * 3 + far) >> 2, `far` the next sample
// beyond the block; at the rim of the frame far is near.
#ifndef ORV_PIPELINE_PARALLEL_COLOURSTRIPS_H
#define ORV_PIPELINE_PARALLEL_COLOURSTRIPS_H

#include "pipeline/parallel/LowCleaning.h"
#include "truesense/TrueSenseEngine.h"

namespace orv {

struct ColourFrame {
    int W, H;  // multiples of 4
    const KodakLikeSettings* settings;
    const LowPlane *color, *pan;  // with their passes; those that are not in rings have run
    Lines<int16_t> fullPan;       // G10; read where the settings sharpen
};

// Bytes of scratch memory that one strip needs. Of the frame its width, settings and passes count.
size_t ColourStripScratchBytes(const ColourFrame& frame);

// Hands rows [y0, y1) to `sink` in order, multiples of 4. Writes `scratch` only.
void MakeColourStrip(const ColourFrame& frame, int y0, int y1, void* scratch, const ColourRowSink& sink);

}  // namespace orv

#endif
