// The simple TrueSense engine, algorithm 1.
//
// White balance, pan completed along the smoother direction, colour differences at half size completed by fixed means
// and given to whole 2 by 2 blocks, a colour matrix in linear 12-bit values. Init reads the frame into a 12-bit mosaic
// plane; Calculate reconstructs it strip by strip in line rings. Of the parameters only `threads_num`,
// `normalizationEnable`, the mirrors, `impulseFilterEnable`, the gains of red, green, blue and pan, the matrix and
// `toneTable` have an effect.
#ifndef ORV_ENGINES_TRUESENSESIMPLE_H
#define ORV_ENGINES_TRUESENSESIMPLE_H

#include "rows/WorkerScratch.h"
#include "truesense/TrueSenseEngine.h"

template <class T>
class TrueSenseSimple : public orv::TrueSenseEngine<T> {
    using Base = orv::TrueSenseEngine<T>;

public:
    TrueSenseSimple() : Base(Base::Flags::Whole, Base::Matrix::OfEngine) {}

protected:
    // Impulse filter and sharpening off.
    void Defaults(tagTrueSenseParam* param) const override;
    bool Reserve(const orv::EngineFrame& frame) override;
    int Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) override;

private:
    orv::WorkerScratch rings_;
    // Nothing sets these: the differences keep the form of blocks.
    bool panSmoothEnable = false;
    bool colorSmoothEnable = false;
};

extern template class TrueSenseSimple<unsigned char>;
extern template class TrueSenseSimple<unsigned short>;

#endif
