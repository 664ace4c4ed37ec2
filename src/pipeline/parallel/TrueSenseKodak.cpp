#include "pipeline/parallel/TrueSenseKodak.h"

#include <limits>
#include <new>

#include "component/PixelTypes.h"
#include "pipeline/parallel/OutputWalk.h"
#include "truesense/Params.h"

using orv::GridGeometry;
using orv::RegionWalk;

namespace {

// One row of the pipeline's bytes.
struct BytePixels {
    const unsigned char* row;
    int shift;

    template <class Out>
    ORV_ALWAYS_INLINE Out At(int x, int channel) const {
        return static_cast<Out>(row[3 * x + channel] << shift);
    }
};

void Narrow(float* to, const double* from, int count) {
    for (int i = 0; i < count; ++i) {
        to[i] = static_cast<float>(from[i]);
    }
}

bool IsOn(long flag) { return static_cast<int32_t>(flag) != 0; }

}  // namespace

template <class T>
void TrueSenseKodak<T>::Clear() {
    prepared_ = false;
    frame_.reset();
    rgb_.reset();
    for (Bytes& memory : memory_) {
        memory.reset();
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
    if (frame_ != nullptr && rect == rect_ && size == size_ && grid == gridCode_) {
        return orv::kCodeOk;
    }
    Clear();
    if (grid > 15) {
        return orv::kCodeBadArgument;
    }
    geometry_ = GridGeometry::Make(rect, grid);
    if (!Allocate()) {
        Clear();
        return orv::kCodeNoMemory;
    }
    // Only now: a geometry without planes must not match the next time.
    rect_ = rect;
    size_ = size;
    gridCode_ = grid;
    return orv::kCodeOk;
}

template <class T>
bool TrueSenseKodak<T>::Allocate() {
    const GridGeometry& g = geometry_;
    // The sizes of the buffers are 32-bit numbers; the largest is five bytes per sample.
    if (!g.Valid() || static_cast<uint64_t>(g.W) * static_cast<uint64_t>(g.H) > UINT32_MAX / 5) {
        return false;
    }
    const auto allocate = [](Bytes* bytes, size_t count) {
        bytes->reset(static_cast<unsigned char*>(::operator new[](count, std::align_val_t{64}, std::nothrow)));
        return *bytes != nullptr;
    };
    const size_t N = static_cast<size_t>(g.W) * static_cast<size_t>(g.H);
    if (!allocate(&frame_, N * sizeof(int16_t)) || !allocate(&rgb_, 3 * N)) {
        return false;
    }
    param_ = {};
    param_.sensorData = reinterpret_cast<uint16_t*>(frame_.get());
    param_.outputRgb = rgb_.get();
    param_.logText = logBuffer_;
    param_.width = g.W;
    param_.height = g.H;
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
        if (!allocate(&memory_[i], sizes[i])) {
            return false;
        }
        *pointers[i] = memory_[i].get();
    }
    return true;
}

template <class T>
void TrueSenseKodak<T>::LoadParameters(const tagTrueSenseParam& from) {
    ImageProcessParam& to = param_;
    to.bitDepth = bitDepth_;
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
    threads_ = static_cast<int32_t>(from.threads_num);
    normalizationEnable_ = IsOn(from.normalizationEnable);
    horMirrored_ = IsOn(from.horMirrored);
    verMirrored_ = IsOn(from.verMirrored);
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
    if (param != nullptr) {
        LoadParameters(*param);
    } else {
        tagTrueSenseParam defaults;
        TrueSense_DefaultValues(&defaults);
        LoadParameters(defaults);
    }
    const RegionWalk walk =
        RegionWalk::Make(rect.x, rect.y, rect.width, rect.height, srcStride, 1, horMirrored_, verMirrored_);
    orv::ReadMosaic(src, walk, shift, geometry_, reinterpret_cast<int16_t*>(frame_.get()), geometry_.W, threads_);
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
void TrueSenseKodak<T>::CopyDataToDst(Out* dst, int dstStride, int shift) const {
    const GridGeometry& g = geometry_;
    const RegionWalk walk = RegionWalk::Make(0, 0, g.w, g.h, dstStride, alpha_ ? 4 : 3, horMirrored_, verMirrored_);
    const ptrdiff_t step = static_cast<ptrdiff_t>(g.W) * 3;
    const unsigned char* first = rgb_.get() + g.gridY * step + g.gridX * 3;
    orv::WriteRegion(dst, walk, bgr_, g.w, g.h, threads_, [=](int y) { return BytePixels{first + y * step, shift}; });
}

template <class T>
template <class Out>
int TrueSenseKodak<T>::Process(Out* dst, int dstStride, int shift) {
    buffers_.mode = 0;
    if (!prepared_ || Api_ImageProcess(&param_, &buffers_) != 0) {
        return 1;
    }
    CopyDataToDst(dst, dstStride, shift);
    return orv::kCodeOk;
}

template <class T>
int TrueSenseKodak<T>::Calculate() {
    return Process(dst_, sizeof(T) == 1 ? dstStride_ : dstStride_ >> 1, normalizationEnable_ ? 8 : bitDepth_ - 8);
}

template <class T>
int TrueSenseKodak<T>::CalculateRGB() {
    return Process(dstRgb_, dstStride_, 0);
}

template class TrueSenseKodak<unsigned char>;
template class TrueSenseKodak<unsigned short>;
