// The steps of the front end per sample, as the kernels define them.
#ifndef ORV_PIPELINE_REFERENCE_STEPS_H
#define ORV_PIPELINE_REFERENCE_STEPS_H

#include "rows/Numeric.h"

namespace orv {

// An unsigned sample less the floor, in 32 bits that wrap, limited to L12.
ORV_ALWAYS_INLINE int32_t LessFloor(uint16_t sample, int32_t darkFloor) {
    return Clamp(static_cast<int32_t>(sample - static_cast<uint32_t>(darkFloor)), 0, 4095);
}

// In steps of 1/1024, limited to L12.
ORV_ALWAYS_INLINE int32_t TimesGlobalGain(int32_t sample, float gain) {
    return Clamp(TruncateToInt32(static_cast<float>(sample * 1024) * gain) >> 10, 0, 4095);
}

// Times the gain of its colour, rounded, limited to L12. The product is rounded before the half is added.
ORV_ALWAYS_INLINE int32_t TimesGain(int32_t sample, float gain) {
    const float product = static_cast<float>(sample) * gain;
    return TruncateClamped(static_cast<double>(product) + 0.5, 0.0, 4095.0);
}

}  // namespace orv

#endif
