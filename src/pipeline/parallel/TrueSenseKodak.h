// The reference pan-and-colour engine: brings frames of any depth, grid code and mirror into the form of
// Api_ImageProcess and writes its 8-bit result in the layout asked for.
//
// The pipeline runs on the calling thread, the copies on a team of `threads_num`.
#ifndef ORV_PIPELINE_PARALLEL_TRUESENSEKODAK_H
#define ORV_PIPELINE_PARALLEL_TRUESENSEKODAK_H

#include <cstddef>
#include <memory>

#include "pipeline/reference/ImageProcess.h"
#include "truesense/GridFrame.h"
#include "truesense/IDemosaicing.h"

// T is the sample type of Init's source and destination: unsigned char or unsigned short.
template <class T>
class TrueSenseKodak : public IDemosaicing, public IDemConvertion<T> {
public:
    void CleanMemory() override;
    bool IsThis(IDemosaicing* other) override;

    void SetOutputPixelType(bool alpha, bool bgr) override;
    int Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
             unsigned char grid, tagTrueSenseParam* param) override;
    // 0, or 1 when the pipeline failed or no Init has succeeded since CleanMemory or a refused one; the destination is
    // then as it was.
    int Calculate() override;
    // Refuses a depth of 10.
    int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, unsigned char* dst,
                int dstStride, unsigned char grid, tagTrueSenseParam* param) override;
    int CalculateRGB() override;

    // Frees all planes and forgets the geometry.
    void Clear();

private:
    struct FreeBytes {
        void operator()(unsigned char* memory) const { ::operator delete[](memory, std::align_val_t{64}); }
    };
    using Bytes = std::unique_ptr<unsigned char[], FreeBytes>;

    // Memory for the geometry, kept while it stays: 0, 7 or 9.
    int Prepare(_OrvRect rect, _OrvSize size, unsigned char grid);
    bool Allocate();
    void LoadParameters(const tagTrueSenseParam& param);
    // The common part of both Inits; `srcStride` in samples.
    template <class Sample>
    int CopyDataFromSrc(const Sample* src, int srcStride, _OrvRect rect, _OrvSize size, int bits, unsigned char grid,
                        const tagTrueSenseParam* param);
    template <class Out>
    void CopyDataToDst(Out* dst, int dstStride, int shift) const;
    template <class Out>
    int Process(Out* dst, int dstStride, int shift);

    T* dst_ = nullptr;
    unsigned char* dstRgb_ = nullptr;
    int dstStride_ = 0;  // bytes
    int bitDepth_ = 0;
    bool alpha_ = false, bgr_ = false;

    // The geometry that the planes are made for.
    _OrvRect rect_ = {};
    _OrvSize size_ = {};
    unsigned char gridCode_ = orv::kNoGrid;
    orv::GridGeometry geometry_;

    static constexpr int kBuffers = 7;
    Bytes frame_;             // int16, the extended frame, 12 bits
    Bytes rgb_;               // the result of the pipeline
    Bytes memory_[kBuffers];  // the buffers of `buffers_`, in its order
    bool prepared_ = false;   // `frame_` holds the frame of the last Init
    char logBuffer_[1024] = {};
    ImageProcessParam param_ = {};
    ImageProcessBuffers buffers_ = {};
    int threads_ = 0;  // of the copies; 0: the process's default
    bool normalizationEnable_ = false, verMirrored_ = false, horMirrored_ = false;
};

extern template class TrueSenseKodak<unsigned char>;
extern template class TrueSenseKodak<unsigned short>;

#endif
