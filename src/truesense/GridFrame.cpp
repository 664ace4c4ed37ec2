#include "truesense/GridFrame.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>

#include "rows/Bands.h"
#include "rows/Simd.h"

namespace orv {

namespace {

int SaturatingAdd(int a, int b) {
    const int64_t sum = static_cast<int64_t>(a) + b;
    return static_cast<int>(std::min<int64_t>(sum, std::numeric_limits<int>::max() - 3));
}

// Shifts as products, which stay within 16-bit lanes where shifts by a variable do not: left by `factor` = 2 to the
// shift, right by the upper half of the product with 2 to (16 - shift).
template <bool Left>
ORV_ALWAYS_INLINE uint16_t Shifted(uint16_t v, uint16_t factor) {
    const uint32_t product = static_cast<uint32_t>(v) * factor;
    return static_cast<uint16_t>(Left ? product : product >> 16);
}

// One row, forward or backward in the source; adds the bits of its samples to `used`.
template <class T, bool Left>
ORV_ALWAYS_INLINE void ShiftRowBody(const T* src, ptrdiff_t step, uint16_t factor, int n, int16_t* dst,
                                    uint16_t* used) {
    uint16_t bits = 0;
    if (step == 1) {
#pragma omp simd reduction(| : bits)
        for (int x = 0; x < n; ++x) {
            const uint16_t v = Shifted<Left>(src[x], factor);
            dst[x] = static_cast<int16_t>(v);
            bits = static_cast<uint16_t>(bits | v);
        }
    } else {
        for (int x = 0; x < n; ++x) {
            const uint16_t v = Shifted<Left>(src[x * step], factor);
            dst[x] = static_cast<int16_t>(v);
            bits = static_cast<uint16_t>(bits | v);
        }
    }
    *used = static_cast<uint16_t>(*used | bits);
}
ORV_ROW_TEMPLATE((class T, bool Left), (T, Left), ShiftRow,
                 (const T* src, ptrdiff_t step, uint16_t factor, int n, int16_t* dst, uint16_t* used),
                 (src, step, factor, n, dst, used))

// Samples of bytes for a plane of bytes are taken as they are.
void ReadRow(const uint8_t* src, ptrdiff_t step, int, int n, uint8_t* dst, uint16_t*) {
    if (step == 1) {
        std::memcpy(dst, src, static_cast<size_t>(n));
        return;
    }
    for (int x = 0; x < n; ++x) {
        dst[x] = src[x * step];
    }
}

template <class T>
void ReadRow(const T* src, ptrdiff_t step, int shift, int n, int16_t* dst, uint16_t* used) {
    const uint16_t factor = static_cast<uint16_t>(1 << (shift >= 0 ? shift : 16 + shift));
    if (shift >= 0) {
        ShiftRow<T, true>(src, step, factor, n, dst, used);
    } else {
        ShiftRow<T, false>(src, step, factor, n, dst, used);
    }
}

template <class Plane>
void CopyRow(Plane* plane, int planeStep, const GridGeometry& g, int to, int from) {
    Plane* target = plane + static_cast<ptrdiff_t>(to) * planeStep + g.gridX;
    if (from < 0 || from >= g.H) {
        std::fill(target, target + g.w, Plane{0});
        return;
    }
    const Plane* source = plane + static_cast<ptrdiff_t>(from) * planeStep + g.gridX;
    std::memcpy(target, source, static_cast<size_t>(g.w) * sizeof(Plane));
}

}  // namespace

GridGeometry GridGeometry::Make(const _OrvRect& rect, unsigned char grid) {
    GridGeometry g;
    g.gridX = grid & 3;
    g.gridY = grid >> 2;
    g.w = rect.width;
    g.h = rect.height;
    g.endX = SaturatingAdd(g.w, g.gridX);
    g.endY = SaturatingAdd(g.h, g.gridY);
    g.W = (g.endX + 3) & ~3;
    g.H = (g.endY + 3) & ~3;
    return g;
}

int InputShift(int bits, bool* ok) {
    *ok = bits == 8 || bits == 10 || bits == 12 || bits == 14 || bits == 16;
    return *ok ? 12 - bits : 0;
}

RegionWalk RegionWalk::Make(int x, int y, int w, int h, int stride, int channels, bool horMirrored, bool verMirrored) {
    RegionWalk walk;
    const ptrdiff_t step = stride;
    walk.columnStart = static_cast<ptrdiff_t>(x) + (horMirrored ? w - 1 : 0);
    walk.columnStart *= channels;
    walk.columnStep = horMirrored ? -channels : channels;
    walk.rowStart = (static_cast<ptrdiff_t>(y) + (verMirrored ? h - 1 : 0)) * step;
    walk.rowStep = verMirrored ? -step : step;
    if (stride < 0) {
        walk.rowStart = -walk.rowStart;
        walk.rowStep = -walk.rowStep;
        walk.columnStart = -walk.columnStart;
        walk.columnStep = -walk.columnStep;
    }
    return walk;
}

template <class T, class Plane>
uint32_t ReadMosaic(const T* src, const RegionWalk& walk, int shift, const GridGeometry& g, Plane* plane, int planeStep,
                    int threads) {
    if (g.Small()) {
        std::memset(plane, 0, sizeof(Plane) * static_cast<size_t>(g.H) * static_cast<size_t>(planeStep));
    }
    const auto row = [&](int r) { return plane + static_cast<ptrdiff_t>(r) * planeStep; };
    std::atomic<uint32_t> used{0};
    ForEachBand(g.h, threads, [&](int y0, int y1) {
        uint16_t bits = 0;
        for (int y = y0; y < y1; ++y) {
            const T* from = src + walk.rowStart + y * walk.rowStep + walk.columnStart;
            ReadRow(from, walk.columnStep, shift, g.w, row(g.gridY + y) + g.gridX, &bits);
        }
        used.fetch_or(bits, std::memory_order_relaxed);
    });
    for (int r = g.gridY - 1; r >= 0; --r) {
        CopyRow(plane, planeStep, g, r, r + 4);
    }
    for (int r = g.endY; r < g.H; ++r) {
        CopyRow(plane, planeStep, g, r, r - 4);
    }
    for (int r = 0; r < g.H; ++r) {
        Plane* line = row(r);
        for (int c = g.gridX - 1; c >= 0; --c) {
            line[c] = c + 4 < g.W ? line[c + 4] : Plane{0};
        }
        for (int c = g.endX; c < g.W; ++c) {
            line[c] = c >= 4 ? line[c - 4] : Plane{0};
        }
    }
    return used.load(std::memory_order_relaxed);
}

template uint32_t ReadMosaic(const unsigned char*, const RegionWalk&, int, const GridGeometry&, uint8_t*, int, int);
template uint32_t ReadMosaic(const unsigned char*, const RegionWalk&, int, const GridGeometry&, int16_t*, int, int);
template uint32_t ReadMosaic(const unsigned short*, const RegionWalk&, int, const GridGeometry&, int16_t*, int, int);

}  // namespace orv
