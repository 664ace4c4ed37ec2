// Numeric steps whose rounding is part of the results.
#ifndef ORV_ROWS_NUMERIC_H
#define ORV_ROWS_NUMERIC_H

#include <cstdint>

#define ORV_ALWAYS_INLINE inline __attribute__((always_inline))

namespace orv {

// The float-to-int step of the library: toward zero, saturating outside the range of int32, 0 for
// not-a-number. Branch-free, so loops over it vectorise.
ORV_ALWAYS_INLINE int32_t TruncateToInt32(double x) {
    double c = x > -2147483648.0 ? x : -2147483648.0;
    c = c < 2147483647.0 ? c : 2147483647.0;
    return x == x ? static_cast<int32_t>(c) : 0;
}

ORV_ALWAYS_INLINE int32_t TruncateToInt32(float x) {
    float c = x > -2147483648.0F ? x : -2147483648.0F;
    c = c < 2147483520.0F ? c : 2147483520.0F;  // the largest float below 2^31
    int32_t r = static_cast<int32_t>(c);
    r = x >= 2147483648.0F ? 2147483647 : r;
    return x == x ? r : 0;
}

// TruncateToInt32 of a number known to be below 2^31 in magnitude, or not-a-number: the same result in fewer steps.
ORV_ALWAYS_INLINE int32_t TruncateSmallToInt32(float x) { return static_cast<int32_t>(x == x ? x : 0.0F); }

// Clamp(TruncateToInt32(x), low, high) for whole bounds with low <= 0 <= high, but `low` for not-a-number; in single
// precision bounds of at most 24 bits. Bounding before the conversion leaves nothing to saturate, which is cheaper in
// row functions.
ORV_ALWAYS_INLINE int32_t TruncateClamped(double x, double low, double high) {
    x = x > low ? x : low;
    return static_cast<int32_t>(x < high ? x : high);
}
ORV_ALWAYS_INLINE int32_t TruncateClamped(float x, float low, float high) {
    x = x > low ? x : low;
    return static_cast<int32_t>(x < high ? x : high);
}

// TruncateToInt32 for numbers of at least -2^31.
ORV_ALWAYS_INLINE int32_t TruncateFromAbove(float x) {
    return x < 2147483648.0F ? static_cast<int32_t>(x) : 2147483647;
}

// Fused multiply-add, a * b + c rounded once. The builtin becomes one instruction inside row functions compiled
// for a processor that has it, and the C library's exact function elsewhere: the same bits.
ORV_ALWAYS_INLINE float Fma(float a, float b, float c) { return __builtin_fmaf(a, b, c); }
ORV_ALWAYS_INLINE double Fma(double a, double b, double c) { return __builtin_fma(a, b, c); }

template <class T>
ORV_ALWAYS_INLINE T Min(T a, T b) {
    return a < b ? a : b;
}
template <class T>
ORV_ALWAYS_INLINE T Max(T a, T b) {
    return a > b ? a : b;
}

ORV_ALWAYS_INLINE int32_t Clamp(int32_t v, int32_t low, int32_t high) {
    v = v < low ? low : v;
    return v > high ? high : v;
}

ORV_ALWAYS_INLINE int32_t Abs(int32_t v) { return v < 0 ? -v : v; }

// `a` where the mask has all bits, `b` where it has none.
template <class Lane>
ORV_ALWAYS_INLINE Lane Select(Lane mask, Lane a, Lane b) {
    return static_cast<Lane>((mask & a) | (~mask & b));
}

template <class Lane>
ORV_ALWAYS_INLINE Lane Distance(Lane a, Lane b) {
    const Lane low = a < b ? a : b;
    const Lane high = a < b ? b : a;
    return static_cast<Lane>(high - low);
}

}  // namespace orv

#endif
