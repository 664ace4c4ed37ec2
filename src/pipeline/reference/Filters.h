// Convolutions in place that take a plane row by row, so that rows can be made, filtered along rows and filtered along
// columns while they are in cache. The result is that of whole passes.
#ifndef ORV_PIPELINE_REFERENCE_FILTERS_H
#define ORV_PIPELINE_REFERENCE_FILTERS_H

#include "pipeline/reference/Scratch.h"

namespace orv {

// A convolution as the list of its non-zero taps, in the order of summation. A tap of zero leaves a sum as it is.
struct Stencil {
    static constexpr int kMaxTaps = 63;
    int radiusX = 0, radiusY = 0;
    int count = 0;
    int dx[kMaxTaps], dy[kMaxTaps];
    float weight[kMaxTaps];

    // `kernel` has w by h values, at most kMaxTaps; it is applied reversed. An even size lacks the last tap.
    Stencil(const float* kernel, int w, int h);
};

// One convolution over a plane of T, short or int.
template <class T>
class Convolver {
public:
    // `memory` holds the last RowsKept rows before the filter.
    Convolver(T* plane, int w, int h, const Stencil& stencil, T* memory);

    // Number of rows of memory; none for a plane too low to have an interior.
    static int RowsKept(const Stencil& stencil, int h) { return h > 2 * stencil.radiusY ? stencil.radiusY + 1 : 0; }

    // Takes the rows of the plane in order from 0. After row y, rows up to y - radiusY are filtered.
    void Push(int y);

private:
    Stencil stencil_;
    RowHistory<T> rows_;
    int w_, h_;
    bool exact_;
};

// Whether the scratch holds what a convolution of w by h integers borrows; a message when not.
bool ConvolutionFits(int w, int h, LogText_t* log);

// Filters along rows, then along columns by one kernel, both in one walk over the rows. The scratch must fit.
void FilterRowsThenColumns(int* plane, int w, int h, const float* kernel, int taps);

}  // namespace orv

#endif
