// The Bayer-like TrueSense engine, algorithm 2.
//
// Pan is completed along its edges, then the differences colour - pan are averaged over the 2 by 2 blocks of the cell:
// a Bayer mosaic of half the size, which is demosaiced and doubled bilinearly; pan is added back. Of the parameters
// only `threads_num`, `normalizationEnable`, the mirrors, the matrix and `toneTable` have an effect.
#ifndef ORV_ENGINES_TRUESENSEBAYERLIKE_H
#define ORV_ENGINES_TRUESENSEBAYERLIKE_H

#include "engines/BayerLikePlanes.h"
#include "rows/WorkerScratch.h"
#include "truesense/TrueSenseEngine.h"

template <class T>
class TrueSenseBayerLike : public orv::TrueSenseEngine<T> {
    using Base = orv::TrueSenseEngine<T>;

public:
    TrueSenseBayerLike() : Base(Base::Flags::Low32Bits, Base::Matrix::OfOutput) {}

protected:
    bool Reserve(const orv::EngineFrame& frame) override;
    // 1 when OpenCV threw, 9 when that was for want of planes.
    int Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) override;

private:
    orv::WorkerScratch rings_;
    orv::BayerLikePlanes planes_;  // empty until a frame needs them
};

extern template class TrueSenseBayerLike<unsigned char>;
extern template class TrueSenseBayerLike<unsigned short>;

#endif
