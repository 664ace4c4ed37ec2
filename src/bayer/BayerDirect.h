// Records for the direct Bayer functions.
#ifndef ORV_BAYER_BAYERDIRECT_H
#define ORV_BAYER_BAYERDIRECT_H

#include "OrvImage.h"

// Describe a bare buffer: stores bit depth, size, stride, data, image size and the word of `pattern` (0 GR, 1 RG, 2 BG,
// 3 GB), nothing else. `rect` is not read. Return 0, or 7 for a pattern above 3 and, with samples of 16 bits, for a
// `bitDepth` other than 10, 12, 14, 16.
int fillInSrc(_OrvImage* image, unsigned char const* data, _OrvRect& rect, _OrvSize& size, int stride,
              unsigned char pattern, int bitDepth);
int fillInSrc(_OrvImage* image, unsigned short const* data, _OrvRect& rect, _OrvSize& size, int stride,
              unsigned char pattern, int bitDepth);

#endif
