// Row functions of the adaptive Bayer engines.
#ifndef ORV_BAYER_DEMOSAICINGIPPROWS_H
#define ORV_BAYER_DEMOSAICINGIPPROWS_H

#include "component/Simd.h"

namespace orv {

// Gradients of a row of sites: one across a1 and a2, one across b1 and b2.
template <class T, class G>
ORV_ALWAYS_INLINE void GradientRowBody(const T* a1, const T* a2, const T* b1, const T* b2, int k0, int k1, G* first,
                                       G* second) {
#pragma omp simd
    for (int k = k0; k < k1; ++k) {
        first[k] = static_cast<G>(Abs(a1[k] - a2[k]));
        second[k] = static_cast<G>(Abs(b1[k] - b2[k]));
    }
}
ORV_ROW_TEMPLATE((class T, class G), (T, G), GradientRow,
                 (const T* a1, const T* a2, const T* b1, const T* b2, int k0, int k1, G* first, G* second),
                 (a1, a2, b1, b2, k0, k1, first, second))

// Window sums of one scale in a row, and the number of sites in each window.
template <class S>
struct ScaleRow {
    const S* a;
    const S* b;
    const float* area;
};

// The sums of the scale whose directions differ most per site of the window; the smaller scale on a tie.
template <class S, int Scales>
ORV_ALWAYS_INLINE void SelectRowBody(const ScaleRow<S>* scales, int k0, int k1, float* bestA, float* bestB) {
    const ScaleRow<S> s0 = scales[0];
    const ScaleRow<S> s1 = scales[1];
    const ScaleRow<S> s2 = scales[Scales - 1];
#pragma omp simd
    for (int k = k0; k < k1; ++k) {
        float a = s0.a[k];
        float b = s0.b[k];
        const float a1 = s1.a[k];
        const float b1 = s1.b[k];
        float contrast = __builtin_fabsf(a - b) / s0.area[k];
        const float contrast1 = __builtin_fabsf(a1 - b1) / s1.area[k];
        a = contrast < contrast1 ? a1 : a;
        b = contrast < contrast1 ? b1 : b;
        if (Scales == 3) {
            contrast = contrast < contrast1 ? contrast1 : contrast;
            const float a2 = s2.a[k];
            const float b2 = s2.b[k];
            const float contrast2 = __builtin_fabsf(a2 - b2) / s2.area[k];
            a = contrast < contrast2 ? a2 : a;
            b = contrast < contrast2 ? b2 : b;
        }
        bestA[k] = a;
        bestB[k] = b;
    }
}
ORV_ROW_TEMPLATE((class S, int Scales), (S, Scales), SelectRow,
                 (const ScaleRow<S>* scales, int k0, int k1, float* bestA, float* bestB),
                 (scales, k0, k1, bestA, bestB))

// Half the mean of two pair sums, each weighted by how small its direction's window sum is, plus a half.
ORV_ALWAYS_INLINE float Blend(float a, float b, int alongA, int alongB) {
    const float a2 = a * a;
    const float b2 = b * b;
    const float weightA = 1.0F / Fma(a2, a2, 1.0F);
    const float weightB = 1.0F / Fma(b2, b2, 1.0F);
    const float n = Fma(weightA, static_cast<float>(alongA), static_cast<float>(alongB) * weightB);
    const float d = (2.0F * weightA + weightB) + weightB;  // 2 * weightA is exact
    return n / d + 0.5F;
}

// Samples from their four neighbours.
template <class T>
ORV_ALWAYS_INLINE void BlendSampleRowBody(const float* a, const float* b, const T* left, const T* right, const T* up,
                                          const T* down, int k0, int k1, T* out) {
#pragma omp simd
    for (int k = k0; k < k1; ++k) {
        out[k] = static_cast<T>(TruncateToInt32(Blend(a[k], b[k], left[k] + right[k], up[k] + down[k])));
    }
}
ORV_ROW_TEMPLATE((class T), (T), BlendSampleRow,
                 (const float* a, const float* b, const T* left, const T* right, const T* up, const T* down, int k0,
                  int k1, T* out),
                 (a, b, left, right, up, down, k0, k1, out))

// Two neighbours in one direction: green and the wanted colour at each.
template <class T>
struct PairRows {
    const T* green1;
    const T* colour1;
    const T* green2;
    const T* colour2;
};

// Samples from green and their four neighbours' differences to it, bound to [low, high]; stores the low bits.
template <class T>
ORV_ALWAYS_INLINE void BlendDifferenceRowBody(const float* a, const float* b, PairRows<T> alongA, PairRows<T> alongB,
                                              const T* green, int low, int high, int k0, int k1, T* out) {
#pragma omp simd
    for (int k = k0; k < k1; ++k) {
        const int sumA = (alongA.green1[k] - alongA.colour1[k]) + (alongA.green2[k] - alongA.colour2[k]);
        const int sumB = (alongB.green1[k] - alongB.colour1[k]) + (alongB.green2[k] - alongB.colour2[k]);
        const int v = green[k] - TruncateToInt32(Blend(a[k], b[k], sumA, sumB));
        out[k] = static_cast<T>(v > high ? high : v > low ? v : low);
    }
}
ORV_ROW_TEMPLATE((class T), (T), BlendDifferenceRow,
                 (const float* a, const float* b, PairRows<T> alongA, PairRows<T> alongB, const T* green, int low,
                  int high, int k0, int k1, T* out),
                 (a, b, alongA, alongB, green, low, high, k0, k1, out))

// Splits a row into its even and its odd columns.
template <class T>
ORV_ALWAYS_INLINE void SplitColumnsBody(const T* row, int n, T* even, T* odd) {
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        even[k] = row[2 * k];
        odd[k] = row[2 * k + 1];
    }
}
ORV_ROW_TEMPLATE((class T), (T), SplitColumns, (const T* row, int n, T* even, T* odd), (row, n, even, odd))

template <class T>
ORV_ALWAYS_INLINE void JoinColumnsBody(const T* even, const T* odd, int n, T* row) {
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        row[2 * k] = even[k];
        row[2 * k + 1] = odd[k];
    }
}
ORV_ROW_TEMPLATE((class T), (T), JoinColumns, (const T* even, const T* odd, int n, T* row), (even, odd, n, row))

// Three planes into packed pixels.
template <class T>
ORV_ALWAYS_INLINE void PackRowBody(const T* first, const T* second, const T* third, int n, T* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[3 * x] = first[x];
        out[3 * x + 1] = second[x];
        out[3 * x + 2] = third[x];
    }
}
ORV_ROW_TEMPLATE((class T), (T), PackRow, (const T* first, const T* second, const T* third, int n, T* out),
                 (first, second, third, n, out))

}  // namespace orv

#endif
