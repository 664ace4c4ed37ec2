// The log and what is written to it: check numbers and dumps of planes.
#include <cstdarg>
#include <cstdio>

#include "pipeline/reference/Scratch.h"

using orv::AppendLog;
using orv::Elements;

namespace orv {

void AppendLog(LogText_t* log, const char* format, ...) {
    if (log == nullptr || log->text == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is not seen there
    const int written = std::vsprintf(log->text + log->length, format, arguments);
    va_end(arguments);
    if (written > 0) {
        log->length += static_cast<uint32_t>(written);
    }
}

}  // namespace orv

namespace {

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

unsigned calcHash(void* data, int rowBytes, int rows, unsigned seed) {
    if (rowBytes < 1 || rows < 1) {
        return seed;
    }
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    unsigned hash = seed;
    for (ptrdiff_t i = 0; i < Elements(rowBytes, rows); ++i) {
        hash = bytes[i] ^ ((hash >> 27) | (hash << 5));
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
