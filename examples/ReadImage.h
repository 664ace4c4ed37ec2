// Mosaics and colour pictures from image files.
#ifndef ORV_EXAMPLES_READ_IMAGE_H
#define ORV_EXAMPLES_READ_IMAGE_H

#include <cstdint>
#include <string>
#include <vector>

#include "Scene.h"

namespace orvtool {

struct ImageFile {
    int width = 0;
    int height = 0;
    int bits = 0;                 // of the samples in the file, 8 or 16
    std::vector<uint16_t> codes;  // one channel; also of colour files whose channels are all equal
    SceneImage picture;           // linear light, sRGB curve undone; of all but PGM files
};

// A binary PGM (samples above 8 bits big-endian, as PGM is) or any picture that OpenCV reads.
ImageFile ReadImage(const std::string& path);

}  // namespace orvtool

#endif
