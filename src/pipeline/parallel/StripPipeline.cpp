#include "pipeline/parallel/StripPipeline.h"

#include <algorithm>
#include <new>

#include "pipeline/parallel/PanStrips.h"
#include "rows/Bands.h"

namespace orv {

template <class Form>
bool StripPipeline<Form>::MakeSettings(int W, int H) {
    if (!settingsMemory_.Reserve(sizeof(Settings))) {
        return false;
    }
    if (settings_ == nullptr) {
        settings_ = new (settingsMemory_.Data()) Settings();
    }
    for (LowPlane* plane : {&color_, &pan_}) {
        plane->n = W / 2;
        plane->rows = H / 2;
        plane->color = plane == &color_;
        plane->passes = plane->color ? &settings_->color : &settings_->pan;
    }
    frame_.W = W;
    frame_.H = H;
    frame_.settings = settings_;
    frame_.color = &color_;
    frame_.pan = &pan_;
    return true;
}

template <class Form>
size_t StripPipeline<Form>::CutPlanes(void* memory) {
    LineCutter cutter(memory);
    for (LowPlane* plane : {&color_, &pan_}) {
        plane->codes = cutter.Plane<int16_t>(plane->rows, plane->n);
        for (Lines<int32_t>& work : plane->work) {
            work = plane->InRings() ? Lines<int32_t>() : cutter.Plane<int32_t>(plane->rows, plane->n);
        }
    }
    color_.panSum = pan_.panSum = pan_.codes;
    if (settings_->sharpen) {
        frame_.fullPan = cutter.Plane<typename Form::FullPan>(frame_.H, frame_.W);
    }
    return cutter.Bytes();
}

template <class Form>
bool StripPipeline<Form>::ReservePlanes() {
    if (!planes_.Reserve(CutPlanes(nullptr))) {
        return false;
    }
    CutPlanes(planes_.Data());
    return true;
}

template <class Form>
bool StripPipeline<Form>::ReserveLines(int threads) {
    const size_t bytes = std::max({PanStripScratchBytes(frame_.W, settings_->impulse),
                                   CleaningScratchBytes(frame_.W / 2), ColourStripScratchBytes(frame_)});
    return lines_.Reserve(bytes, frame_.H, threads);
}

template <class Form>
void StripPipeline<Form>::Release() {
    *this = StripPipeline();
}

template <class Form>
void StripPipeline<Form>::Run(const int16_t* mosaic, bool narrow, const ColourRowSink& sink) const {
    const int W = frame_.W, H = frame_.H;
    const int workers = lines_.Workers();
    const PanFrame<Form> pan = {mosaic, W, H, narrow, settings_, frame_.fullPan, color_.codes, pan_.codes};
    ForEachBandWithWorker(H, workers,
                          [&](int worker, int y0, int y1) { MakePanStrip(pan, y0, y1, lines_.Of(worker)); });
    const auto wide = [](const LowPlane& plane) { return plane.InRings() ? 0 : plane.passes->count; };
    for (int pass = 0; pass < std::max(wide(color_), wide(pan_)); ++pass) {
        ForEachBandWithWorker(H / 2, workers, [&](int worker, int y0, int y1) {
            color_.Clean(pass, y0, y1, lines_.Of(worker));
            pan_.Clean(pass, y0, y1, lines_.Of(worker));
        });
    }
    ForEachBandWithWorker(
        H, workers, [&](int worker, int y0, int y1) { MakeColourStrip(frame_, y0, y1, lines_.Of(worker), sink); });
}

template class StripPipeline<ParallelForm>;
template class StripPipeline<ReferenceForm>;

}  // namespace orv
