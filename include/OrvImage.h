/// \file
/// Image records, pixel type words and status words: the vocabulary of every call of the library.
///
/// Self-contained; usable from C99 and C++11 on.
#ifndef ORV_IMAGE_H
#define ORV_IMAGE_H

#include <stdint.h>

#include "OrvVersion.h"

#if defined(_WIN32)
#error "libOrvDemosaicing supports 64-bit Linux only"
#endif

/// Marks what the shared library exports.
#define ORV_API __attribute__((visibility("default")))

#if defined(__cplusplus)
#define ORV_INLINE inline             ///< of functions in a header; `static inline` in C
#define ORV_CONSTEXPR constexpr       ///< `static inline` in C
#define ORV_UINT32_ENUM : uint32_t    ///< of an enumeration; nothing in C
#else
#define ORV_INLINE static inline
#define ORV_CONSTEXPR static inline
#define ORV_UINT32_ENUM
#endif

/// One frame. The caller owns the record and the pixel memory it points at; no call keeps a pointer to
/// either after it has returned. `size`, `version` and the reserved fields are not tested on input.
typedef struct _OrvImage {
    uint32_t size;       ///< size of this record in bytes, 96
    uint32_t version;    ///< record layout, 0x20000
    uint32_t pixelType;  ///< pixel type word, see OrvPixelType
    int32_t bitDepth;    ///< significant bits of a sample: 8, 10, 12, 14 or 16
    uint32_t reserved0;  ///< 0
    uint32_t reserved1;  ///< 0
    uint32_t reserved2;  ///< 0
    uint32_t reserved3;  ///< 0
    uint32_t reserved4;  ///< 0
    int32_t width;       ///< pixels
    int32_t height;      ///< pixels
    int32_t imageSize;   ///< height times stride, bytes
    int32_t stride;      ///< bytes from one row to the next, whatever the sample width
    uint64_t reserved5;  ///< 0
    uint64_t reserved6;  ///< 0
    uint64_t reserved7;  ///< 0
    void* data;          ///< first pixel of the frame
    uint64_t reserved8;  ///< 0
} _OrvImage;

/// Rectangle in pixels.
typedef struct _OrvRect {
    int32_t x;       ///< first column
    int32_t y;       ///< first row
    int32_t width;   ///< columns
    int32_t height;  ///< rows
} _OrvRect;

/// Size in pixels.
typedef struct _OrvSize {
    int32_t width;   ///< columns
    int32_t height;  ///< rows
} _OrvSize;

#if defined(__cplusplus)
///@{
/// Whether all fields are equal, or not.
inline bool operator==(_OrvRect& a, _OrvRect& b) {
    return a.height == b.height && a.width == b.width && a.x == b.x && a.y == b.y;
}
inline bool operator!=(_OrvRect& a, _OrvRect& b) { return !(a == b); }
inline bool operator==(_OrvSize& a, _OrvSize& b) { return a.width == b.width && a.height == b.height; }
inline bool operator!=(_OrvSize& a, _OrvSize& b) { return !(a == b); }
///@}
#endif

/// Pixel type words. From the top byte down: class (2 colour, 3 Bayer, 4 TrueSense), storage bits per
/// pixel of all channels, depth code (1 to 5 for 8, 10, 12, 14, 16 bits), serial number.
///
/// Samples above 8 bits stand in 16-bit storage, low bits significant.
typedef enum OrvPixelType ORV_UINT32_ENUM {
    /// Bayer mosaics, named by the top-left 2 by 2 cell: GR is  G R / B G.
    OrvPixelBayerGR8 = 0x0308010Du,
    OrvPixelBayerRG8 = 0x0308010Eu,  ///< R G / G B
    OrvPixelBayerGB8 = 0x0308010Fu,  ///< G B / R G
    OrvPixelBayerBG8 = 0x03080110u,  ///< B G / G R
    OrvPixelBayerGR10 = 0x03100211u,
    OrvPixelBayerRG10 = 0x03100212u,
    OrvPixelBayerGB10 = 0x03100213u,
    OrvPixelBayerBG10 = 0x03100214u,
    OrvPixelBayerGR12 = 0x03100315u,
    OrvPixelBayerRG12 = 0x03100316u,
    OrvPixelBayerGB12 = 0x03100317u,
    OrvPixelBayerBG12 = 0x03100318u,
    OrvPixelBayerGR14 = 0x03100429u,
    OrvPixelBayerRG14 = 0x0310042Au,
    OrvPixelBayerGB14 = 0x0310042Bu,
    OrvPixelBayerBG14 = 0x0310042Cu,
    OrvPixelBayerGR16 = 0x0310052Du,
    OrvPixelBayerRG16 = 0x0310052Eu,
    OrvPixelBayerGB16 = 0x0310052Fu,
    OrvPixelBayerBG16 = 0x03100530u,

    /// TrueSense mosaics: the first of 16 consecutive words of each depth; see OrvPixelTrueSense.
    OrvPixelTrueSense8 = 0x04080131u,
    OrvPixelTrueSense10 = 0x04100241u,
    OrvPixelTrueSense12 = 0x04100351u,
    OrvPixelTrueSense14 = 0x04100461u,

    /// Colour images, channels in memory order.
    OrvPixelRGB8 = 0x02180171u,
    OrvPixelBGR8 = 0x02180172u,
    OrvPixelRGBA8 = 0x02200173u,
    OrvPixelBGRA8 = 0x02200174u,
    OrvPixelRGB10 = 0x02300275u,
    OrvPixelBGR10 = 0x02300276u,
    OrvPixelRGB12 = 0x02300377u,
    OrvPixelBGR12 = 0x02300378u,
    OrvPixelRGB14 = 0x02300479u,
    OrvPixelBGR14 = 0x0230047Au,
    OrvPixelRGB16 = 0x0230057Bu,
    OrvPixelBGR16 = 0x0230057Cu
} OrvPixelType;

/// The TrueSense word of one depth for a grid code, 0 to 15. `first` is OrvPixelTrueSense8, 10, 12 or 14.
///
/// The 4 by 4 cell (P panchromatic):
///
///     P B P G
///     B P G P
///     P G P R
///     G P R P
///
/// A grid code tells the cell position of the frame's top-left pixel: column `grid & 3`, row `grid >> 2`.
/// So the top-left letters of a frame are: grid 0 P B / B P, 1 B P / P G, 2 P G / G P, 3 G P / P B,
/// 4 B P / P G, 5 P G / G P, 6 G P / P R, 7 P B / R P, 8 P G / G P, 9 G P / P R, 10 P R / R P, 11 R P / P G,
/// 12 G P / P B, 13 P R / B P, 14 R P / P G, 15 P G / G P.
ORV_CONSTEXPR uint32_t OrvPixelTrueSense(OrvPixelType first, unsigned grid) {
    return first + ((grid & 9u) | ((grid & 2u) << 1) | ((grid & 4u) >> 1));
}

/// Status word of every conversion and component call: 0 is success. A failure has the top bit set, the
/// family in bits 16 to 23 (1 parameters, 5 Bayer, 6 TrueSense, 7 helpers) and one of these codes below.
typedef enum OrvStatusCode ORV_UINT32_ENUM {
    OrvStatusOpenCv = 1,          ///< refused size, stride or pixels (Bayer); an engine or OpenCV failed
    OrvStatusBufferTooShort = 6,  ///< the needed length was returned through the length argument
    OrvStatusBadArgument = 7,     ///< null component or record, a word no table holds, a number out of range
    OrvStatusNullPointer = 8,     ///< an engine was given no pixels
    OrvStatusNoMemory = 9,        ///< memory for a work plane could not be obtained
    OrvStatusNotFound = 10,       ///< no parameter of that name
    OrvStatusWrongType = 11,      ///< the parameter has another type
    OrvStatusOutOfRange = 12      ///< the value is outside the parameter's range or no number, or a format does not fit
} OrvStatusCode;

/// A short English text for a status word; never null, static storage.
ORV_INLINE const char* OrvStatusText(uint32_t status) {
    if (status == 0) {
        return "success";
    }
    if ((status & 0x80000000u) == 0) {
        return "not a status word";
    }
    switch (status & 0xFFFFu) {
    case OrvStatusOpenCv:
        return (status & 0xFF0000u) == 0x50000u
                   ? "the frame's size, stride or pixel pointer is refused, or OpenCV failed"
                   : "the conversion failed inside an engine or OpenCV";
    case OrvStatusBufferTooShort: return "the buffer is too short";
    case OrvStatusBadArgument:
        return (status & 0xFF0000u) == 0x10000u
                   ? "null argument"
                   : "bad argument: null pointer, wrong pixel type, or a number out of range";
    case OrvStatusNullPointer: return "null pixel pointer";
    case OrvStatusNoMemory: return "no memory for a work plane";
    case OrvStatusNotFound: return "unknown parameter name";
    case OrvStatusWrongType: return "the parameter has another type";
    case OrvStatusOutOfRange: return "the value is out of range or not a number, or the format does not fit it";
    default: return "unknown failure";
    }
}

#endif
