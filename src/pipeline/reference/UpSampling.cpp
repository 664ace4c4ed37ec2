// Half-size planes back to full size.
#include <cstring>

#include "pipeline/reference/Filters.h"
#include "rows/Simd.h"

using orv::AppendLog;
using orv::Elements;

namespace {

ORV_ALWAYS_INLINE void DoubleRowBody(const int* low, int n, int* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[2 * x] = low[x];
        out[2 * x + 1] = low[x];
    }
}
ORV_ROW_FUNCTION(DoubleRow, (const int* low, int n, int* out), (low, n, out))

// Truncating toward zero.
template <int Divisor>
ORV_ALWAYS_INLINE void DivideRowBody(int* row, int n) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        row[x] /= Divisor;
    }
}
ORV_ROW_TEMPLATE((int Divisor), (Divisor), DivideRow, (int* row, int n), (row, n))

// A copy at g_dynamicBuffer, where it stays until the next filter: the low plane may lie in what is written before.
const int* CopyToScratch(const int* low, int qw, int qh) {
    int* const copy = reinterpret_cast<int*>(g_dynamicBuffer);
    std::memmove(copy, low, static_cast<size_t>(Elements(qw, qh)) * sizeof(int));
    return copy;
}

// Each sample of `low` to its block of 2 by 2 of `full`, and that plane smoothed: linear interpolation.
void Expand(const int* low, int qw, int qh, const float* kernel, int* full) {
    const int w = 2 * qw, h = 2 * qh;
    for (int y = 0; y < h; ++y) {
        DoubleRow(low + Elements(qw, y / 2), qw, full + Elements(w, y));
    }
    orv::FilterRowsThenColumns(full, w, h, kernel, 3);
}

template <int Divisor>
void Divide(int* low, int qw, int qh) {
    for (int i = 0; i < qh; ++i) {
        DivideRow<Divisor>(low + Elements(qw, i), qw);
    }
}

// The samples of one row under the masks of their columns' parities.
ORV_ALWAYS_INLINE void KeepColumnsBody(const int* row, int even, int odd, int n, int* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[x] = row[x] & ((x & 1) == 0 ? even : odd);
    }
}
ORV_ROW_FUNCTION(KeepColumns, (const int* row, int even, int odd, int n, int* out), (row, even, odd, n, out))

// The samples of one colour alone, zero between.
void ScatterColor(const int* mosaic, int qw, int qh, const int32_t (&table)[2][2], int color, int* low) {
    for (int i = 0; i < qh; ++i) {
        const ptrdiff_t at = Elements(qw, i);
        const auto mask = [&](int column) { return table[i & 1][column] == color ? -1 : 0; };
        KeepColumns(mosaic + at, mask(0), mask(1), qw, low + at);
    }
}

}  // namespace

int Alg_LowPanUpSample(int* lowPan, int qw, int qh, int* panUp, LogText_t* log) {
    const float kernel[3] = {0.25F, 0.5F, 0.25F};
    if (!orv::ConvolutionFits(2 * qw, 2 * qh, log)) {
        return -1;
    }
    Expand(CopyToScratch(lowPan, qw, qh), qw, qh, kernel, panUp);
    return 0;
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
    const ptrdiff_t Q = Elements(qw, qh);
    int* const lowR = reinterpret_cast<int*>(g_dynamicBuffer1);
    int* const lowG = lowR + Q;
    int* const lowB = lowG + Q;
    if (!orv::ConvolutionFits(qw, qh, log)) {
        return -1;
    }
    int* const planes[3] = {lowR, lowG, lowB};
    const int* const mosaic = CopyToScratch(lowColorDiff, qw, qh);
    for (int color = 0; color < 3; ++color) {
        ScatterColor(mosaic, qw, qh, table, color, planes[color]);
    }
    // A missing sample counts as zero. Divided by the density of their samples, twice as high in green, the sums become
    // means inside the plane.
    float kernel[3] = {1.0F, 2.0F, 1.0F};
    for (int* plane : planes) {
        orv::FilterRowsThenColumns(plane, qw, qh, kernel, 3);
    }
    if (!orv::ConvolutionFits(2 * qw, 2 * qh, log)) {
        return -1;
    }
    Divide<4>(lowR, qw, qh);
    Divide<8>(lowG, qw, qh);
    Divide<4>(lowB, qw, qh);
    for (float& tap : kernel) {
        tap *= 0.25F;
    }
    Expand(lowR, qw, qh, kernel, planeR);
    Expand(lowG, qw, qh, kernel, planeG);
    Expand(lowB, qw, qh, kernel, planeB);
    return 0;
}
