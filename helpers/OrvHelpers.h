/// \file
/// Everything around a conversion: names and numbers of pixel formats, what a crop or a mirror makes of a mosaic,
/// packed camera frames, rows and depths that do not fit, and the parameters of a component, for C and whatever calls
/// C.
///
/// Self-contained; usable from C99 and C++11 on. libOrvHelpers is a library of its own: it links neither
/// libOrvDemosaicing nor OpenCV, and reaches components through their interfaces.
///
/// Functions that return a status word return 0, or 0x80070007 for a bad argument (null, a negative or overflowing
/// number, a word or stride that does not fit), 0x80070006 for a buffer too short, or what a component that they call
/// returns; of what it throws, 0x80070009 without memory and 0x80070001 else. OrvStatusText knows all of them. After a
/// failure nothing has been written, save a length that is reported. Functions that look something up return 0, -1 or
/// null where there is no such thing. No function reads or writes outside the buffers described to it, opens threads,
/// or keeps a pointer. Texts returned are static. All may run on several threads at a time, on memory and components of
/// their own.
#ifndef ORV_HELPERS_H
#define ORV_HELPERS_H

#include <stdbool.h>
#include <stddef.h>

#include "OrvBayer.h"
#include "OrvComponent.h"
#include "OrvImage.h"

#if defined(__cplusplus)
extern "C" {
#endif

// ---- Version --------------------------------------------------------------------------------------------------------

/// ORV_VERSION of the library in use, where the macro is the header's.
ORV_API int OrvHelpers_Version(void);
/// ORV_VERSION_TEXT of the library in use.
ORV_API const char* OrvHelpers_VersionText(void);
/// OrvStatusText as a function, for languages that read no headers.
ORV_API const char* OrvHelpers_StatusText(uint32_t status);

// ---- Pixel words ----------------------------------------------------------------------------------------------------

/// Patterns of Bayer words, as the plain functions of OrvBayer.h number them.
typedef enum OrvPattern { OrvPatternGR = 0, OrvPatternRG = 1, OrvPatternBG = 2, OrvPatternGB = 3 } OrvPattern;

/// How the samples of a mosaic row lie in its bytes. All but the first are packed and must be unpacked first
/// (OrvPacking_Unpack). W is the width of a row.
typedef enum OrvPacking {
    OrvPackingNone = 0,      ///< a sample in a byte, or in 2 bytes, low one first, low bits significant
    OrvPacking10p = 1,       ///< PFNC: a string of bits, lowest first; ceil(10 W / 8) bytes
    OrvPacking12p = 2,       ///< PFNC: a string of bits, lowest first; ceil(12 W / 8) bytes
    OrvPacking10Packed = 3,  ///< GigE Vision: 2 samples in 3 bytes, the middle one holds both low ends; 3 W / 2 bytes,
    OrvPacking12Packed = 4,  ///< an odd last sample in 2
    OrvPackingRaw10 = 5,     ///< MIPI CSI-2: 4 samples in 5 bytes, the last one holds the low ends; 5 ceil(W / 4) bytes
    OrvPackingRaw12 = 6      ///< MIPI CSI-2: 2 samples in 3 bytes, the last one holds the low ends; 3 ceil(W / 2) bytes
} OrvPacking;

/// Number of words that the library knows.
ORV_API int OrvWord_Count(void);
/// Word by index from 0: the 20 Bayer, 64 TrueSense and 12 colour words in this order. 0 for an index out of range.
ORV_API uint32_t OrvWord_At(int index);

/// The word of a name; case does not matter. 0 for an unknown one.
///
///     BayerRG12, BayerRG12p, BayerRG12Packed   as cameras name them (PFNC)
///     RGGB12, RGGB12p, RGGB12Packed            by the whole cell
///     rggb, rggb12le                           format of video/x-bayer; without a number: 8 bits
///     SRGGB12, SRGGB12P                        as V4L2 names them; P is packed as MIPI CSI-2 does
///     TrueSense12g5                            by grid code
///     SCF1WBWG12, SCF1WBWG12p                  as cameras name the four of 16 grid codes that have names
///     RGB8, BGRA8, RGB12, RGB, BGRA            colour; without a number: 8 bits
///     0x03100316, 0x01100011                   words and PFNC numbers
///
/// `packing` receives the packing (OrvPacking); it may be null, and then names of packed formats are unknown. It is
/// written for known names only.
ORV_API uint32_t OrvWord_FromName(const char* name, int* packing);

/// The library's name: BayerRG12, TrueSense12g5, BGRA8. Null for no word.
ORV_API const char* OrvWord_Name(uint32_t word);

/// Significant bits of a sample, 8 to 16; 0 for no word.
ORV_API int OrvWord_Bits(uint32_t word);
/// Samples per pixel, 1, 3 or 4; 0 for no word.
ORV_API int OrvWord_Channels(uint32_t word);
/// Bytes of a row of `width` pixels, without padding. -1 for no word, a negative width, or a packing that is not one of
/// the word's depth.
ORV_API int64_t OrvWord_RowBytes(uint32_t word, int packing, int64_t width);

/// OrvPattern of a Bayer word; -1 for others.
ORV_API int OrvWord_Pattern(uint32_t word);
/// Grid code, 0 to 15, of a TrueSense word; -1 for others.
ORV_API int OrvWord_Grid(uint32_t word);
/// The word of an OrvPattern and `bits` of 8, 10, 12, 14 or 16; 0 for other numbers.
ORV_API uint32_t OrvWord_Bayer(int pattern, int bits);
/// The word of a grid code and `bits` of 8, 10, 12 or 14; 0 for other numbers.
ORV_API uint32_t OrvWord_TrueSense(int grid, int bits);
/// The colour word of 3 or, at 8 bits, 4 channels. 0 where there is none.
ORV_API uint32_t OrvWord_Colour(bool blueFirst, int channels, int bits);

/// The filter in front of pixel (x, y) of a mosaic: 'R', 'G', 'B' or 'P' (panchromatic). 0 for other words. Any x and
/// y: the mosaic goes on in all directions.
ORV_API char OrvWord_Site(uint32_t word, int64_t x, int64_t y);

/// The word of the same depth for the frame that begins at pixel (x, y) of one of `word`, as long as `horMirrored` and
/// `verMirrored` are 0. 0 for other words and for negative x or y.
ORV_API uint32_t OrvWord_AfterCrop(uint32_t word, int64_t x, int64_t y);

/// The word of the same depth for the frame whose data, `width` by `height` pixels of `word`, have been mirrored: left
/// to right (`horizontal`), top to bottom (`vertical`), or both, which is half a turn. 0 for other words and sizes
/// below 1.
///
/// Of TrueSense frames, a single mirror makes a mosaic that no word describes: 0. There keep the word and toggle the
/// parameter `horMirrored` or `verMirrored` instead, which tells an engine that the mosaic reaches it mirrored (the
/// parameter itself never turns the picture).
ORV_API uint32_t OrvWord_AfterMirror(uint32_t word, bool horizontal, bool vertical, int64_t width, int64_t height);

// ---- The same formats elsewhere -------------------------------------------------------------------------------------

/// Number in the Pixel Format Naming Convention of GenICam cameras (Bayer, the four named TrueSense grids, colour). 0
/// where there is none.
ORV_API uint32_t OrvPfnc_FromWord(uint32_t word, int packing);
/// And back. 0 for a number of another format. `packing` as in OrvWord_FromName.
ORV_API uint32_t OrvPfnc_ToWord(uint32_t pfnc, int* packing);
/// The number's name (BayerRG12p), null for a number of another format.
ORV_API const char* OrvPfnc_Name(uint32_t pfnc);
/// And back, case as written; 0 for an unknown name.
ORV_API uint32_t OrvPfnc_FromName(const char* name);

/// Code of V4L2 (V4L2_PIX_FMT_...; RG12, pRCC). 0 where there is none: TrueSense, PFNC and GigE Vision packings, colour
/// above 8 bits.
ORV_API uint32_t OrvV4l2_FromWord(uint32_t word, int packing);
/// And back. 0 for a code of another format. `packing` as in OrvWord_FromName.
ORV_API uint32_t OrvV4l2_ToWord(uint32_t fourcc, int* packing);

/// Code of cv::cvtColor (cv::COLOR_Bayer...) for a Bayer word, plain or edge-aware (..._EA), to blue or red first; -1
/// for other words. OpenCV names a pattern by the second row from the second column on: BayerRG12 is COLOR_BayerBG2BGR.
ORV_API int OrvOpenCv_FromWord(uint32_t word, bool blueFirst, bool edgeAware);
/// Its name, COLOR_BayerBG2RGB. Null for other words.
ORV_API const char* OrvOpenCv_Name(uint32_t word, bool blueFirst, bool edgeAware);
/// And back: the Bayer word of `bits` for which a code gives blue or red first; each code does both, for two patterns.
/// 0 for other codes and bits. `edgeAware` receives whether the code is an edge-aware one; it may be null.
ORV_API uint32_t OrvOpenCv_ToWord(int code, int bits, bool blueFirst, bool* edgeAware);

/// Caps of GStreamer: "video/x-bayer, format=(string)rggb12le"; TrueSense "video/x-raw, format=(string)GRAY16_LE"
/// (GRAY8 at 8 bits), which say nothing of the mosaic; colour of 8 bits "video/x-raw, format=(string)RGB". Null for
/// other words.
ORV_API const char* OrvGst_Caps(uint32_t word);
/// The format field of the caps alone: "rggb12le". OrvWord_FromName knows those of Bayer and colour.
ORV_API const char* OrvGst_Format(uint32_t word);

// ---- Packed rows ----------------------------------------------------------------------------------------------------

/// "10p", "12p", "10Packed", "12Packed", "RAW10", "RAW12", "none". Null for numbers out of range.
ORV_API const char* OrvPacking_Name(int packing);
/// And back; case does not matter. -1 for others.
ORV_API int OrvPacking_FromName(const char* name);
/// Bits of a sample, 10 or 12; 0 for OrvPackingNone and numbers out of range.
ORV_API int OrvPacking_Bits(int packing);
/// Bytes of a packed row of `width` samples; -1 for OrvPackingNone, numbers out of range and negative widths.
ORV_API int64_t OrvPacking_RowBytes(int packing, int64_t width);

/// Unpacks `height` rows of `width` samples to 16-bit samples, low bits significant, the others 0.
///
/// `sourceStride`, bytes, at least OrvPacking_RowBytes; `sourceBytes`, the size of the source, at least
/// (height - 1) * sourceStride + OrvPacking_RowBytes: of the last row nothing is read beyond. `destinationStride`,
/// bytes, even, at least 2 * width; `destinationBytes`, at least (height - 1) * destinationStride + 2 * width. Rows'
/// padding is not written. The buffers do not overlap. The destination is aligned as its type, the source need not be.
/// With no pixels (`width` or `height` 0) nothing is read, and buffers may be null.
///
/// PFNC cameras send 10p and 12p frames whose rows are no whole bytes without padding between rows: unpack those as one
/// row of width * height samples.
ORV_API uint32_t OrvPacking_Unpack(int packing, const void* source, size_t sourceBytes, int64_t sourceStride,
                                   int64_t width, int64_t height, uint16_t* destination, size_t destinationBytes,
                                   int64_t destinationStride);

// ---- Frames ---------------------------------------------------------------------------------------------------------

/// Fills a record for pixels of the caller: `stride` in bytes, 0 for rows without padding; the depth is the word's. The
/// stride is at least the bytes of a row, and even above 8 bits; sizes are 0 or above, and height * stride fits an
/// int32. `data` is not touched and may be null.
ORV_API uint32_t OrvFrame_Make(_OrvImage* image, uint32_t word, int32_t width, int32_t height, int32_t stride,
                               void* data);

///@{
/// Makes a source frame readable for an algorithm of its family. The engines read rows of any stride, but the adaptive
/// Bayer engine (algorithm 1) above 8 bits wants exactly twice the width rounded up to even, and none takes samples of
/// 16 bits at odd addresses or strides.
///
/// `source`, a Bayer or TrueSense frame: `pixelType`, `width`, `height`, `stride` and `data` are read. A negative
/// stride means rows that run up in memory from `data`, the first row of the picture. Its magnitude is at least the
/// bytes of a row; 0 stands for rows without padding.
///
/// OrvFrame_TightBytes tells how many bytes of buffer OrvFrame_Tight wants: 0 where the frame is good as it is; -1 for
/// bad arguments.
///
/// OrvFrame_Tight fills `tight` with a record for ConvertImage: its pixels are the source's own or a copy
/// in `buffer` (any address), which must then outlive the conversion. `tight` may be `source`.
ORV_API int64_t OrvFrame_TightBytes(const _OrvImage* source, int algorithm);
ORV_API uint32_t OrvFrame_Tight(const _OrvImage* source, int algorithm, void* buffer, size_t bufferBytes,
                                _OrvImage* tight);
///@}

///@{
/// Converts a Bayer frame by a component to what the destination's word says, where the component itself keeps the
/// depth of the source and three channels whatever it says:
///
///     source     destination                     result
///     8 bits     RGB8, BGR8, RGBA8, BGRA8        the component's
///     10 to 16   RGB8, BGR8, RGBA8, BGRA8        converted at the source's depth, then the upper 8 bits
///     10 to 16   RGB and BGR of the same depth   the component's
///     10 to 14   RGB16, BGR16                    spread over the full 16 bits as by OrvRows_To16
///
/// A fourth channel is 255. The source may have any stride (see OrvFrame_Tight); the destination has the source's size
/// and a stride of at least the bytes of its rows, even above 8 bits. `scratch` (any address) holds `scratchBytes`, at
/// least what OrvFrame_ConvertBayerBytes tells for these records and the component's `BayerAlgType`; null where that is
/// 0. -1 for bad arguments. Returns the component's status words too; after one of those the destination's pixels are
/// undefined.
ORV_API int64_t OrvFrame_ConvertBayerBytes(const _OrvImage* source, const _OrvImage* destination, int algorithm);
ORV_API uint32_t OrvFrame_ConvertBayer(OrvBayer* component, const _OrvImage* source, const _OrvImage* destination,
                                       void* scratch, size_t scratchBytes);
///@}

/// The upper 8 of `bits` bits: `v >> (bits - 8)`; 255 for samples beyond `2^bits - 1`.
///
/// This and the next functions take rows of `samples` samples (pixels times channels), strides in bytes, magnitudes at
/// least the bytes of a row; source and destination do not overlap but where it says so. 0x80070007 for null, negative
/// numbers, strides that are too small or, of 16-bit samples, odd, and `bits` other than 8, 10, 12, 14, 16.
ORV_API uint32_t OrvRows_To8(const uint16_t* source, int64_t sourceStride, uint8_t* destination,
                             int64_t destinationStride, int64_t samples, int64_t rows, int bits);
/// Samples of `bits` bits over the full 16 bits: `v << (16 - bits) | v >> (2 * bits - 16)`, which takes 0 to 0 and
/// the largest to 65535; 65535 for samples beyond `2^bits - 1`. In place where addresses and strides are the same.
ORV_API uint32_t OrvRows_To16(const uint16_t* source, int64_t sourceStride, uint16_t* destination,
                              int64_t destinationStride, int64_t samples, int64_t rows, int bits);
/// Rows of `pixels` pixels of 3 channels to 4 channels, the fourth `alpha`.
ORV_API uint32_t OrvRows_AddAlpha8(const uint8_t* source, int64_t sourceStride, uint8_t* destination,
                                   int64_t destinationStride, int64_t pixels, int64_t rows, uint8_t alpha);
/// The same for samples of 16 bits.
ORV_API uint32_t OrvRows_AddAlpha16(const uint16_t* source, int64_t sourceStride, uint16_t* destination,
                                    int64_t destinationStride, int64_t pixels, int64_t rows, uint16_t alpha);

// ---- Parameters -----------------------------------------------------------------------------------------------------

/// Component types, as in status words.
typedef enum OrvFamily { OrvFamilyBayer = 5, OrvFamilyTrueSense = 6 } OrvFamily;

/// Types of parameters.
typedef enum OrvParamType { OrvParamInteger = 0, OrvParamFloat = 2 } OrvParamType;

/// One parameter of a component. Static; fields may be added at the end.
typedef struct OrvParamInfo {
    const char* name;          ///< case-sensitive
    int32_t type;              ///< OrvParamType
    uint32_t algorithms;       ///< bit n: algorithm n of the family reads it
    int64_t integerLimit;      ///< integers range from 0 to this; floats take every finite number
    double standard;           ///< default, of integers and floats alike
    const char* standardText;  ///< the same, shortest text
    const char* range;         ///< the values that make sense, in words: "0 or 1", "above 0"
    const char* unit;          ///< "12-bit codes", "factor"; "" for switches and numbers of things
    const char* meaning;       ///< one line
} OrvParamInfo;

/// Number of parameters of a family (OrvFamily); 0 for others.
ORV_API int OrvParam_InfoCount(int family);
/// Parameter by index from 0, in the order of registration. Null for other families and indices out of range.
ORV_API const OrvParamInfo* OrvParam_InfoAt(int family, int index);
/// Parameter by name. Null for other families and unknown names.
ORV_API const OrvParamInfo* OrvParam_Info(int family, const char* name);

/// Family (OrvFamily) of a component; 0 for null. This and the next functions are the operations of OrvComponent in C
/// and return their status words: code 10 unknown name, 11 wrong type, 12 out of range; 0x80070007 for null arguments.
ORV_API int OrvParam_Family(OrvComponent* component);
/// Number of parameters; 0 for null.
ORV_API int OrvParam_Count(OrvComponent* component);
/// Name with its terminating zero into `name` of `*length` bytes; code 6, and the length needed in `*length`, where it
/// is too short. An index out of range: code 7.
ORV_API uint32_t OrvParam_Name(OrvComponent* component, int index, char* name, unsigned* length);
/// Of an integer parameter.
ORV_API uint32_t OrvParam_GetInteger(OrvComponent* component, const char* name, int64_t* value);
/// Of an integer parameter within its range, or of a float parameter where the value is exact there.
ORV_API uint32_t OrvParam_SetInteger(OrvComponent* component, const char* name, int64_t value);
/// Of a float parameter.
ORV_API uint32_t OrvParam_GetFloat(OrvComponent* component, const char* name, double* value);
/// Of a float parameter, finite.
ORV_API uint32_t OrvParam_SetFloat(OrvComponent* component, const char* name, double value);
/// Text of the shortest form that reads back to the same value; `length` as in OrvParam_Name.
ORV_API uint32_t OrvParam_GetText(OrvComponent* component, const char* name, char* text, unsigned* length);
/// The whole text must be a number that SetInteger or SetFloat would take.
ORV_API uint32_t OrvParam_SetText(OrvComponent* component, const char* name, const char* text);

#if defined(__cplusplus)
}  // extern "C"
#endif

#endif
