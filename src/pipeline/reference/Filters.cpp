// Impulse filter and convolutions.
#include <algorithm>

#include "pipeline/reference/Scratch.h"
#include "truesense/ClipRow.h"

using orv::Elements;
using orv::Fma;
using orv::TruncateToInt32;

namespace {

template <class T>
int ImpulseFilter(T* data, int w, int h, int spacing, LogText_t* log) {
    const T* before = orv::CopyToScratch("refBuf", data, w, h, log);
    if (before == nullptr) {
        return -1;
    }
    for (int y = spacing; spacing > 0 && y < h - spacing; ++y) {
        const T* mid = before + Elements(w, y);
        const T* up = mid - Elements(w, spacing);
        const T* down = mid + Elements(w, spacing);
        orv::ClipRow<T>(up, up, mid, down, down, spacing, w, data + Elements(w, y));
    }
    return 0;
}

// One tap of a convolution along a row.
template <class T>
ORV_ALWAYS_INLINE void AddTapBody(const T* samples, float weight, int n, float* sums) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        sums[x] = Fma(static_cast<float>(samples[x]), weight, sums[x]);
    }
}
ORV_ROW_TEMPLATE((class T), (T), AddTap, (const T* samples, float weight, int n, float* sums),
                 (samples, weight, n, sums))

// `kernel` of kw by kh taps, applied reversed; an even size lacks the last tap. Sums are formed in ascending order of
// rows, then columns.
template <class T>
int Convolve(T* data, int w, int h, const float* kernel, int kw, int kh, LogText_t* log) {
    const T* before = orv::CopyToScratch("pBuf", data, w, h, log);
    if (before == nullptr) {
        return -1;
    }
    constexpr int kRun = 512;  // columns at a time
    const int rx = kw / 2, ry = kh / 2;
    for (int y = ry; y < h - ry; ++y) {
        for (int x = rx; x < w - rx; x += kRun) {
            const int n = std::min(kRun, w - rx - x);
            float sums[kRun] = {};
            for (int dy = -ry; dy <= ry; ++dy) {
                for (int dx = -rx; dx <= rx; ++dx) {
                    const int row = ry - dy, column = rx - dx;
                    if (row < kh && column < kw && kernel[row * kw + column] != 0.0F) {
                        AddTap<T>(before + Elements(w, y + dy) + x + dx, kernel[row * kw + column], n, sums);
                    }
                }
            }
            for (int i = 0; i < n; ++i) {
                data[Elements(w, y) + x + i] = static_cast<T>(TruncateToInt32(sums[i]));
            }
        }
    }
    return 0;
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
    if (kernelWidth > 3 || kernelHeight > 3) {
        return -1;
    }
    return Convolve(data, w, h, kernel, kernelWidth, kernelHeight, log);
}

int Alg_Convolve1D_Int32(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log) {
    if (direction != 0 && direction != 1) {
        return 0;
    }
    return Convolve(data, w, h, kernel, direction == 0 ? taps : 1, direction == 0 ? 1 : taps, log);
}

int Alg_Convolve1D(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log) {
    return Alg_Convolve1D_Int32(data, w, h, kernel, taps, direction, log);
}
