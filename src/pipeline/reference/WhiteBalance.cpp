// Dark floor, gains and the split of the mosaic.
#include "pipeline/reference/Scratch.h"
#include "pipeline/reference/Steps.h"

using orv::AppendLog;
using orv::Elements;

int Alg_SubtractDarkFloor(unsigned char* src, int w, int h, int darkFloor, short* dst, LogText_t*) {
    const uint16_t* samples = reinterpret_cast<const uint16_t*>(src);
    for (ptrdiff_t p = 0; p < Elements(w, h); ++p) {
        dst[p] = static_cast<short>(orv::LessFloor(samples[p], darkFloor));
    }
    return 0;
}

int ApplyGlobalGain(short* data, int count, float gain) {
    for (int i = 0; i < count; ++i) {
        data[i] = static_cast<short>(orv::TimesGlobalGain(data[i], gain));
    }
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
        for (int col = 0; col < qw * 2; ++col) {
            const int code = tables[cfaPattern][row & 3][col & 3];
            if (code < 3 || code > 10) {
                AppendLog(log, "CFA color error.\n");
                return -1;
            }
            planes[code - 3][Elements(qw, row / 2) + col / 2] =
                static_cast<short>(orv::TimesGain(frame[Elements(w, row) + col], gains[code - 3]));
        }
    }
    return 0;
}
