// Noise cleaning: sigma filters under a model of the sensor's noise.
#include <algorithm>
#include <initializer_list>

#include "pipeline/Arithmetic.h"
#include "pipeline/reference/Scratch.h"

using orv::Elements;
using orv::NoiseLine;
using orv::TakeScratch;

namespace {

// What a clean stage keeps in scratch.
struct CleanScratch {
    int* reference;  // the plane before the first pass
    unsigned short* thresholds;
};

bool TakeCleanScratch(const char* label, const int* plane, int qw, int qh, CleanScratch* scratch, LogText_t* log) {
    const ptrdiff_t Q = Elements(qw, qh);
    scratch->reference = TakeScratch<int>(label, Q, log);
    if (scratch->reference == nullptr) {
        return false;
    }
    std::copy(plane, plane + Q, scratch->reference);
    scratch->thresholds = TakeScratch<unsigned short>("thresAddr", Q, log);
    if (scratch->thresholds == nullptr) {
        return false;
    }
    std::fill(scratch->thresholds, scratch->thresholds + Q, static_cast<unsigned short>(0));
    return true;
}

}  // namespace

int Alg_CalculateNoiseParameter(float analogGain, float* ISOAnalogGain, float* slopes, float* intercepts, float* slope,
                                float* intercept, LogText_t*) {
    const NoiseLine line = orv::NoiseLineAt(analogGain, ISOAnalogGain, slopes, intercepts);
    *slope = line.slope;
    *intercept = line.intercept;
    return 0;
}

int Alg_ColorBuildGammaNoiseThreshold(short* lowGamma, int w, int h, float sigma, float globalGain, float slope,
                                      float intercept, unsigned short* thresholds, LogText_t*) {
    uint16_t table[1024];
    orv::BuildThresholdTable<double>(sigma, globalGain, {slope, intercept}, table);
    for (ptrdiff_t p = 0; p < Elements(w, h); ++p) {
        thresholds[p] = table[lowGamma[p]];
    }
    return 0;
}

int Alg_PanBuildGammaNoiseThreshold(int* reflPan, int w, int h, float sigma, float globalGain, float slope,
                                    float intercept, unsigned short* thresholds, LogText_t*) {
    uint16_t table[1024];
    orv::BuildThresholdTable<double>(sigma, globalGain, {slope, intercept}, table);
    for (ptrdiff_t p = 0; p < Elements(w, h); ++p) {
        thresholds[p] = table[orv::CodeOf(reflPan[p])];
    }
    return 0;
}

int Alg_IterativeSigmaFilter(int* data, int* reference, int w, int h, int spacing, unsigned short* thresholds,
                             LogText_t* log) {
    const int* copy = orv::CopyToScratch("bufArray", data, w, h, log);
    if (copy == nullptr) {
        return -1;
    }
    // Behind an odd number of thresholds the copy lies between two ints. All sums wrap.
    const auto before = [bytes = reinterpret_cast<const unsigned char*>(copy), w](int y, int x) {
        uint32_t value = 0;
        std::memcpy(&value, bytes + 4 * (Elements(w, y) + x), sizeof(value));
        return value;
    };
    for (int y = spacing; spacing > 0 && y < h - spacing; ++y) {
        for (int x = spacing; x < w - spacing; ++x) {
            const ptrdiff_t p = Elements(w, y) + x;
            const uint32_t centre = before(y, x);
            const auto limit = static_cast<int32_t>(static_cast<uint32_t>(thresholds[p]) << 16);
            uint32_t sum = 0;
            int32_t count = 0;
            for (const int dy : {-spacing, 0, spacing}) {
                for (const int dx : {-spacing, 0, spacing}) {
                    const uint32_t value = before(y + dy, x + dx);
                    const auto distance = static_cast<int32_t>(value - static_cast<uint32_t>(reference[p]));
                    if ((dy != 0 || dx != 0) && limit > orv::Abs(distance)) {
                        sum += value - centre;
                        ++count;
                    }
                }
            }
            data[p] = static_cast<int>(centre + static_cast<uint32_t>(static_cast<int32_t>(sum) / (count + 1)));
        }
    }
    return 0;
}

int Alg_LowColorDiffClean(short* lowGamma, int* lowColorDiff, int qw, int qh, float globalGain, float redGain,
                          float greenGain, float blueGain, float analogGain, float* ISOAnalogGain, float* ISOColorSlope,
                          float* ISOColorIntercept, float colorSigma0, float colorSigma1, float colorSigma2,
                          int colorRadius0, int colorRadius1, int colorRadius2, LogText_t* log) {
    CleanScratch scratch;
    if (!TakeCleanScratch("bufBayer", lowColorDiff, qw, qh, &scratch, log)) {
        return -1;
    }
    NoiseLine line;
    Alg_CalculateNoiseParameter(analogGain, ISOAnalogGain, ISOColorSlope, ISOColorIntercept, &line.slope,
                                &line.intercept, log);
    const float sigmas[3] = {colorSigma0, colorSigma1, colorSigma2};
    const int radii[3] = {colorRadius0, colorRadius1, colorRadius2};
    for (int pass = 0; pass < 3; ++pass) {
        if (radii[pass] <= 0) {
            continue;
        }
        const float sigma = ((redGain + greenGain + blueGain) / 3.0F) * sigmas[pass];
        Alg_ColorBuildGammaNoiseThreshold(lowGamma, qw, qh, sigma, globalGain, line.slope, line.intercept,
                                          scratch.thresholds, log);
        // Twice the radius stays on one colour of the half-size mosaic.
        const int spacing = static_cast<int>(std::min<int64_t>(2 * static_cast<int64_t>(radii[pass]), INT32_MAX));
        if (Alg_IterativeSigmaFilter(lowColorDiff, scratch.reference, qw, qh, spacing, scratch.thresholds, log) != 0) {
            return -1;
        }
    }
    return 0;
}

int Alg_LowPanClean(int* lowPan, int qw, int qh, float globalGain, float analogGain, float* ISOAnalogGain,
                    float* ISOPanSlope, float* ISOPanIntercept, float panSigma0, float panSigma1, float panSigma2,
                    int panRadius0, int panRadius1, int panRadius2, LogText_t* log) {
    CleanScratch scratch;
    if (!TakeCleanScratch("reflPan", lowPan, qw, qh, &scratch, log)) {
        return -1;
    }
    NoiseLine line;
    Alg_CalculateNoiseParameter(analogGain, ISOAnalogGain, ISOPanSlope, ISOPanIntercept, &line.slope, &line.intercept,
                                log);
    const float sigmas[3] = {panSigma0, panSigma1, panSigma2};
    const int radii[3] = {panRadius0, panRadius1, panRadius2};
    for (int pass = 0; pass < 3; ++pass) {
        if (radii[pass] <= 0) {
            continue;
        }
        Alg_PanBuildGammaNoiseThreshold(scratch.reference, qw, qh, sigmas[pass], globalGain, line.slope, line.intercept,
                                        scratch.thresholds, log);
        if (Alg_IterativeSigmaFilter(lowPan, scratch.reference, qw, qh, radii[pass], scratch.thresholds, log) != 0) {
            return -1;
        }
    }
    return 0;
}
