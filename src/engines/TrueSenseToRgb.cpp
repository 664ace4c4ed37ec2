#include "engines/TrueSenseToRgb.h"

#include "engines/FastStrips.h"

template <class T>
int TrueSenseToRgb<T>::InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits,
                               unsigned char* dst, int dstStride, unsigned char grid, tagTrueSenseParam* param) {
    const int threads = param != nullptr ? static_cast<int32_t>(param->threads_num) : 0;
    if (src != nullptr && dst != nullptr && threads > 0) {
        orv::SetThreads(threads);
    }
    return Base::InitRGB(src, rect, size, srcStride, bits, dst, dstStride, grid, param);
}

template <class T>
bool TrueSenseToRgb<T>::Reserve(const orv::EngineFrame& frame) {
    return rings_.Reserve(orv::FastScratchBytes(frame.geometry.W), frame.geometry.H, frame.Threads());
}

template <class T>
int TrueSenseToRgb<T>::Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) {
    const int W = frame.geometry.W;
    const int H = frame.geometry.H;
    orv::ForEachBandWithWorker(H, rings_.Workers(), [&](int worker, int y0, int y1) {
        if (frame.bytes != nullptr) {
            orv::ReconstructFastStrip(frame.bytes, W, H, y0, y1, rings_.Of(worker), sink);
        } else {
            orv::ReconstructFastStrip(frame.mosaic, W, H, y0, y1, frame.narrow, rings_.Of(worker), sink);
        }
    });
    return 0;
}

template class TrueSenseToRgb<unsigned char>;
template class TrueSenseToRgb<unsigned short>;
