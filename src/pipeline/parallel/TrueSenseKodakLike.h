// The parallel form of the pan-and-colour pipeline, algorithm 3.
//
// The stages are those of the reference form. It keeps 12 bits up to the output, interpolates and smooths in integers,
// and departs in more places, which stand where they happen: the vertical pair of the impulse filter, the fill of the
// colour differences, pan cleaned by the colour noise line, sharpening in gamma codes that can only brighten.
//
// A frame passes in two steps with a barrier between. Strips of the mosaic become half-size planes (PanStrips); strips
// of these are cleaned of noise (LowCleaning) and become finished rows (ColourStrips). Only noise filters of wide
// spacing run over whole planes in between.
#ifndef ORV_PIPELINE_PARALLEL_TRUESENSEKODAKLIKE_H
#define ORV_PIPELINE_PARALLEL_TRUESENSEKODAKLIKE_H

#include "pipeline/parallel/ColourStrips.h"
#include "pipeline/parallel/KodakLikeSettings.h"
#include "pipeline/parallel/LowCleaning.h"
#include "rows/Lines.h"
#include "rows/WorkerScratch.h"
#include "truesense/TrueSenseEngine.h"

namespace orv {

class ParallelPipeline {
public:
    // Memory for this frame, kept where it suffices. False when it ran out.
    bool Reserve(const EngineFrame& frame);
    void Run(const EngineFrame& frame, const ColourRowSink& sink);

private:
    size_t CutPlanes(void* memory, int W, int H);

    KodakLikeSettings* settings_ = nullptr;
    LowPlane color_ = {}, pan_ = {};
    Lines<int16_t> fullPan_;
    ColourFrame clean_ = {};
    AlignedBuffer settingsMemory_, planes_;
    WorkerScratch lines_;
};

}  // namespace orv

// Of the parameters only the noise lines of pan have no effect.
template <class T>
class TrueSenseKodakLike : public orv::TrueSenseEngine<T> {
    using Base = orv::TrueSenseEngine<T>;

public:
    TrueSenseKodakLike() : Base(Base::Flags::Whole, Base::Matrix::OfEngine) {}

protected:
    bool Reserve(const orv::EngineFrame& frame) override { return pipeline_.Reserve(frame); }
    int Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) override {
        pipeline_.Run(frame, sink);
        return 0;
    }

private:
    orv::ParallelPipeline pipeline_;
};

extern template class TrueSenseKodakLike<unsigned char>;
extern template class TrueSenseKodakLike<unsigned short>;

#endif
