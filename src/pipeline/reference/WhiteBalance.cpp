// Dark floor, gains and the split of the mosaic.
#include "pipeline/reference/Scratch.h"
#include "rows/Simd.h"

using orv::AppendLog;
using orv::Clamp;
using orv::Elements;
using orv::TruncateClamped;
using orv::TruncateToInt32;

namespace {

ORV_ALWAYS_INLINE void DarkFloorBody(const uint16_t* src, int darkFloor, short* dst, ptrdiff_t n) {
#pragma omp simd
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint32_t v = src[i] - static_cast<uint32_t>(darkFloor);
        dst[i] = static_cast<short>(Clamp(static_cast<int32_t>(v), 0, 4095));
    }
}
ORV_ROW_FUNCTION(DarkFloor, (const uint16_t* src, int darkFloor, short* dst, ptrdiff_t n), (src, darkFloor, dst, n))

ORV_ALWAYS_INLINE void GlobalGainBody(short* data, int n, float gain) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const int32_t t = TruncateToInt32(static_cast<float>(data[i] * 1024) * gain);
        data[i] = static_cast<short>(Clamp(t >> 10, 0, 4095));
    }
}
ORV_ROW_FUNCTION(GlobalGain, (short* data, int n, float gain), (data, n, gain))

ORV_ALWAYS_INLINE short Balanced(short sample, float gain) {
    const float product = static_cast<float>(sample) * gain;
    return static_cast<short>(TruncateClamped(static_cast<double>(product) + 0.5, 0.0, 4095.0));
}

// One row of the frame to one row each of the planes of its even and of its odd columns. `gain` by column & 3.
ORV_ALWAYS_INLINE void BalanceRowBody(const short* row, const float* gain, int n, short* even, short* odd) {
    const float gain0 = gain[0], gain1 = gain[1], gain2 = gain[2], gain3 = gain[3];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const bool second = (x & 1) != 0;
        even[x] = Balanced(row[2 * x], second ? gain2 : gain0);
        odd[x] = Balanced(row[2 * x + 1], second ? gain3 : gain1);
    }
}
ORV_ROW_FUNCTION(BalanceRow, (const short* row, const float* gain, int n, short* even, short* odd),
                 (row, gain, n, even, odd))

}  // namespace

int Alg_SubtractDarkFloor(unsigned char* src, int w, int h, int darkFloor, short* dst, LogText_t*) {
    DarkFloor(reinterpret_cast<const uint16_t*>(src), darkFloor, dst, Elements(w, h));
    return 0;
}

int ApplyGlobalGain(short* data, int count, float gain) {
    GlobalGain(data, count, gain);
    return 0;
}

int Alg_WhiteBalance(short* frame, int w, int h, int cfaPattern, float redGain, float greenGain, float blueGain,
                     float panGain, short* panEven, short* panOdd, short* colorEven, short* colorOdd, LogText_t* log) {
    if (h < 1) {
        return 0;
    }
    const int32_t(*const tables[4])[4] = {pgprCFA, pbpgCFA, prpgCFA, pgpbCFA};
    if (cfaPattern < 0 || cfaPattern > 3) {
        AppendLog(log, "CFA pattern error.\n");
        return -1;
    }
    // By site code - 3.
    const float gains[8] = {panGain, panGain, redGain, redGain, greenGain, greenGain, blueGain, blueGain};
    short* const planes[8] = {panEven, panOdd, colorEven, colorOdd, colorEven, colorOdd, colorEven, colorOdd};
    const int qw = w / 2;
    for (int row = 0; row < h / 2 * 2; ++row) {
        const int32_t* codes = tables[cfaPattern][row & 3];
        float gain[4];
        for (int col = 0; col < 4; ++col) {
            if (codes[col] < 3 || codes[col] > 10) {
                AppendLog(log, "CFA color error.\n");
                return -1;
            }
            gain[col] = gains[codes[col] - 3];
        }
        // Columns of one parity go to one plane in every table.
        const ptrdiff_t target = Elements(qw, row / 2);
        BalanceRow(frame + Elements(w, row), gain, qw, planes[codes[0] - 3] + target, planes[codes[1] - 3] + target);
    }
    return 0;
}
