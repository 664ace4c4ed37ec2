// The blend of the adaptive Bayer engines: a row of missing samples from their neighbours and from the window sums of
// gradients around them.
//
// Every site has a sum of gradients along each of two directions, a and b, in windows of two or three sizes. The size
// counts whose directions differ most per site of the window, the smaller one on a tie.
#ifndef ORV_BAYER_ADAPTIVEBLEND_H
#define ORV_BAYER_ADAPTIVEBLEND_H

#include <type_traits>

#include "bayer/WindowSums.h"
#include "rows/Simd.h"

namespace orv {

// The passes of the engines.
enum class Step {
    Green,     // green at the colour sites, from samples
    Diagonal,  // the missing colour at the colour sites, from differences between green and colour
    Cross      // one colour at the green sites, from such differences
};

// Window sizes of a step.
template <class T>
constexpr int ScalesOf(Step step) {
    return sizeof(T) == 2 && step == Step::Diagonal ? 3 : 2;
}

// A neighbour in a step: a sample or a difference. Sums of two are exact in single precision.
template <class T, Step S>
using NeighbourOf = std::conditional_t<S == Step::Green, uint16_t, typename WindowSums<T>::Difference>;

// The sites of a row, two neighbours of each along a and two along b.
template <class N>
struct BlendTarget {
    const N* a1;
    const N* a2;
    const N* b1;
    const N* b2;
    // Differences are taken off the site's green, and the sample is bound to [low, high]; `high` is below 2^15 for
    // bytes.
    const uint16_t* green = nullptr;
    int low = 0;
    int high = 0;
    uint16_t* out = nullptr;
};

// Mean of the neighbours, each direction weighted by the inverse fourth power of its window sum, a half added for
// rounding. Not-a-number when both weights vanish.
ORV_ALWAYS_INLINE float WeightedMean(float a, float b, float alongA, float alongB) {
    a *= a;
    b *= b;
    const float weightA = 1.0F / Fma(a, a, 1.0F);
    const float weightB = 1.0F / Fma(b, b, 1.0F);
    const float n = Fma(weightA, alongA, alongB * weightB);
    const float d = (2.0F * weightA + weightB) + weightB;  // 2 * weightA is exact
    return n / d + 0.5F;
}

template <Step S>
ORV_ALWAYS_INLINE int SampleOf(int mean, int green, int low, int high) {
    if (S == Step::Green) {
        return mean;
    }
    const int v = green - mean;
    return v > high ? high : v > low ? v : low;
}

// Sites from `first` to `end` from sums of their own, at the index of the site.
template <class T, Step S>
ORV_ALWAYS_INLINE void BlendSitesBody(const float* a, const float* b, const BlendTarget<NeighbourOf<T, S>>* target,
                                      int first, int end) {
    const BlendTarget<NeighbourOf<T, S>> row = *target;
    for (int k = first; k < end; ++k) {
        const float mean = WeightedMean(a[k], b[k], static_cast<float>(row.a1[k] + row.a2[k]),
                                        static_cast<float>(row.b1[k] + row.b2[k]));
        row.out[k] = static_cast<T>(SampleOf<S>(TruncateSmallToInt32(mean), row.green[k], row.low, row.high));
    }
}
ORV_ROW_TEMPLATE((class T, Step S), (T, S), BlendSites,
                 (const float* a, const float* b, const BlendTarget<NeighbourOf<T, S>>* target, int first, int end),
                 (a, b, target, first, end))

// Which of two differences of sums is the larger one per site of its window, in 16 bits, for 8-bit samples. By
// products, since unequal quotients differ by more than a division rounds.
//
// Small windows: products of at most 5 * 13 * 255. In the diagonal pass, where every second row counts and x is at most
// 9 * 255, products would take more. There x times the whole part of area1 / area0 goes from both sides first, which
// leaves area1 % area0, at most 12, times x on one side. What stays of y is bound: below 0 and above what 16 bits hold
// it decides by itself, since 12 * 9 * 255 is less than 2^15 - area0.
template <Step S>
struct PerSite {
    int16_t area0, area1;
    int16_t whole, most;

    ORV_ALWAYS_INLINE PerSite(int smaller, int larger)
        : area0(static_cast<int16_t>(smaller)),
          area1(static_cast<int16_t>(S == Step::Diagonal ? larger % smaller : larger)),
          whole(static_cast<int16_t>(larger / smaller)),
          most(static_cast<int16_t>(32767 / smaller)) {}
    // x / smaller < y / larger, for the sizes of the windows.
    ORV_ALWAYS_INLINE bool Less(int16_t x, int16_t y) const {
        if (S == Step::Diagonal) {
            y = static_cast<int16_t>(y - x * whole);
            y = y < -1 ? static_cast<int16_t>(-1) : y > most ? most : y;
        }
        return static_cast<int16_t>(x * area1) < static_cast<int16_t>(y * area0);
    }
};

// 8-bit samples, sites 0 to n.
template <Step S>
ORV_ALWAYS_INLINE void BlendBoxRowBody(const BoxWindows* windows, const BlendTarget<NeighbourOf<uint8_t, S>>* target,
                                       int n) {
    const BoxWindows sum = *windows;
    const BlendTarget<NeighbourOf<uint8_t, S>> row = *target;
    const int16_t low = static_cast<int16_t>(row.low);
    const int16_t high = static_cast<int16_t>(row.high);
    const PerSite<S> perSite(sum.area[0], sum.area[1]);
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        const int16_t difference0 = static_cast<int16_t>(sum.a[0][k] - sum.b[0][k]);
        const int16_t difference1 = static_cast<int16_t>(sum.a[1][k] - sum.b[1][k]);
        const int16_t d0 = static_cast<int16_t>(difference0 < 0 ? -difference0 : difference0);
        const int16_t d1 = static_cast<int16_t>(difference1 < 0 ? -difference1 : difference1);
        const bool take = perSite.Less(d0, d1);
        const uint16_t a = take ? sum.a[1][k] : sum.a[0][k];
        const uint16_t b = take ? sum.b[1][k] : sum.b[0][k];
        const int16_t alongA = static_cast<int16_t>(row.a1[k] + row.a2[k]);
        const int16_t alongB = static_cast<int16_t>(row.b1[k] + row.b2[k]);
        // A mean of bytes or of their differences: weights of such sums do not vanish.
        int16_t v = static_cast<int16_t>(static_cast<int32_t>(WeightedMean(a, b, alongA, alongB)));
        if (S != Step::Green) {
            v = static_cast<int16_t>(row.green[k] - v);
            v = v > high ? high : v > low ? v : low;
        }
        row.out[k] = static_cast<uint16_t>(v & 255);
    }
}

ORV_ROW_TEMPLATE_WIDE((Step S), (S), BlendBoxRow,
                      (const BoxWindows* windows, const BlendTarget<NeighbourOf<uint8_t, S>>* target, int n),
                      (windows, target, n))

// x / area, rounded as a division does, from `inverse`, the rounded 1 / area. The area is odd and below 2^20, x is a
// whole number.
//
// The first quotient is off by less than 2^-22 of x / area, so `rest` is exact: a multiple of the quotient's last
// place, fewer than 4 * area of them. The sum is off by less than 2^-45 of x / area before it is rounded. That crosses
// no m half way between two floats: m is an odd multiple of its last place, of 25 bits, and so is m * area, of 25 bits
// or more. x has 24 bits, so it is a multiple of that place where it is near m * area, but never equal: the two are
// apart by one place at least, which is more than 2^-45 of m * area.
ORV_ALWAYS_INLINE float Quotient(float x, float area, float inverse) {
    const float quotient = x * inverse;
    const float rest = Fma(-area, quotient, x);
    return Fma(rest, inverse, quotient);
}

// Samples above 8 bits, sites 0 to n.
template <Step S>
ORV_ALWAYS_INLINE void BlendCornerRowBody(const CornerWindows* windows,
                                          const BlendTarget<NeighbourOf<uint16_t, S>>* target, int n) {
    constexpr int kLast = ScalesOf<uint16_t>(S) - 1;
    const CornerWindows sum = *windows;
    const BlendTarget<NeighbourOf<uint16_t, S>> row = *target;
    const CornerRow sumsA0 = sum.a[0];
    const CornerRow sumsB0 = sum.b[0];
    const CornerRow sumsA1 = sum.a[1];
    const CornerRow sumsB1 = sum.b[1];
    const CornerRow sumsA2 = sum.a[kLast];
    const CornerRow sumsB2 = sum.b[kLast];
    const float area0 = sum.area[0];
    const float area1 = sum.area[1];
    const float area2 = sum.area[kLast];
    const float inverse0 = 1.0F / area0;
    const float inverse1 = 1.0F / area1;
    const float inverse2 = 1.0F / area2;
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        const float a0 = WindowSum(sumsA0, k);
        const float b0 = WindowSum(sumsB0, k);
        const float a1 = WindowSum(sumsA1, k);
        const float b1 = WindowSum(sumsB1, k);
        sum.carried[k] = b0;
        const float contrast0 = Quotient(__builtin_fabsf(a0 - b0), area0, inverse0);
        const float contrast1 = Quotient(__builtin_fabsf(a1 - b1), area1, inverse1);
        const bool take = contrast0 < contrast1;
        float a = take ? a1 : a0;
        float b = take ? b1 : b0;
        if (kLast == 2) {
            const float a2 = WindowSum(sumsA2, k);
            const float b2 = WindowSum(sumsB2, k);
            const float most = take ? contrast1 : contrast0;
            const float contrast2 = Quotient(__builtin_fabsf(a2 - b2), area2, inverse2);
            a = most < contrast2 ? a2 : a;
            b = most < contrast2 ? b2 : b;
        }
        const float mean =
            WeightedMean(a, b, static_cast<float>(row.a1[k] + row.a2[k]), static_cast<float>(row.b1[k] + row.b2[k]));
        row.out[k] = static_cast<uint16_t>(SampleOf<S>(TruncateSmallToInt32(mean), row.green[k], row.low, row.high));
    }
}
ORV_ROW_TEMPLATE_WIDE((Step S), (S), BlendCornerRow,
                      (const CornerWindows* windows, const BlendTarget<NeighbourOf<uint16_t, S>>* target, int n),
                      (windows, target, n))

// Sites 0 to n, all with windows of the sizes that `windows` has.
template <Step S>
void BlendRow(const BoxWindows& windows, const BlendTarget<NeighbourOf<uint8_t, S>>& target, int n) {
    BlendBoxRow<S>(&windows, &target, n);
}
template <Step S>
void BlendRow(const CornerWindows& windows, const BlendTarget<NeighbourOf<uint16_t, S>>& target, int n) {
    BlendCornerRow<S>(&windows, &target, n);
}

}  // namespace orv

#endif
