// The pan-and-colour pipeline by strips, in either form.
//
// A frame passes in two steps with a barrier between. Strips of the mosaic become half-size planes (PanStrips); strips
// of these are cleaned of noise (LowCleaning) and become finished rows (ColourStrips). Only noise filters of wide
// spacing run over whole planes in between.
#ifndef ORV_PIPELINE_PARALLEL_STRIPPIPELINE_H
#define ORV_PIPELINE_PARALLEL_STRIPPIPELINE_H

#include "pipeline/parallel/ColourStrips.h"
#include "rows/WorkerScratch.h"

namespace orv {

template <class Form>
class StripPipeline {
public:
    // Takes the parameters of a frame of W by H samples, multiples of 4, and sees to its memory, which is kept where it
    // suffices. `threads` share its rows, 0 for the process's default. False when memory ran out.
    template <class Param>
    bool Reserve(int W, int H, const Param& param, int threads) {
        if (!MakeSettings(W, H)) {
            return false;
        }
        settings_->Fill(param, W / 2, H / 2);
        return ReservePlanes() && ReserveLines(threads);
    }
    // Frees the memory.
    void Release();
    // Hands all rows of the mosaic to `sink`. `narrow` promises that every sample lies in 0 to 4095.
    void Run(const int16_t* mosaic, bool narrow, const ColourRowSink& sink) const;

private:
    using Settings = typename Form::Settings;
    bool MakeSettings(int W, int H);
    bool ReservePlanes();
    bool ReserveLines(int threads);
    size_t CutPlanes(void* memory);

    Settings* settings_ = nullptr;
    LowPlane color_ = {}, pan_ = {};
    ColourFrame<Form> frame_ = {};
    AlignedBuffer settingsMemory_, planes_;
    WorkerScratch lines_;
};

extern template class StripPipeline<ParallelForm>;
extern template class StripPipeline<ReferenceForm>;

}  // namespace orv

#endif
