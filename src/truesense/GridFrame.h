// How a TrueSense frame lies in an engine's working plane, and the walks between caller memory and that plane.
//
// The 4 by 4 cell of every working plane, row by row from (0, 0):
//
//     P B P G
//     B P G P
//     P G P R
//     G P R P
//
// Sites with row + column even are panchromatic (P), the others carry a colour. The region of w by h pixels stands at
// (gridX, gridY), so that frames of every grid code show this one cell.
#ifndef ORV_TRUESENSE_GRIDFRAME_H
#define ORV_TRUESENSE_GRIDFRAME_H

#include <cstddef>
#include <cstdint>

#include "OrvImage.h"

namespace orv {

constexpr unsigned char kNoGrid = 255;

// Geometry of a region of w by h pixels placed by a grid code of 0 to 15.
struct GridGeometry {
    int gridX = 0, gridY = 0;  // first site of the region
    int w = 0, h = 0;          // size of the region
    int endX = 0, endY = 0;    // one past its last site
    int W = 0, H = 0;          // size of the plane, multiples of 4

    // Sizes saturate rather than overflow; `Valid` tells whether the plane can exist.
    static GridGeometry Make(const _OrvRect& rect, unsigned char grid);
    // False for a negative region, an empty plane, and a region that the saturated plane does not hold.
    bool Valid() const { return w >= 0 && h >= 0 && W > 0 && H > 0 && endX - gridX == w && endY - gridY == h; }
    // True when the region has less than one period, so that the extension meets sites that no sample reaches.
    bool Small() const { return w < 4 || h < 4; }
};

// Bits to shift a source sample to 12 bits: positive left, negative right. `ok` false for a depth outside
// 8, 10, 12, 14, 16.
int InputShift(int bits, bool* ok);

// Offsets, in samples from the first sample of a region, of a mirrored or plain walk over it. The flags reverse the
// axis they name. A negative stride negates row and column offsets alike, so rows run forward and columns backward.
struct RegionWalk {
    ptrdiff_t rowStart, rowStep;        // offset of row y: rowStart + y * rowStep
    ptrdiff_t columnStart, columnStep;  // offset of column x: columnStart + x * columnStep

    // `x`, `y` the region's origin in the buffer, `stride` in samples, `channels` samples per pixel.
    static RegionWalk Make(int x, int y, int w, int h, int stride, int channels, bool horMirrored, bool verMirrored);
};

// Reads the region from `src` into the plane, shifted to 12 bits (16-bit store, nothing masked or clamped); then
// extends it over the whole plane with period 4: rows above and below, then columns left and right. Regions below
// 4 by 4 start from a zeroed plane. Runs on `threads` threads, 0 for the process's default. Returns the union of the
// bits of all stored samples; 0 for planes of bytes, which take bytes as they are.
template <class T, class Plane>
uint32_t ReadMosaic(const T* src, const RegionWalk& walk, int shift, const GridGeometry& geometry, Plane* plane,
                    int planeStep, int threads);

}  // namespace orv

#endif
