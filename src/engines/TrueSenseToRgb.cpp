#include "engines/TrueSenseToRgb.h"

#include <algorithm>
#include <iterator>

#include "component/Bands.h"
#include "component/PixelTypes.h"
#include "engines/FastStrips.h"
#include "pipeline/Tables.h"
#include "truesense/OutputRows.h"

namespace {

constexpr size_t kCacheLine = 64;
constexpr int kByteShift = -4;  // 12 bits to 8

size_t RoundToCacheLine(size_t bytes) { return (bytes + kCacheLine - 1) / kCacheLine * kCacheLine; }

// Used without a parameter record: single-precision values.
constexpr float kDefaultMatrix[9] = {1.657F, -0.5325F, -0.1245F, -0.106F, 1.443F, -0.337F, 0.131F, -0.445F, 1.314F};

// Cuts the region out of finished plane rows.
template <class Sample>
class RegionSink : public orv::ColourRowSink {
public:
    RegionSink(const orv::GridGeometry& geometry, const orv::OutputRows<Sample>& output, uint16_t* scratch)
        : geometry_(geometry), output_(output), scratch_(scratch) {}
    void Row(int y, const int16_t* red, const int16_t* green, const int16_t* blue) const override {
        if (y >= geometry_.gridY && y < geometry_.endY) {
            const int x = geometry_.gridX;
            output_.Write(y - geometry_.gridY, red + x, green + x, blue + x, geometry_.w, scratch_);
        }
    }

private:
    const orv::GridGeometry& geometry_;
    const orv::OutputRows<Sample>& output_;
    uint16_t* scratch_;
};

bool Same(_OrvRect a, _OrvRect b) { return a == b; }
bool Same(_OrvSize a, _OrvSize b) { return a == b; }

}  // namespace

template <class T>
void TrueSenseToRgb<T>::SetOutputPixelType(bool alpha, bool bgr) {
    alpha_ = alpha;
    bgr_ = bgr;
}

template <class T>
void TrueSenseToRgb<T>::Clear() {
    prepared_ = false;
    rect_ = {};
    size_ = {};
    srcStride_ = 0;
    dstStride_ = 0;
    grid_ = orv::kNoGrid;
}

template <class T>
void TrueSenseToRgb<T>::TakeParameters(const tagTrueSenseParam* param) {
    toneTable_ = Tonescale12Table12;
    if (param == nullptr) {
        threadsNum_ = normalizationEnable_ = horMirrored_ = verMirrored_ = 0;
        std::copy(std::begin(kDefaultMatrix), std::end(kDefaultMatrix), colorMatrix_);
        return;
    }
    if (param->toneTable != nullptr) {
        toneTable_ = param->toneTable;
    }
    threadsNum_ = static_cast<int32_t>(param->threads_num);
    normalizationEnable_ = static_cast<int32_t>(param->normalizationEnable);
    horMirrored_ = static_cast<int32_t>(param->horMirrored);
    verMirrored_ = static_cast<int32_t>(param->verMirrored);
    const double matrix[9] = {param->RR, param->RG, param->RB, param->GR, param->GG,
                              param->GB, param->BR, param->BG, param->BB};
    std::copy(std::begin(matrix), std::end(matrix), colorMatrix_);
}

template <class T>
int TrueSenseToRgb<T>::Prepare(const _OrvRect& rect, const _OrvSize& size, int srcStride, int dstStride,
                               unsigned char grid) {
    const bool same = prepared_ && Same(rect_, rect) && Same(size_, size) && srcStride_ == srcStride &&
                      dstStride_ == dstStride && grid_ == grid;
    if (!same) {
        Clear();
        if (grid > 15) {
            return orv::kCodeBadArgument;
        }
        geometry_ = orv::GridGeometry::Make(rect, grid);
        if (!geometry_.Valid() ||
            !plane_.Reserve(static_cast<size_t>(geometry_.H) * static_cast<size_t>(geometry_.W) * sizeof(int16_t))) {
            return orv::kCodeNoMemory;
        }
    }
    if (!ReserveScratch()) {
        Clear();
        return orv::kCodeNoMemory;
    }
    prepared_ = true;
    rect_ = rect;
    size_ = size;
    srcStride_ = srcStride;
    dstStride_ = dstStride;
    grid_ = grid;
    return orv::kCodeOk;
}

// The team of Calculate decides, so this follows `threads_num` from frame to frame.
template <class T>
bool TrueSenseToRgb<T>::ReserveScratch() {
    workerBytes_ = RoundToCacheLine(orv::StripScratchBytes(geometry_.W)) +
                   RoundToCacheLine(orv::OutputRows<T>::ScratchBytes(geometry_.w));
    workers_ = orv::MaxWorkers(geometry_.H, threadsNum_);
    return scratch_.Reserve(workerBytes_ * static_cast<size_t>(workers_));
}

template <class T>
template <class Sample>
int TrueSenseToRgb<T>::CopyDataFromSrc(const Sample* src) {
    bool ok = false;
    const int shift = orv::InputShift(bits_, &ok);
    if (!ok) {
        return orv::kCodeBadArgument;
    }
    const auto walk = orv::RegionWalk::Make(rect_.x, rect_.y, rect_.width, rect_.height, srcStride_, 1,
                                            horMirrored_ != 0, verMirrored_ != 0);
    const uint32_t usedBits = orv::ReadMosaic(src, walk, shift, geometry_, Plane(), geometry_.W);
    narrow_ = usedBits < 4096;
    return orv::kCodeOk;
}

template <class T>
template <class Sample>
void TrueSenseToRgb<T>::CopyDataToDst(Sample* dst, int shift) {
    if (!prepared_ || dst == nullptr) {
        return;
    }
    orv::OutputTable<Sample> table;
    table.Fill(toneTable_, shift);
    orv::OutputRows<Sample> output;
    output.dst = dst;
    output.walk = orv::RegionWalk::Make(0, 0, geometry_.w, geometry_.h, dstStride_, alpha_ ? 4 : 3, horMirrored_ != 0,
                                        verMirrored_ != 0);
    output.bgr = bgr_;
    output.matrix = orv::IsIdentity(colorMatrix_) ? nullptr : colorMatrix_;
    output.table = &table;
    orv::ForEachBandWithWorker(geometry_.H, workers_, [&](int worker, int y0, int y1) {
        unsigned char* scratch =
            static_cast<unsigned char*>(scratch_.Data()) + workerBytes_ * static_cast<size_t>(worker);
        void* rows = scratch + RoundToCacheLine(orv::StripScratchBytes(geometry_.W));
        const RegionSink<Sample> sink(geometry_, output, static_cast<uint16_t*>(rows));
        orv::ReconstructStrip(Plane(), geometry_.W, geometry_.H, y0, y1, narrow_, scratch, sink);
    });
}

template <class T>
int TrueSenseToRgb<T>::Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
                            unsigned char grid, tagTrueSenseParam* param) {
    if (src == nullptr || dst == nullptr) {
        return orv::kCodeNullPointer;
    }
    dst_ = dst;
    bits_ = bits;
    TakeParameters(param);
    constexpr int toSamples = sizeof(T) == 1 ? 0 : 1;
    const int code = Prepare(rect, size, srcStride >> toSamples, dstStride >> toSamples, grid);
    return code != orv::kCodeOk ? code : CopyDataFromSrc(src);
}

template <class T>
int TrueSenseToRgb<T>::InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits,
                               unsigned char* dst, int dstStride, unsigned char grid, tagTrueSenseParam* param) {
    if (src == nullptr || dst == nullptr) {
        return orv::kCodeNullPointer;
    }
    dst8_ = dst;
    bits_ = bits;
    TakeParameters(param);
    if (threadsNum_ > 0) {
        orv::SetThreads(threadsNum_);
    }
    const int code = Prepare(rect, size, srcStride >> 1, dstStride, grid);
    return code != orv::kCodeOk ? code : CopyDataFromSrc(src);
}

template <class T>
int TrueSenseToRgb<T>::Calculate() {
    bool ok = false;
    const int shift = orv::OutputShift(bits_, normalizationEnable_ != 0, &ok);
    if (!ok) {
        return orv::kCodeBadArgument;
    }
    const orv::ThreadsScope threads(threadsNum_);
    CopyDataToDst(dst_, shift);
    return orv::kCodeOk;
}

template <class T>
int TrueSenseToRgb<T>::CalculateRGB() {
    const orv::ThreadsScope threads(threadsNum_);
    CopyDataToDst(dst8_, kByteShift);
    return orv::kCodeOk;
}

template class TrueSenseToRgb<unsigned char>;
template class TrueSenseToRgb<unsigned short>;
