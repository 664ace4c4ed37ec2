// The end of the pipeline: colour matrix, tones, sharpening.
#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/reference/Scratch.h"
#include "truesense/MixRow.h"

using orv::Abs;
using orv::Elements;
using orv::Fma;

namespace {

// Pan and the colour difference of n pixels, to a tone.
ORV_ALWAYS_INLINE void CorrectPixelsBody(const int* pan, const int* const* diffs, const float* matrix,
                                         const short* toneTable, ptrdiff_t n, unsigned char* rgb) {
    for (ptrdiff_t p = 0; p < n; ++p) {
        float linear[3];
        for (int c = 0; c < 3; ++c) {
            linear[c] = static_cast<float>(Gamma10toLinear12[orv::CodeOf(pan[p] + diffs[c][p])]);
        }
        for (int c = 0; c < 3; ++c) {
            const float* m = matrix + 3 * c;
            rgb[3 * p + c] =
                static_cast<unsigned char>(toneTable[orv::Mix(linear[0], linear[1], linear[2], m[0], m[1], m[2])]);
        }
    }
}
ORV_ROW_FUNCTION(CorrectPixels,
                 (const int* pan, const int* const* diffs, const float* matrix, const short* toneTable, ptrdiff_t n,
                  unsigned char* rgb),
                 (pan, diffs, matrix, toneTable, n, rgb))

// Over an 8-bit tone, which is read as the gamma code of the same number.
constexpr int kTones = 256;

struct SharpenPlanes {
    const short* fullPan;  // tones of pan with its noise
    const int* tone;       // of cleaned pan
    const short *edgeA, *edgeB;
    const int* lowpass;  // 16.16
};

ORV_ALWAYS_INLINE void SharpenPixelsBody(const SharpenPlanes& in, const orv::SharpenTables<kTones>& tables,
                                         float maxSharpen, ptrdiff_t n, unsigned char* rgb) {
    for (ptrdiff_t p = 0; p < n; ++p) {
        const int t = in.tone[p];
        const int around = in.lowpass[p] / 65536;
        const float threshold = tables.threshold[orv::Clamp(around, 0, kTones - 1)];
        const float gain = orv::SharpenGain(Abs(in.edgeA[p]) + Abs(in.edgeB[p]), threshold, maxSharpen);
        const float detail =
            Fma(static_cast<float>(in.fullPan[p] - t), tables.noiseRestore[orv::Clamp(t, 0, kTones - 1)],
                static_cast<float>(t - around) * gain);
        for (int c = 0; c < 3; ++c) {
            const float sum = static_cast<float>(rgb[3 * p + c]) + detail;
            rgb[3 * p + c] = static_cast<unsigned char>(orv::TruncateClamped(sum, 0.0F, 255.0F));
        }
    }
}
ORV_ROW_FUNCTION(SharpenPixels,
                 (const SharpenPlanes& in, const orv::SharpenTables<kTones>& tables, float maxSharpen, ptrdiff_t n,
                  unsigned char* rgb),
                 (in, tables, maxSharpen, n, rgb))

}  // namespace

int Alg_ColorCorrection(int* planeR, int* planeG, int* planeB, int* panUp, int w, int h, float RR, float RG, float RB,
                        float GR, float GG, float GB, float BR, float BG, float BB, unsigned char* rgb,
                        short* toneTable, LogText_t*) {
    const int* const diffs[3] = {planeR, planeG, planeB};
    const float matrix[9] = {RR, RG, RB, GR, GG, GB, BR, BG, BB};
    CorrectPixels(panUp, diffs, matrix, toneTable, Elements(w, h), rgb);
    return 0;
}

int Alg_Sharpness(unsigned char* rgb, short* fullPan, int* panUp, int w, int h, float sharpenParam, float maxSharpen,
                  float highLumaNoise, float lowLumaNoise, short* toneTable, LogText_t* log) {
    orv::SharpenTables<kTones> tables;
    tables.Fill(sharpenParam, highLumaNoise, lowLumaNoise);
    const ptrdiff_t N = Elements(w, h);
    short* edgeA = reinterpret_cast<short*>(g_dynamicBuffer1);
    short* edgeB = edgeA + N;
    int* lowpass = reinterpret_cast<int*>(g_dynamicBuffer2);
    for (ptrdiff_t p = 0; p < N; ++p) {
        fullPan[p] = toneTable[Gamma10toLinear12[fullPan[p]]];
        panUp[p] = edgeA[p] = edgeB[p] = toneTable[Gamma10toLinear12[orv::CodeOf(panUp[p])]];
        lowpass[p] = panUp[p] * 65536;
    }
    float cross[9] = {0, 1, 0, -1, 0, -1, 0, 1, 0}, diagonal[9] = {1, 0, -1, 0, 0, 0, -1, 0, 1};
    float binomial[5] = {0.25F, 0, 0.5F, 0, 0.25F};
    if (Alg_Convolve2D(edgeA, w, h, cross, 3, 3, log) != 0 || Alg_Convolve2D(edgeB, w, h, diagonal, 3, 3, log) != 0 ||
        Alg_Convolve1D_Int32(lowpass, w, h, binomial, 5, 0, log) != 0 ||
        Alg_Convolve1D_Int32(lowpass, w, h, binomial, 5, 1, log) != 0) {
        return -1;
    }
    SharpenPixels({fullPan, panUp, edgeA, edgeB, lowpass}, tables, maxSharpen, N, rgb);
    return 0;
}
