// Half-size planes back to full size.
#include "pipeline/reference/Scratch.h"

using orv::AppendLog;
using orv::Elements;

namespace {

// Along rows, then along columns.
int ConvolveBothWays(int* plane, int w, int h, float* kernel, LogText_t* log) {
    const int status = Alg_Convolve1D_Int32(plane, w, h, kernel, 3, 0, log);
    return status != 0 ? status : Alg_Convolve1D_Int32(plane, w, h, kernel, 3, 1, log);
}

// Each sample of `low` to its block of 2 by 2 of `full`, and that plane smoothed: linear interpolation. The low plane
// may lie in the full one.
int Expand(const int* low, int qw, int qh, int* full, LogText_t* log) {
    const int w = 2 * qw, h = 2 * qh;
    // What the smoothing borrows.
    if (!orv::ScratchFits("pBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(int)), log)) {
        return -1;
    }
    const int* copy = orv::CopyToScratch("pBuf", low, qw, qh, log);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            full[Elements(w, y) + x] = copy[Elements(qw, y / 2) + x / 2];
        }
    }
    float kernel[3] = {0.25F, 0.5F, 0.25F};
    return ConvolveBothWays(full, w, h, kernel, log);
}

}  // namespace

int Alg_LowPanUpSample(int* lowPan, int qw, int qh, int* panUp, LogText_t* log) {
    return Expand(lowPan, qw, qh, panUp, log);
}

int Alg_LowColorDiffUpSample(int* lowColorDiff, int qw, int qh, int cfaPattern, int* planeR, int* planeG, int* planeB,
                             LogText_t* log) {
    using Table = const int32_t(&)[2][2];
    if (cfaPattern < 0 || cfaPattern > 3) {
        AppendLog(log, "CFA pattern error.\n");
        return -1;
    }
    Table table = cfaPattern == 0 ? grbgCFA : cfaPattern == 1 ? bggrCFA : cfaPattern == 2 ? rggbCFA : gbrgCFA;
    for (const auto& row : table) {
        for (const int32_t color : row) {
            if (color < 0 || color > 2) {
                AppendLog(log, "CFA color error.\n");
                return -1;
            }
        }
    }
    // Each colour alone, 0 at the other sites. The low planes may lie in the mosaic.
    const int* mosaic = orv::CopyToScratch("pBuf", lowColorDiff, qw, qh, log);
    if (mosaic == nullptr) {
        return -1;
    }
    const ptrdiff_t Q = Elements(qw, qh);
    int* const low[3] = {reinterpret_cast<int*>(g_dynamicBuffer1), reinterpret_cast<int*>(g_dynamicBuffer1) + Q,
                         reinterpret_cast<int*>(g_dynamicBuffer1) + 2 * Q};
    for (ptrdiff_t p = 0; p < Q; ++p) {
        for (int color = 0; color < 3; ++color) {
            low[color][p] = table[p / qw & 1][p % qw & 1] == color ? mosaic[p] : 0;
        }
    }
    // Divided by the density of their samples, twice as high in green, the sums become means inside the plane.
    float kernel[3] = {1.0F, 2.0F, 1.0F};
    const int divisors[3] = {4, 8, 4};
    for (int color = 0; color < 3; ++color) {
        if (ConvolveBothWays(low[color], qw, qh, kernel, log) != 0) {
            return -1;
        }
        for (ptrdiff_t p = 0; p < Q; ++p) {
            low[color][p] /= divisors[color];
        }
    }
    if (Expand(low[0], qw, qh, planeR, log) != 0 || Expand(low[1], qw, qh, planeG, log) != 0 ||
        Expand(low[2], qw, qh, planeB, log) != 0) {
        return -1;
    }
    return 0;
}
