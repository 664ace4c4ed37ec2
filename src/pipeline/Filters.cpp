// Impulse filter and convolutions.
#include "component/Simd.h"
#include "pipeline/Scratch.h"

using orv::Elements;
using orv::Fma;
using orv::RowHistory;
using orv::ScratchFits;
using orv::TruncateToInt32;

namespace {

template <class T>
ORV_ALWAYS_INLINE T Min(T a, T b) {
    return a < b ? a : b;
}
template <class T>
ORV_ALWAYS_INLINE T Max(T a, T b) {
    return a > b ? a : b;
}

// Clips columns [s, w - s) of `mid`; the other rows stand s rows above and below.
template <class T>
ORV_ALWAYS_INLINE void ClipRowBody(const T* up, const T* mid, const T* down, int s, int w, T* out) {
#pragma omp simd
    for (int x = s; x < w - s; ++x) {
        T low = Min(up[x - s], up[x]);
        T high = Max(up[x - s], up[x]);
        low = Min(low, Min(up[x + s], mid[x - s]));
        high = Max(high, Max(up[x + s], mid[x - s]));
        low = Min(low, Min(mid[x + s], down[x - s]));
        high = Max(high, Max(mid[x + s], down[x - s]));
        low = Min(low, Min(down[x], down[x + s]));
        high = Max(high, Max(down[x], down[x + s]));
        out[x] = Max(Min(high, mid[x]), low);
    }
}
ORV_ROW_TEMPLATE((class T), (T), ClipRow, (const T* up, const T* mid, const T* down, int s, int w, T* out),
                 (up, mid, down, s, w, out))

template <class T>
int ImpulseFilter(T* data, int w, int h, int spacing, LogText_t* log) {
    if (!ScratchFits("refBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(T)), log)) {
        return -1;
    }
    if (spacing < 1 || spacing >= h - spacing) {
        return 0;
    }
    RowHistory<T> rows(data, w, spacing, g_dynamicBuffer);
    for (int y = 0; y < h - spacing; ++y) {
        rows.Keep(y);
        if (y >= spacing) {
            ClipRow<T>(rows.Kept(y - spacing), rows.Kept(y), rows.InPlane(y + spacing), spacing, w, rows.InPlane(y));
        }
    }
    return 0;
}

constexpr int kMaxTaps = 63;

// A convolution as the list of its non-zero taps, in the order of summation. A tap of zero leaves a sum as it is.
struct Stencil {
    int radiusX = 0, radiusY = 0;
    int count = 0;
    int dx[kMaxTaps], dy[kMaxTaps];
    float weight[kMaxTaps];

    // `kernel` has w by h values; an even size lacks the last tap.
    Stencil(const float* kernel, int w, int h) : radiusX(w / 2), radiusY(h / 2) {
        for (int y = -radiusY; y <= radiusY; ++y) {
            for (int x = -radiusX; x <= radiusX; ++x) {
                const int row = radiusY - y, column = radiusX - x;
                if (row < h && column < w && kernel[row * w + column] != 0.0F) {
                    dx[count] = x;
                    dy[count] = y;
                    weight[count++] = kernel[row * w + column];
                }
            }
        }
    }
};

// Columns [x0, x1) of one row; tap t reads source[t][x]. Taps is the count, 0 when it is not known in advance.
template <class T, int Taps>
ORV_ALWAYS_INLINE void SumTapsBody(const T* const* source, const float* weight, int count, int x0, int x1, T* out) {
    if (Taps == 0) {
        for (int x = x0; x < x1; ++x) {
            float sum = 0.0F;
            for (int t = 0; t < count; ++t) {
                sum = Fma(static_cast<float>(source[t][x]), weight[t], sum);
            }
            out[x] = static_cast<T>(TruncateToInt32(sum));
        }
        return;
    }
    const T* s[Taps + 1];
    float k[Taps + 1];
    for (int t = 0; t < Taps; ++t) {
        s[t] = source[t];
        k[t] = weight[t];
    }
#pragma omp simd
    for (int x = x0; x < x1; ++x) {
        float sum = 0.0F;
        for (int t = 0; t < Taps; ++t) {
            sum = Fma(static_cast<float>(s[t][x]), k[t], sum);
        }
        out[x] = static_cast<T>(TruncateToInt32(sum));
    }
}
ORV_ROW_TEMPLATE((class T, int Taps), (T, Taps), SumTaps,
                 (const T* const* source, const float* weight, int count, int x0, int x1, T* out),
                 (source, weight, count, x0, x1, out))

template <class T>
void SumRow(const T* const* source, const Stencil& stencil, int w, T* out) {
    const int x0 = stencil.radiusX, x1 = w - stencil.radiusX;
    switch (stencil.count) {
    case 2: SumTaps<T, 2>(source, stencil.weight, 2, x0, x1, out); break;
    case 3: SumTaps<T, 3>(source, stencil.weight, 3, x0, x1, out); break;
    case 4: SumTaps<T, 4>(source, stencil.weight, 4, x0, x1, out); break;
    case 6: SumTaps<T, 6>(source, stencil.weight, 6, x0, x1, out); break;
    default: SumTaps<T, 0>(source, stencil.weight, stencil.count, x0, x1, out); break;
    }
}

template <class T>
void Convolve(T* data, int w, int h, const Stencil& stencil) {
    RowHistory<T> rows(data, w, stencil.radiusY, g_dynamicBuffer);
    const T* source[kMaxTaps];
    for (int y = 0; y < h - stencil.radiusY; ++y) {
        rows.Keep(y);
        if (y < stencil.radiusY) {
            continue;
        }
        for (int t = 0; t < stencil.count; ++t) {
            const int dy = stencil.dy[t];
            source[t] = (dy <= 0 ? rows.Kept(y + dy) : rows.InPlane(y + dy)) + stencil.dx[t];
        }
        SumRow(source, stencil, w, rows.InPlane(y));
    }
}

}  // namespace

int Alg_ImpulseFilter(void* data, int type, int w, int h, int spacing, LogText_t* log) {
    switch (type) {
    case 2: return ImpulseFilter(static_cast<short*>(data), w, h, spacing, log);
    case 5: return ImpulseFilter(static_cast<int*>(data), w, h, spacing, log);
    default: return 0;
    }
}

int Alg_Convolve2D(short* data, int w, int h, float* kernel, int kernelWidth, int kernelHeight, LogText_t* log) {
    if (kernelWidth > 3 || kernelHeight > 3 ||
        !ScratchFits("pBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(short)), log)) {
        return -1;
    }
    Convolve(data, w, h, Stencil(kernel, kernelWidth, kernelHeight));
    return 0;
}

int Alg_Convolve1D_Int32(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log) {
    if (taps > kMaxTaps || !ScratchFits("pBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(int)), log)) {
        return -1;
    }
    if (direction == 0) {
        Convolve(data, w, h, Stencil(kernel, taps, 1));
    } else if (direction == 1) {
        Convolve(data, w, h, Stencil(kernel, 1, taps));
    }
    return 0;
}

int Alg_Convolve1D(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log) {
    return Alg_Convolve1D_Int32(data, w, h, kernel, taps, direction, log);
}
