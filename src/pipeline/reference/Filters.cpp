// Impulse filter and convolutions.
#include "pipeline/reference/Filters.h"

#include <cmath>

#include "truesense/ClipRow.h"

using orv::Elements;
using orv::Fma;
using orv::RowHistory;
using orv::ScratchFits;
using orv::Stencil;
using orv::TruncateFromAbove;
using orv::TruncateToInt32;

namespace {

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
            const T* up = rows.Kept(y - spacing);
            const T* down = rows.InPlane(y + spacing);
            orv::ClipRow<T>(up, up, rows.Kept(y), down, down, spacing, w, rows.InPlane(y));
        }
    }
    return 0;
}

// Columns [x0, x1) of one row; tap t reads source[t][x]. Taps is the count, 0 when it is not known in advance.
// With Exact every product is exact, so that Fused makes no difference, and no sum leaves the range of int32 but for
// the 2^31 that the largest samples are rounded to.
template <class T, int Taps, bool Exact, bool Fused>
ORV_ALWAYS_INLINE void SumTapsOf(const T* const* source, const float* weight, int count, int x0, int x1, T* out) {
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
        float sum = static_cast<float>(s[0][x]) * k[0];
        for (int t = 1; t < Taps; ++t) {
            const float v = static_cast<float>(s[t][x]);
            sum = Fused ? Fma(v, k[t], sum) : v * k[t] + sum;
        }
        out[x] = static_cast<T>(Exact ? TruncateFromAbove(sum) : TruncateToInt32(sum));
    }
}
template <class T, int Taps, bool Exact>
ORV_ALWAYS_INLINE void SumTapsBody(const T* const* source, const float* weight, int count, int x0, int x1, T* out) {
    SumTapsOf<T, Taps, Exact, !Exact>(source, weight, count, x0, x1, out);
}
#if defined(__x86_64__)
template <class T, int Taps, bool Exact>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void SumTapsBodyAvx2(const T* const* source, const float* weight, int count, int x0,
                                                       int x1, T* out) {
    SumTapsOf<T, Taps, Exact, true>(source, weight, count, x0, x1, out);
}
#endif
ORV_ROW_TEMPLATE_TUNED((class T, int Taps, bool Exact), (T, Taps, Exact), SumTaps,
                       (const T* const* source, const float* weight, int count, int x0, int x1, T* out),
                       (source, weight, count, x0, x1, out))

template <class T, bool Exact>
void SumRow(const T* const* source, const Stencil& stencil, int x0, int x1, T* out) {
    if (stencil.count == 3) {
        SumTaps<T, 3, Exact>(source, stencil.weight, 3, x0, x1, out);
    } else {
        SumTaps<T, 0, false>(source, stencil.weight, stencil.count, x0, x1, out);
    }
}

// Whether the weights are powers of two, whose products with a sample are exact, of a sum that keeps those of any
// samples of T within int32.
template <class T>
bool SumsAreExact(const Stencil& stencil) {
    double sum = 0.0;
    for (int t = 0; t < stencil.count; ++t) {
        const float magnitude = std::abs(stencil.weight[t]);
        int exponent = 0;
        if (std::frexp(magnitude, &exponent) != 0.5F || magnitude < 1.0F / 1024.0F) {
            return false;
        }
        sum += static_cast<double>(magnitude);
    }
    return sum <= (sizeof(T) == 2 ? 65536.0 : 1.0);
}

template <class T>
int Convolve(T* data, int w, int h, const Stencil& stencil, LogText_t* log) {
    if (!ScratchFits("pBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(T)), log)) {
        return -1;
    }
    orv::Convolver<T> convolver(data, w, h, stencil, reinterpret_cast<T*>(g_dynamicBuffer));
    for (int y = 0; y < h; ++y) {
        convolver.Push(y);
    }
    return 0;
}

}  // namespace

namespace orv {

Stencil::Stencil(const float* kernel, int w, int h) : radiusX(w / 2), radiusY(h / 2) {
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

template <class T>
Convolver<T>::Convolver(T* plane, int w, int h, const Stencil& stencil, T* memory)
    : stencil_(stencil), rows_(plane, w, stencil.radiusY, memory), w_(w), h_(h), exact_(SumsAreExact<T>(stencil)) {}

template <class T>
void Convolver<T>::Push(int y) {
    const int target = y - stencil_.radiusY;
    if (target < 0 || h_ <= 2 * stencil_.radiusY) {
        return;
    }
    rows_.Keep(target);
    if (target < stencil_.radiusY) {
        return;
    }
    const T* source[Stencil::kMaxTaps];
    for (int t = 0; t < stencil_.count; ++t) {
        const int dy = stencil_.dy[t];
        source[t] = (dy <= 0 ? rows_.Kept(target + dy) : rows_.InPlane(target + dy)) + stencil_.dx[t];
    }
    const int x0 = stencil_.radiusX, x1 = w_ - stencil_.radiusX;
    T* out = rows_.InPlane(target);
    if (exact_) {
        SumRow<T, true>(source, stencil_, x0, x1, out);
    } else {
        SumRow<T, false>(source, stencil_, x0, x1, out);
    }
}

template class Convolver<short>;
template class Convolver<int>;

bool ConvolutionFits(int w, int h, LogText_t* log) {
    return ScratchFits("pBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(int)), log);
}

void FilterRowsThenColumns(int* plane, int w, int h, const float* kernel, int taps) {
    int* const memory = reinterpret_cast<int*>(g_dynamicBuffer);
    Convolver<int> alongRows(plane, w, h, Stencil(kernel, taps, 1), memory);
    Convolver<int> alongColumns(plane, w, h, Stencil(kernel, 1, taps), memory + w);
    for (int y = 0; y < h; ++y) {
        alongRows.Push(y);
        alongColumns.Push(y);
    }
}

}  // namespace orv

int Alg_ImpulseFilter(void* data, int type, int w, int h, int spacing, LogText_t* log) {
    switch (type) {
    case 2: return ImpulseFilter(static_cast<short*>(data), w, h, spacing, log);
    case 5: return ImpulseFilter(static_cast<int*>(data), w, h, spacing, log);
    default: return 0;
    }
}

int Alg_Convolve2D(short* data, int w, int h, float* kernel, int kernelWidth, int kernelHeight, LogText_t* log) {
    if (kernelWidth > 3 || kernelHeight > 3) {
        return -1;
    }
    return Convolve(data, w, h, Stencil(kernel, kernelWidth, kernelHeight), log);
}

int Alg_Convolve1D_Int32(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log) {
    if (direction != 0 && direction != 1) {
        return 0;
    }
    if (taps > Stencil::kMaxTaps) {
        return -1;
    }
    const bool rows = direction == 0;
    return Convolve(data, w, h, Stencil(kernel, rows ? taps : 1, rows ? 1 : taps), log);
}

int Alg_Convolve1D(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log) {
    return Alg_Convolve1D_Int32(data, w, h, kernel, taps, direction, log);
}
