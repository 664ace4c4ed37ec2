// Half-size planes back to full size.
#include <algorithm>
#include <initializer_list>
#include <cstring>

#include "component/Simd.h"
#include "pipeline/Scratch.h"

using orv::AppendLog;
using orv::Elements;

const int32_t grbgCFA[2][2] = {{1, 0}, {2, 1}};
const int32_t bggrCFA[2][2] = {{2, 1}, {1, 0}};
const int32_t rggbCFA[2][2] = {{0, 1}, {1, 2}};
const int32_t gbrgCFA[2][2] = {{1, 2}, {0, 1}};

namespace {

// Along rows, then along columns.
int SmoothBothWays(int* plane, int w, int h, float* kernel, LogText_t* log) {
    if (Alg_Convolve1D_Int32(plane, w, h, kernel, 3, 0, log) != 0) {
        return -1;
    }
    return Alg_Convolve1D_Int32(plane, w, h, kernel, 3, 1, log);
}

ORV_ALWAYS_INLINE void DoubleRowBody(const int* low, int n, int* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[2 * x] = low[x];
        out[2 * x + 1] = low[x];
    }
}
ORV_ROW_FUNCTION(DoubleRow, (const int* low, int n, int* out), (low, n, out))

// Each sample to its block of 2 by 2.
void Replicate(const int* low, int qw, int qh, int* full) {
    const ptrdiff_t w = static_cast<ptrdiff_t>(qw) * 2;
    for (int i = 0; i < qh; ++i) {
        int* out = full + 2 * i * w;
        DoubleRow(low + Elements(qw, i), qw, out);
        std::copy(out, out + w, out + w);
    }
}

}  // namespace

int Alg_LowPanUpSample(int* lowPan, int qw, int qh, int* panUp, LogText_t* log) {
    float kernel[3] = {0.25F, 0.5F, 0.25F};
    Replicate(lowPan, qw, qh, panUp);
    return SmoothBothWays(panUp, 2 * qw, 2 * qh, kernel, log);
}

int Alg_LowColorDiffUpSample(int* lowColorDiff, int qw, int qh, int cfaPattern, int* planeR, int* planeG, int* planeB,
                             LogText_t* log) {
    const int32_t(*const tables[4])[2] = {grbgCFA, bggrCFA, rggbCFA, gbrgCFA};
    if (cfaPattern < 0 || cfaPattern > 3) {
        AppendLog(log, "CFA pattern error.\n");
        return -1;
    }
    const ptrdiff_t Q = Elements(qw, qh);
    // By colour: red, green, blue. Green has twice the samples of the others.
    int* low[3];
    int* const full[3] = {planeR, planeG, planeB};
    const int density[3] = {4, 8, 4};
    for (int c = 0; c < 3; ++c) {
        low[c] = reinterpret_cast<int*>(g_dynamicBuffer1) + c * Q;
        std::fill(low[c], low[c] + Q, 0);
    }
    for (int i = 0; i < qh; ++i) {
        const ptrdiff_t at = Elements(qw, i);
        const int32_t* colors = tables[cfaPattern][i & 1];
        for (int j = 0; j < std::min(qw, 2); ++j) {
            if (colors[j] < 0 || colors[j] > 2) {
                AppendLog(log, "CFA color error.\n");
                return -1;
            }
            int* out = low[colors[j]] + at;
            for (int x = j; x < qw; x += 2) {
                out[x] = lowColorDiff[at + x];
            }
        }
    }

    // A missing sample counts as zero, which the division by the density makes good inside the plane.
    float kernel[3] = {1.0F, 2.0F, 1.0F};
    for (const int c : {0, 2, 1}) {
        if (SmoothBothWays(low[c], qw, qh, kernel, log) != 0) {
            return -1;
        }
    }
    for (int c = 0; c < 3; ++c) {
        const int divisor = density[c];
        std::transform(low[c], low[c] + Q, low[c], [divisor](int v) { return v / divisor; });
        Replicate(low[c], qw, qh, full[c]);
    }
    for (float& tap : kernel) {
        tap *= 0.25F;
    }
    for (int* plane : full) {
        if (SmoothBothWays(plane, 2 * qw, 2 * qh, kernel, log) != 0) {
            return -1;
        }
    }
    return 0;
}
