#include "pipeline/parallel/TrueSenseKodak.h"

#include <algorithm>

#include "component/PixelTypes.h"
#include "rows/Avx2.h"
#include "rows/Simd.h"
#include "truesense/Params.h"

using orv::GridGeometry;
using orv::RegionWalk;

namespace {

// Bytes to pixels of three samples, `step` elements apart; more elements of a pixel are left alone.
template <class Out>
ORV_ALWAYS_INLINE void StorePixelsBody(const int16_t* first, const int16_t* second, const int16_t* third, int shift,
                                       ptrdiff_t step, int n, Out* dst) {
    if (step == 3) {
#pragma omp simd
        for (int x = 0; x < n; ++x) {
            dst[3 * x] = static_cast<Out>(first[x] << shift);
            dst[3 * x + 1] = static_cast<Out>(second[x] << shift);
            dst[3 * x + 2] = static_cast<Out>(third[x] << shift);
        }
        return;
    }
    for (int x = 0; x < n; ++x, dst += step) {
        dst[0] = static_cast<Out>(first[x] << shift);
        dst[1] = static_cast<Out>(second[x] << shift);
        dst[2] = static_cast<Out>(third[x] << shift);
    }
}

#if defined(__x86_64__)
// By hand for pixels of three samples: the compiler takes them to their places one by one.
template <class Out>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void StorePixelsBodyAvx2(const int16_t* first, const int16_t* second,
                                                           const int16_t* third, int shift, ptrdiff_t step, int n,
                                                           Out* dst) {
    constexpr int kCount = 32 / sizeof(Out);
    const int16_t* const sources[3] = {first, second, third};
    const __m128i count = _mm_cvtsi32_si128(shift);
    const __m256i low = _mm256_set1_epi16(sizeof(Out) == 1 ? 0xFF : -1);
    int x = 0;
    for (; step == 3 && x + kCount <= n; x += kCount) {
        __m256i channels[3];
        for (int c = 0; c < 3; ++c) {
            const int16_t* from = sources[c] + x;
            channels[c] = _mm256_and_si256(_mm256_sll_epi16(orv::Words(from), count), low);
            if constexpr (sizeof(Out) == 1) {
                const __m256i next = _mm256_and_si256(_mm256_sll_epi16(orv::Words(from + 16), count), low);
                channels[c] = _mm256_permute4x64_epi64(_mm256_packus_epi16(channels[c], next), 0xD8);
            }
        }
        orv::StoreInterleaved<Out>(channels[0], channels[1], channels[2], dst + 3 * x);
    }
    StorePixelsBody(first + x, second + x, third + x, shift, step, n - x, dst + x * step);
}
#endif

ORV_ROW_TEMPLATE_TUNED((class Out), (Out), StorePixels,
                       (const int16_t* first, const int16_t* second, const int16_t* third, int shift, ptrdiff_t step,
                        int n, Out* dst),
                       (first, second, third, shift, step, n, dst))

// Writes the region of the finished rows.
template <class Out>
class RegionSink final : public orv::ColourRowSink {
public:
    RegionSink(const GridGeometry& geometry, Out* dst, const RegionWalk& walk, bool bgr, int shift)
        : geometry_(geometry), dst_(dst), walk_(walk), bgr_(bgr), shift_(shift) {}

    void Row(int y, const int16_t* red, const int16_t* green, const int16_t* blue) const override {
        if (y < geometry_.gridY || y >= geometry_.endY) {
            return;
        }
        const int x = geometry_.gridX;
        StorePixels<Out>((bgr_ ? blue : red) + x, green + x, (bgr_ ? red : blue) + x, shift_, walk_.columnStep,
                         geometry_.w,
                         dst_ + walk_.rowStart + (y - geometry_.gridY) * walk_.rowStep + walk_.columnStart);
    }
    void Row(int, const int32_t*, const int32_t*, const int32_t*) const override {}  // none comes

private:
    const GridGeometry& geometry_;
    Out* const dst_;
    const RegionWalk walk_;
    const bool bgr_;
    const int shift_;
};

void Narrow(float* to, const double* from, int count) {
    for (int i = 0; i < count; ++i) {
        to[i] = static_cast<float>(from[i]);
    }
}

bool IsOn(long flag) { return static_cast<int32_t>(flag) != 0; }

}  // namespace

namespace orv {

void NarrowParameters(const tagTrueSenseParam& from, ImageProcessParam* param) {
    ImageProcessParam& to = *param;
    to.monoEnable = static_cast<int32_t>(from.monoEnable);
    to.darkFloor = static_cast<int32_t>(from.darkFloor);
    to.redGain = static_cast<float>(from.redGain);
    to.greenGain = static_cast<float>(from.greenGain);
    to.blueGain = static_cast<float>(from.blueGain);
    to.panGain = static_cast<float>(from.panGain);
    to.globalGain = static_cast<float>(from.globalGain);
    to.analogGain = static_cast<float>(from.analogGain);
    const orv::NoiseModel noise(from);
    Narrow(to.ISOAnalogGain, noise.gains, 5);
    Narrow(to.ISOPanSlope, noise.panSlopes, 5);
    Narrow(to.ISOPanIntercept, noise.panIntercepts, 5);
    Narrow(to.ISOColorSlope, noise.colorSlopes, 5);
    Narrow(to.ISOColorIntercept, noise.colorIntercepts, 5);
    to.panRadius0 = static_cast<int32_t>(from.panRadius0);
    to.panRadius1 = static_cast<int32_t>(from.panRadius1);
    to.panRadius2 = static_cast<int32_t>(from.panRadius2);
    to.panSigma0 = static_cast<float>(from.panSigma0);
    to.panSigma1 = static_cast<float>(from.panSigma1);
    to.panSigma2 = static_cast<float>(from.panSigma2);
    to.colorRadius0 = static_cast<int32_t>(from.colorRadius0);
    to.colorRadius1 = static_cast<int32_t>(from.colorRadius1);
    to.colorRadius2 = static_cast<int32_t>(from.colorRadius2);
    to.colorSigma0 = static_cast<float>(from.colorSigma0);
    to.colorSigma1 = static_cast<float>(from.colorSigma1);
    to.colorSigma2 = static_cast<float>(from.colorSigma2);
    to.RR = static_cast<float>(from.RR);
    to.RG = static_cast<float>(from.RG);
    to.RB = static_cast<float>(from.RB);
    to.GR = static_cast<float>(from.GR);
    to.GG = static_cast<float>(from.GG);
    to.GB = static_cast<float>(from.GB);
    to.BR = static_cast<float>(from.BR);
    to.BG = static_cast<float>(from.BG);
    to.BB = static_cast<float>(from.BB);
    to.sharpenParam = static_cast<float>(from.sharpenParam);
    to.maxSharpen = static_cast<float>(from.maxSharpen);
    to.highLumaNoise = static_cast<float>(from.highLumaNoise);
    to.lowLumaNoise = static_cast<float>(from.lowLumaNoise);
    to.toneTable = from.toneTable;
}

}  // namespace orv

template <class T>
void TrueSenseKodak<T>::Clear() {
    prepared_ = false;
    frame_ = {};
    strips_.Release();
    rgb_ = {};
    for (orv::AlignedBuffer& memory : memory_) {
        memory = {};
    }
    buffers_ = {};
    rect_ = {};
    size_ = {};
    gridCode_ = orv::kNoGrid;
}

template <class T>
void TrueSenseKodak<T>::CleanMemory() {
    Clear();
}

template <class T>
bool TrueSenseKodak<T>::IsThis(IDemosaicing* other) {
    return other == this;
}

template <class T>
void TrueSenseKodak<T>::SetOutputPixelType(bool alpha, bool bgr) {
    alpha_ = alpha;
    bgr_ = bgr;
}

template <class T>
int TrueSenseKodak<T>::Prepare(_OrvRect rect, _OrvSize size, unsigned char grid) {
    if (gridCode_ != orv::kNoGrid && rect == rect_ && size == size_ && grid == gridCode_) {
        return orv::kCodeOk;
    }
    Clear();
    if (grid > 15) {
        return orv::kCodeBadArgument;
    }
    geometry_ = GridGeometry::Make(rect, grid);
    const GridGeometry& g = geometry_;
    // The sizes of the kernels' buffers are 32-bit numbers; the largest is five bytes per sample.
    if (!g.Valid() || static_cast<uint64_t>(g.W) * static_cast<uint64_t>(g.H) > UINT32_MAX / 5) {
        return orv::kCodeNoMemory;
    }
    // Only now: a geometry that was refused must not match the next time.
    rect_ = rect;
    size_ = size;
    gridCode_ = grid;
    return orv::kCodeOk;
}

template <class T>
bool TrueSenseKodak<T>::Reserve() {
    const size_t samples = static_cast<size_t>(geometry_.W) * static_cast<size_t>(geometry_.H);
    if (!frame_.Reserve(samples * sizeof(int16_t))) {
        return false;
    }
    inStrips_ = orv::KodakSettings::Takes(param_);
    return inStrips_ ? strips_.Reserve(geometry_.W, geometry_.H, param_, threads_) : ReserveKernels();
}

template <class T>
bool TrueSenseKodak<T>::ReserveKernels() {
    const size_t samples = static_cast<size_t>(geometry_.W) * static_cast<size_t>(geometry_.H);
    if (!rgb_.Reserve(3 * samples)) {
        return false;
    }
    param_.sensorData = static_cast<uint16_t*>(frame_.Data());
    param_.outputRgb = static_cast<uint8_t*>(rgb_.Data());
    param_.logText = logBuffer_;
    param_.width = geometry_.W;
    param_.height = geometry_.H;
    param_.cfaPattern = 1;  // the cell of every working plane
    buffers_.mode = 1;
    Api_ImageProcess(&param_, &buffers_);
    const uint32_t sizes[kBuffers] = {buffers_.imageBufferSize, buffers_.rgbBufferSize, buffers_.lowPanSize,
                                      buffers_.planeRSize,      buffers_.planeGSize,    buffers_.planeBSize,
                                      buffers_.fullPanSize};
    unsigned char** const pointers[kBuffers] = {&buffers_.imageBuffer, &buffers_.rgbBuffer, &buffers_.lowPan,
                                                &buffers_.planeR,      &buffers_.planeG,    &buffers_.planeB,
                                                &buffers_.fullPan};
    for (int i = 0; i < kBuffers; ++i) {
        if (!memory_[i].Reserve(sizes[i])) {
            return false;
        }
        *pointers[i] = static_cast<unsigned char*>(memory_[i].Data());
    }
    return true;
}

template <class T>
template <class Sample>
int TrueSenseKodak<T>::CopyDataFromSrc(const Sample* src, int srcStride, _OrvRect rect, _OrvSize size, int bits,
                                       unsigned char grid, const tagTrueSenseParam* param) {
    prepared_ = false;
    bool accepted = false;
    const int shift = orv::InputShift(bits, &accepted);
    if (!accepted) {
        return orv::kCodeBadArgument;
    }
    const int code = Prepare(rect, size, grid);
    if (code != orv::kCodeOk) {
        return code;
    }
    tagTrueSenseParam own;
    if (param != nullptr) {
        own = *param;
    } else {
        TrueSense_DefaultValues(&own);
    }
    orv::NarrowParameters(own, &param_);
    param_.bitDepth = bits;
    threads_ = static_cast<int32_t>(own.threads_num);
    normalizationEnable_ = IsOn(own.normalizationEnable);
    horMirrored_ = IsOn(own.horMirrored);
    verMirrored_ = IsOn(own.verMirrored);
    if (!Reserve()) {
        Clear();
        return orv::kCodeNoMemory;
    }
    const RegionWalk walk =
        RegionWalk::Make(rect.x, rect.y, rect.width, rect.height, srcStride, 1, horMirrored_, verMirrored_);
    narrow_ = orv::ReadMosaic(src, walk, shift, geometry_, static_cast<int16_t*>(frame_.Data()), geometry_.W,
                              threads_) < 4096;
    prepared_ = true;
    return orv::kCodeOk;
}

template <class T>
int TrueSenseKodak<T>::Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
                            unsigned char grid, tagTrueSenseParam* param) {
    if (src == nullptr || dst == nullptr) {
        return orv::kCodeNullPointer;
    }
    dst_ = dst;
    dstStride_ = dstStride;
    bitDepth_ = bits;
    return CopyDataFromSrc(src, sizeof(T) == 1 ? srcStride : srcStride >> 1, rect, size, bits, grid, param);
}

template <class T>
int TrueSenseKodak<T>::InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits,
                               unsigned char* dst, int dstStride, unsigned char grid, tagTrueSenseParam* param) {
    if (src == nullptr || dst == nullptr) {
        return orv::kCodeNullPointer;
    }
    dstRgb_ = dst;
    dstStride_ = dstStride;
    bitDepth_ = bits;
    if (bits == 10) {
        prepared_ = false;
        return orv::kCodeBadArgument;
    }
    return CopyDataFromSrc(src, srcStride >> 1, rect, size, bits, grid, param);
}

template <class T>
template <class Out>
int TrueSenseKodak<T>::CopyDataToDst(Out* dst, int dstStride, int shift) {
    if (!prepared_) {
        return 1;
    }
    const GridGeometry& g = geometry_;
    const RegionWalk walk = RegionWalk::Make(0, 0, g.w, g.h, dstStride, alpha_ ? 4 : 3, horMirrored_, verMirrored_);
    if (inStrips_) {
        strips_.Run(static_cast<const int16_t*>(frame_.Data()), narrow_, RegionSink<Out>(g, dst, walk, bgr_, shift));
        return orv::kCodeOk;
    }
    buffers_.mode = 0;
    if (Api_ImageProcess(&param_, &buffers_) != 0) {
        return 1;
    }
    const unsigned char* rgb = static_cast<const unsigned char*>(rgb_.Data());
    for (int y = 0; y < g.h; ++y) {
        const unsigned char* from = rgb + 3 * (static_cast<ptrdiff_t>(g.gridY + y) * g.W + g.gridX);
        Out* to = dst + walk.rowStart + y * walk.rowStep + walk.columnStart;
        for (int x = 0; x < g.w; ++x, from += 3, to += walk.columnStep) {
            for (int c = 0; c < 3; ++c) {
                to[c] = static_cast<Out>(from[bgr_ ? 2 - c : c] << shift);
            }
        }
    }
    return orv::kCodeOk;
}

template <class T>
int TrueSenseKodak<T>::Calculate() {
    return CopyDataToDst(dst_, sizeof(T) == 1 ? dstStride_ : dstStride_ >> 1, normalizationEnable_ ? 8 : bitDepth_ - 8);
}

template <class T>
int TrueSenseKodak<T>::CalculateRGB() {
    return CopyDataToDst(dstRgb_, dstStride_, 0);
}

template class TrueSenseKodak<unsigned char>;
template class TrueSenseKodak<unsigned short>;
