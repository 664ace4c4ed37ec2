// Interpolation of a row of a Bayer mosaic: what the Bayer conversions and the Bayer-like TrueSense engine share.
#ifndef ORV_ROWS_BAYERROW_H
#define ORV_ROWS_BAYERROW_H

#include "rows/Numeric.h"

namespace orv {

// (a + b + 1) >> 1. For unsigned lanes of any value, in the forms that compilers keep in lanes of their width; signed
// ones have room for the sums.
ORV_ALWAYS_INLINE uint8_t RoundedHalf(uint8_t a, uint8_t b) { return static_cast<uint8_t>((a + b + 1) >> 1); }
ORV_ALWAYS_INLINE uint16_t RoundedHalf(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>((a | b) - static_cast<uint16_t>(static_cast<uint16_t>(a ^ b) >> 1));
}
ORV_ALWAYS_INLINE int16_t RoundedHalf(int16_t a, int16_t b) {
    return static_cast<int16_t>(static_cast<int16_t>(a + b + 1) >> 1);
}

// (a + b + c + d + 2) >> 2. Of unsigned lanes the half of two halves, which is one too large where a half was rounded
// up and the halves differ by an odd number.
template <class Lane>
ORV_ALWAYS_INLINE Lane RoundedQuarter(Lane a, Lane b, Lane c, Lane d) {
    const Lane first = RoundedHalf(a, b);
    const Lane second = RoundedHalf(c, d);
    return static_cast<Lane>(RoundedHalf(first, second) - (((a ^ b) | (c ^ d)) & (first ^ second) & 1));
}
ORV_ALWAYS_INLINE int16_t RoundedQuarter(int16_t a, int16_t b, int16_t c, int16_t d) {
    return static_cast<int16_t>(static_cast<int16_t>(a + b + c + d + 2) >> 2);
}

enum class Interpolation {
    Bilinear,
    EdgeAware  // green from the pair of neighbours that differs less, the horizontal one of two alike
};

template <Interpolation Kind, class Lane>
ORV_ALWAYS_INLINE Lane GreenBetween(Lane left, Lane right, Lane up, Lane down) {
    if (Kind == Interpolation::Bilinear) {
        return RoundedQuarter(left, right, up, down);
    }
    return Distance(left, right) > Distance(up, down) ? RoundedHalf(up, down) : RoundedHalf(left, right);
}

// The same pointer. clang keeps a sample for the step that has it as its neighbour, and cannot vectorise that, unless
// the pointers are unrelated to it.
template <class T>
ORV_ALWAYS_INLINE T* Unrelated(T* at) {
#if defined(__clang__)
    __asm__("" : "+r"(at));
#endif
    return at;
}

// `own` is the colour that the row has beside green, `other` the one of the rows above and below; `greenSites` has all
// bits at green sites. Of the three rows one sample beside the `n` counts, too.
template <Interpolation Kind, class Lane>
ORV_ALWAYS_INLINE void BayerRowBody(const Lane* up, const Lane* middle, const Lane* down, const Lane* greenSites, int n,
                                    Lane* green, Lane* own, Lane* other) {
    const Lane* const upAhead = Unrelated(up);
    const Lane* const ahead = Unrelated(middle);
    const Lane* const downAhead = Unrelated(down);
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane between = GreenBetween<Kind, Lane>(middle[i - 1], ahead[i + 1], up[i], down[i]);
        const Lane diagonal = RoundedQuarter(up[i - 1], upAhead[i + 1], down[i - 1], downAhead[i + 1]);
        green[i] = Select(greenSites[i], middle[i], between);
        own[i] = Select(greenSites[i], RoundedHalf(middle[i - 1], ahead[i + 1]), middle[i]);
        other[i] = Select(greenSites[i], RoundedHalf(up[i], down[i]), diagonal);
    }
}

}  // namespace orv

#endif
