#include "engines/TrueSenseBayerLike.h"

#include "component/PixelTypes.h"
#include "engines/BayerLikeStrips.h"

template <class T>
bool TrueSenseBayerLike<T>::Reserve(const orv::EngineFrame& frame) {
    return rings_.Reserve(orv::BayerLikeScratchBytes(frame.geometry.W), frame.geometry.H, frame.Threads());
}

template <class T>
int TrueSenseBayerLike<T>::Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) {
    const int W = frame.geometry.W;
    const int H = frame.geometry.H;
    if (!frame.narrow || !orv::BayerLikeStripsFit(W, H)) {
        return planes_.Reconstruct(frame.mosaic, W, H, rings_.Workers(), sink);
    }
    orv::ForEachBandWithWorker(H, rings_.Workers(), [&](int worker, int y0, int y1) {
        orv::ReconstructBayerLikeStrip(frame.mosaic, W, H, y0, y1, rings_.Of(worker), sink);
    });
    return orv::kCodeOk;
}

template class TrueSenseBayerLike<unsigned char>;
template class TrueSenseBayerLike<unsigned short>;
