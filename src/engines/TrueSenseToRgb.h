// The fast TrueSense engine, algorithm 0.
//
// Pan is completed first; every colour is then carried as a difference against pan, widened by integer means. Init
// reads the frame into a 12-bit mosaic plane; Calculate reconstructs it strip by strip in line rings and writes the
// destination. Of the parameters only `threads_num`, `normalizationEnable`, the mirrors, the matrix and `toneTable`
// have an effect.
#ifndef ORV_ENGINES_TRUESENSETORGB_H
#define ORV_ENGINES_TRUESENSETORGB_H

#include <cstddef>
#include <cstdint>

#include "component/AlignedBuffer.h"
#include "truesense/GridFrame.h"
#include "truesense/IDemosaicing.h"

template <class T>
class TrueSenseToRgb : public IDemosaicing, public IDemConvertion<T> {
public:
    TrueSenseToRgb() = default;
    TrueSenseToRgb(const TrueSenseToRgb&) = delete;
    TrueSenseToRgb& operator=(const TrueSenseToRgb&) = delete;

    void CleanMemory() override { Clear(); }
    bool IsThis(IDemosaicing* other) override { return this == other; }
    void SetOutputPixelType(bool alpha, bool bgr) override;

    // Init and InitRGB: 8 for null pixels, 7 for a grid above 15 or `bits` outside 8, 10, 12, 14, 16, 9 when a
    // dimension is negative, the plane is empty or memory ran out; tested in the order 8, 7 (grid), 9, 7 (bits). A null
    // `param` stands for the default matrix and tone table. Frames of one geometry keep the memory.
    int Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
             unsigned char grid, tagTrueSenseParam* param) override;
    // Calculate and CalculateRGB run at the team size `threads_num` when that is above 0 and restore the former one.
    // Calculate returns 7, and writes nothing, when `bits` has no output depth and no normalisation is asked for.
    int Calculate() override;
    // Besides, InitRGB sets the OpenMP team size to a `threads_num` above 0 and leaves it there.
    int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, unsigned char* dst,
                int dstStride, unsigned char grid, tagTrueSenseParam* param) override;
    int CalculateRGB() override;

    // Forgets the geometry; the memory stays for the next Init.
    void Clear();

    // For tests: the mosaic plane, null when there is none.
    const int16_t* Mosaic() const { return prepared_ ? Plane() : nullptr; }

private:
    void TakeParameters(const tagTrueSenseParam* param);
    // Keeps or rebuilds the planes. Strides in samples.
    int Prepare(const _OrvRect& rect, const _OrvSize& size, int srcStride, int dstStride, unsigned char grid);
    bool ReserveScratch();
    template <class Sample>
    int CopyDataFromSrc(const Sample* src);
    template <class Sample>
    void CopyDataToDst(Sample* dst, int shift);  // with the stages before it, strip by strip
    int16_t* Plane() const { return static_cast<int16_t*>(plane_.Data()); }

    T* dst_ = nullptr;
    unsigned char* dst8_ = nullptr;

    bool prepared_ = false;  // the planes exist and have the geometry below
    _OrvRect rect_ = {};
    _OrvSize size_ = {};
    int srcStride_ = 0;  // samples
    int dstStride_ = 0;
    unsigned char grid_ = orv::kNoGrid;
    orv::GridGeometry geometry_;
    orv::AlignedBuffer plane_;    // H by W int16
    orv::AlignedBuffer scratch_;  // line rings, one share per worker
    size_t workerBytes_ = 0;
    int workers_ = 0;
    bool narrow_ = true;  // every sample of the plane lies within 12 bits

    int bits_ = 0;
    bool alpha_ = false, bgr_ = false;
    const int16_t* toneTable_ = nullptr;
    int32_t threadsNum_ = 0, normalizationEnable_ = 0;
    double colorMatrix_[9] = {};  // row by row: red, green, blue results
    int32_t verMirrored_ = 0, horMirrored_ = 0;
};

extern template class TrueSenseToRgb<unsigned char>;
extern template class TrueSenseToRgb<unsigned short>;

#endif
