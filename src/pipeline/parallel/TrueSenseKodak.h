// The reference form of the pan-and-colour pipeline, algorithm 4: the bytes of Api_ImageProcess, from strips on a team
// of `threads_num`. Frames of any depth, grid code and mirror are brought into its form; the 8-bit result is written in
// the layout asked for. The kernels themselves run only for tone tables of more than 8 bits.
#ifndef ORV_PIPELINE_PARALLEL_TRUESENSEKODAK_H
#define ORV_PIPELINE_PARALLEL_TRUESENSEKODAK_H

#include "pipeline/parallel/StripPipeline.h"
#include "pipeline/reference/ImageProcess.h"
#include "truesense/GridFrame.h"
#include "truesense/IDemosaicing.h"

namespace orv {

// The fields that a record has in common with the kernels' one, in their narrower types.
void NarrowParameters(const tagTrueSenseParam& from, ImageProcessParam* param);

}  // namespace orv

// T is the sample type of Init's source and destination: unsigned char or unsigned short.
template <class T>
class TrueSenseKodak : public IDemosaicing, public IDemConvertion<T> {
public:
    void CleanMemory() override;
    bool IsThis(IDemosaicing* other) override;

    void SetOutputPixelType(bool alpha, bool bgr) override;
    int Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
             unsigned char grid, tagTrueSenseParam* param) override;
    // 0, or 1 when the kernels failed or no Init has succeeded since CleanMemory or a refused one; the destination is
    // then as it was.
    int Calculate() override;
    // Refuses a depth of 10.
    int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, unsigned char* dst,
                int dstStride, unsigned char grid, tagTrueSenseParam* param) override;
    int CalculateRGB() override;

    // Frees all planes and forgets the geometry.
    void Clear();

private:
    // The geometry; memory of another one is freed. 0, 7 or 9.
    int Prepare(_OrvRect rect, _OrvSize size, unsigned char grid);
    // Memory for the strips or for the kernels, kept where it suffices. False when it ran out.
    bool Reserve();
    bool ReserveKernels();
    // The common part of both Inits; `srcStride` in samples.
    template <class Sample>
    int CopyDataFromSrc(const Sample* src, int srcStride, _OrvRect rect, _OrvSize size, int bits, unsigned char grid,
                        const tagTrueSenseParam* param);
    template <class Out>
    int CopyDataToDst(Out* dst, int dstStride, int shift);

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

    bool prepared_ = false;     // `frame_` holds the frame of the last Init
    bool inStrips_ = true;      // strips take it
    bool narrow_ = false;       // every sample lies in 0 to 4095
    orv::AlignedBuffer frame_;  // int16, the extended frame, 12 bits
    orv::StripPipeline<orv::ReferenceForm> strips_;

    static constexpr int kBuffers = 7;
    orv::AlignedBuffer rgb_;               // the result of the kernels
    orv::AlignedBuffer memory_[kBuffers];  // the buffers of `buffers_`, in its order
    char logBuffer_[1024] = {};
    ImageProcessParam param_ = {};
    ImageProcessBuffers buffers_ = {};

    int threads_ = 0;  // of every team; 0: the process's default
    bool normalizationEnable_ = false, verMirrored_ = false, horMirrored_ = false;
};

extern template class TrueSenseKodak<unsigned char>;
extern template class TrueSenseKodak<unsigned short>;

#endif
