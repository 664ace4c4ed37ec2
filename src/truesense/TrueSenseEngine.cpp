#include "truesense/TrueSenseEngine.h"

#include <initializer_list>

#include "component/PixelTypes.h"
#include "rows/Bands.h"
#include "truesense/OutputRows.h"
#include "truesense/Params.h"
#include "truesense/Tables.h"

namespace orv {

namespace {

constexpr int kByteShift = -4;  // 12 bits to 8

// Cuts the region out of finished plane rows.
template <class Sample>
class RegionSink final : public ColourRowSink {
public:
    RegionSink(const GridGeometry& geometry, const OutputRows<Sample>& output) : geometry_(geometry), output_(output) {}
    void Row(int y, const int16_t* red, const int16_t* green, const int16_t* blue) const override {
        Write(y, red, green, blue);
    }
    void Row(int y, const int32_t* red, const int32_t* green, const int32_t* blue) const override {
        Write(y, red, green, blue);
    }

private:
    template <class Value>
    void Write(int y, const Value* red, const Value* green, const Value* blue) const {
        if (y >= geometry_.gridY && y < geometry_.endY) {
            const int x = geometry_.gridX;
            output_.Write(y - geometry_.gridY, red + x, green + x, blue + x, geometry_.w);
        }
    }

    const GridGeometry& geometry_;
    const OutputRows<Sample>& output_;
};

template <class Sample>
int ToSamples(int bytes) {
    return sizeof(Sample) == 1 ? bytes : bytes >> 1;
}

}  // namespace

template <class T>
void TrueSenseEngine<T>::SetOutputPixelType(bool alpha, bool bgr) {
    alpha_ = alpha;
    bgr_ = bgr;
}

template <class T>
void TrueSenseEngine<T>::TakeParameters(const tagTrueSenseParam* param) {
    tagTrueSenseParam& own = frame_.param;
    if (param != nullptr) {
        own = *param;
    } else {
        Defaults(&own);
    }
    if (flags_ == Flags::Low32Bits) {
        for (long* flag : {&own.threads_num, &own.normalizationEnable, &own.horMirrored, &own.verMirrored}) {
            *flag = static_cast<int32_t>(*flag);
        }
    }
    if (own.toneTable == nullptr) {
        own.toneTable = Tonescale12Table12;
    }
}

template <class T>
template <class Sample>
int TrueSenseEngine<T>::Load(const Sample* src, const _OrvRect& rect, int srcStride, int bits, unsigned char grid,
                             const tagTrueSenseParam* param) {
    prepared_ = false;
    bits_ = bits;
    TakeParameters(param);
    if (grid > 15) {
        return kCodeBadArgument;
    }
    const GridGeometry g = GridGeometry::Make(rect, grid);
    frame_.geometry = g;
    const bool bytes = planeKind_ == Plane::OfBytes && sizeof(Sample) == 1 && bits == 8;
    const size_t sampleBytes = bytes ? 1 : sizeof(int16_t);
    if (!g.Valid() || !plane_.Reserve(static_cast<size_t>(g.H) * static_cast<size_t>(g.W) * sampleBytes)) {
        return kCodeNoMemory;
    }
    frame_.mosaic = bytes ? nullptr : static_cast<int16_t*>(plane_.Data());
    frame_.bytes = bytes ? static_cast<uint8_t*>(plane_.Data()) : nullptr;
    if (!Reserve(frame_)) {
        return kCodeNoMemory;
    }
    bool ok = false;
    const int shift = InputShift(bits, &ok);
    if (!ok) {
        return kCodeBadArgument;
    }
    const RegionWalk walk = RegionWalk::Make(rect.x, rect.y, rect.width, rect.height, srcStride, 1,
                                             frame_.param.horMirrored != 0, frame_.param.verMirrored != 0);
    uint32_t used = 0;
    if constexpr (sizeof(Sample) == 1) {
        used = bytes ? ReadMosaic(src, walk, 0, g, frame_.bytes, g.W, frame_.Threads()) : used;
    }
    if (!bytes) {
        used = ReadMosaic(src, walk, shift, g, frame_.mosaic, g.W, frame_.Threads());
    }
    frame_.narrow = used < 4096;
    prepared_ = true;
    return kCodeOk;
}

template <class T>
template <class Sample>
int TrueSenseEngine<T>::Process(Sample* dst, int dstStride, int shift) {
    if (!prepared_) {
        return kCodeOk;
    }
    const tagTrueSenseParam& param = frame_.param;
    const GridGeometry& g = frame_.geometry;
    const ColourMatrix<double> matrix(param);
    OutputTable<Sample> table;
    table.Fill(param.toneTable, shift);
    OutputRows<Sample> output;
    output.dst = dst;
    output.walk =
        RegionWalk::Make(0, 0, g.w, g.h, dstStride, alpha_ ? 4 : 3, param.horMirrored != 0, param.verMirrored != 0);
    output.bgr = bgr_;
    output.matrix = matrix_ == Matrix::OfEngine || IsIdentity(matrix.factor) ? nullptr : matrix.factor;
    output.table = &table;
    output.bounded = matrix_ == Matrix::OfEngine;
    return Reconstruct(frame_, RegionSink<Sample>(g, output));
}

template <class T>
int TrueSenseEngine<T>::Init(T const* src, _OrvRect rect, _OrvSize, int srcStride, int bits, T* dst, int dstStride,
                             unsigned char grid, tagTrueSenseParam* param) {
    if (src == nullptr || dst == nullptr) {
        return kCodeNullPointer;
    }
    dst_ = dst;
    dstStride_ = ToSamples<T>(dstStride);
    return Load(src, rect, ToSamples<T>(srcStride), bits, grid, param);
}

template <class T>
int TrueSenseEngine<T>::InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize, int srcStride, int bits,
                                unsigned char* dst, int dstStride, unsigned char grid, tagTrueSenseParam* param) {
    if (src == nullptr || dst == nullptr) {
        return kCodeNullPointer;
    }
    dst8_ = dst;
    dstStride_ = dstStride;
    return Load(src, rect, ToSamples<unsigned short>(srcStride), bits, grid, param);
}

template <class T>
int TrueSenseEngine<T>::Calculate() {
    bool ok = false;
    const int shift = OutputShift(bits_, frame_.param.normalizationEnable != 0, &ok);
    return ok ? Process(dst_, dstStride_, shift) : kCodeBadArgument;
}

template <class T>
int TrueSenseEngine<T>::CalculateRGB() {
    return Process(dst8_, dstStride_, kByteShift);
}

template class TrueSenseEngine<unsigned char>;
template class TrueSenseEngine<unsigned short>;

}  // namespace orv
