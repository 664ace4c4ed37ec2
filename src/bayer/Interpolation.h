// Algorithms 0 and 2: bilinear and edge-aware conversion of whole frames, with the bits of cv::cvtColor on packed rows.
#ifndef ORV_BAYER_INTERPOLATION_H
#define ORV_BAYER_INTERPOLATION_H

#include "OrvImage.h"

namespace orv {

// Converts as cv::cvtColor does for `code`, a Bayer code of PixelTypeToBayerType, in the sample width of the source
// word; rows are read and written in place, on OpenCV's threads (cv::setNumThreads). A destination of another size
// keeps its pixels; in frames below three rows or columns every pixel is 0.
//
// Returns 0, or 1 before anything is written for records that cv::cvtColor refuses: a negative size, a source without
// pixels, no data for pixels, a positive stride below the bytes of a row, and an odd one of 16-bit samples. A stride of
// 0 stands for packed rows.
int InterpolateFrame(const _OrvImage& source, const _OrvImage& destination, int code);

}  // namespace orv

#endif
