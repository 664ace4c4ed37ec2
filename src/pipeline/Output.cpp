// The end of the pipeline: colour matrix, tones, sharpening.
#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/Filters.h"
#include "pipeline/MixRow.h"

using orv::Abs;
using orv::Clamp;
using orv::Elements;
using orv::Fma;
using orv::LookUp;
using orv::TruncateClamped;

namespace {

// Pixels that the row functions take through local lines at a time.
constexpr int kChunk = 512;

ORV_ALWAYS_INLINE void ColorCodeRowBody(const int* pan, const int* diff, int n, int16_t* code) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        code[x] = orv::CodeOf(pan[x] + diff[x]);
    }
}
ORV_ROW_FUNCTION(ColorCodeRow, (const int* pan, const int* diff, int n, int16_t* code), (pan, diff, n, code))

// Over an 8-bit tone, which is read as the gamma code of the same number.
constexpr int kTones = 256;
using SharpenTables = orv::SharpenTables<kTones>;

// Loads the planes of the edge filters with the cleaned pan as tones.
ORV_ALWAYS_INLINE void SpreadRowBody(const short* tone, int n, int* panUp, short* edge, int* lowpass) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        panUp[x] = tone[x];
        edge[x] = tone[x];
        lowpass[x] = tone[x] * 65536;
    }
}
ORV_ROW_FUNCTION(SpreadRow, (const short* tone, int n, int* panUp, short* edge, int* lowpass),
                 (tone, n, panUp, edge, lowpass))

// Places in the tables of the sharpener.
ORV_ALWAYS_INLINE void PlaceRowBody(const int* tone, const int* lowpass, int n, int16_t* ofTone, int16_t* ofLowpass) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        ofTone[x] = static_cast<int16_t>(Clamp(tone[x], 0, kTones - 1));
        ofLowpass[x] = static_cast<int16_t>(Clamp(lowpass[x] >> 16, 0, kTones - 1));
    }
}
ORV_ROW_FUNCTION(PlaceRow, (const int* tone, const int* lowpass, int n, int16_t* ofTone, int16_t* ofLowpass),
                 (tone, lowpass, n, ofTone, ofLowpass))

// What the sharpener knows of a row: planes, and entries of its tables.
struct DetailRow {
    const short* fullPan;  // tones of pan with its noise
    const int* tone;       // of cleaned pan
    const int* lowpass;    // of its surroundings, 16.16
    const short *edgeA, *edgeB;
    const float *threshold, *restore;
};

// n pixels, at most kChunk.
ORV_ALWAYS_INLINE void SharpenRowBody(const DetailRow& row, int n, float maxSharpen, unsigned char* rgb) {
    const DetailRow in = row;
    float detail[3 * kChunk];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int t = in.tone[x];
        const float gain = orv::SharpenGain(Abs(in.edgeA[x]) + Abs(in.edgeB[x]), in.threshold[x], maxSharpen);
        const float d = Fma(static_cast<float>(in.fullPan[x] - t), in.restore[x],
                            static_cast<float>(t - orv::WholePart(in.lowpass[x])) * gain);
        detail[3 * x] = d;
        detail[3 * x + 1] = d;
        detail[3 * x + 2] = d;
    }
#pragma omp simd
    for (int k = 0; k < 3 * n; ++k) {
        rgb[k] = static_cast<unsigned char>(TruncateClamped(static_cast<float>(rgb[k]) + detail[k], 0.0F, 255.0F));
    }
}
ORV_ROW_FUNCTION(SharpenRow, (const DetailRow& row, int n, float maxSharpen, unsigned char* rgb),
                 (row, n, maxSharpen, rgb))

}  // namespace

int Alg_ColorCorrection(int* planeR, int* planeG, int* planeB, int* panUp, int w, int h, float RR, float RG, float RB,
                        float GR, float GG, float GB, float BR, float BG, float BB, unsigned char* rgb,
                        short* toneTable, LogText_t*) {
    unsigned char tone[4096];
    for (int i = 0; i < 4096; ++i) {
        tone[i] = static_cast<unsigned char>(toneTable[i]);
    }
    float linearTable[1024];
    std::copy(Gamma10toLinear12, Gamma10toLinear12 + 1024, linearTable);
    const int* const diffs[3] = {planeR, planeG, planeB};
    const float matrix[3][3] = {{RR, RG, RB}, {GR, GG, GB}, {BR, BG, BB}};
    int16_t code[kChunk], mixed[3][kChunk];
    alignas(32) float linear[3][kChunk];
    const ptrdiff_t N = Elements(w, h);
    for (ptrdiff_t p = 0; p < N; p += kChunk) {
        const int n = static_cast<int>(std::min<ptrdiff_t>(kChunk, N - p));
        for (int c = 0; c < 3; ++c) {
            ColorCodeRow(panUp + p, diffs[c] + p, n, code);
            LookUp(linearTable, code, n, linear[c]);
        }
        for (int c = 0; c < 3; ++c) {
            orv::MixRow(linear[0], linear[1], linear[2], matrix[c], n, mixed[c]);
        }
        unsigned char* out = rgb + 3 * p;
        for (int x = 0; x < n; ++x) {
            out[3 * x] = tone[mixed[0][x]];
            out[3 * x + 1] = tone[mixed[1][x]];
            out[3 * x + 2] = tone[mixed[2][x]];
        }
    }
    return 0;
}

int Alg_Sharpness(unsigned char* rgb, short* fullPan, int* panUp, int w, int h, float sharpenParam, float maxSharpen,
                  float highLumaNoise, float lowLumaNoise, short* toneTable, LogText_t* log) {
    SharpenTables tables;
    tables.Fill(sharpenParam, highLumaNoise, lowLumaNoise);
    int16_t toneOfGamma[1024];
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
        LookUp(toneOfGamma, fullPan + at, w, fullPan + at);
        short* tone = edgeA + at;
        orv::CodesOfRow(panUp + at, w, tone);
        LookUp(toneOfGamma, tone, w, tone);
        SpreadRow(tone, w, panUp + at, edgeB + at, lowpass + at);
        smoothing.Push(y);
    }
    float cross[9] = {0, 1, 0, -1, 0, -1, 0, 1, 0};
    float diagonal[9] = {1, 0, -1, 0, 0, 0, -1, 0, 1};
    if (Alg_Convolve2D(edgeA, w, h, cross, 3, 3, log) != 0 || Alg_Convolve2D(edgeB, w, h, diagonal, 3, 3, log) != 0) {
        return -1;
    }
    int16_t ofTone[kChunk], ofLowpass[kChunk];
    float threshold[kChunk], restore[kChunk];
    for (ptrdiff_t p = 0; p < N; p += kChunk) {
        const int n = static_cast<int>(std::min<ptrdiff_t>(kChunk, N - p));
        PlaceRow(panUp + p, lowpass + p, n, ofTone, ofLowpass);
        LookUp(tables.threshold, ofLowpass, n, threshold);
        LookUp(tables.noiseRestore, ofTone, n, restore);
        const DetailRow row = {fullPan + p, panUp + p, lowpass + p, edgeA + p, edgeB + p, threshold, restore};
        SharpenRow(row, n, maxSharpen, rgb + 3 * p);
    }
    return 0;
}
