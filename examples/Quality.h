// A converted frame against the truth it was simulated from.
#ifndef ORV_EXAMPLES_QUALITY_H
#define ORV_EXAMPLES_QUALITY_H

#include <array>
#include <string>
#include <vector>

#include "Converter.h"
#include "Scene.h"

namespace orvtool {

// The frame that the algorithm in force of `converter` would give without error: `truth` through the colour matrix,
// then through the engine's tone curve. That curve is measured by converting a staircase of flat grey blocks with the
// identity matrix; results of Bayer are linear. Values 0 to the top of `bits`. Throws LibraryError.
SceneImage ExpectedResult(const SceneImage& truth, const SourceWord& word, bool eightBits, int bits,
                          Converter* converter);

// The same as a frame of `bits`.
ColourFrame TruthFrame(const SceneImage& expected, int bits);

struct Psnr {
    double all = 0;                 // dB over all samples
    double channel[3] = {0, 0, 0};  // R, G, B
    std::string Text() const;
};

// Peak signal to noise ratio over the whole frame; the peak is the frame's largest value.
Psnr Compare(const ColourFrame& frame, const SceneImage& expected);

}  // namespace orvtool

#endif
