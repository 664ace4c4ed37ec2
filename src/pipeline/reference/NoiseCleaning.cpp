// Noise cleaning: sigma filters under a model of the sensor's noise.
#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/reference/Scratch.h"
#include "rows/Avx2.h"

using orv::Abs;
using orv::Elements;
using orv::MeanOf;
using orv::NoiseLine;
using orv::RowHistory;
using orv::ScratchFits;
using orv::TakeScratch;

namespace {

// Sums wrap, as those in vectors do.
ORV_ALWAYS_INLINE int Sum(int a, int b) {
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
ORV_ALWAYS_INLINE int Difference(int a, int b) {
    return static_cast<int>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// Columns [x0, x1) of one row; the other rows stand s rows above and below.
ORV_ALWAYS_INLINE void SigmaRowBody(const int* up, const int* mid, const int* down, const int* reference,
                                    const uint16_t* thresholds, int s, int x0, int x1, int* out) {
#pragma omp simd
    for (int x = x0; x < x1; ++x) {
        const int centre = mid[x];
        const int ref = reference[x];
        const auto limit = static_cast<int32_t>(static_cast<uint32_t>(thresholds[x]) << 16);
        const int n[8] = {up[x - s], up[x], up[x + s], mid[x - s], mid[x + s], down[x - s], down[x], down[x + s]};
        int sum = 0;
        int count = 1;
        for (int k = 0; k < 8; ++k) {
            const bool accepted = limit > Abs(Difference(n[k], ref));
            sum = Sum(sum, accepted ? Difference(n[k], centre) : 0);
            count += accepted ? 1 : 0;
        }
        out[x] = Sum(centre, MeanOf(sum, count));
    }
}

#if defined(__x86_64__)
// By hand for the sake of the mean.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void SigmaRowBodyAvx2(const int* up, const int* mid, const int* down,
                                                        const int* reference, const uint16_t* thresholds, int s, int x0,
                                                        int x1, int* out) {
    int x = x0;
    for (; x + 8 <= x1; x += 8) {
        const int* const neighbours[8] = {up + x - s,  up + x,       up + x + s, mid + x - s,
                                          mid + x + s, down + x - s, down + x,   down + x + s};
        const __m256i centre = orv::Longs(mid + x);
        const __m256i ref = orv::Longs(reference + x);
        const __m256i limit = _mm256_slli_epi32(orv::Widen(thresholds + x), 16);
        __m256i sum = _mm256_setzero_si256(), accepted = _mm256_setzero_si256();  // the number of those, negative
        for (const int* neighbour : neighbours) {
            const __m256i n = orv::Longs(neighbour);
            const __m256i mask = _mm256_cmpgt_epi32(limit, _mm256_abs_epi32(_mm256_sub_epi32(n, ref)));
            sum = _mm256_add_epi32(sum, _mm256_and_si256(n, mask));
            accepted = _mm256_add_epi32(accepted, mask);
        }
        sum = _mm256_add_epi32(sum, _mm256_mullo_epi32(accepted, centre));
        const __m256i mean = orv::MeanOfEight(sum, _mm256_sub_epi32(_mm256_set1_epi32(1), accepted));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), _mm256_add_epi32(centre, mean));
    }
    SigmaRowBody(up, mid, down, reference, thresholds, s, x, x1, out);
}
#endif

ORV_ROW_FUNCTION_TUNED(SigmaRow,
                       (const int* up, const int* mid, const int* down, const int* reference,
                        const uint16_t* thresholds, int s, int x0, int x1, int* out),
                       (up, mid, down, reference, thresholds, s, x0, x1, out))

// What a clean stage keeps in scratch.
struct CleanScratch {
    int* reference;  // the plane before the first pass
    unsigned short* thresholds;
};

bool TakeCleanScratch(const char* label, const int* plane, int qw, int qh, CleanScratch* scratch, LogText_t* log) {
    const ptrdiff_t Q = Elements(qw, qh);
    scratch->reference = TakeScratch<int>(label, Q, log);
    if (scratch->reference == nullptr) {
        return false;
    }
    std::copy(plane, plane + Q, scratch->reference);
    scratch->thresholds = TakeScratch<unsigned short>("thresAddr", Q, log);
    if (scratch->thresholds == nullptr) {
        return false;
    }
    std::fill(scratch->thresholds, scratch->thresholds + Q, static_cast<unsigned short>(0));
    return true;
}

}  // namespace

int Alg_CalculateNoiseParameter(float analogGain, float* ISOAnalogGain, float* slopes, float* intercepts, float* slope,
                                float* intercept, LogText_t*) {
    const NoiseLine line = orv::NoiseLineAt(analogGain, ISOAnalogGain, slopes, intercepts);
    *slope = line.slope;
    *intercept = line.intercept;
    return 0;
}

int Alg_ColorBuildGammaNoiseThreshold(short* lowGamma, int w, int h, float sigma, float globalGain, float slope,
                                      float intercept, unsigned short* thresholds, LogText_t*) {
    uint16_t table[1024];
    orv::BuildThresholdTable<double>(sigma, globalGain, {slope, intercept}, table);
    for (int y = 0; y < h; ++y) {
        orv::LookUp(table, lowGamma + Elements(w, y), w, thresholds + Elements(w, y));
    }
    return 0;
}

int Alg_PanBuildGammaNoiseThreshold(int* reflPan, int w, int h, float sigma, float globalGain, float slope,
                                    float intercept, unsigned short* thresholds, LogText_t*) {
    uint16_t table[1024];
    orv::BuildThresholdTable<double>(sigma, globalGain, {slope, intercept}, table);
    constexpr int kChunk = 512;
    int16_t code[kChunk];
    const ptrdiff_t Q = Elements(w, h);
    for (ptrdiff_t p = 0; p < Q; p += kChunk) {
        const int n = static_cast<int>(std::min<ptrdiff_t>(kChunk, Q - p));
        orv::CodesOfRow(reflPan + p, n, code);
        orv::LookUp(table, code, n, thresholds + p);
    }
    return 0;
}

int Alg_IterativeSigmaFilter(int* data, int* reference, int w, int h, int spacing, unsigned short* thresholds,
                             LogText_t* log) {
    if (!ScratchFits("bufArray", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(int)), log)) {
        return -1;
    }
    if (spacing < 1 || spacing >= h - spacing) {
        return 0;
    }
    // Behind an odd number of thresholds the scratch lies between two ints. The rows kept are fewer than those of the
    // plane, which leaves room for the step to the next.
    unsigned char* memory = g_dynamicBuffer;
    memory += (alignof(int) - reinterpret_cast<uintptr_t>(memory) % alignof(int)) % alignof(int);
    RowHistory<int> rows(data, w, spacing, memory);
    for (int y = 0; y < h - spacing; ++y) {
        rows.Keep(y);
        if (y >= spacing) {
            const ptrdiff_t at = Elements(w, y);
            SigmaRow(rows.Kept(y - spacing), rows.Kept(y), rows.InPlane(y + spacing), reference + at, thresholds + at,
                     spacing, spacing, w - spacing, rows.InPlane(y));
        }
    }
    return 0;
}

int Alg_LowColorDiffClean(short* lowGamma, int* lowColorDiff, int qw, int qh, float globalGain, float redGain,
                          float greenGain, float blueGain, float analogGain, float* ISOAnalogGain, float* ISOColorSlope,
                          float* ISOColorIntercept, float colorSigma0, float colorSigma1, float colorSigma2,
                          int colorRadius0, int colorRadius1, int colorRadius2, LogText_t* log) {
    CleanScratch scratch;
    if (!TakeCleanScratch("bufBayer", lowColorDiff, qw, qh, &scratch, log)) {
        return -1;
    }
    NoiseLine line;
    Alg_CalculateNoiseParameter(analogGain, ISOAnalogGain, ISOColorSlope, ISOColorIntercept, &line.slope,
                                &line.intercept, log);
    const float sigmas[3] = {colorSigma0, colorSigma1, colorSigma2};
    const int radii[3] = {colorRadius0, colorRadius1, colorRadius2};
    for (int pass = 0; pass < 3; ++pass) {
        if (radii[pass] <= 0) {
            continue;
        }
        const float sigma = ((redGain + greenGain + blueGain) / 3.0F) * sigmas[pass];
        Alg_ColorBuildGammaNoiseThreshold(lowGamma, qw, qh, sigma, globalGain, line.slope, line.intercept,
                                          scratch.thresholds, log);
        // Twice the radius stays on one colour of the half-size mosaic.
        const int spacing = static_cast<int>(std::min<int64_t>(2 * static_cast<int64_t>(radii[pass]), INT32_MAX));
        if (Alg_IterativeSigmaFilter(lowColorDiff, scratch.reference, qw, qh, spacing, scratch.thresholds, log) != 0) {
            return -1;
        }
    }
    return 0;
}

int Alg_LowPanClean(int* lowPan, int qw, int qh, float globalGain, float analogGain, float* ISOAnalogGain,
                    float* ISOPanSlope, float* ISOPanIntercept, float panSigma0, float panSigma1, float panSigma2,
                    int panRadius0, int panRadius1, int panRadius2, LogText_t* log) {
    CleanScratch scratch;
    if (!TakeCleanScratch("reflPan", lowPan, qw, qh, &scratch, log)) {
        return -1;
    }
    NoiseLine line;
    Alg_CalculateNoiseParameter(analogGain, ISOAnalogGain, ISOPanSlope, ISOPanIntercept, &line.slope, &line.intercept,
                                log);
    const float sigmas[3] = {panSigma0, panSigma1, panSigma2};
    const int radii[3] = {panRadius0, panRadius1, panRadius2};
    for (int pass = 0; pass < 3; ++pass) {
        if (radii[pass] <= 0) {
            continue;
        }
        Alg_PanBuildGammaNoiseThreshold(scratch.reference, qw, qh, sigmas[pass], globalGain, line.slope, line.intercept,
                                        scratch.thresholds, log);
        if (Alg_IterativeSigmaFilter(lowPan, scratch.reference, qw, qh, radii[pass], scratch.thresholds, log) != 0) {
            return -1;
        }
    }
    return 0;
}
