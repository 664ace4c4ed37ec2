// What the command line asks for, checked before anything is read or written.
#ifndef ORV_EXAMPLES_OPTIONS_H
#define ORV_EXAMPLES_OPTIONS_H

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Converter.h"
#include "Mosaic.h"
#include "RawFile.h"

namespace orvtool {

struct Input {
    std::string path;  // "-": standard input
    bool raw = false;  // without a header
};

// White balance of the view.
struct Balance {
    enum Kind { kNone, kGreyWorld, kGreyBox, kGains } kind = kNone;
    cv::Rect box;
    std::array<double, 3> gains = {1, 1, 1};
};

// The fields stand by what they are for.
struct Options {                // NOLINT(clang-analyzer-optin.performance.Padding)
    std::vector<Input> inputs;  // after ranges and --part; none: the scene
    bool several = false;       // more than one input, before --part
    bool nothingLeft = false;   // --part leaves this job without an input
    SourceWord word{OrvPixelBayerRG12};
    bool wordGiven = false;
    cv::Size size;  // of raw files, or of the scene
    RawLayout layout;
    std::optional<int64_t> frame;  // of a raw file
    bool allFrames = false;
    std::string as;

    std::string scene = "patterns";
    PanWeights pan;
    int shrink = 1;
    NoiseModel noise;
    std::string mosaic;  // picture of the mosaic to write

    int algorithm = 0;
    std::vector<std::pair<std::string, std::string>> settings;
    bool keepMatrix = false;
    int threads = 0;
    int repeat = 1;

    std::string output;  // a file, a folder, or "-"
    std::string format;
    int bits = 0;  // of the picture; 0: by the frame's depth
    bool rawValues = false;

    bool view = false;
    std::optional<double> black;
    bool estimateBlack = false;
    std::optional<Balance> balance;
    std::optional<Matrix> matrix;
    double exposure = 1;
    bool srgb = true;

    std::string sheet;
    std::string crop;
    int sheetWidth = 480;
    bool measureNoise = false;
    bool listParameters = false;
};

// Throws std::runtime_error with the cause and the remedy of a mistake. Empty when the program is to end with
// `exitCode` at once: help, version, or a mistake that has been printed.
std::optional<Options> ParseOptions(int argc, char** argv, int* exitCode);

// "X,Y,WxH" of `option`, cut to a frame. Throws where nothing of it lies inside.
cv::Rect ParseBox(const std::string& option, const std::string& text);
cv::Rect Inside(const std::string& option, cv::Rect box, const Frame& frame);

}  // namespace orvtool

#endif
