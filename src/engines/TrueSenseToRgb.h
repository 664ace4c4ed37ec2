// The fast TrueSense engine, algorithm 0.
//
// Pan is completed first; every colour is then carried as a difference against pan, widened by integer means. Init
// reads the frame into a mosaic plane, samples of 8 bits as they are, others in 12 bits; Calculate reconstructs it
// strip by strip in line rings and writes the destination. Of the parameters only `threads_num`, `normalizationEnable`,
// the mirrors, the matrix and `toneTable` have an effect.
#ifndef ORV_ENGINES_TRUESENSETORGB_H
#define ORV_ENGINES_TRUESENSETORGB_H

#include "rows/WorkerScratch.h"
#include "truesense/TrueSenseEngine.h"

template <class T>
class TrueSenseToRgb : public orv::TrueSenseEngine<T> {
    using Base = orv::TrueSenseEngine<T>;

public:
    TrueSenseToRgb() : Base(Base::Flags::Low32Bits, Base::Matrix::OfOutput, Base::Plane::OfBytes) {}

    // Sets the process's default team size to a `threads_num` above 0 and leaves it there.
    int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, unsigned char* dst,
                int dstStride, unsigned char grid, tagTrueSenseParam* param) override;

    void Clear() { this->CleanMemory(); }

protected:
    bool Reserve(const orv::EngineFrame& frame) override;
    int Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) override;

private:
    orv::WorkerScratch rings_;
};

extern template class TrueSenseToRgb<unsigned char>;
extern template class TrueSenseToRgb<unsigned short>;

#endif
