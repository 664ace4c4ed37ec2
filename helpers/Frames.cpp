// Frames whose rows or depth do not fit.
#include <algorithm>
#include <cstring>
#include <limits>

#include "Words.h"

namespace orv::helpers {
namespace {

constexpr int kAdaptive = 1;  // algorithm number of the Bayer family
constexpr uint8_t kOpaque = 255;
constexpr int64_t kMaxStride = std::numeric_limits<int32_t>::max();

// What a frame's rows are, and what an algorithm wants of them. Bytes.
struct RowPlan {
    bool valid = false;
    int64_t rowBytes = 0;
    int64_t stride = 0;        // of the source, never 0
    int64_t wantedStride = 0;  // of a copy
    bool fits = false;         // the source is good as it is
    int64_t copyBytes = 0;     // 0 where it fits
};

bool IsEven(int64_t number) { return number % 2 == 0; }

RowPlan PlanRows(const _OrvImage* source, int algorithm) {
    RowPlan plan;
    if (source == nullptr || MosaicOf(source->pixelType) == Mosaic::None || source->width < 0 || source->height < 0 ||
        source->data == nullptr) {
        return plan;
    }
    const int sample = BytesPerSample(source->pixelType);
    plan.rowBytes = int64_t{source->width} * sample;
    plan.stride = source->stride != 0 ? source->stride : plan.rowBytes;
    const bool exact = MosaicOf(source->pixelType) == Mosaic::Bayer && algorithm == kAdaptive && sample == 2;
    plan.wantedStride = exact ? 2 * (int64_t{source->width} + (source->width & 1)) : plan.rowBytes;
    const int64_t magnitude = plan.stride < 0 ? -plan.stride : plan.stride;
    const int64_t bytes = source->height * plan.wantedStride;
    plan.valid = magnitude >= plan.rowBytes && plan.wantedStride <= kMaxStride;
    const bool aligned = sample == 1 || (IsEven(plan.stride) && IsEven(reinterpret_cast<intptr_t>(source->data)));
    plan.fits = plan.stride >= 0 && aligned && (!exact || plan.stride == plan.wantedStride);
    // Room to begin at a whole sample.
    plan.copyBytes = plan.fits || bytes == 0 ? 0 : bytes + 1;
    return plan;
}

// The next address that samples of either width may stand at.
unsigned char* AlignedToSample(void* at) {
    auto* bytes = static_cast<unsigned char*>(at);
    return bytes + (reinterpret_cast<uintptr_t>(at) & 1U);
}

// The source as the algorithm wants it, copied to `buffer` where it does not fit.
_OrvImage TightRecord(const _OrvImage& source, const RowPlan& plan, void* buffer) {
    _OrvImage tight = source;
    tight.size = sizeof(_OrvImage);
    tight.version = 0x20000;
    tight.stride = static_cast<int32_t>(plan.stride);
    if (!plan.fits && plan.copyBytes > 0) {
        unsigned char* to = AlignedToSample(buffer);
        const auto* from = static_cast<const unsigned char*>(source.data);
        for (int64_t y = 0; y < source.height; ++y) {
            std::memcpy(to + y * plan.wantedStride, from + y * plan.stride, static_cast<size_t>(plan.rowBytes));
        }
        tight.data = to;
        tight.stride = static_cast<int32_t>(plan.wantedStride);
    }
    // To the last sample of the last row: its padding may not be there.
    const int64_t bytes = source.height == 0 ? 0 : (source.height - int64_t{1}) * tight.stride + plan.rowBytes;
    tight.imageSize = static_cast<int32_t>(std::min(bytes, kMaxStride));
    return tight;
}

// How a Bayer result reaches its destination.
struct ResultPlan {
    bool valid = false;
    bool through = false;  // by a frame of the component's own kind in the scratch
    bool toBytes = false;  // the upper 8 bits of deeper samples
    bool alpha = false;    // a fourth channel
    bool spread = false;   // over the full 16 bits
    uint32_t word = 0;     // of the component's result
    int64_t stride = 0;    // of that frame
    int64_t scratchBytes = 0;
};

ResultPlan PlanResult(const _OrvImage& source, const _OrvImage* destination) {
    ResultPlan plan;
    if (MosaicOf(source.pixelType) != Mosaic::Bayer || destination == nullptr || destination->data == nullptr) {
        return plan;
    }
    const uint32_t word = destination->pixelType;
    const int from = OrvWord_Bits(source.pixelType);
    const int to = OrvWord_Bits(word);
    const int channels = OrvWord_Channels(word);
    const bool colour = channels >= 3;
    const int64_t rowBytes = OrvWord_RowBytes(word, OrvPackingNone, source.width);
    plan.toBytes = to == 8 && from > 8;
    plan.spread = to == 16 && from > 8 && from < 16;
    plan.alpha = channels == 4;
    plan.through = plan.toBytes || plan.alpha;
    plan.valid = colour && (to == from || plan.toBytes || plan.spread) && destination->width == source.width &&
                 destination->height == source.height && destination->stride >= rowBytes &&
                 (to == 8 || (IsEven(destination->stride) && IsEven(reinterpret_cast<intptr_t>(destination->data))));
    const bool blueFirst = word == OrvWord_Colour(true, channels, to);
    plan.word = OrvWord_Colour(blueFirst, 3, from);
    plan.stride = OrvWord_RowBytes(plan.word, OrvPackingNone, source.width);
    plan.valid = plan.valid && plan.stride <= kMaxStride;
    // Room to begin at a whole sample, and for one row of bytes on the way to four channels.
    plan.scratchBytes = plan.through ? plan.stride * source.height + 1 + plan.stride : 0;
    return plan;
}

// The component's result, a frame of `plan.word` at `from`, to the destination's channels and depth.
void Finish(const ResultPlan& plan, const _OrvImage& destination, unsigned char* from, int bits) {
    const int64_t samples = int64_t{3} * destination.width;
    auto* to = static_cast<unsigned char*>(destination.data);
    if (plan.spread) {
        auto* words = reinterpret_cast<uint16_t*>(to);
        OrvRows_To16(words, destination.stride, words, destination.stride, samples, destination.height, bits);
    }
    if (!plan.through) {
        return;
    }
    unsigned char* row = from + destination.height * plan.stride;
    for (int64_t y = 0; y < destination.height; ++y, from += plan.stride, to += destination.stride) {
        if (plan.toBytes) {
            OrvRows_To8(reinterpret_cast<const uint16_t*>(from), plan.stride, plan.alpha ? row : to, plan.stride,
                        samples, 1, bits);
        }
        if (plan.alpha) {
            OrvRows_AddAlpha8(plan.toBytes ? row : from, plan.stride, to, destination.stride, destination.width, 1,
                              kOpaque);
        }
    }
}

}  // namespace
}  // namespace orv::helpers

using namespace orv::helpers;

uint32_t OrvFrame_Make(_OrvImage* image, uint32_t word, int32_t width, int32_t height, int32_t stride, void* data) {
    const int64_t rowBytes = OrvWord_RowBytes(word, OrvPackingNone, width);
    const int64_t step = stride != 0 ? stride : rowBytes;
    if (image == nullptr || rowBytes < 0 || height < 0 || step < rowBytes || step * height > kMaxStride ||
        step > kMaxStride || step % BytesPerSample(word) != 0) {
        return kBadArgument;
    }
    *image = {};
    image->size = sizeof(_OrvImage);
    image->version = 0x20000;
    image->pixelType = word;
    image->bitDepth = OrvWord_Bits(word);
    image->width = width;
    image->height = height;
    image->stride = static_cast<int32_t>(step);
    image->imageSize = static_cast<int32_t>(step * height);
    image->data = data;
    return 0;
}

int64_t OrvFrame_TightBytes(const _OrvImage* source, int algorithm) {
    const RowPlan plan = PlanRows(source, algorithm);
    return plan.valid ? plan.copyBytes : -1;
}

uint32_t OrvFrame_Tight(const _OrvImage* source, int algorithm, void* buffer, size_t bufferBytes, _OrvImage* tight) {
    const RowPlan plan = PlanRows(source, algorithm);
    if (!plan.valid || tight == nullptr || (plan.copyBytes > 0 && buffer == nullptr)) {
        return kBadArgument;
    }
    if (bufferBytes < static_cast<size_t>(plan.copyBytes)) {
        return kBufferTooShort;
    }
    *tight = TightRecord(*source, plan, buffer);
    return 0;
}

int64_t OrvFrame_ConvertBayerBytes(const _OrvImage* source, const _OrvImage* destination, int algorithm) {
    const RowPlan rows = PlanRows(source, algorithm);
    if (!rows.valid) {
        return -1;
    }
    const ResultPlan result = PlanResult(*source, destination);
    return result.valid ? rows.copyBytes + result.scratchBytes : -1;
}

uint32_t OrvFrame_ConvertBayer(OrvBayer* component, const _OrvImage* source, const _OrvImage* destination,
                               void* scratch, size_t scratchBytes) {
    if (component == nullptr) {
        return kBadArgument;
    }
    long algorithm = 0;
    char name[] = "BayerAlgType";
    component->GetComponent()->GetParamInt(name, &algorithm);
    const RowPlan rows = PlanRows(source, static_cast<int>(algorithm));
    const ResultPlan plan = rows.valid ? PlanResult(*source, destination) : ResultPlan{};
    const int64_t needed = rows.copyBytes + plan.scratchBytes;
    if (!plan.valid || (needed > 0 && scratch == nullptr)) {
        return kBadArgument;
    }
    if (scratchBytes < static_cast<size_t>(needed)) {
        return kBufferTooShort;
    }
    const _OrvImage tight = TightRecord(*source, rows, scratch);
    _OrvImage result = *destination;
    result.pixelType = plan.word;
    result.bitDepth = OrvWord_Bits(plan.word);
    if (plan.through) {
        result.data = AlignedToSample(static_cast<unsigned char*>(scratch) + rows.copyBytes);
        result.stride = static_cast<int32_t>(plan.stride);
    }
    const uint32_t status = Guarded([&] { return component->ConvertImage(&tight, &result); });
    if (status == 0) {
        Finish(plan, *destination, static_cast<unsigned char*>(result.data), result.bitDepth);
    }
    return status;
}
