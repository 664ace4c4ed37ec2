// Frames and pictures from files, and pictures to files. Every failure is a std::runtime_error whose text names the
// file.
#ifndef ORV_EXAMPLES_FILES_H
#define ORV_EXAMPLES_FILES_H

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "Scene.h"

namespace orvtool {

// Samples of a mosaic as they stand in a file.
struct RawSamples {
    int width = 0;
    int height = 0;
    std::vector<uint16_t> samples;  // no row padding
};

// Where the samples of a headerless file stand.
struct RawLayout {
    int width = 0;
    int height = 0;
    int64_t offset = 0;  // bytes before the first sample
    int64_t stride = 0;  // bytes from row to row; 0: no padding
    int bytesPerSample = 1;
    bool bigEndian = false;
};

// A headerless file. The file may be longer than the frame; a shorter one is an error.
RawSamples ReadRaw(const std::string& path, const RawLayout& layout);

// What an image file holds: a mosaic (one channel) or a colour picture.
struct ImageFile {
    bool colour = false;
    RawSamples mosaic;   // one channel; also of three-channel files whose channels are all equal
    SceneImage picture;  // colour, linear light, sRGB curve undone
};

// A binary PGM (8 or 16 bits, big-endian as PGM is) or any picture OpenCV reads.
ImageFile ReadImage(const std::string& path);

// Writes a PNG (CV_8UC3 or CV_16UC3, blue first): to a temporary name beside `path`, then renamed, so `path` never
// holds half a picture.
void WritePng(const std::string& path, const cv::Mat& picture);

bool HasExtension(const std::string& path, const char* extension);

}  // namespace orvtool

#endif
