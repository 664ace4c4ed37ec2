#include "bayer/BayerDirect.h"

#include <algorithm>
#include <limits>

#include "bayer/Interpolation.h"
#include "bayer/OrvBayerImp.h"
#include "component/PixelTypes.h"
#include "rows/AlignedBuffer.h"
#include "rows/Simd.h"

namespace {

constexpr int kPatterns = 4;

struct DepthWords {
    int bitDepth;
    uint32_t grWord;   // followed by RG, GB, BG
    uint32_t rgbWord;  // followed by BGR
};
constexpr DepthWords kByteWords = {8, OrvPixelBayerGR8, OrvPixelRGB8};
constexpr DepthWords kWords[] = {{10, OrvPixelBayerGR10, OrvPixelRGB10},
                                 {12, OrvPixelBayerGR12, OrvPixelRGB12},
                                 {14, OrvPixelBayerGR14, OrvPixelRGB14},
                                 {16, OrvPixelBayerGR16, OrvPixelRGB16}};

// The words of a bit depth by sample type; null for a depth outside the set.
const DepthWords* WordsOf(unsigned char const*, int) { return &kByteWords; }
const DepthWords* WordsOf(unsigned short const*, int bitDepth) {
    for (const DepthWords& words : kWords) {
        if (words.bitDepth == bitDepth) {
            return &words;
        }
    }
    return nullptr;
}

int ImageSize(int height, int stride) {
    return static_cast<int>(static_cast<unsigned>(height) * static_cast<unsigned>(stride));
}

template <class T>
int FillSource(_OrvImage* image, T const* data, const _OrvSize& size, int stride, unsigned char pattern, int bitDepth) {
    image->bitDepth = bitDepth;
    image->width = size.width;
    image->height = size.height;
    image->stride = stride;
    image->data = const_cast<T*>(data);
    image->imageSize = ImageSize(size.height, stride);
    const DepthWords* words = WordsOf(data, bitDepth);
    if (words == nullptr || pattern >= kPatterns) {
        return orv::kCodeBadArgument;
    }
    // Patterns 2 and 3 are BG and GB, the words follow as GB and BG.
    image->pixelType = words->grWord + (pattern >= 2 ? 5U - pattern : pattern);
    return orv::kCodeOk;
}

// A frame without a description of its pixels yet.
_OrvImage EmptyRecord() {
    _OrvImage image = {};
    image.size = sizeof(_OrvImage);
    image.version = 0x20000;
    return image;
}

enum class Order { Rgb, Bgr };

template <class T>
uint32_t Convert(T const* source, _OrvRect rect, _OrvSize size, int sourceStride, int bitDepth, T* destination,
                 int destinationStride, unsigned char pattern, int algorithm, Order order) {
    _OrvImage from = EmptyRecord();
    const int code = fillInSrc(&from, source, rect, size, sourceStride, pattern, bitDepth);
    if (code != orv::kCodeOk) {
        return orv::StatusOf(orv::kFamilyBayer, code);
    }
    _OrvImage to = EmptyRecord();
    to.pixelType = WordsOf(source, bitDepth)->rgbWord + (order == Order::Bgr ? 1U : 0U);
    to.bitDepth = bitDepth;
    to.width = rect.width;
    to.height = rect.height;
    to.imageSize = ImageSize(rect.height, destinationStride);
    to.stride = destinationStride;
    to.data = destination;
    return BayerToColor(&from, &to, algorithm);
}

ORV_ALWAYS_INLINE void NarrowRowBody(const uint16_t* from, int shift, ptrdiff_t n, uint8_t* to) {
#pragma omp simd
    for (ptrdiff_t i = 0; i < n; ++i) {
        to[i] = static_cast<uint8_t>(from[i] >> shift);
    }
}
ORV_ROW_FUNCTION(NarrowRow, (const uint16_t* from, int shift, ptrdiff_t n, uint8_t* to), (from, shift, n, to))

// Through 16-bit scratch rows of `rect.height` pixels: a row of a wide frame runs into the next one, which overwrites
// its tail.
uint32_t ConvertNarrowing(unsigned short const* source, _OrvRect rect, _OrvSize size, int sourceStride, int bitDepth,
                          unsigned char* destination, int destinationStride, unsigned char pattern, int algorithm,
                          Order order, int channels) {
    // As many rows as are written, also for frames higher than wide.
    const int rows = std::max(rect.width, rect.height);
    const int64_t stride = int64_t{rect.height} * channels * int64_t{sizeof(uint16_t)};
    orv::AlignedBuffer scratch;
    if (rect.width < 0 || rect.height < 0 || stride > std::numeric_limits<int>::max() ||
        !scratch.Reserve(static_cast<size_t>(rows * stride))) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeNoMemory);
    }
    auto* const rows16 = static_cast<unsigned short*>(scratch.Data());
    // A region without rows is no missing destination; a missing one is refused as by the members that write to it.
    const bool missing = destination == nullptr && destinationStride > 0 && rect.height > 0;
    const uint32_t status = Convert(source, rect, size, sourceStride, bitDepth, missing ? nullptr : rows16,
                                    static_cast<int>(stride), pattern, algorithm, order);
    if (status != 0) {
        return status;
    }
    if (destinationStride > 0 && !missing) {
        const ptrdiff_t samples = static_cast<ptrdiff_t>(rect.width) * channels;
        for (int y = 0; y < rect.height; ++y) {
            NarrowRow(rows16 + y * static_cast<ptrdiff_t>(rect.height) * channels, bitDepth - 8, samples,
                      destination + static_cast<ptrdiff_t>(y) * destinationStride);
        }
    }
    return status;
}

}  // namespace

int fillInSrc(_OrvImage* image, unsigned char const* data, _OrvRect&, _OrvSize& size, int stride, unsigned char pattern,
              int bitDepth) {
    return FillSource(image, data, size, stride, pattern, bitDepth);
}

int fillInSrc(_OrvImage* image, unsigned short const* data, _OrvRect&, _OrvSize& size, int stride,
              unsigned char pattern, int bitDepth) {
    return FillSource(image, data, size, stride, pattern, bitDepth);
}

extern "C" {

uint32_t BayerToColor(_OrvImage const* source, _OrvImage* destination, int algorithm) {
    if (source == nullptr || destination == nullptr || !orv::IsBayer(source->pixelType)) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument);
    }
    const int code = PixelTypeToBayerType(source->pixelType, algorithm, g_isBGR[destination->pixelType & 0xFFU] == 5);
    if (code == -1) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument);
    }
    if (algorithm == 1) {
        if (orv::HasByteSamples(source->pixelType)) {
            DemosaicingIPP_8 engine;
            return ConvertWithEngine(engine, *source, *destination);
        }
        DemosaicingIPP_16 engine;
        return ConvertWithEngine(engine, *source, *destination);
    }
    const bool interpolates = algorithm == 0 || algorithm == 2;
    return interpolates ? orv::StatusOf(orv::kFamilyBayer, orv::InterpolateFrame(*source, *destination, code)) : 0;
}

#define ORV_BAYER_PARAMETERS(From, To)                                                                  \
    (From const* source, _OrvRect rect, _OrvSize size, int sourceStride, int bitDepth, To* destination, \
     int destinationStride, unsigned char pattern, int algorithm)
#define ORV_BAYER_ARGUMENTS \
    source, rect, size, sourceStride, bitDepth, destination, destinationStride, pattern, algorithm

// Both members of a line write three packed channels.
#define ORV_BAYER_SAME_WIDTH(Name, Sample, order)                                                              \
    uint32_t Name##_C1C3R ORV_BAYER_PARAMETERS(Sample, Sample) { return Convert(ORV_BAYER_ARGUMENTS, order); } \
    uint32_t Name##_C1C4R ORV_BAYER_PARAMETERS(Sample, Sample) { return Convert(ORV_BAYER_ARGUMENTS, order); }
#define ORV_BAYER_NARROWING(Name, order)                                        \
    uint32_t Name##_C1C3R ORV_BAYER_PARAMETERS(unsigned short, unsigned char) { \
        return ConvertNarrowing(ORV_BAYER_ARGUMENTS, order, 3);                 \
    }                                                                           \
    uint32_t Name##_C1C4R ORV_BAYER_PARAMETERS(unsigned short, unsigned char) { \
        return ConvertNarrowing(ORV_BAYER_ARGUMENTS, order, 4);                 \
    }

ORV_BAYER_SAME_WIDTH(BayerToRGB_8u, unsigned char, Order::Rgb)
ORV_BAYER_SAME_WIDTH(BayerToBGR_8u, unsigned char, Order::Bgr)
ORV_BAYER_SAME_WIDTH(BayerToRGB_16u, unsigned short, Order::Rgb)
ORV_BAYER_SAME_WIDTH(BayerToBGR_16u, unsigned short, Order::Bgr)
ORV_BAYER_NARROWING(BayerToRGB_16u8u, Order::Rgb)
ORV_BAYER_NARROWING(BayerToBGR_16u8u, Order::Bgr)

}  // extern "C"
