#include "engines/TrueSenseSimple.h"

#include <algorithm>
#include <iterator>

#include "engines/SimpleStrips.h"
#include "truesense/Params.h"

template <class T>
void TrueSenseSimple<T>::Defaults(tagTrueSenseParam* param) const {
    TrueSense_DefaultValues(param);
    param->impulseFilterEnable = 0;
    param->sharpnessEnable = 0;
}

template <class T>
bool TrueSenseSimple<T>::Reserve(const orv::EngineFrame& frame) {
    return rings_.Reserve(orv::SimpleScratchBytes(frame.geometry.W), frame.geometry.H, frame.Threads());
}

template <class T>
int TrueSenseSimple<T>::Reconstruct(const orv::EngineFrame& frame, const orv::ColourRowSink& sink) {
    const tagTrueSenseParam& param = frame.param;
    orv::SimpleSettings settings = {
        param.panGain,   param.redGain,    param.greenGain, param.blueGain, {}, param.impulseFilterEnable == 1,
        panSmoothEnable, colorSmoothEnable};
    const orv::ColourMatrix<float> matrix(param);
    std::copy(std::begin(matrix.factor), std::end(matrix.factor), settings.matrix);
    const int W = frame.geometry.W;
    const int H = frame.geometry.H;
    orv::ForEachBandWithWorker(H, rings_.Workers(), [&](int worker, int y0, int y1) {
        orv::ReconstructSimpleStrip(frame.mosaic, W, H, y0, y1, frame.narrow, settings, rings_.Of(worker), sink);
    });
    return 0;
}

template class TrueSenseSimple<unsigned char>;
template class TrueSenseSimple<unsigned short>;
