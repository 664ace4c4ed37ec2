// First half of the pipeline, in either form, strip by strip in line rings: from the mosaic to pan at every site and to
// the two half-size planes of its 2 by 2 cells.
//
// Pan samples stand on two interleaved half-size grids, A of the even rows and B of the odd rows of the mosaic; each
// cell has one sample of both and two colour samples of one colour:
//
//     A c        c: colour site of the even row, between A left and right, B above and below
//     d B        d: colour site of the odd row, between B left and right, A above and below
//
// The colours of the cells form a mosaic of their own, blue and green on even rows of cells, green and red on odd rows.
#ifndef ORV_PIPELINE_PARALLEL_PANSTRIPS_H
#define ORV_PIPELINE_PARALLEL_PANSTRIPS_H

#include "pipeline/parallel/Forms.h"
#include "rows/Lines.h"

namespace orv {

template <class Form>
struct PanFrame {
    const int16_t* mosaic;  // W by H, 12-bit working form
    int W, H;               // multiples of 4
    bool narrow;            // every sample of the mosaic lies in 0 to 4095
    const typename Form::Settings* settings;
    // Results:
    Lines<typename Form::FullPan> fullPan;  // W by H; left alone where the settings do not sharpen
    Lines<int16_t> colorDiff;               // W / 2 by H / 2: colour minus pan of a cell, G10
    Lines<int16_t> panSum;                  // W / 2 by H / 2: the four pan codes of a cell added up
};

// Bytes of scratch memory that one strip needs.
size_t PanStripScratchBytes(int W, bool impulse);

// Makes the results that belong to rows [y0, y1) of the mosaic, multiples of 4. Reads up to 8 more rows of it on either
// side; writes rows of the strip and `scratch` only.
template <class Form>
void MakePanStrip(const PanFrame<Form>& frame, int y0, int y1, void* scratch);

}  // namespace orv

#endif
