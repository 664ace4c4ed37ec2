// The end of the pipeline: colour matrix, tones, sharpening.
#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/reference/Scratch.h"
#include "truesense/MixRow.h"

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

ORV_ALWAYS_INLINE void WidenRowBody(const short* row, int n, int* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[x] = row[x];
    }
}
ORV_ROW_FUNCTION(WidenRow, (const short* row, int n, int* out), (row, n, out))

// Edge response to a cross and to a diagonal, of 16 bits each, on columns [1, n - 1).
ORV_ALWAYS_INLINE void EdgeRowBody(const int* up, const int* mid, const int* down, int n, int* edge) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const auto cross = static_cast<int16_t>(up[x] + down[x] - mid[x - 1] - mid[x + 1]);
        const auto diagonal = static_cast<int16_t>(up[x - 1] + down[x + 1] - up[x + 1] - down[x - 1]);
        edge[x] = Abs(cross) + Abs(diagonal);
    }
}
ORV_ROW_FUNCTION(EdgeRow, (const int* up, const int* mid, const int* down, int n, int* edge), (up, mid, down, n, edge))

// Sums 1-2-1 along columns.
ORV_ALWAYS_INLINE void SumRowsBody(const int* up, const int* mid, const int* down, int n, int* sum) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        sum[x] = up[x] + 2 * mid[x] + down[x];
    }
}
ORV_ROW_FUNCTION(SumRows, (const int* up, const int* mid, const int* down, int n, int* sum), (up, mid, down, n, sum))

// Means from these, two columns apart, toward zero, on columns [2, n - 2).
ORV_ALWAYS_INLINE int Sixteenth(int sum) { return (sum + ((sum >> 31) & 15)) >> 4; }
ORV_ALWAYS_INLINE void LowpassRowBody(const int* sum, int n, int* lowpass) {
#pragma omp simd
    for (int x = 2; x < n - 2; ++x) {
        lowpass[x] = Sixteenth(sum[x - 2] + 2 * sum[x] + sum[x + 2]);
    }
}
ORV_ROW_FUNCTION(LowpassRow, (const int* sum, int n, int* lowpass), (sum, n, lowpass))

// Places in the tables of the sharpener.
ORV_ALWAYS_INLINE void PlaceRowBody(const int* tone, const int* lowpass, int n, int16_t* ofTone, int16_t* ofLowpass) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        ofTone[x] = static_cast<int16_t>(Clamp(tone[x], 0, kTones - 1));
        ofLowpass[x] = static_cast<int16_t>(Clamp(lowpass[x], 0, kTones - 1));
    }
}
ORV_ROW_FUNCTION(PlaceRow, (const int* tone, const int* lowpass, int n, int16_t* ofTone, int16_t* ofLowpass),
                 (tone, lowpass, n, ofTone, ofLowpass))

// What the sharpener knows of a row, and its entries of the tables.
struct DetailRow {
    const short* fullPan;  // tones of pan with its noise
    const int* tone;       // of cleaned pan
    const int* lowpass;    // of its surroundings
    const int* edge;       // its edge response
    const float *threshold, *restore;
};

// n pixels, at most kChunk.
ORV_ALWAYS_INLINE void SharpenRowBody(const DetailRow& row, int n, float maxSharpen, unsigned char* rgb) {
    const DetailRow in = row;
    float detail[3 * kChunk];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int t = in.tone[x];
        const float gain = orv::SharpenGain(in.edge[x], in.threshold[x], maxSharpen);
        const float d =
            Fma(static_cast<float>(in.fullPan[x] - t), in.restore[x], static_cast<float>(t - in.lowpass[x]) * gain);
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

// One row of 16.16 gamma codes.
void ToTones(const int16_t* toneOfGamma, int w, int* row) {
    int16_t tone[kChunk];
    for (int x = 0; x < w; x += kChunk) {
        const int n = std::min(kChunk, w - x);
        orv::CodesOfRow(row + x, n, tone);
        LookUp(toneOfGamma, tone, n, tone);
        WidenRow(tone, n, row + x);
    }
}

// Row y of the edge responses of a plane. On the rim its tones stand for both.
void MeasureEdges(const int* tones, int w, int h, int y, int* edge) {
    const int* const tone = tones + Elements(w, y);
    if (y == 0 || y == h - 1) {
        for (int x = 0; x < w; ++x) {
            edge[x] = 2 * Abs(tone[x]);
        }
        return;
    }
    EdgeRow(tone - w, tone, tone + w, w, edge);
    for (const int x : {0, w - 1}) {
        edge[x] = 2 * Abs(tone[x]);
    }
}

// Row y of a plane smoothed in both directions by 1-2-1 of samples two apart, as far as there are any. `sum` is a line.
void Smooth(const int* tones, int w, int h, int y, int* sum, int* lowpass) {
    const int* const tone = tones + Elements(w, y);
    const ptrdiff_t away = y < 2 || y >= h - 2 ? 0 : Elements(w, 2);
    SumRows(tone - away, tone, tone + away, w, sum);
    LowpassRow(sum, w, lowpass);
    for (const int x : {0, 1, w - 2, w - 1}) {
        const int at = std::clamp(x, 0, w - 1);
        lowpass[at] = Sixteenth(4 * sum[at]);
    }
}

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
    if (!orv::ScratchFits("pBuf", Elements(w, h) * static_cast<ptrdiff_t>(sizeof(int)), log)) {
        return -1;
    }
    if (w < 1) {
        return 0;
    }
    // Lines of one row.
    int* const sum = reinterpret_cast<int*>(g_dynamicBuffer);
    int* const edge = reinterpret_cast<int*>(g_dynamicBuffer1);
    int* const lowpass = reinterpret_cast<int*>(g_dynamicBuffer2);
    const auto sharpen = [&](int y) {
        const ptrdiff_t at = Elements(w, y);
        MeasureEdges(panUp, w, h, y, edge);
        Smooth(panUp, w, h, y, sum, lowpass);
        int16_t ofTone[kChunk], ofLowpass[kChunk];
        float threshold[kChunk], restore[kChunk];
        for (int x = 0; x < w; x += kChunk) {
            const int n = std::min(kChunk, w - x);
            const int* const tone = panUp + at + x;
            PlaceRow(tone, lowpass + x, n, ofTone, ofLowpass);
            LookUp(tables.threshold, ofLowpass, n, threshold);
            LookUp(tables.noiseRestore, ofTone, n, restore);
            const DetailRow row = {fullPan + at + x, tone, lowpass + x, edge + x, threshold, restore};
            SharpenRow(row, n, maxSharpen, rgb + 3 * (at + x));
        }
    };
    for (int y = 0; y < h + 2; ++y) {
        if (y < h) {
            short* const noisy = fullPan + Elements(w, y);
            LookUp(toneOfGamma, noisy, w, noisy);
            ToTones(toneOfGamma, w, panUp + Elements(w, y));
        }
        if (y >= 2) {
            sharpen(y - 2);
        }
    }
    return 0;
}
