// The end of the pipeline: colour matrix, tones, sharpening.
#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/Filters.h"

using orv::Abs;
using orv::Clamp;
using orv::Elements;
using orv::Fma;
using orv::Mix;
using orv::TruncateClamped;

namespace {

// Pixels that the row functions take through their local lines at a time.
constexpr int kChunk = 256;

struct Matrix {
    float RR, RG, RB, GR, GG, GB, BR, BG, BB;
};

ORV_ALWAYS_INLINE float LinearOf(int pan, int diff, const int32_t* linearTable) {
    return static_cast<float>(linearTable[Clamp((pan + diff) / 65536, 0, 1023)]);
}

// n pixels, at most kChunk.
ORV_ALWAYS_INLINE void CorrectRowBody(const int* planeR, const int* planeG, const int* planeB, const int* panUp, int n,
                                      const Matrix& matrix, const int32_t* linearTable, const unsigned char* tone,
                                      unsigned char* rgb) {
    const Matrix m = matrix;
    int line[3][kChunk];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const float r = LinearOf(panUp[x], planeR[x], linearTable);
        const float g = LinearOf(panUp[x], planeG[x], linearTable);
        const float b = LinearOf(panUp[x], planeB[x], linearTable);
        line[0][x] = Mix(r, g, b, m.RR, m.RG, m.RB);
        line[1][x] = Mix(r, g, b, m.GR, m.GG, m.GB);
        line[2][x] = Mix(r, g, b, m.BR, m.BG, m.BB);
    }
    for (int x = 0; x < n; ++x) {
        rgb[3 * x] = tone[line[0][x]];
        rgb[3 * x + 1] = tone[line[1][x]];
        rgb[3 * x + 2] = tone[line[2][x]];
    }
}
ORV_ROW_FUNCTION(CorrectRow,
                 (const int* planeR, const int* planeG, const int* planeB, const int* panUp, int n,
                  const Matrix& matrix, const int32_t* linearTable, const unsigned char* tone, unsigned char* rgb),
                 (planeR, planeG, planeB, panUp, n, matrix, linearTable, tone, rgb))

// Over an 8-bit tone, which is read as the gamma code of the same number.
using SharpenTables = orv::SharpenTables<256>;

// Takes the noisy and the cleaned pan to tones and loads the planes of the edge filters with the cleaned one.
ORV_ALWAYS_INLINE void ToneRowBody(short* fullPan, int* panUp, int n, const int32_t* toneOfGamma, short* edgeA,
                                   short* edgeB, int* lowpass) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int t = toneOfGamma[Clamp(panUp[x] / 65536, 0, 1023)];
        fullPan[x] = static_cast<short>(toneOfGamma[fullPan[x]]);
        panUp[x] = t;
        edgeA[x] = static_cast<short>(t);
        edgeB[x] = static_cast<short>(t);
        lowpass[x] = t * 65536;
    }
}
ORV_ROW_FUNCTION(ToneRow,
                 (short* fullPan, int* panUp, int n, const int32_t* toneOfGamma, short* edgeA, short* edgeB,
                  int* lowpass),
                 (fullPan, panUp, n, toneOfGamma, edgeA, edgeB, lowpass))

// n pixels, at most kChunk.
ORV_ALWAYS_INLINE void SharpenRowBody(const short* fullPan, const int* tone, const short* edgeA, const short* edgeB,
                                      const int* lowpass, int n, const SharpenTables& tables, float maxSharpen,
                                      unsigned char* rgb) {
    const float* threshold = tables.threshold;
    const float* noiseRestore = tables.noiseRestore;
    float detail[3 * kChunk];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int t = tone[x];
        const int lp = lowpass[x] / 65536;
        float gain = static_cast<float>(Abs(edgeA[x]) + Abs(edgeB[x])) / threshold[Clamp(lp, 0, 255)] - 1.0F;
        gain = gain > 0.0F ? gain : 0.0F;  // not-a-number too: no edge over a threshold of 0
        gain = gain > maxSharpen ? maxSharpen : gain;
        const float d =
            Fma(static_cast<float>(fullPan[x] - t), noiseRestore[Clamp(t, 0, 255)], static_cast<float>(t - lp) * gain);
        detail[3 * x] = d;
        detail[3 * x + 1] = d;
        detail[3 * x + 2] = d;
    }
#pragma omp simd
    for (int k = 0; k < 3 * n; ++k) {
        rgb[k] = static_cast<unsigned char>(TruncateClamped(static_cast<float>(rgb[k]) + detail[k], 0.0F, 255.0F));
    }
}
ORV_ROW_FUNCTION(SharpenRow,
                 (const short* fullPan, const int* tone, const short* edgeA, const short* edgeB, const int* lowpass,
                  int n, const SharpenTables& tables, float maxSharpen, unsigned char* rgb),
                 (fullPan, tone, edgeA, edgeB, lowpass, n, tables, maxSharpen, rgb))

}  // namespace

int Alg_ColorCorrection(int* planeR, int* planeG, int* planeB, int* panUp, int w, int h, float RR, float RG, float RB,
                        float GR, float GG, float GB, float BR, float BG, float BB, unsigned char* rgb,
                        short* toneTable, LogText_t*) {
    unsigned char tone[4096];
    for (int i = 0; i < 4096; ++i) {
        tone[i] = static_cast<unsigned char>(toneTable[i]);
    }
    const Matrix matrix = {RR, RG, RB, GR, GG, GB, BR, BG, BB};
    const ptrdiff_t N = Elements(w, h);
    for (ptrdiff_t p = 0; p < N; p += kChunk) {
        const int n = static_cast<int>(std::min<ptrdiff_t>(kChunk, N - p));
        CorrectRow(planeR + p, planeG + p, planeB + p, panUp + p, n, matrix, Gamma10toLinear12, tone, rgb + 3 * p);
    }
    return 0;
}

int Alg_Sharpness(unsigned char* rgb, short* fullPan, int* panUp, int w, int h, float sharpenParam, float maxSharpen,
                  float highLumaNoise, float lowLumaNoise, short* toneTable, LogText_t* log) {
    SharpenTables tables;
    tables.Fill(sharpenParam, highLumaNoise, lowLumaNoise);
    int32_t toneOfGamma[1024];
    for (int code = 0; code < 1024; ++code) {
        toneOfGamma[code] = toneTable[Gamma10toLinear12[code]];
    }
    const ptrdiff_t N = Elements(w, h);
    short* edgeA = reinterpret_cast<short*>(g_dynamicBuffer1);
    short* edgeB = edgeA + N;
    int* lowpass = reinterpret_cast<int*>(g_dynamicBuffer2);
    const float binomial[5] = {0.25F, 0, 0.5F, 0, 0.25F};
    if (!orv::RowsThenColumns::Fits(w, h, log)) {
        return -1;
    }
    orv::RowsThenColumns smoothing(lowpass, w, h, binomial, 5);
    for (int y = 0; y < h; ++y) {
        const ptrdiff_t at = Elements(w, y);
        ToneRow(fullPan + at, panUp + at, w, toneOfGamma, edgeA + at, edgeB + at, lowpass + at);
        smoothing.Push(y);
    }
    float cross[9] = {0, 1, 0, -1, 0, -1, 0, 1, 0};
    float diagonal[9] = {1, 0, -1, 0, 0, 0, -1, 0, 1};
    if (Alg_Convolve2D(edgeA, w, h, cross, 3, 3, log) != 0 || Alg_Convolve2D(edgeB, w, h, diagonal, 3, 3, log) != 0) {
        return -1;
    }
    for (ptrdiff_t p = 0; p < N; p += kChunk) {
        const int n = static_cast<int>(std::min<ptrdiff_t>(kChunk, N - p));
        SharpenRow(fullPan + p, panUp + p, edgeA + p, edgeB + p, lowpass + p, n, tables, maxSharpen, rgb + 3 * p);
    }
    return 0;
}
