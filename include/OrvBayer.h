// Bayer frames to colour.
//
// Self-contained; usable from C99 and C++11 on.
#ifndef ORV_BAYER_H
#define ORV_BAYER_H

#include "OrvComponent.h"

// A Bayer conversion component.
//
// Parameters: `BayerAlgType`, 0 bilinear, 1 adaptive two-scale colour differences, 2 edge-aware (3 and 4 are
// accepted and convert as 0); `NoRealloc`, 0 or 1, without effect.
//
// Source: one of the twenty Bayer words. Destination: always three packed channels per pixel in the sample
// width of the source, whatever its word says; the word selects red or blue first. Samples keep their scale
// (a 10-bit frame gives 10-bit colour in 16-bit storage).
//
// One thread at a time per component.
#if defined(__cplusplus)
class OrvBayer {
public:
    // The parameters. Owned by the component.
    virtual OrvComponent* GetComponent() = 0;

    // Converts one frame: reads `pixelType`, `bitDepth`, `width`, `height`, `imageSize`, `stride` and `data` of
    // `source`, and `pixelType`, `width`, `height`, `stride` and `data` of `destination`; writes only the pixels
    // of the destination, never its row padding.
    //
    // Returns 0; 0x80050007 for null records or a word that is no Bayer word; 0x80050001 when OpenCV
    // refused the frame; 0x80050007, 8 or 9 from the adaptive engine. The component stays usable. Failure to
    // allocate an object passes out as std::bad_alloc.
    //
    // Algorithm 1: frames of another size need ReleaseData or AllocData first (0x80050007 else), and 16-bit
    // sources a `stride` of twice the width rounded up to even. For 16-bit sources it keeps sums from frame to
    // frame, so that a frame's pixels depend on the frames before; ReleaseData starts afresh.
    virtual uint32_t ConvertImage(_OrvImage const* source, _OrvImage* destination) = 0;

    // Starts from a clean engine for frames like `source`; reserves no pixel memory. Errors as ConvertImage.
    virtual uint32_t AllocData(_OrvImage const* source, _OrvImage* destination) = 0;

    // Frees the engine with its planes.
    virtual void ReleaseData() = 0;

    virtual ~OrvBayer() {}

    ORV_API static OrvBayer* CreateComponent();
    ORV_API static void DeleteComponent(OrvBayer* component);
};
#else
typedef struct OrvBayer OrvBayer;
#endif

#if defined(__cplusplus)
extern "C" {
#endif

// Builds a component; never null. Owned by the caller, ended by OrvBayer_DeleteComponent.
ORV_API OrvBayer* OrvBayer_CreateComponent(void);
// Ends a component; null is accepted.
ORV_API void OrvBayer_DeleteComponent(OrvBayer* component);
// The parameters of a component; null for null.
ORV_API OrvComponent* OrvBayer_GetComponent(OrvBayer* component);
// OrvBayer::ConvertImage; a null component gives 0x80050007.
ORV_API uint32_t OrvBayer_ConvertImage(OrvBayer* component, _OrvImage const* source, _OrvImage* destination);
// OrvBayer::AllocData; a null component gives 0x80050007.
ORV_API uint32_t OrvBayer_AllocData(OrvBayer* component, _OrvImage const* source, _OrvImage* destination);
// OrvBayer::ReleaseData; null is accepted.
ORV_API void OrvBayer_ReleaseData(OrvBayer* component);

// Converts one frame without a component; a call with algorithm 1 allocates its engine's planes anew. Reentrant.
//
// `algorithm`: 0 bilinear, 1 adaptive, 2 edge-aware; any other number converts nothing and returns 0. Records and
// returned words as OrvBayer::ConvertImage.
ORV_API uint32_t BayerToColor(_OrvImage const* source, _OrvImage* destination, int algorithm);

// The same on bare buffers of the caller. `size` is the source's size; `rect.width` by `rect.height` pixels are
// written, `rect.x` and `rect.y` are not read. Strides are in bytes, `pattern` is 0 GR, 1 RG, 2 BG, 3 GB. Every member
// writes three packed channels per pixel, also the C1C4R ones.
//
// Return 0, the words of BayerToColor, or 0x80050007 for a pattern above 3.

// 8 bits; `bitDepth` must be 8.
ORV_API uint32_t BayerToRGB_8u_C1C3R(unsigned char const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                     int bitDepth, unsigned char* destination, int destinationStride,
                                     unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToRGB_8u_C1C4R(unsigned char const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                     int bitDepth, unsigned char* destination, int destinationStride,
                                     unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToBGR_8u_C1C3R(unsigned char const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                     int bitDepth, unsigned char* destination, int destinationStride,
                                     unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToBGR_8u_C1C4R(unsigned char const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                     int bitDepth, unsigned char* destination, int destinationStride,
                                     unsigned char pattern, int algorithm);

// Samples of 16 bits; `bitDepth` is 10, 12, 14 or 16 (0x80050007 else) and the scale of the result.
ORV_API uint32_t BayerToRGB_16u_C1C3R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                      int bitDepth, unsigned short* destination, int destinationStride,
                                      unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToRGB_16u_C1C4R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                      int bitDepth, unsigned short* destination, int destinationStride,
                                      unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToBGR_16u_C1C3R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                      int bitDepth, unsigned short* destination, int destinationStride,
                                      unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToBGR_16u_C1C4R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                      int bitDepth, unsigned short* destination, int destinationStride,
                                      unsigned char pattern, int algorithm);

// The same, then cut to the top 8 of `bitDepth` bits. Meant for square frames, which come out exact: the 16-bit rows in
// between are `rect.height` pixels apart (C1C3R 6 bytes each, C1C4R 8), so in wider frames a row's tail holds the start
// of the next one, and OpenCV refuses algorithms 0 and 2 (0x80050001) where such a row does not fit. C1C4R writes
// 4 * `rect.width` bytes a row, of which the first 3 * `rect.width` are the pixels. A `destinationStride` below 1
// writes nothing. 0x80050009 without memory.
ORV_API uint32_t BayerToRGB_16u8u_C1C3R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                        int bitDepth, unsigned char* destination, int destinationStride,
                                        unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToRGB_16u8u_C1C4R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                        int bitDepth, unsigned char* destination, int destinationStride,
                                        unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToBGR_16u8u_C1C3R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                        int bitDepth, unsigned char* destination, int destinationStride,
                                        unsigned char pattern, int algorithm);
ORV_API uint32_t BayerToBGR_16u8u_C1C4R(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride,
                                        int bitDepth, unsigned char* destination, int destinationStride,
                                        unsigned char pattern, int algorithm);

#if defined(__cplusplus)
}  // extern "C"
#endif

#endif
