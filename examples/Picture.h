// What is made of a converted frame: quality against the truth, pictures to look at, sheets.
#ifndef ORV_EXAMPLES_PICTURE_H
#define ORV_EXAMPLES_PICTURE_H

#include <array>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "Converter.h"
#include "Scene.h"

namespace orvtool {

// From a linear grey level to the values an algorithm gives for it, per channel.
class ToneCurve {
public:
    // Bayer: values proportional to the level.
    static ToneCurve Linear(double top);
    // TrueSense: the engine's own curve, measured by converting a staircase of flat grey blocks with the identity
    // matrix (the matrix in force is put back). Throws LibraryError.
    static ToneCurve Measure(Converter* converter, const SourceWord& word, bool eightBits);

    // `channel` 0 red, 1 green, 2 blue; `level` 0 to 1, clamped.
    double At(int channel, double level) const;

private:
    std::array<std::vector<double>, 3> values_;  // equally spaced levels from 0 to `lastLevel_`
    double lastLevel_ = 1;
};

// The colour matrix of a TrueSense converter, row by row; the identity for Bayer.
std::array<double, 9> ColourMatrix(const Converter& converter, bool trueSense);

// The truth as the algorithm would give it without error: matrix, then curve. Values 0 to the frame's top.
SceneImage ExpectedResult(const SceneImage& truth, const std::array<double, 9>& matrix, const ToneCurve& curve);

struct Psnr {
    double all = 0;                 // dB over all samples
    double channel[3] = {0, 0, 0};  // R, G, B
    std::string Text() const;
};

// Peak signal to noise ratio over the whole frame; the peak is the frame's largest value.
Psnr Compare(const ColourFrame& frame, const SceneImage& expected);

// How values become a picture to look at.
struct View {
    bool srgb = false;                        // apply the sRGB curve: the values are linear
    double black = 0;                         // source code that stands for no light
    bool greyWorld = false;                   // white balance from the frame's means
    std::array<double, 3> gains = {1, 1, 1};  // R, G, B, applied too
    double exposure = 1;
};

// The frame scaled to the full range of `bits` (8 or 16) bits, through `view`.
cv::Mat Render(const ColourFrame& frame, const View& view, int bits);

// One column of a sheet.
struct SheetColumn {
    std::string label;
    cv::Mat picture;  // CV_8UC3; all columns have one size
};

// Rows of columns side by side, each with label, reduced picture and enlarged `crop`.
cv::Mat MakeSheet(const std::vector<std::vector<SheetColumn>>& rows, cv::Rect crop);

}  // namespace orvtool

#endif
