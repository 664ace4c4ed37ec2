/// \file
/// TrueSense frames to colour.
///
/// Self-contained; usable from C99 and C++11 on.
///
/// Every call trusts its arguments: sizes, strides and buffers are not checked against one another, and a frame that is
/// described wrongly is read or written past its end. Floating point is expected in its usual state, rounding to
/// nearest with exceptions masked; flushing denormals to zero changes nothing.
///
/// In a child of fork() conversions work too; they keep to the calling thread where the parent had threads. After
/// dlclose() the library stays mapped, since threads of the OpenMP runtime live on.
#ifndef ORV_TRUESENSE_H
#define ORV_TRUESENSE_H

#include <stdbool.h>

#include "OrvComponent.h"

/// Settings of the TrueSense engines. Inside a component every field but `toneTable` is the parameter of the same name.
/// On and off are 1 and 0. What each algorithm reads; other fields have no effect on it:
///
///     field                                                 0  1  2  3  4
///     threads_num                                           x  x  x  x  x
///     normalizationEnable                                   x  x  x  x  x   in 16-bit results
///     horMirrored, verMirrored                              x  x  x  x  x
///     monoEnable                                            -  -  -  x  x
///     impulseFilterEnable                                   -  x  -  x  -   4 always filters
///     sharpnessEnable                                       -  -  -  x  -   4 always sharpens
///     darkFloor                                             -  -  -  x  x
///     redGain, greenGain, blueGain, panGain                 -  x  -  x  x
///     globalGain                                            -  -  -  x  x   4 applies it above 1.0 only
///     analogGain, ISOAnalogGain_0 to _4                     -  -  -  x  x
///     ISOPanSlope_0 to _4, ISOPanIntercept_0 to _4          -  -  -  -  x   3 cleans pan by the noise of colour
///     ISOColorSlope_0 to _4, ISOColorIntercept_0 to _4      -  -  -  x  x
///     panRadius0 to 2, panSigma0 to 2                       -  -  -  x  x
///     colorRadius0 to 2, colorSigma0 to 2                   -  -  -  x  x
///     RR to BB                                              x  x  x  x  x
///     sharpenParam, maxSharpen, highLumaNoise, lowLumaNoise -  -  -  x  x
///     toneTable                                             x  x  x  x  x
///
/// White balance: 0 and 2 have no gains. With them multiply the matrix's columns by the gains of red, green and blue.
///
/// Units: a 12-bit value is a linear sample scaled to 0 to 4095, from sources of any depth; a code is its gamma code, 0
/// to 1023, which is the value itself up to 276 and logarithmic above.
typedef struct tagTrueSenseParam {
    long threads_num;          ///< threads of every team of a conversion; 0: the process's default
    long normalizationEnable;  ///< 1: 16-bit results are spread over 16 bits; 0: they keep the depth of the source
    long horMirrored;          ///< 1: the mosaic reaches the engine mirrored left to right
    long verMirrored;          ///< 1: the mosaic reaches the engine mirrored top to bottom
    long monoEnable;           ///< 1: drop the colour differences, all channels carry pan
    long impulseFilterEnable;  ///< 1: clip single outliers of the pan samples
    long sharpnessEnable;      ///< 1: sharpen the result
    long darkFloor;            ///< subtracted from every sample, 12-bit value
    double redGain;            ///< white balance of red, factor on 12-bit values
    double greenGain;          ///< of green
    double blueGain;           ///< of blue
    double panGain;            ///< gain of pan against the colours
    double globalGain;         ///< factor on the whole frame, above 0
    double analogGain;         ///< gain of the exposure, in the unit of the abscissae of the noise model
    ///@{
    /// Abscissae of the noise model: analog gains, ascending.
    double ISOAnalogGain_0;
    double ISOAnalogGain_1;
    double ISOAnalogGain_2;
    double ISOAnalogGain_3;
    double ISOAnalogGain_4;
    ///@}
    ///@{
    /// Noise variance of pan, 12-bit values squared: slope times the 12-bit value plus intercept, at each abscissa.
    double ISOPanSlope_0;
    double ISOPanSlope_1;
    double ISOPanSlope_2;
    double ISOPanSlope_3;
    double ISOPanSlope_4;
    double ISOPanIntercept_0;
    double ISOPanIntercept_1;
    double ISOPanIntercept_2;
    double ISOPanIntercept_3;
    double ISOPanIntercept_4;
    ///@}
    ///@{
    /// Noise variance of colour, likewise.
    double ISOColorSlope_0;
    double ISOColorSlope_1;
    double ISOColorSlope_2;
    double ISOColorSlope_3;
    double ISOColorSlope_4;
    double ISOColorIntercept_0;
    double ISOColorIntercept_1;
    double ISOColorIntercept_2;
    double ISOColorIntercept_3;
    double ISOColorIntercept_4;
    ///@}
    ///@{
    /// Spacing of the pan noise filter's passes, half-size pixels; 0: no pass.
    long panRadius0;
    long panRadius1;
    long panRadius2;
    ///@}
    ///@{
    /// Thresholds of these passes, standard deviations of the noise.
    double panSigma0;
    double panSigma1;
    double panSigma2;
    ///@}
    ///@{
    /// Spacing of the colour noise filter's passes, cells of the half-size mosaic, 2 by 2 pixels each; 0: no pass.
    long colorRadius0;
    long colorRadius1;
    long colorRadius2;
    ///@}
    ///@{
    /// Thresholds of these passes, standard deviations of the noise.
    double colorSigma0;
    double colorSigma1;
    double colorSigma2;
    ///@}
    ///@{
    /// Colour matrix over 12-bit values: result first, so RG is the share of green in the resulting red.
    double RR;
    double RG;
    double RB;
    double GR;
    double GG;
    double GB;
    double BR;
    double BG;
    double BB;
    ///@}
    double sharpenParam;  ///< edge response where sharpening starts, above 0: codes (3) or tones (4); less in the light
    double maxSharpen;    ///< cap of the sharpening gain
    double highLumaNoise;      ///< share of pan noise given back: rises with the brightness towards this
    double lowLumaNoise;       ///< the share in the dark, from which it rises
    const int16_t* toneTable;  ///< 4096 tones by 12-bit value, or null for the engine's own curve: tones of 0 to 4095,
                               ///< for algorithm 4 of 0 to 255. Not owned; must outlive the conversions that use it. No
                               ///< parameter reaches it.
} tagTrueSenseParam;

/// A TrueSense conversion component.
///
/// Parameters: `TrueSenseAlgType`, `NoRealloc` (0 or 1, without effect), then the fields of tagTrueSenseParam from
/// `threads_num` to `lowLumaNoise`. `TrueSenseAlgType` chooses the engine: 0 fast integer reconstruction (the default),
/// 1 white balance, pan and colour differences of 2 by 2 blocks, 2 bilinear colour of half the resolution over
/// full-size pan, 3 a pipeline with noise model, cleaning and sharpening, in 12 bits, 4 its reference form, which ends
/// in 8 bits and takes tone tables of 8 bits. Numbers 5 and 6 have no engine and fail every conversion.
///
/// Source: one of the 64 TrueSense words (OrvPixelTrueSense). Destination: from 8-bit sources the four 8-bit
/// words; from deeper ones the 8-bit words and all eight 16-bit words. The fourth channel of RGBA and BGRA
/// keeps what the caller has there. The size of the source is written; the destination's `width` and `height`
/// are not read.
///
/// Results carry the tone curve of `toneTable`, where Bayer results are linear. The scale of 16-bit results is that of
/// the source's `bitDepth`, whatever the destination's word or depth says: 0 to 4095 from 12 bits, in RGB16 too. With
/// `normalizationEnable` it is that of 16 bits, 0 to 65520. Algorithm 4 has 8 bits of precision: its steps are 256
/// times as large then, 0 to 65280.
///
/// The engine stays from frame to frame, with its planes, until a frame of the other sample width or a change of
/// `TrueSenseAlgType`. Parameters take effect with the next frame.
///
/// One thread at a time per component; any components may run at once. A conversion opens OpenMP teams, all of
/// `threads_num` threads, or of as many as the system starts; results do not depend on it. From deeper sources to 8-bit
/// words algorithm 0 leaves a `threads_num` above 0 behind as the calling thread's default team size; else that size
/// stays as it is.
#if defined(__cplusplus)
class OrvTrueSense {
public:
    /// The parameters. Owned by the component.
    virtual OrvComponent* GetComponent() = 0;

    /// Converts one frame: reads `pixelType`, `bitDepth`, `width`, `height`, `stride` and `data` of `source`, and
    /// `pixelType`, `stride` and `data` of `destination`; writes only the pixels, never row padding.
    ///
    /// Returns 0; 0x80060007 for null records, words of no or the wrong table, an algorithm number out of
    /// range or a bit depth outside 8, 10, 12, 14, 16 (algorithm 4: also 10 bits to 8); 0x80060008 for null pixels;
    /// 0x80060009 when memory ran out, and for frames without pixels: a negative width or height, or one of 0, unless
    /// the word puts the first pixel past the first column or row of the cell (then 0, nothing written); 0x80060001
    /// when an engine failed. The component stays usable. Exceptions of OpenCV that an engine does not catch, and
    /// std::bad_alloc, pass out; after one from an 8-bit source `normalizationEnable` stays 0.
    virtual uint32_t ConvertImage(_OrvImage const* source, _OrvImage* destination) = 0;

    /// Frees the engine and builds one for frames like `source`; its planes come with the first frame. Of
    /// `destination` only null is tested. Returns 0; 0x80060007 for null records, a word that is no TrueSense word or
    /// an algorithm number out of range.
    virtual uint32_t AllocData(_OrvImage const* source, _OrvImage* destination) = 0;

    /// Frees the engine with its planes.
    virtual void ReleaseData() = 0;

    virtual ~OrvTrueSense() {}

    /// As OrvTrueSense_CreateComponent.
    ORV_API static OrvTrueSense* CreateComponent();
    /// As OrvTrueSense_DeleteComponent.
    ORV_API static void DeleteComponent(OrvTrueSense* component);
};
#else
typedef struct OrvTrueSense OrvTrueSense;
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/// Builds a component; never null. Owned by the caller, ended by OrvTrueSense_DeleteComponent.
ORV_API OrvTrueSense* OrvTrueSense_CreateComponent(void);
/// Ends a component; null is accepted.
ORV_API void OrvTrueSense_DeleteComponent(OrvTrueSense* component);
/// The parameters of a component; null for null.
ORV_API OrvComponent* OrvTrueSense_GetComponent(OrvTrueSense* component);
/// OrvTrueSense::ConvertImage; a null component gives 0x80060007.
ORV_API uint32_t OrvTrueSense_ConvertImage(OrvTrueSense* component, _OrvImage const* source, _OrvImage* destination);
/// OrvTrueSense::AllocData; a null component gives 0x80060007.
ORV_API uint32_t OrvTrueSense_AllocData(OrvTrueSense* component, _OrvImage const* source, _OrvImage* destination);
/// OrvTrueSense::ReleaseData; null is accepted.
ORV_API void OrvTrueSense_ReleaseData(OrvTrueSense* component);

/// Fills `param` (not null) with the settings that plain calls start from; some differ from a component's
/// defaults: the filters are on, and decimal constants are rounded to single precision. Returns 0.
ORV_API uint32_t TrueSense_DefaultValues(tagTrueSenseParam* param);

/// Converts one frame without a component, by the settings of `param`: records as OrvTrueSense::ConvertImage, whose
/// status words are returned, and `algorithm` as `TrueSenseAlgType`. A null `param` stands for the engine's own
/// settings. From 8-bit sources the call sets `normalizationEnable` of `param` to 0 and leaves it so.
///
/// `oneShot` false: the engine stays with its planes for the next frame of the same kind, until another algorithm is
/// used with frames of that kind or the process ends. True: an engine is built for the call, and no frame is kept.
///
/// Not reentrant: one thread at a time per function below, and per function that TrueSenseToColor reaches; it
/// calls the one of the same widths, channels and order. Exceptions of OpenCV that an engine does not catch, and
/// std::bad_alloc, pass out.
ORV_API uint32_t TrueSenseToColor(_OrvImage const* source, _OrvImage* destination, tagTrueSenseParam* param,
                                  int algorithm, bool oneShot);

///@{
/// TrueSenseToColor for 8 bits on bare buffers of the caller: the region `rect` of a frame of `size` at `src`, to
/// `rect.width` by `rect.height` pixels at `dst`; `rect` must lie in the frame. Strides are in bytes; a negative one
/// makes rows run forward by its magnitude and columns backward from the pointer. `bits` is 8, 10, 12, 14 or 16.
/// `grid`, 0 to 15, places the frame's first sample in the cell: its column is `grid & 3`, its row `grid >> 2`. C1C4R
/// members leave the fourth sample of a pixel as it is.
///
/// Return 0; 0x80060007 for an algorithm or grid out of range, or `bits` outside that list; 0x80060008 for null pixels;
/// 0x80060009 when memory ran out or the region is empty or negative (a region of which only w or h is 0 may give 0);
/// 0x80060001 when the engine failed.
///
/// `normalizationEnable` of `param` is set to 0, whatever the result; algorithm 0 takes `bits` as 8.
ORV_API uint32_t TrueSenseToRGB_8u_C1C3R(unsigned char const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                         int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                         tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToBGR_8u_C1C3R(unsigned char const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                         int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                         tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToRGB_8u_C1C4R(unsigned char const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                         int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                         tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToBGR_8u_C1C4R(unsigned char const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                         int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                         tagTrueSenseParam* param, int algorithm, bool oneShot);
///@}

///@{
/// The same for 16-bit samples to 16-bit results; `normalizationEnable` of `param` is read.
ORV_API uint32_t TrueSenseToRGB_16u_C1C3R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                          int bits, unsigned short* dst, int dstStride, unsigned char grid,
                                          tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToBGR_16u_C1C3R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                          int bits, unsigned short* dst, int dstStride, unsigned char grid,
                                          tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToRGB_16u_C1C4R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                          int bits, unsigned short* dst, int dstStride, unsigned char grid,
                                          tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToBGR_16u_C1C4R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                          int bits, unsigned short* dst, int dstStride, unsigned char grid,
                                          tagTrueSenseParam* param, int algorithm, bool oneShot);
///@}

///@{
/// The same for 16-bit samples to 8-bit results. Algorithm 4 refuses `bits` 10 with 0x80060007.
ORV_API uint32_t TrueSenseToRGB_16u8u_C1C3R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                            int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                            tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToBGR_16u8u_C1C3R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                            int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                            tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToRGB_16u8u_C1C4R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                            int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                            tagTrueSenseParam* param, int algorithm, bool oneShot);
ORV_API uint32_t TrueSenseToBGR_16u8u_C1C4R(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride,
                                            int bits, unsigned char* dst, int dstStride, unsigned char grid,
                                            tagTrueSenseParam* param, int algorithm, bool oneShot);
///@}

#if defined(__cplusplus)
}  // extern "C"
#endif

#endif
