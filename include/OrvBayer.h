/// \file
/// Bayer frames to colour.
///
/// Self-contained; usable from C99 and C++11 on.
///
/// Every call trusts its records: sizes, strides and buffers are not checked against one another, and a frame that its
/// record describes wrongly is read or written past its end. Floating point is expected in its usual state, rounding to
/// nearest with exceptions masked; flushing denormals to zero changes nothing.
///
/// In a child of fork() conversions work too; they keep to the calling thread where the parent had threads. After
/// dlclose() the library stays mapped.
#ifndef ORV_BAYER_H
#define ORV_BAYER_H

#include "OrvComponent.h"

/// A Bayer conversion component.
///
/// Parameters: `BayerAlgType`, 0 bilinear, 1 adaptive two-scale colour differences, 2 edge-aware (3 and 4 are
/// accepted and convert as 0); `NoRealloc`, 0 or 1, without effect.
///
/// Source: one of the twenty Bayer words. Destination: always three packed channels per pixel in the sample
/// width of the source, whatever its word says; the word selects red or blue first, except that algorithm 1 with an
/// 8-bit source knows RGB8 and BGR8 only: any other word gets the colour of the even rows first. Samples keep their
/// scale (a 10-bit frame gives 10-bit colour in 16-bit storage) and stay linear.
///
/// One thread at a time per component; any components may run at once. Rows of algorithms 0 and 2 are handed to
/// OpenCV's threads (cv::setNumThreads governs), algorithm 1 runs on the calling thread.
#if defined(__cplusplus)
class OrvBayer {
public:
    /// The parameters. Owned by the component.
    virtual OrvComponent* GetComponent() = 0;

    /// Converts one frame: reads `pixelType`, `bitDepth`, `width`, `height`, `imageSize`, `stride` and `data` of
    /// `source`, and `pixelType`, `width`, `height`, `stride` and `data` of `destination`; writes only the pixels
    /// of the destination, never its row padding.
    ///
    /// Returns 0, or before anything is written 0x80050007 for null records or a word that is no Bayer word, and what
    /// the algorithm refuses. The component stays usable. Failure to allocate an object passes out as std::bad_alloc.
    ///
    /// Algorithms 0 and 2 give the bits of cv::cvtColor on packed rows; frames below three rows or columns become 0.
    /// They refuse with 0x80050001: a negative width or height, a source without pixels or with null `data`, null
    /// `data` of a destination that has pixels, a stride above 0 that is shorter than a row and, above 8 bits, an odd
    /// stride. Stride 0 means packed rows. A destination of another size than the source's gives 0 and keeps its
    /// pixels.
    ///
    /// Algorithm 1 refuses with 0x80050008 null `data`, with 0x80050009 a width or height below 1 and a frame without
    /// memory for it, with 0x80050007 a frame of another size than before (call ReleaseData or AllocData in between;
    /// odd sizes count as the next even ones) and a destination wider or higher than the source. A smaller destination
    /// takes the upper left part. Three fields must be right, since a wrong one gives a wrong picture with status 0:
    /// - `bitDepth` bounds the results to [0, 2^bitDepth - 1];
    /// - `imageSize` of a source with the engine's own stride (width rounded up to even, times the bytes of a sample)
    /// is
    ///   the number of bytes that are copied in;
    /// - `stride` of a source above 8 bits must be the engine's own: else only every second row arrives.
    ///
    /// Algorithm 1 takes differences of colours, which vanish on grey if samples are balanced. Multiply them by the
    /// gains of white balance, or have the camera do so, before the conversion: balanced afterwards, edges are coloured
    /// and most of what this algorithm gains is lost.
    ///
    /// Algorithm 1 above 8 bits carries window sums from frame to frame, so pixels depend on the frames before, and
    /// they get worse: mean PSNR of 23 scenes at 12 bits is 37.7 dB for a component's first frame and 36.4 dB from the
    /// second on, where fine print shows red and blue zippers. ReleaseData before each frame gives every frame the
    /// bits and the quality of a first one, for 1 to 2 % more time.
    virtual uint32_t ConvertImage(_OrvImage const* source, _OrvImage* destination) = 0;

    /// Starts from a clean engine for frames like `source`; reserves no pixel memory. Errors as ConvertImage.
    virtual uint32_t AllocData(_OrvImage const* source, _OrvImage* destination) = 0;

    /// Frees the engine with its planes.
    virtual void ReleaseData() = 0;

    virtual ~OrvBayer() {}

    /// As OrvBayer_CreateComponent.
    ORV_API static OrvBayer* CreateComponent();
    /// As OrvBayer_DeleteComponent.
    ORV_API static void DeleteComponent(OrvBayer* component);
};
#else
typedef struct OrvBayer OrvBayer;
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/// Builds a component; never null. Owned by the caller, ended by OrvBayer_DeleteComponent.
ORV_API OrvBayer* OrvBayer_CreateComponent(void);
/// Ends a component; null is accepted.
ORV_API void OrvBayer_DeleteComponent(OrvBayer* component);
/// The parameters of a component; null for null.
ORV_API OrvComponent* OrvBayer_GetComponent(OrvBayer* component);
/// OrvBayer::ConvertImage; a null component gives 0x80050007.
ORV_API uint32_t OrvBayer_ConvertImage(OrvBayer* component, _OrvImage const* source, _OrvImage* destination);
/// OrvBayer::AllocData; a null component gives 0x80050007.
ORV_API uint32_t OrvBayer_AllocData(OrvBayer* component, _OrvImage const* source, _OrvImage* destination);
/// OrvBayer::ReleaseData; null is accepted.
ORV_API void OrvBayer_ReleaseData(OrvBayer* component);

/// Converts one frame without a component; a call with algorithm 1 allocates its engine's planes anew. Reentrant.
///
/// `algorithm`: 0 bilinear, 1 adaptive, 2 edge-aware; any other number converts nothing and returns 0. Records and
/// returned words as OrvBayer::ConvertImage; every frame is a first one.
ORV_API uint32_t BayerToColor(_OrvImage const* source, _OrvImage* destination, int algorithm);

///@{
/// BayerToColor for 8 bits on bare buffers of the caller. `size` is the source's size; `rect.width` by `rect.height`
/// pixels are written, `rect.x` and `rect.y` are not read. Strides are in bytes, `pattern` is 0 GR, 1 RG, 2 BG, 3 GB.
/// Every member writes three packed channels per pixel, also the C1C4R ones.
///
/// `bitDepth` must be 8. Return 0, the words of BayerToColor, or 0x80050007 for a pattern above 3 or another depth.
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
///@}

///@{
/// The same for samples of 16 bits; `bitDepth` is 10, 12, 14 or 16 (0x80050007 else) and the scale of the result.
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
///@}

///@{
/// The same for samples of 16 bits, then cut to the top 8 of `bitDepth` bits. Meant for square frames, which come out
/// exact: the 16-bit rows in between are `rect.height` pixels apart (C1C3R 6 bytes each, C1C4R 8), so in wider frames a
/// row's tail holds the start of the next one, and algorithms 0 and 2 refuse (0x80050001) rows that do not fit. C1C4R
/// writes 4 * `rect.width` bytes a row, of which the first 3 * `rect.width` are the pixels. A `destinationStride` below
/// 1 writes nothing. 0x80050009 without memory. Where the step in between writes nothing (any other algorithm number,
/// or algorithms 0 and 2 with a `rect` of another size than `size`), the destination becomes 0.
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
///@}

#if defined(__cplusplus)
}  // extern "C"
#endif

#endif
