#include "pipeline/parallel/ColourStrips.h"

#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/MixRow.h"
#include "rows/Avx2.h"
#include "truesense/DifferenceRows.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

ORV_ALWAYS_INLINE int32_t Smooth(int32_t near, int32_t far) { return (3 * near + far) >> 2; }

// Twice the samples along the row. Reads one sample on either side.
ORV_ALWAYS_INLINE void DoubleRowBody(const int32_t* low, int n, int32_t* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[2 * x] = Smooth(low[x], low[x - 1]);
        out[2 * x + 1] = Smooth(low[x], low[x + 1]);
    }
}
ORV_ROW_FUNCTION(DoubleRow, (const int32_t* low, int n, int32_t* out), (low, n, out))

constexpr int kChunk = 512;  // pixels that a row function takes through its local lines at a time

// The rows of double width that a row lies between: of its own block, and the next beyond it.
struct RowPair {
    const int32_t* near;
    const int32_t* far;
};

// Cleaned pan of one row as gamma codes.
ORV_ALWAYS_INLINE void CodeRowBody(RowPair pan, int n, int16_t* code) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        code[x] = static_cast<int16_t>(Smooth(pan.near[x], pan.far[x]) >> 16);
    }
}
ORV_ROW_FUNCTION(CodeRow, (RowPair pan, int n, int16_t* code), (pan, n, code))

// Gamma codes of the three colours: pan and difference; n at most kChunk.
ORV_ALWAYS_INLINE void ColorCodesBody(RowPair pan, RowPair red, RowPair green, RowPair blue, int n, int16_t* codeR,
                                      int16_t* codeG, int16_t* codeB) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int32_t p = Smooth(pan.near[x], pan.far[x]);
        codeR[x] = CodeOf(p + Smooth(red.near[x], red.far[x]));
        codeG[x] = CodeOf(p + Smooth(green.near[x], green.far[x]));
        codeB[x] = CodeOf(p + Smooth(blue.near[x], blue.far[x]));
    }
}
ORV_ROW_FUNCTION(ColorCodes,
                 (RowPair pan, RowPair red, RowPair green, RowPair blue, int n, int16_t* codeR, int16_t* codeG,
                  int16_t* codeB),
                 (pan, red, green, blue, n, codeR, codeG, codeB))

// The detail of n pixels, at most kChunk, as gamma codes: from what the sharpener knows of them and their entries of
// its two tables.
struct DetailRow {
    const int16_t* fullPan;  // pan with its noise
    const int16_t* code;     // cleaned pan
    const int16_t* lowpass;  // its surroundings
    const int16_t* edge;     // its edge response
    const float* threshold;
    const float* restore;
};

ORV_ALWAYS_INLINE void DetailRowOfBody(const DetailRow& row, float maxSharpen, int n, int16_t* detail) {
    const DetailRow in = row;
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const float gain = SharpenGain(in.edge[x], in.threshold[x], maxSharpen);
        const float value = Fma(static_cast<float>(in.fullPan[x] - in.code[x]), in.restore[x],
                                static_cast<float>(in.code[x] - in.lowpass[x]) * gain);
        detail[x] = static_cast<int16_t>(TruncateClamped(value, 0.0F, 1023.0F));
    }
}

#if defined(__x86_64__)
// Lines are read and written in full vectors; what stands behind n does not count.

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256 FloatsOf(__m256i words, int half) {
    return _mm256_cvtepi32_ps(WidenHalf(words, half));
}

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void DetailRowOfBodyAvx2(const DetailRow& row, float maxSharpen, int n,
                                                           int16_t* detail) {
    const DetailRow in = row;
    const __m256 one = _mm256_set1_ps(1.0F), most = _mm256_set1_ps(maxSharpen), high = _mm256_set1_ps(1023.0F);
    for (int x = 0; x < n; x += 16) {
        const __m256i code = Words(in.code + x);
        const __m256i edge = Words(in.edge + x);
        const __m256i noise = _mm256_sub_epi16(Words(in.fullPan + x), code);
        const __m256i excess = _mm256_sub_epi16(code, Words(in.lowpass + x));
        __m256 value[2];
        for (int k = 0; k < 2; ++k) {
            const int at = x + 8 * k;
            const __m256 ratio = _mm256_div_ps(FloatsOf(edge, k), _mm256_load_ps(in.threshold + at));
            __m256 gain = _mm256_max_ps(_mm256_sub_ps(ratio, one), _mm256_setzero_ps());
            gain = _mm256_min_ps(most, gain);
            value[k] = _mm256_fmadd_ps(FloatsOf(noise, k), _mm256_load_ps(in.restore + at),
                                       _mm256_mul_ps(FloatsOf(excess, k), gain));
        }
        _mm256_store_si256(reinterpret_cast<__m256i*>(detail + x), PackInOrder(value[0], value[1], high));
    }
}
#endif

ORV_ROW_FUNCTION_TUNED(DetailRowOf, (const DetailRow& row, float maxSharpen, int n, int16_t* detail),
                       (row, maxSharpen, n, detail))

// Weighted sums 1-2-1 of codes two columns apart, on columns [2, n - 2).
ORV_ALWAYS_INLINE void SumAlongBody(const int16_t* code, int n, int16_t* sum) {
#pragma omp simd
    for (int x = 2; x < n - 2; ++x) {
        sum[x] = static_cast<int16_t>(code[x - 2] + 2 * code[x] + code[x + 2]);
    }
}
ORV_ROW_FUNCTION(SumAlong, (const int16_t* code, int n, int16_t* sum), (code, n, sum))

// Edge response on columns [1, n - 1): a cross and a diagonal one.
ORV_ALWAYS_INLINE void EdgeRowBody(const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* edge) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const auto cross = static_cast<int16_t>(down[x] + up[x] - (mid[x + 1] + mid[x - 1]));
        const auto diagonal = static_cast<int16_t>(down[x + 1] + up[x - 1] - (down[x - 1] + up[x + 1]));
        edge[x] = static_cast<int16_t>(static_cast<int16_t>(Abs(cross)) + static_cast<int16_t>(Abs(diagonal)));
    }
}
ORV_ROW_FUNCTION(EdgeRow, (const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* edge),
                 (up, mid, down, n, edge))

// Mean code of the surroundings, from three rows of sums.
ORV_ALWAYS_INLINE void LowpassRowBody(const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* low) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        low[x] = static_cast<int16_t>(static_cast<int16_t>(up[x] + 2 * mid[x] + down[x]) >> 4);
    }
}
ORV_ROW_FUNCTION(LowpassRow, (const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* low),
                 (up, mid, down, n, low))

ORV_ALWAYS_INLINE void BrightenRowBody(const int16_t* add, int n, int16_t* color) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        color[x] = Min(static_cast<int16_t>(color[x] + add[x]), static_cast<int16_t>(4095));
    }
}
ORV_ROW_FUNCTION(BrightenRow, (const int16_t* add, int n, int16_t* color), (add, n, color))

enum { kRed, kGreen, kBlue, kColors };

struct ColourLines {
    Lines<int32_t> chroma, green;     // the mosaic filled along rows
    int32_t* alternate;               // 0, -1, 0, -1 ...
    int32_t* low;                     // one half-size row of a colour
    Lines<int32_t> doubled[kColors];  // rows of double width
    Lines<int32_t> doubledPan;
    Lines<int16_t> code, sum;  // cleaned pan of full-size rows, and its sums along the row
    int16_t *edge, *lowpass;
    int16_t* out[kColors];

    ColourLines(int W, LineCutter* cutter) {
        const int n = W / 2;
        chroma = cutter->Ring<int32_t>(4, n);
        green = cutter->Ring<int32_t>(4, n);
        alternate = cutter->Line<int32_t>(n + 1);
        low = cutter->Line<int32_t>(n);
        for (Lines<int32_t>& ring : doubled) {
            ring = cutter->Ring<int32_t>(2, W);
        }
        doubledPan = cutter->Ring<int32_t>(4, W);
        code = cutter->Ring<int16_t>(8, W);
        sum = cutter->Ring<int16_t>(8, W);
        edge = cutter->Line<int16_t>(W);
        lowpass = cutter->Line<int16_t>(W);
        for (int16_t*& row : out) {
            row = cutter->Line<int16_t>(W);
        }
    }
};

class ColourStrip {
public:
    // Rows [y0, y1).
    ColourStrip(const ColourFrame& frame, int y0, int y1, LineCutter cutter, const ColourRowSink& sink)
        : frame_(frame),
          settings_(*frame.settings),
          sink_(sink),
          W_(frame.W),
          H_(frame.H),
          n_(frame.W / 2),
          rows_(frame.H / 2),
          y0_(y0),
          y1_(y1),
          lines_(W_, &cutter),
          color_(*frame.color, y0 / 2 - kHalo, y1 / 2 + kHalo, &cutter),
          pan_(*frame.pan, y0 / 2 - kHalo, y1 / 2 + kHalo, &cutter) {
        FillAlternate(n_ + 1, lines_.alternate);
    }

    void Run() const {
        const int i0 = y0_ / 2, i1 = y1_ / 2;
        const auto within = [this, i0, i1](int i, int halo) {
            return i >= std::max(0, i0 - halo) && i < std::min(rows_, i1 + halo);
        };
        // Rows 2i - 1 and 2i lie between rows i - 1 and i of the half-size planes. Colours follow one step behind pan,
        // since the sharpener looks two rows ahead.
        for (int t = i0 - kHalo - std::max(color_.Lead(), pan_.Lead()); t <= i1 + 1; ++t) {
            pan_.Step(t);
            if (!settings_.mono) {
                color_.Step(t);
            }
            if (within(t, kHalo)) {
                DoublePan(t);
                if (!settings_.mono) {
                    FillAlongRow(color_[t], t, n_, lines_.alternate, lines_.chroma[t], lines_.green[t]);
                }
            }
            if (within(t - 1, 1) && !settings_.mono) {
                DoubleColors(t - 1);
            }
            for (const int y : {2 * t - 1, 2 * t}) {
                if (settings_.sharpen && y >= std::max(0, y0_ - 2) && y < std::min(H_, y1_ + 2)) {
                    MakeCodes(y);
                }
            }
            for (const int y : {2 * t - 3, 2 * t - 2}) {
                if (y >= y0_ && y < y1_) {
                    Finish(y);
                }
            }
        }
    }

private:
    static constexpr int kHalo = 2;  // rows of the half-size planes on either side

    void DoublePan(int i) const {
        int32_t* row = lines_.low;
        std::copy(pan_[i], pan_[i] + n_, row);
        Double(row, lines_.doubledPan[i]);
    }
    // Sets the samples beside the row.
    void Double(int32_t* row, int32_t* out) const {
        row[-1] = row[0];
        row[n_] = row[n_ - 1];
        DoubleRow(row, n_, out);
    }

    // Neighbour rows; the one on the other side where one is missing.
    int Above(int i) const { return i == 0 ? 1 : i - 1; }
    int Below(int i) const { return i == rows_ - 1 ? i - 1 : i + 1; }

    void DoubleColors(int i) const {
        const bool odd = (i & 1) != 0;
        int32_t* row = lines_.low;
        Double(lines_.chroma[i], lines_.doubled[odd ? kRed : kBlue][i]);
        FillOtherChroma<int32_t>(lines_.chroma[Above(i)], lines_.chroma[Below(i)], n_, row);
        Double(row, lines_.doubled[odd ? kBlue : kRed][i]);
        FillGreen<int32_t>(lines_.green[Above(i)], lines_.green[i], lines_.green[Below(i)], i, i == 0 || i == rows_ - 1,
                           n_, lines_.alternate, row);
        Double(row, lines_.doubled[kGreen][i]);
    }

    // The rows of double width about row y of the frame.
    RowPair Between(const Lines<int32_t>& doubled, int y) const {
        const int i = y / 2;
        const int next = (y & 1) == 0 ? i - 1 : i + 1;
        return {doubled[i], doubled[std::clamp(next, 0, rows_ - 1)]};
    }

    void MakeCodes(int y) const {
        int16_t* code = lines_.code[y];
        int16_t* sum = lines_.sum[y];
        CodeRow(Between(lines_.doubledPan, y), W_, code);
        SumAlong(code, W_, sum);
        for (const int x : {0, 1, W_ - 2, W_ - 1}) {
            sum[x] = static_cast<int16_t>(4 * code[x]);
        }
    }

    void Finish(int y) const {
        ColorCorrection(y);
        if (settings_.sharpen) {
            Sharpness(y);
        }
        sink_.Row(y, lines_.out[kRed], lines_.out[kGreen], lines_.out[kBlue]);
    }

    void ColorCorrection(int y) const {
        RowPair pairs[kColors];
        for (int c = 0; c < kColors; ++c) {
            pairs[c] = settings_.mono ? RowPair() : Between(lines_.doubled[c], y);
        }
        const RowPair pan = Between(lines_.doubledPan, y);
        int16_t codes[kColors][kChunk];
        alignas(32) float linear[kColors][kChunk];
        const auto from = [](RowPair pair, int x) { return RowPair{pair.near + x, pair.far + x}; };
        for (int x = 0; x < W_; x += kChunk) {
            const int n = std::min(kChunk, W_ - x);
            if (settings_.mono) {
                CodeRow(from(pan, x), n, codes[0]);
            } else {
                ColorCodes(from(pan, x), from(pairs[kRed], x), from(pairs[kGreen], x), from(pairs[kBlue], x), n,
                           codes[kRed], codes[kGreen], codes[kBlue]);
            }
            for (int c = 0; c < kColors; ++c) {
                const int16_t* code = codes[settings_.mono ? 0 : c];
                LookUp(settings_.linear, code, n, linear[c]);
            }
            for (int c = 0; c < kColors; ++c) {
                MixRow(linear[kRed], linear[kGreen], linear[kBlue], settings_.matrix + 3 * c, n, lines_.out[c] + x);
            }
        }
    }

    void Sharpness(int y) const {
        const int16_t* code = lines_.code[y];
        if (y == 0 || y == H_ - 1) {
            for (int x = 0; x < W_; ++x) {
                lines_.edge[x] = static_cast<int16_t>(2 * code[x]);
            }
        } else {
            EdgeRow(lines_.code[y - 1], code, lines_.code[y + 1], W_, lines_.edge);
            for (const int x : {0, W_ - 1}) {
                lines_.edge[x] = static_cast<int16_t>(2 * code[x]);
            }
        }
        const bool rim = y < 2 || y >= H_ - 2;
        LowpassRow(lines_.sum[rim ? y : y - 2], lines_.sum[y], lines_.sum[rim ? y : y + 2], W_, lines_.lowpass);
        const int16_t* fullPan = frame_.fullPan[y];
        alignas(32) float threshold[kChunk], restore[kChunk];
        alignas(32) int16_t detail[kChunk], add[kChunk];
        for (int x = 0; x < W_; x += kChunk) {
            const int n = std::min(kChunk, W_ - x);
            LookUp(settings_.sharpening.threshold, lines_.lowpass + x, n, threshold);
            LookUp(settings_.sharpening.noiseRestore, code + x, n, restore);
            const DetailRow row = {fullPan + x, code + x, lines_.lowpass + x, lines_.edge + x, threshold, restore};
            DetailRowOf(row, settings_.maxSharpen, n, detail);
            LookUp(settings_.linear16, detail, n, add);
            for (int16_t* out : lines_.out) {
                BrightenRow(add, n, out + x);
            }
        }
    }

    const ColourFrame& frame_;
    const KodakLikeSettings& settings_;
    const ColourRowSink& sink_;
    const int W_, H_;
    const int n_, rows_;  // of the half-size planes
    const int y0_, y1_;
    const ColourLines lines_;
    const CleanRows color_, pan_;
};

}  // namespace

size_t ColourStripScratchBytes(int W) {
    LineCutter cutter(nullptr);
    const ColourLines lines(W, &cutter);
    CleanRows::CutMost(W / 2, &cutter);
    CleanRows::CutMost(W / 2, &cutter);
    return cutter.Bytes();
}

void MakeColourStrip(const ColourFrame& frame, int y0, int y1, void* scratch, const ColourRowSink& sink) {
    ColourStrip(frame, y0, y1, LineCutter(scratch), sink).Run();
}

}  // namespace orv
