// What the two forms of the pan-and-colour pipeline compute alike, in kernels and in strips. Where they differ in
// precision, the types that a function is called with tell.
#ifndef ORV_PIPELINE_ARITHMETIC_H
#define ORV_PIPELINE_ARITHMETIC_H

#include <cmath>

#include "rows/LookUp.h"
#include "rows/Simd.h"
#include "truesense/Tables.h"

namespace orv {

// The gamma code of a 16.16 value. Rounding down agrees with rounding toward zero, since nothing below 0 remains.
ORV_ALWAYS_INLINE int16_t CodeOf(int32_t value) { return static_cast<int16_t>(Clamp(value >> 16, 0, 1023)); }

// sum / count in integers, for a count of 1 to 9: double holds both numbers, and no fraction of ninths rounds up to a
// whole.
ORV_ALWAYS_INLINE int32_t MeanOf(int32_t sum, int32_t count) {
    return static_cast<int32_t>(static_cast<double>(sum) / static_cast<double>(count));
}

// The noise variance of a linear signal: slope * signal + intercept.
struct NoiseLine {
    float slope, intercept;
};

// The line at an analog gain from lines at five gains, ascending: linear between them, the end lines beyond. The line
// is computed in the precision of the gains.
template <class Real>
NoiseLine NoiseLineAt(Real gain, const Real* gains, const Real* slopes, const Real* intercepts) {
    // Comparisons with not-a-number fail, which leads to the last line.
    if (!(gain <= gains[0]) && !(gain >= gains[4])) {
        for (int i = 1; i < 5; ++i) {
            if (gains[i] >= gain) {
                const auto between = [&](const Real* y) {
                    return static_cast<float>((y[i] - y[i - 1]) * (gain - gains[i - 1]) / (gains[i] - gains[i - 1]) +
                                              y[i - 1]);
                };
                return {between(slopes), between(intercepts)};
            }
        }
    }
    const int end = gain <= gains[0] ? 0 : 4;
    return {static_cast<float>(slopes[end]), static_cast<float>(intercepts[end])};
}

// For each gamma code the wider of the two gamma distances of one noise step around it. `gain` is the one that the
// signal already has. Real is the precision in which the ends of the step are rounded to whole values.
template <class Real>
void BuildThresholdTable(float sigma, float gain, NoiseLine line, uint16_t* table) {
    const auto scale = static_cast<double>(sigma * gain);
    const auto half = static_cast<Real>(0.5);
    for (int code = 0; code < 1024; ++code) {
        const float signal = static_cast<float>(Gamma10toLinear12[code]) / gain;
        const float variance = Fma(signal, line.slope, line.intercept);
        const auto deviation = static_cast<float>(std::sqrt(static_cast<double>(variance)) * scale);
        const float noise = deviation > 1.0F ? deviation : 1.0F;  // also for the root of a negative variance
        const float below = signal - noise;
        const int upper = Clamp(TruncateToInt32(static_cast<Real>(noise + signal) + half), 0, 4095);
        const int lower = Clamp(TruncateToInt32(static_cast<Real>(below) + (below > 0.0F ? half : -half)), 0, 4095);
        table[code] =
            static_cast<uint16_t>(Max(Abs(code - Linear12toGamma10[lower]), Abs(Linear12toGamma10[upper] - code)));
    }
}

// How much of the difference from its surroundings sharpening gives to a pixel: what its edge response exceeds the
// threshold by, nothing for not-a-number, no edge over a threshold of 0.
ORV_ALWAYS_INLINE float SharpenGain(int edge, float threshold, float maxSharpen) {
    float gain = static_cast<float>(edge) / threshold - 1.0F;
    gain = gain > 0.0F ? gain : 0.0F;
    return gain > maxSharpen ? maxSharpen : gain;
}

// Tables of the sharpener over the first Codes gamma codes. Real is the precision of the parameters.
template <int Codes>
struct SharpenTables {
    float threshold[Codes];     // edge response where sharpening starts; falls with brightness
    float noiseRestore[Codes];  // share of the removed pan noise that is given back; grows with it

    template <class Real>
    void Fill(Real sharpenParam, Real highLumaNoise, Real lowLumaNoise) {
        for (int i = 0; i < Codes; ++i) {
            const double s = std::sqrt(static_cast<double>(Gamma10toLinear12[i]));
            threshold[i] = static_cast<float>((32.0 - s) * static_cast<double>(sharpenParam) * 0.03125);
            noiseRestore[i] = static_cast<float>(
                Fma(static_cast<double>(highLumaNoise - lowLumaNoise), s * 0.03125, static_cast<double>(lowLumaNoise)));
        }
    }
};

}  // namespace orv

#endif
