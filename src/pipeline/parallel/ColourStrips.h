// Second half of the pipeline, in either form, strip by strip in line rings: from the cleaned half-size planes to
// finished rows.
//
// The colour differences of the cells are a mosaic of their own,
//
//     B G B G
//     G R G R
//
// which each form completes in its way. Planes return to full size as blocks of 2 by 2, smoothed by 1-2-1 along rows,
// then along columns. Inside a block that is (near * 3 + far) / 4, `far` the next sample beyond the block; at the rim
// of the frame far is near.
#ifndef ORV_PIPELINE_PARALLEL_COLOURSTRIPS_H
#define ORV_PIPELINE_PARALLEL_COLOURSTRIPS_H

#include "pipeline/parallel/Forms.h"
#include "pipeline/parallel/LowCleaning.h"
#include "truesense/TrueSenseEngine.h"

namespace orv {

template <class Form>
struct ColourFrame {
    int W, H;  // multiples of 4
    const typename Form::Settings* settings;
    const LowPlane *color, *pan;            // with their passes; those that are not in rings have run
    Lines<typename Form::FullPan> fullPan;  // read where the settings sharpen
};

// Bytes of scratch memory that one strip needs. Of the frame its width, settings and passes count.
template <class Form>
size_t ColourStripScratchBytes(const ColourFrame<Form>& frame);

// Hands rows [y0, y1) to `sink` in order, multiples of 4. Writes `scratch` only.
template <class Form>
void MakeColourStrip(const ColourFrame<Form>& frame, int y0, int y1, void* scratch, const ColourRowSink& sink);

}  // namespace orv

#endif
