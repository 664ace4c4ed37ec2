// Pan at the colour sites, and the colour differences of the 2 by 2 cells.

#include "pipeline/Arithmetic.h"
#include "pipeline/reference/Scratch.h"

using orv::Abs;
using orv::Elements;

namespace {

// Of the pan samples of even rows (A) and of odd rows (B): a prediction along one direction, in eighths, and how much
// pan changes along it.
enum WorkPlane { kPredA, kGradA, kLapA, kPredB, kGradB, kLapB, kWorkPlanes };

// For the colour sites of even rows, which lie between two samples of A along the row and two of B along the column.
// Transposed they are those for odd rows.
constexpr float kKernels[kWorkPlanes][9] = {{0, 0, 0, 0.5F, 0.5F, 0, 0, 0, 0}, {0, 0, 0, -1, 1, 0, 0, 0, 0},
                                            {-1, -1, 0, 2, 2, 0, -1, -1, 0},   {0, 0, 0, 0, 0.5F, 0, 0, 0.5F, 0},
                                            {0, 0, 0, 0, 1, 0, 0, -1, 0},      {0, 0, 0, -1, 2, -1, -1, 2, -1}};

// The prediction of either direction, weighted by the activity across it, which wraps at 16 bits.
short Blend(short* const* planes, ptrdiff_t k) {
    const auto activity = [k](const short* laplacian, const short* gradient) {
        return static_cast<short>(Abs(laplacian[k]) + 1 + 2 * Abs(gradient[k]));
    };
    const short a = activity(planes[kLapB], planes[kGradA]);
    const short b = activity(planes[kLapA], planes[kGradB]);
    // Products and sum are exact, fused or not.
    const double sum = a * (planes[kPredB][k] * 0.125) + (planes[kPredA][k] * 0.125) * b;
    return static_cast<short>(orv::TruncateClamped(sum / (a + b), 0.0, 4095.0));
}

// Pan at the colour sites of even rows, or of odd ones.
int Estimate(const short* panEven, const short* panOdd, int qw, int qh, bool oddRows, short* estimate, LogText_t* log) {
    const ptrdiff_t Q = Elements(qw, qh);
    short* planes[kWorkPlanes];
    for (int plane = 0; plane < kWorkPlanes; ++plane) {
        planes[plane] = reinterpret_cast<short*>(g_dynamicBuffer1) + plane * Q;
        const short* samples = plane < kPredB ? panEven : panOdd;
        const bool prediction = plane == kPredA || plane == kPredB;
        for (ptrdiff_t k = 0; k < Q; ++k) {
            planes[plane][k] = static_cast<short>(prediction ? (samples[k] & 0x1FFF) * 8 : samples[k]);
        }
        float kernel[9];
        for (int tap = 0; tap < 9; ++tap) {
            kernel[tap] = kKernels[plane][oddRows ? tap % 3 * 3 + tap / 3 : tap];
        }
        if (Alg_Convolve2D(planes[plane], qw, qh, kernel, 3, 3, log) != 0) {
            return -1;
        }
    }
    for (ptrdiff_t k = 0; k < Q; ++k) {
        estimate[k] = Blend(planes, k);
    }
    return 0;
}

}  // namespace

int Alg_InterpolatePan(short* panEven, short* panOdd, int w, int h, short* fullPan, short* panAtEven, short* panAtOdd,
                       LogText_t* log) {
    const int qw = w / 2, qh = h / 2;
    if (Alg_ImpulseFilter(panEven, 2, qw, qh, 1, log) != 0 || Alg_ImpulseFilter(panOdd, 2, qw, qh, 1, log) != 0 ||
        Estimate(panEven, panOdd, qw, qh, false, panAtEven, log) != 0 ||
        Estimate(panEven, panOdd, qw, qh, true, panAtOdd, log) != 0) {
        return -1;
    }
    for (int i = 0; i < qh; ++i) {
        for (int j = 0; j < qw; ++j) {
            const ptrdiff_t k = Elements(qw, i) + j;
            short* upper = fullPan + Elements(w, 2 * i) + 2 * j;
            short* lower = upper + w;
            upper[0] = static_cast<short>(Linear12toGamma10[panEven[k]]);
            upper[1] = static_cast<short>(Linear12toGamma10[panAtEven[k]]);
            lower[0] = static_cast<short>(Linear12toGamma10[panAtOdd[k]]);
            lower[1] = static_cast<short>(Linear12toGamma10[panOdd[k]]);
        }
    }
    return 0;
}

int Alg_GenerateLow(short* fullPan, short* panAtEven, short* panAtOdd, short* colorEven, short* colorOdd, int w, int h,
                    int* lowPan, short* lowGamma, int* lowColorDiff, LogText_t* log) {
    const int qw = w / 2, qh = h / 2;
    for (int i = 0; i < qh; ++i) {
        for (int j = 0; j < qw; ++j) {
            const ptrdiff_t k = Elements(qw, i) + j;
            const short* upper = fullPan + Elements(w, 2 * i) + 2 * j;
            const short* lower = upper + w;
            const int color = (colorEven[k] + colorOdd[k] + 1) / 2;
            const int pan = (panAtEven[k] + panAtOdd[k] + 1) / 2;
            lowColorDiff[k] = (Linear12toGamma10[color] - Linear12toGamma10[pan]) * 65536;
            lowPan[k] = (upper[0] + upper[1] + lower[0] + lower[1]) * 16384;
        }
    }
    if (Alg_ImpulseFilter(lowColorDiff, 5, qw, qh, 2, log) != 0) {
        return -1;
    }
    for (ptrdiff_t k = 0; k < Elements(qw, qh); ++k) {
        lowGamma[k] = orv::CodeOf(lowColorDiff[k] + lowPan[k]);
    }
    return 0;
}
