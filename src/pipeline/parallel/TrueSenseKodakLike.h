// The parallel form of the pan-and-colour pipeline, algorithm 3.
//
// The stages are those of the reference form. It keeps 12 bits up to the output, interpolates and smooths in integers,
// and departs in more places, which stand where they happen: the vertical pair of the impulse filter, the fill of the
// colour differences, pan cleaned by the colour noise line, sharpening in gamma codes that can only brighten.
#ifndef ORV_PIPELINE_PARALLEL_TRUESENSEKODAKLIKE_H
#define ORV_PIPELINE_PARALLEL_TRUESENSEKODAKLIKE_H

#include "pipeline/parallel/StripPipeline.h"
#include "truesense/TrueSenseEngine.h"

// Of the parameters only the noise lines of pan have no effect.
template <class T>
class TrueSenseKodakLike : public orv::TrueSenseEngine<T> {
    using Base = orv::TrueSenseEngine<T>;

public:
    TrueSenseKodakLike() : Base(Base::Flags::Whole, Base::Matrix::OfEngine) {}

protected:
    bool Reserve(const orv::EngineFrame& frame) override {
        return pipeline_.Reserve(frame.geometry.W, frame.geometry.H, frame.param, frame.Threads());
    }
    int Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) override {
        pipeline_.Run(frame.mosaic, frame.narrow, sink);
        return 0;
    }

private:
    orv::StripPipeline<orv::ParallelForm> pipeline_;
};

extern template class TrueSenseKodakLike<unsigned char>;
extern template class TrueSenseKodakLike<unsigned short>;

#endif
