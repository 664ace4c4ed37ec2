// The colour matrix in single precision, over rows of linear samples: of both pipelines and of the simple engine.
#ifndef ORV_TRUESENSE_MIXROW_H
#define ORV_TRUESENSE_MIXROW_H

#include "rows/Avx2.h"
#include "rows/Simd.h"

namespace orv {

// One colour of the matrix product, green first.
ORV_ALWAYS_INLINE int Mix(float r, float g, float b, float kr, float kg, float kb) {
    return TruncateClamped(Fma(b, kb, Fma(r, kr, g * kg)), 0.0F, 4095.0F);
}

// One colour of n pixels from its row of the matrix. Lines of floats start at multiples of 32 bytes. Lines are read and
// written in full vectors of 16 pixels; what stands behind n does not count.
ORV_ALWAYS_INLINE void MixRowBody(const float* red, const float* green, const float* blue, const float* matrix, int n,
                                  int16_t* out) {
    const float kr = matrix[0], kg = matrix[1], kb = matrix[2];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[x] = static_cast<int16_t>(Mix(red[x], green[x], blue[x], kr, kg, kb));
    }
}

#if defined(__x86_64__)
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void MixRowBodyAvx2(const float* red, const float* green, const float* blue,
                                                      const float* matrix, int n, int16_t* out) {
    const __m256 factors[3] = {_mm256_set1_ps(matrix[0]), _mm256_set1_ps(matrix[1]), _mm256_set1_ps(matrix[2])};
    const __m256 high = _mm256_set1_ps(4095.0F);
    for (int x = 0; x < n; x += 16) {
        __m256 mixed[2];
        for (int k = 0; k < 2; ++k) {
            const int at = x + 8 * k;
            mixed[k] =
                MixEight(_mm256_load_ps(red + at), _mm256_load_ps(green + at), _mm256_load_ps(blue + at), factors);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), PackInOrder(mixed[0], mixed[1], high));
    }
}
#endif

ORV_ROW_FUNCTION_TUNED(MixRow,
                       (const float* red, const float* green, const float* blue, const float* matrix, int n,
                        int16_t* out),
                       (red, green, blue, matrix, n, out))

}  // namespace orv

#endif
