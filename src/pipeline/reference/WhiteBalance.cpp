// Dark floor, gains and the split of the mosaic; the check number; the dump of a plane.
#include "pipeline/reference/Scratch.h"
#include "rows/Simd.h"

using orv::AppendLog;
using orv::Clamp;
using orv::Elements;
using orv::TruncateClamped;
using orv::TruncateToInt32;

const int32_t pgprCFA[4][4] = {{3, 7, 3, 5}, {8, 4, 6, 4}, {3, 9, 3, 7}, {10, 4, 8, 4}};
const int32_t pbpgCFA[4][4] = {{3, 9, 3, 7}, {10, 4, 8, 4}, {3, 7, 3, 5}, {8, 4, 6, 4}};
const int32_t prpgCFA[4][4] = {{3, 5, 3, 7}, {6, 4, 8, 4}, {3, 7, 3, 9}, {8, 4, 10, 4}};
const int32_t pgpbCFA[4][4] = {{3, 7, 3, 9}, {8, 4, 10, 4}, {3, 5, 3, 7}, {6, 4, 8, 4}};

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

// Formats of one element by its place in a dump.
struct ElementFormats {
    const char* firstOfAll;
    const char* firstOfRow;
    const char* lastOfAll;
    const char* lastOfRow;
    const char* other;
};
constexpr ElementFormats kIntegerFormats = {"[[%d", " [%d", "%d]]\n", "%d]\n", " %d "};
constexpr ElementFormats kFloatFormats = {"[[%5.2f", " [%5.2f", "%5.2f]]\n", "%5.2f]\n", " %5.2f "};

// Printed is the promoted type of Element.
template <class Element, class Printed>
void DumpElements(const void* data, ptrdiff_t first, int w, int h, int stride, const ElementFormats& formats,
                  LogText_t* log) {
    const Element* row = static_cast<const Element*>(data) + first;
    for (int y = 0; y < h; ++y, row += stride) {
        for (int x = 0; x < w; ++x) {
            const char* format = formats.other;
            if (x == 0) {
                format = y == 0 ? formats.firstOfAll : formats.firstOfRow;
            } else if (x == w - 1) {
                format = y == h - 1 ? formats.lastOfAll : formats.lastOfRow;
            }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
            AppendLog(log, format, static_cast<Printed>(row[x]));
#pragma GCC diagnostic pop
        }
    }
}

void DumpTriples(const void* data, ptrdiff_t first, int w, int h, int stride, LogText_t* log) {
    const unsigned char* row = static_cast<const unsigned char*>(data) + 3 * first;
    AppendLog(log, "[");
    for (int y = 0; y < h; ++y, row += static_cast<ptrdiff_t>(stride) * 3) {
        for (int x = 0; x < w; ++x) {
            const unsigned char* triple = row + static_cast<ptrdiff_t>(x) * 3;
            AppendLog(log, x == 0 ? "[[%d " : " [%d ", triple[0]);
            AppendLog(log, "%d ", triple[1]);
            AppendLog(log, x == w - 1 ? "%d]]\n\n" : "%d]\n", triple[2]);
        }
    }
}

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

unsigned calcHash(void* data, int rowBytes, int rows, unsigned seed) {
    if (rowBytes < 1 || rows < 1) {
        return seed;
    }
    // 32 steps rotate by five whole turns, so blocks of 32 bytes act by their exclusive or.
    constexpr int kBlock = 32;
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    const unsigned char* const end = bytes + Elements(rowBytes, rows);
    unsigned char folded[kBlock] = {};
    for (; end - bytes >= kBlock; bytes += kBlock) {
        for (int i = 0; i < kBlock; ++i) {
            folded[i] = static_cast<unsigned char>(folded[i] ^ bytes[i]);
        }
    }
    unsigned hash = seed;
    const auto step = [&hash](unsigned char byte) { hash = byte ^ ((hash >> 27) | (hash << 5)); };
    for (const unsigned char byte : folded) {
        step(byte);
    }
    for (; bytes < end; ++bytes) {
        step(*bytes);
    }
    return hash;
}

int Alg_GetRegionData(char* name, void* data, int type, int x, int y, int regionWidth, int regionHeight, int stride,
                      int height, LogText_t* log) {
    if (regionWidth >= stride || height <= regionHeight) {
        AppendLog(log, "region position error.\n");
        return -1;
    }
    AppendLog(log, "%s:\n", name);
    const ptrdiff_t first = x + Elements(stride, y);
    switch (type) {
    case 0: DumpElements<uint8_t, int>(data, first, regionWidth, regionHeight, stride, kIntegerFormats, log); break;
    case 1: DumpElements<uint16_t, int>(data, first, regionWidth, regionHeight, stride, kIntegerFormats, log); break;
    case 2: DumpElements<int16_t, int>(data, first, regionWidth, regionHeight, stride, kIntegerFormats, log); break;
    case 3: DumpElements<float, double>(data, first, regionWidth, regionHeight, stride, kFloatFormats, log); break;
    case 4: DumpTriples(data, first, regionWidth, regionHeight, stride, log); break;
    case 5: DumpElements<int32_t, int>(data, first, regionWidth, regionHeight, stride, kIntegerFormats, log); break;
    default: AppendLog(log, "data type error.\n"); return -1;
    }
    AppendLog(log, "\n");
    return 0;
}
