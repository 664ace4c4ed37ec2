#include "pipeline/parallel/TrueSenseKodakLike.h"

#include <algorithm>
#include <new>

#include "pipeline/parallel/PanStrips.h"
#include "rows/Bands.h"

namespace orv {

size_t ParallelPipeline::CutPlanes(void* memory, int W, int H) {
    LineCutter cutter(memory);
    for (LowPlane* plane : {&color_, &pan_}) {
        plane->n = W / 2;
        plane->rows = H / 2;
        plane->codes = cutter.Plane<int16_t>(plane->rows, plane->n);
        for (Lines<int32_t>& work : plane->work) {
            work = cutter.Plane<int32_t>(plane->rows, plane->n);
        }
    }
    color_.color = true;
    color_.panSum = pan_.panSum = pan_.codes;
    fullPan_ = cutter.Plane<int16_t>(H, W);
    return cutter.Bytes();
}

bool ParallelPipeline::Reserve(const EngineFrame& frame) {
    const int W = frame.geometry.W, H = frame.geometry.H;
    if (!settingsMemory_.Reserve(sizeof(KodakLikeSettings)) || !planes_.Reserve(CutPlanes(nullptr, W, H))) {
        return false;
    }
    CutPlanes(planes_.Data(), W, H);
    settings_ = new (settingsMemory_.Data()) KodakLikeSettings;
    settings_->Fill(frame.param, W / 2, H / 2, &color_.passes, &pan_.passes);
    if (settings_->mono) {
        color_.passes.count = 0;
    }
    clean_ = {W, H, settings_, &color_, &pan_, fullPan_};
    const size_t lineBytes = std::max(
        {PanStripScratchBytes(W, settings_->impulse), CleaningScratchBytes(W / 2), ColourStripScratchBytes(clean_)});
    return lines_.Reserve(lineBytes, H, frame.Threads());
}

void ParallelPipeline::Run(const EngineFrame& frame, const ColourRowSink& sink) {
    const int W = frame.geometry.W, H = frame.geometry.H;
    const int workers = lines_.Workers();
    const PanFrame mosaic = {frame.mosaic, W, H, frame.narrow, settings_, fullPan_, color_.codes, pan_.codes};
    ForEachBandWithWorker(H, workers,
                          [&](int worker, int y0, int y1) { MakePanStrip(mosaic, y0, y1, lines_.Of(worker)); });
    const auto wide = [](const LowPlane& plane) { return plane.InRings() ? 0 : plane.passes.count; };
    for (int pass = 0; pass < std::max(wide(color_), wide(pan_)); ++pass) {
        ForEachBandWithWorker(H / 2, workers, [&](int worker, int y0, int y1) {
            color_.Clean(pass, y0, y1, lines_.Of(worker));
            pan_.Clean(pass, y0, y1, lines_.Of(worker));
        });
    }
    ForEachBandWithWorker(
        H, workers, [&](int worker, int y0, int y1) { MakeColourStrip(clean_, y0, y1, lines_.Of(worker), sink); });
}

}  // namespace orv

template class TrueSenseKodakLike<unsigned char>;
template class TrueSenseKodakLike<unsigned short>;
