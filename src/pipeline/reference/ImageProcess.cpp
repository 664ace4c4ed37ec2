// The driver of the reference pipeline: the plan of its memory and the order of its stages.
#include "pipeline/reference/ImageProcess.h"

#include <cstring>
#include <initializer_list>

#include "pipeline/reference/Scratch.h"
#include "truesense/Tables.h"

using orv::AppendLog;
using orv::Elements;

namespace {

constexpr unsigned kHashSeed = 2150;

uint32_t FillSizes(const ImageProcessParam& param, ImageProcessBuffers* buffers) {
    const auto N = static_cast<uint32_t>(Elements(param.width, param.height));
    const auto Q = static_cast<uint32_t>(Elements(param.width / 2, param.height / 2));
    buffers->imageBufferSize = 2 * N + 12 * Q;
    buffers->rgbBufferSize = 3 * N + 4 * Q;
    buffers->lowPanSize = 4 * Q;
    buffers->planeRSize = 4 * N;
    buffers->planeGSize = 4 * N;
    buffers->planeBSize = 4 * N;
    buffers->fullPanSize = 2 * N;
    return buffers->imageBufferSize + buffers->rgbBufferSize + buffers->lowPanSize + buffers->planeRSize +
           buffers->planeGSize + buffers->planeBSize + buffers->fullPanSize;
}

// The planes inside the buffers. Planes that overlay each other are never alive at one time: the scratch of colour
// up-sampling and then panUp stand on the spent frame and split planes, lowGamma on panAtOdd.
struct Planes {
    short *frame, *panEven, *panOdd, *colorEven, *colorOdd, *panAtEven, *panAtOdd, *lowGamma, *fullPan;
    int *lowPan, *lowColorDiff, *planeR, *planeG, *planeB, *panUp;
    unsigned char *lowScratch, *rgbOut;

    Planes(const ImageProcessBuffers& buffers, ptrdiff_t N, ptrdiff_t Q) {
        unsigned char* image = buffers.imageBuffer;
        const auto half = [=](int index) { return reinterpret_cast<short*>(image + 2 * N + 2 * Q * index); };
        frame = reinterpret_cast<short*>(image);
        panEven = half(0);
        panOdd = half(1);
        colorEven = half(2);
        colorOdd = half(3);
        panAtEven = half(4);
        panAtOdd = half(5);
        lowGamma = panAtOdd;
        lowScratch = image + 4 * Q;
        panUp = reinterpret_cast<int*>(image + 4 * Q);
        rgbOut = buffers.rgbBuffer;
        lowColorDiff = reinterpret_cast<int*>(buffers.rgbBuffer + 3 * N);
        lowPan = reinterpret_cast<int*>(buffers.lowPan);
        planeR = reinterpret_cast<int*>(buffers.planeR);
        planeG = reinterpret_cast<int*>(buffers.planeG);
        planeB = reinterpret_cast<int*>(buffers.planeB);
        fullPan = reinterpret_cast<short*>(buffers.fullPan);
    }
};

// The whole of one buffer becomes checked scratch.
void SetScratch(unsigned char* memory, ptrdiff_t bytes) {
    g_dynamicBuffer = memory;
    g_bufFloor = memory;
    g_bufCeil = memory + bytes;
}

}  // namespace

int32_t Api_ImageProcess(ImageProcessParam* param, ImageProcessBuffers* buffers) {
    if (buffers == nullptr) {
        return -1;
    }
    if (buffers->mode == 1) {
        return static_cast<int32_t>(FillSizes(*param, buffers));
    }
    const int w = param->width, h = param->height, qw = w / 2, qh = h / 2;
    const ptrdiff_t N = Elements(w, h), Q = Elements(qw, qh);
    const Planes p(*buffers, N, Q);
    LogText_t text = {param->logText, 0};
    LogText_t* log = &text;

    Alg_SubtractDarkFloor(reinterpret_cast<unsigned char*>(param->sensorData), w, h, param->darkFloor, p.frame, log);
    if (param->globalGain > 1.0F && N > 0) {
        for (int y = 0; y < h; ++y) {
            ApplyGlobalGain(p.frame + Elements(w, y), w, param->globalGain);
        }
    }
    if (Alg_WhiteBalance(p.frame, w, h, param->cfaPattern, param->redGain, param->greenGain, param->blueGain,
                         param->panGain, p.panEven, p.panOdd, p.colorEven, p.colorOdd, log) != 0) {
        return -1;
    }

    SetScratch(buffers->planeR, 4 * N);
    g_dynamicBuffer1 = buffers->planeG;
    if (Alg_InterpolatePan(p.panEven, p.panOdd, w, h, p.fullPan, p.panAtEven, p.panAtOdd, log) != 0) {
        return -1;
    }
    SetScratch(buffers->planeR, 4 * N);
    if (Alg_GenerateLow(p.fullPan, p.panAtEven, p.panAtOdd, p.colorEven, p.colorOdd, w, h, p.lowPan, p.lowGamma,
                        p.lowColorDiff, log) != 0) {
        return -1;
    }

    if (param->colorRadius0 != 0 || param->colorRadius1 != 0 || param->colorRadius2 != 0) {
        SetScratch(buffers->planeR, 4 * N);
        if (Alg_LowColorDiffClean(p.lowGamma, p.lowColorDiff, qw, qh, param->globalGain, param->redGain,
                                  param->greenGain, param->blueGain, param->analogGain, param->ISOAnalogGain,
                                  param->ISOColorSlope, param->ISOColorIntercept, param->colorSigma0,
                                  param->colorSigma1, param->colorSigma2, param->colorRadius0, param->colorRadius1,
                                  param->colorRadius2, log) != 0) {
            return -1;
        }
    }
    if (param->panRadius0 != 0 || param->panRadius1 != 0 || param->panRadius2 != 0) {
        SetScratch(buffers->planeR, 4 * N);
        if (Alg_LowPanClean(p.lowPan, qw, qh, param->globalGain, param->analogGain, param->ISOAnalogGain,
                            param->ISOPanSlope, param->ISOPanIntercept, param->panSigma0, param->panSigma1,
                            param->panSigma2, param->panRadius0, param->panRadius1, param->panRadius2, log) != 0) {
            return -1;
        }
    }

    SetScratch(buffers->rgbBuffer, static_cast<ptrdiff_t>(buffers->rgbBufferSize));
    g_dynamicBuffer1 = p.lowScratch;
    if (Alg_LowColorDiffUpSample(p.lowColorDiff, qw, qh, param->cfaPattern, p.planeR, p.planeG, p.planeB, log) != 0) {
        return -1;
    }
    SetScratch(buffers->rgbBuffer, static_cast<ptrdiff_t>(buffers->rgbBufferSize));
    if (Alg_LowPanUpSample(p.lowPan, qw, qh, p.panUp, log) != 0) {
        return -1;
    }
    if (param->monoEnable == 1) {
        for (int* plane : {p.planeR, p.planeG, p.planeB}) {
            std::memset(plane, 0, static_cast<size_t>(N) * sizeof(int));
        }
    }

    if (param->toneTable == nullptr) {
        param->toneTable = Tonescale12;
    }
    short* toneTable = const_cast<short*>(param->toneTable);
    Alg_ColorCorrection(p.planeR, p.planeG, p.planeB, p.panUp, w, h, param->RR, param->RG, param->RB, param->GR,
                        param->GG, param->GB, param->BR, param->BG, param->BB, p.rgbOut, toneTable, log);
    SetScratch(buffers->planeR, 4 * N);
    g_dynamicBuffer1 = buffers->planeG;
    g_dynamicBuffer2 = buffers->planeB;
    if (Alg_Sharpness(p.rgbOut, p.fullPan, p.panUp, w, h, param->sharpenParam, param->maxSharpen, param->highLumaNoise,
                      param->lowLumaNoise, toneTable, log) != 0) {
        return -1;
    }

    AppendLog(log, "Final image check num: %x\n", calcHash(p.rgbOut, 3 * w, h, kHashSeed));
    std::memcpy(param->outputRgb, p.rgbOut, static_cast<size_t>(N) * 3);
    return 0;
}
