#include "pipeline/TrueSenseKodakLike.h"

#include <algorithm>
#include <new>

#include "component/Bands.h"
#include "pipeline/ColourStrips.h"
#include "pipeline/PanStrips.h"

namespace orv {

size_t ParallelPipeline::CutPlanes(void* memory, int W, int H) {
    LineCutter cutter(memory);
    low_.n = W / 2;
    low_.rows = H / 2;
    low_.colorDiff = cutter.Plane<int16_t>(low_.rows, low_.n);
    low_.panSum = cutter.Plane<int16_t>(low_.rows, low_.n);
    for (int k = 0; k < 2; ++k) {
        low_.color[k] = cutter.Plane<int32_t>(low_.rows, low_.n);
        low_.pan[k] = cutter.Plane<int32_t>(low_.rows, low_.n);
    }
    fullPan_ = cutter.Plane<int16_t>(H, W);
    return cutter.Bytes();
}

bool ParallelPipeline::Reserve(const EngineFrame& frame) {
    const int W = frame.geometry.W, H = frame.geometry.H;
    const size_t lineBytes =
        std::max({PanStripScratchBytes(W), CleaningScratchBytes(W / 2), ColourStripScratchBytes(W)});
    if (!settingsMemory_.Reserve(sizeof(KodakLikeSettings)) || !planes_.Reserve(CutPlanes(nullptr, W, H)) ||
        !lines_.Reserve(lineBytes, H, frame.Threads())) {
        return false;
    }
    CutPlanes(planes_.Data(), W, H);
    settings_ = new (settingsMemory_.Data()) KodakLikeSettings;
    low_.settings = settings_;
    return true;
}

void ParallelPipeline::Run(const EngineFrame& frame, const ColourRowSink& sink) {
    const int W = frame.geometry.W, H = frame.geometry.H;
    const int workers = lines_.Workers();
    settings_->Fill(frame.param, low_.n, low_.rows);
    const PanFrame mosaic = {frame.mosaic, W, H, frame.narrow, settings_, fullPan_, low_.colorDiff, low_.panSum};
    ForEachBandWithWorker(H, workers,
                          [&](int worker, int y0, int y1) { MakePanStrip(mosaic, y0, y1, lines_.Of(worker)); });
    const int passes = std::max(settings_->color.count, settings_->pan.count);
    for (int pass = 0; pass < passes; ++pass) {
        ForEachBandWithWorker(low_.rows, workers,
                              [&](int worker, int y0, int y1) { CleanRows(low_, pass, y0, y1, lines_.Of(worker)); });
    }
    const ColourFrame clean = {W, H, settings_, &low_, fullPan_};
    ForEachBandWithWorker(H, workers,
                          [&](int worker, int y0, int y1) { MakeColourStrip(clean, y0, y1, lines_.Of(worker), sink); });
}

}  // namespace orv

template class TrueSenseKodakLike<unsigned char>;
template class TrueSenseKodakLike<unsigned short>;
