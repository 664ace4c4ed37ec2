// Image records of the library for buffers of ours.
#ifndef ORV_BENCH_RECORD_H
#define ORV_BENCH_RECORD_H

#include "OrvImage.h"

namespace orvbench {

// `stride` in bytes; the pixel memory stays the caller's.
inline _OrvImage MakeRecord(uint32_t word, int bitDepth, int width, int height, int stride, void* data) {
    _OrvImage image = {};
    image.size = sizeof(image);
    image.version = 0x20000;
    image.pixelType = word;
    image.bitDepth = bitDepth;
    image.width = width;
    image.height = height;
    image.stride = stride;
    image.imageSize = height * stride;
    image.data = data;
    return image;
}

}  // namespace orvbench

#endif
