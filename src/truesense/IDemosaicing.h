// The two interfaces that drive every TrueSense engine.
#ifndef ORV_TRUESENSE_IDEMOSAICING_H
#define ORV_TRUESENSE_IDEMOSAICING_H

#include "OrvImage.h"
#include "OrvTrueSense.h"

// Type-blind handle of an engine.
class IDemosaicing {
public:
    virtual ~IDemosaicing() = default;
    // Forgets the frame geometry, so that the next Init rebuilds.
    virtual void CleanMemory() = 0;
    // True when `other` is this very object.
    virtual bool IsThis(IDemosaicing* other) = 0;
};

// Work interface for sources of sample type T. All results are bare codes: 0, 1, 7, 8 or 9.
//
// Order of calls: SetOutputPixelType; Init and Calculate, or InitRGB and CalculateRGB. Calculate runs only after
// an Init that returned 0. Strides are in bytes. `rect` is the region to convert, `size` the whole frame; both are
// trusted. `grid` above 15 is refused with 7. `param` may be null: each engine has its fallback.
template <class T>
class IDemConvertion {
public:
    virtual ~IDemConvertion() = default;
    // Layout of the next results: four channels per pixel (the fourth is not written), blue first.
    virtual void SetOutputPixelType(bool alpha, bool bgr) = 0;
    virtual int Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
                     unsigned char grid, tagTrueSenseParam* param) = 0;
    virtual int Calculate() = 0;
    // From 16-bit samples to 8-bit results.
    virtual int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits,
                        unsigned char* dst, int dstStride, unsigned char grid, tagTrueSenseParam* param) = 0;
    virtual int CalculateRGB() = 0;
};

#endif
