// How a frame becomes a picture to look at: black level, white balance, colour matrix, exposure, tone curve.
#ifndef ORV_EXAMPLES_VIEW_H
#define ORV_EXAMPLES_VIEW_H

#include <array>
#include <opencv2/core.hpp>

#include "Converter.h"
#include "Frame.h"

namespace orvtool {

struct View {
    bool srgb = false;                        // apply the sRGB curve: the values are linear
    double black = 0;                         // code of the source that stands for no light
    std::array<double, 3> gains = {1, 1, 1};  // R, G, B
    Matrix matrix = kIdentity;                // after the gains
    double exposure = 1;
};

// The code of no light, as the frame has it: the darkest thousandth of it, in means of 4 by 4 pixels. Too high for a
// frame without dark parts.
double EstimateBlack(const Frame& frame);

// Gains that make the means of the red, green and blue sites of `box` equal, the smallest being 1. Cells of 4 by 4
// pixels with a clipped sample do not count. Throws std::runtime_error where nothing is left.
std::array<double, 3> GreyGains(const Frame& frame, double black, cv::Rect box);

// A linear colour frame through `view`, on the full range of `bits` (8 or 16) bits. CV_8UC3 or CV_16UC3.
cv::Mat Render(const ColourFrame& frame, const View& view, int bits);

// Applies the gains of `view` to the samples of a Bayer mosaic, and takes them out of the view: algorithms that use
// differences of colours need them to vanish on grey.
void BalanceBeforeConversion(View* view, Frame* frame);

// The same view on the way through a TrueSense component, whose results carry a tone curve already: subtracts the black
// level from the mosaic and sets the colour matrix, from light behind the mosaic to the shown colour.
void ApplyBeforeConversion(const View& view, Frame* frame, Converter* converter);

}  // namespace orvtool

#endif
