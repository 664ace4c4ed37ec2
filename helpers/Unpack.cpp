// Packed rows to 16-bit samples.
//
// Every layout repeats after a group of samples that fills whole bytes. `Sample` states a layout sample by sample; it
// reads no byte beyond those that hold bits of its sample, save the padding of whole groups in CSI-2 rows.
#include <strings.h>
#include <cstring>

#include "Words.h"
#include "rows/Simd.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orv::helpers {
namespace {

struct Layout {
    const char* name;
    int bits;
    int groupSamples;
    int groupBytes;
    bool wholeGroups;  // rows end with a whole group
};

constexpr Layout kLayouts[] = {
    {"none", 0, 1, 0, false},      {"10p", 10, 4, 5, false},  {"12p", 12, 2, 3, false},  {"10Packed", 10, 2, 3, false},
    {"12Packed", 12, 2, 3, false}, {"RAW10", 10, 4, 5, true}, {"RAW12", 12, 2, 3, true},
};
constexpr int kLayoutCount = sizeof(kLayouts) / sizeof(kLayouts[0]);

bool IsPacked(int packing) { return packing > OrvPackingNone && packing < kLayoutCount; }

// Sample `k` of the group at `b`.
template <int Packing>
ORV_ALWAYS_INLINE uint16_t Sample(const uint8_t* b, int k) {
    switch (Packing) {
    case OrvPacking10p: return static_cast<uint16_t>(((b[k] | b[k + 1] << 8) >> (2 * k)) & 0x3FF);
    case OrvPacking12p: return static_cast<uint16_t>(k == 0 ? b[0] | (b[1] & 15) << 8 : b[1] >> 4 | b[2] << 4);
    case OrvPacking10Packed:
        return static_cast<uint16_t>(k == 0 ? b[0] << 2 | (b[1] & 3) : b[2] << 2 | ((b[1] >> 4) & 3));
    case OrvPacking12Packed: return static_cast<uint16_t>(k == 0 ? b[0] << 4 | (b[1] & 15) : b[2] << 4 | b[1] >> 4);
    case OrvPackingRaw10: return static_cast<uint16_t>(b[k] << 2 | ((b[4] >> (2 * k)) & 3));
    case OrvPackingRaw12: return static_cast<uint16_t>(k == 0 ? b[0] << 4 | (b[2] & 15) : b[1] << 4 | b[2] >> 4);
    default: return 0;
    }
}

template <int Packing>
ORV_ALWAYS_INLINE void UnpackRowBody(const uint8_t* in, int64_t width, uint16_t* out) {
    constexpr Layout layout = kLayouts[Packing];
    for (; width >= layout.groupSamples; width -= layout.groupSamples) {
        for (int k = 0; k < layout.groupSamples; ++k) {
            out[k] = Sample<Packing>(in, k);
        }
        in += layout.groupBytes;
        out += layout.groupSamples;
    }
    for (int k = 0; k < static_cast<int>(width); ++k) {
        out[k] = Sample<Packing>(in, k);
    }
}

#if defined(__x86_64__)

// The bytes of 8 samples as 16-bit lanes: low byte, high byte. By layout, for both halves of a vector.
template <int Packing>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i LaneBytes() {
    switch (Packing) {
    case OrvPacking10p:
        return _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9));
    case OrvPackingRaw10:
        return _mm256_broadcastsi128_si256(_mm_setr_epi8(4, 0, 4, 1, 4, 2, 4, 3, 9, 5, 9, 6, 9, 7, 9, 8));
    case OrvPackingRaw12:
        return _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 0, 2, 1, 5, 3, 5, 4, 8, 6, 8, 7, 11, 9, 11, 10));
    case OrvPacking12p:
        return _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11));
    default:  // the high byte of every sample stands alone, the middle byte holds both low ends
        return _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11));
    }
}

// Lanes in which the samples of a group stand at different bits: times a power of 2 each, so that all stand at one.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i Aligned(__m256i lanes, int64_t f0, int64_t f1, int64_t f2, int64_t f3) {
    return _mm256_mullo_epi16(lanes, _mm256_set1_epi64x(f0 | f1 << 16 | f2 << 32 | f3 << 48));
}

template <int Packing>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i SamplesOf(__m256i lanes) {
    switch (Packing) {
    case OrvPacking10p: return _mm256_srli_epi16(Aligned(lanes, 64, 16, 4, 1), 6);
    case OrvPacking12p: return _mm256_srli_epi16(Aligned(lanes, 16, 1, 16, 1), 4);
    case OrvPacking10Packed:
    case OrvPackingRaw10: {
        const __m256i low = Packing == OrvPackingRaw10 ? _mm256_srli_epi16(Aligned(lanes, 64, 16, 4, 1), 6)
                                                       : _mm256_srli_epi16(Aligned(lanes, 16, 1, 16, 1), 4);
        const __m256i high = _mm256_srli_epi16(lanes, 6);
        return _mm256_or_si256(_mm256_and_si256(high, _mm256_set1_epi16(0x3FC)),
                               _mm256_and_si256(low, _mm256_set1_epi16(3)));
    }
    default: {  // the low ends of the first samples of pairs stand in bits 0 to 3, those of the second ones in 4 to 7
        const __m256i high = _mm256_srli_epi16(lanes, 4);
        const __m256i first = _mm256_set1_epi32(15);
        return _mm256_xor_si256(high, _mm256_and_si256(_mm256_xor_si256(high, lanes), first));
    }
    }
}

template <int Packing>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void UnpackRowBodyAvx2(const uint8_t* in, int64_t width, uint16_t* out) {
    constexpr int kHalf = 8 / kLayouts[Packing].groupSamples * kLayouts[Packing].groupBytes;  // bytes of 8 samples
    constexpr int64_t kAhead = (8 * (kHalf + 16) / kHalf + 4) / 4 * 4;  // samples whose bytes both loads stay within
    const __m256i bytes = LaneBytes<Packing>();
    for (; width >= kAhead; width -= 16) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + kHalf));
        const __m256i lanes = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), bytes);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), SamplesOf<Packing>(lanes));
        in += 2 * kHalf;
        out += 16;
    }
    UnpackRowBody<Packing>(in, width, out);
}

#endif

ORV_ROW_TEMPLATE_TUNED((int Packing), (Packing), UnpackRow, (const uint8_t* in, int64_t width, uint16_t* out),
                       (in, width, out))

using UnpackFunction = void (*)(const uint8_t*, int64_t, uint16_t*);
constexpr UnpackFunction kUnpack[kLayoutCount] = {nullptr,
                                                  UnpackRow<OrvPacking10p>,
                                                  UnpackRow<OrvPacking12p>,
                                                  UnpackRow<OrvPacking10Packed>,
                                                  UnpackRow<OrvPacking12Packed>,
                                                  UnpackRow<OrvPackingRaw10>,
                                                  UnpackRow<OrvPackingRaw12>};

// Whether `bytes` hold `height` rows of `rowBytes`, `stride` apart.
bool Holds(size_t bytes, int64_t stride, int64_t rowBytes, int64_t height) {
    int64_t needed = 0;
    return stride >= rowBytes && !__builtin_mul_overflow(height - 1, stride, &needed) &&
           !__builtin_add_overflow(needed, rowBytes, &needed) && static_cast<uint64_t>(needed) <= bytes;
}

}  // namespace
}  // namespace orv::helpers

using namespace orv::helpers;

const char* OrvPacking_Name(int packing) {
    return packing >= 0 && packing < kLayoutCount ? kLayouts[packing].name : nullptr;
}

int OrvPacking_FromName(const char* name) {
    for (int packing = 0; name != nullptr && packing < kLayoutCount; ++packing) {
        if (strcasecmp(kLayouts[packing].name, name) == 0) {
            return packing;
        }
    }
    return -1;
}

int OrvPacking_Bits(int packing) { return IsPacked(packing) ? kLayouts[packing].bits : 0; }

int64_t OrvPacking_RowBytes(int packing, int64_t width) {
    if (!IsPacked(packing) || width < 0 || width > kMaxCount) {
        return -1;
    }
    const Layout& layout = kLayouts[packing];
    const int64_t groups = width / layout.groupSamples;
    const int64_t rest = width % layout.groupSamples;
    // Packed samples of an odd row end have their two bytes; bits of a string end with the byte that holds the last
    // one.
    const int64_t restBytes = layout.wholeGroups && rest != 0 ? layout.groupBytes : (rest * layout.bits + 7) / 8;
    return groups * layout.groupBytes + restBytes;
}

uint32_t OrvPacking_Unpack(int packing, const void* source, size_t sourceBytes, int64_t sourceStride, int64_t width,
                           int64_t height, uint16_t* destination, size_t destinationBytes, int64_t destinationStride) {
    const int64_t rowBytes = OrvPacking_RowBytes(packing, width);
    if (rowBytes < 0 || height < 0 || sourceStride < rowBytes || destinationStride < 2 * width ||
        destinationStride % 2 != 0) {
        return kBadArgument;
    }
    if (width == 0 || height == 0) {
        return 0;
    }
    if (source == nullptr || destination == nullptr) {
        return kBadArgument;
    }
    if (!Holds(sourceBytes, sourceStride, rowBytes, height) ||
        !Holds(destinationBytes, destinationStride, 2 * width, height)) {
        return kBufferTooShort;
    }
    const auto* in = static_cast<const uint8_t*>(source);
    for (int64_t y = 0; y < height; ++y) {
        kUnpack[packing](in + y * sourceStride, width, destination + y * (destinationStride / 2));
    }
    return 0;
}
