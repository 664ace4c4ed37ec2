// Rows of colour from rows of a Bayer mosaic, bilinear or edge-aware, with the bits of OpenCV's conversions.
#ifndef ORV_BAYER_INTERPOLATIONROWS_H
#define ORV_BAYER_INTERPOLATIONROWS_H

#include "rows/BayerRow.h"

namespace orv {

// A row of a mosaic with its neighbours; it has green and one of the other colours.
template <class T>
struct MosaicRow {
    const T* up;
    const T* middle;
    const T* down;
    bool greenFirst;  // column 0 is a green site
    bool ownFirst;    // its other colour is the first channel of a pixel, else the third
};

// The `width` pixels of the row, from 3 on, three channels each. The first and last pixel repeat their neighbours. T is
// uint8_t or uint16_t, samples have any value.
template <Interpolation Kind, class T>
void InterpolateRow(const MosaicRow<T>& row, int width, T* pixels);

}  // namespace orv

#endif
