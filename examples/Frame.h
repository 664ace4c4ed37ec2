// Frames as the tool holds them: a mosaic before its conversion, and the colour after it.
#ifndef ORV_EXAMPLES_FRAME_H
#define ORV_EXAMPLES_FRAME_H

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "Mosaic.h"

namespace orvtool {

// A frame behind a mosaic, one code per pixel, without row padding.
struct Frame {
    SourceWord word;
    int width = 0;
    int height = 0;
    std::vector<uint16_t> codes;
};

// A colour frame, blue first, CV_8UC3 or CV_16UC3, with `bits` significant bits.
struct ColourFrame {
    cv::Mat bgr;
    int bits = 0;

    double Top() const { return static_cast<double>((1 << bits) - 1); }
};

}  // namespace orvtool

#endif
