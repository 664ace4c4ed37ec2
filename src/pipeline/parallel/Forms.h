// What the two forms of the pipeline compute differently in the strips that they share. A form brings
//
//     Settings           its tables and switches
//     Balanced           the front end of one sample
//     kBoundsSamples     a front end without steps still limits samples to 12 bits
//     Blending           of pan predictions, see PanBlend.h
//     FullPan            what is kept of pan at every site: NoisyPan of its L12 value and gamma code
//     kClipReach         rows to the vertical neighbours of the impulse filter of the colour differences
//     Lane               of the planes on their way back to full size, in which ToLane puts a 16.16 value
//     Smooth<FarFirst>   (far + 3 near) / 4 of two lanes, to 16.16; FarFirst where the far one lies above or to the
//     left
#ifndef ORV_PIPELINE_PARALLEL_FORMS_H
#define ORV_PIPELINE_PARALLEL_FORMS_H

#include "pipeline/parallel/StripSettings.h"
#include "pipeline/reference/Steps.h"

namespace orv {

// Integers throughout.
struct ParallelForm {
    using Settings = KodakLikeSettings;

    // A step that changes nothing is left out, limits included: a sample with stray high bits passes a front end
    // without steps.
    static constexpr bool kBoundsSamples = false;
    static ORV_ALWAYS_INLINE int16_t Balanced(const FrontEnd& frontEnd, int16_t sample, double factor) {
        int32_t v = sample;
        const uint32_t overFloor = static_cast<uint32_t>(v) - static_cast<uint32_t>(frontEnd.darkFloor);
        v = frontEnd.hasFloor ? Clamp(static_cast<int32_t>(overFloor), 0, 4095) : v;
        // Steps of 1/1024, bounded before the shift.
        const double gain = frontEnd.globalGain;
        v = gain != 1.0 ? TruncateClamped(static_cast<double>(v * 1024) * gain, 0.0, 4194303.0) >> 10 : v;
        v = factor != 1.0 ? TruncateClamped(Fma(factor, static_cast<double>(v), 0.5), 0.0, 4095.0) : v;
        return static_cast<int16_t>(v);
    }

    // Whole predictions, blended in single precision. Sums wrap.
    struct Blending {
        static ORV_ALWAYS_INLINE int16_t Own(int16_t sample) { return sample; }
        static ORV_ALWAYS_INLINE int16_t Predict(int16_t a, int16_t b) {
            return static_cast<int16_t>((a & b) + ((a ^ b) >> 1));
        }
        static ORV_ALWAYS_INLINE int16_t Blend(int16_t predA, int16_t predB, int16_t a, int16_t b) {
            const auto weighted =
                static_cast<int32_t>(static_cast<uint32_t>(predA * b) + static_cast<uint32_t>(predB * a));
            return static_cast<int16_t>(
                TruncateClamped(static_cast<float>(weighted) / static_cast<float>(a + b), 0.0F, 4095.0F));
        }
    };

    using FullPan = int16_t;  // gamma codes
    static ORV_ALWAYS_INLINE FullPan NoisyPan(const Settings&, int16_t, int16_t code) { return code; }

    static constexpr int kClipReach = 1;

    using Lane = int32_t;
    static ORV_ALWAYS_INLINE Lane ToLane(int32_t value) { return value; }
    template <bool FarFirst>
    static ORV_ALWAYS_INLINE int32_t Smooth(Lane near, Lane far) {
        return (3 * near + far) >> 2;
    }
};

// The results of the kernels, whose samples are bounded to 12 bits first, so that nothing later leaves its range.
struct ReferenceForm {
    using Settings = KodakSettings;

    static constexpr bool kBoundsSamples = true;
    static ORV_ALWAYS_INLINE int16_t Balanced(const FrontEnd& frontEnd, int16_t sample, double factor) {
        int32_t v = LessFloor(static_cast<uint16_t>(sample), frontEnd.darkFloor);
        const auto gain = static_cast<float>(frontEnd.globalGain);
        v = gain != 1.0F ? TimesGlobalGain(v, gain) : v;
        return static_cast<int16_t>(TimesGain(v, static_cast<float>(factor)));
    }

    // Twice the predictions. The quotient of the kernels' doubles, truncated, is that of the integers: an exact one is
    // no closer to a whole number than its divisor allows. One in single precision is off by one at most, which the
    // remainder tells.
    struct Blending {
        static ORV_ALWAYS_INLINE int16_t Own(int16_t sample) { return static_cast<int16_t>(2 * sample); }
        static ORV_ALWAYS_INLINE int16_t Predict(int16_t a, int16_t b) { return static_cast<int16_t>(a + b); }
        static ORV_ALWAYS_INLINE int16_t Blend(int16_t predA, int16_t predB, int16_t a, int16_t b) {
            const int32_t weighted = predA * b + predB * a;
            const int32_t weights = 2 * (a + b);
            const auto quotient = static_cast<int32_t>(static_cast<float>(weighted) / static_cast<float>(weights));
            const int32_t rest = weighted - quotient * weights;
            return static_cast<int16_t>(quotient + (rest >= weights ? 1 : 0) - (rest < 0 ? 1 : 0));
        }
    };

    using FullPan = uint8_t;  // tones
    static ORV_ALWAYS_INLINE FullPan NoisyPan(const Settings& settings, int16_t linear, int16_t) {
        return settings.toneOfPan[linear];
    }

    static constexpr int kClipReach = 2;

    // Quarters of values, in single precision as the kernels' sums, whose additions round in the order of positions.
    using Lane = float;
    static ORV_ALWAYS_INLINE Lane ToLane(int32_t value) { return 0.25F * static_cast<float>(value); }
    template <bool FarFirst>
    static ORV_ALWAYS_INLINE int32_t Smooth(Lane near, Lane far) {
        const Lane half = near + near;
        return static_cast<int32_t>(FarFirst ? (far + half) + near : (near + half) + far);
    }
};

}  // namespace orv

#endif
