#include "pipeline/parallel/ColourStrips.h"

#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "rows/Avx2.h"
#include "truesense/DifferenceRows.h"
#include "truesense/MixRow.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

ORV_ALWAYS_INLINE int32_t Smooth(int32_t near, int32_t far) { return (3 * near + far) >> 2; }

// Twice the samples along the row. Reads one sample on either side.
ORV_ALWAYS_INLINE void DoubleAlongBody(const int32_t* low, int n, int32_t* out) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out[2 * x] = Smooth(low[x], low[x - 1]);
        out[2 * x + 1] = Smooth(low[x], low[x + 1]);
    }
}
ORV_ROW_FUNCTION(DoubleAlong, (const int32_t* low, int n, int32_t* out), (low, n, out))

constexpr int kPixelsAtOnce = 512;  // pixels that a row function takes through its local lines at a time

// The rows of double width that a row lies between: of its own block, and the next beyond it.
struct RowPair {
    const int32_t* near;
    const int32_t* far;
};

// Cleaned pan of one row as gamma codes.
ORV_ALWAYS_INLINE void CodesOfPanUpBody(RowPair pan, int n, int16_t* code) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        code[x] = static_cast<int16_t>(Smooth(pan.near[x], pan.far[x]) >> 16);
    }
}
ORV_ROW_FUNCTION(CodesOfPanUp, (RowPair pan, int n, int16_t* code), (pan, n, code))

// Gamma codes of the three colours: pan and difference; n at most kPixelsAtOnce.
ORV_ALWAYS_INLINE void CodesOfColoursBody(RowPair pan, RowPair red, RowPair green, RowPair blue, int n, int16_t* codeR,
                                          int16_t* codeG, int16_t* codeB) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const int32_t p = Smooth(pan.near[x], pan.far[x]);
        codeR[x] = CodeOf(p + Smooth(red.near[x], red.far[x]));
        codeG[x] = CodeOf(p + Smooth(green.near[x], green.far[x]));
        codeB[x] = CodeOf(p + Smooth(blue.near[x], blue.far[x]));
    }
}
ORV_ROW_FUNCTION(CodesOfColours,
                 (RowPair pan, RowPair red, RowPair green, RowPair blue, int n, int16_t* codeR, int16_t* codeG,
                  int16_t* codeB),
                 (pan, red, green, blue, n, codeR, codeG, codeB))

// The detail of n pixels, at most kPixelsAtOnce, as gamma codes: from what the sharpener knows of them and their
// entries of its two tables.
struct DetailSources {
    const int16_t* fullPan;  // pan with its noise
    const int16_t* code;     // cleaned pan
    const int16_t* lowpass;  // its surroundings
    const int16_t* edge;     // its edge response
    const float* threshold;
    const float* restore;
};

ORV_ALWAYS_INLINE void MakeDetailBody(const DetailSources& row, float maxSharpen, int n, int16_t* detail) {
    const DetailSources in = row;
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

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void MakeDetailBodyAvx2(const DetailSources& row, float maxSharpen, int n,
                                                          int16_t* detail) {
    const DetailSources in = row;
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

ORV_ROW_FUNCTION_TUNED(MakeDetail, (const DetailSources& row, float maxSharpen, int n, int16_t* detail),
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
ORV_ALWAYS_INLINE void EdgeResponseBody(const int16_t* up, const int16_t* mid, const int16_t* down, int n,
                                        int16_t* edge) {
#pragma omp simd
    for (int x = 1; x < n - 1; ++x) {
        const auto cross = static_cast<int16_t>(down[x] + up[x] - (mid[x + 1] + mid[x - 1]));
        const auto diagonal = static_cast<int16_t>(down[x + 1] + up[x - 1] - (down[x - 1] + up[x + 1]));
        edge[x] = static_cast<int16_t>(static_cast<int16_t>(Abs(cross)) + static_cast<int16_t>(Abs(diagonal)));
    }
}
ORV_ROW_FUNCTION(EdgeResponse, (const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* edge),
                 (up, mid, down, n, edge))

// Mean code of the surroundings, from three rows of sums.
ORV_ALWAYS_INLINE void LowpassOfSumsBody(const int16_t* up, const int16_t* mid, const int16_t* down, int n,
                                         int16_t* low) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        low[x] = static_cast<int16_t>(static_cast<int16_t>(up[x] + 2 * mid[x] + down[x]) >> 4);
    }
}
ORV_ROW_FUNCTION(LowpassOfSums, (const int16_t* up, const int16_t* mid, const int16_t* down, int n, int16_t* low),
                 (up, mid, down, n, low))

ORV_ALWAYS_INLINE void BrightenRowBody(const int16_t* add, int n, int16_t* color) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        color[x] = Min(static_cast<int16_t>(color[x] + add[x]), static_cast<int16_t>(4095));
    }
}
ORV_ROW_FUNCTION(BrightenRow, (const int16_t* add, int n, int16_t* color), (add, n, color))

enum { kRed, kGreen, kBlue, kColors };

// A step is a row of the half-size planes.
enum Stage {
    kCleanColor,
    kCleanPan = kCleanColor + kCleanStages,
    kDoublePan = kCleanPan + kCleanStages,
    kFill,
    kComplete,
    kCodes,
    kFinish,
    kStages
};
using ColourPlan = StripPlan<kStages>;
ColourPlan PlanOf(const ColourFrame& frame) {
    const auto color = [&](int stage) { return CleanStage(*frame.color, kCleanColor, stage); };
    const auto pan = [&](int stage) { return CleanStage(*frame.pan, kCleanPan, stage); };
    constexpr int kCleanedColor = kCleanPan - 1, kCleanedPan = kDoublePan - 1;
    return ColourPlan({
        color(0),
        color(1),
        color(2),
        pan(0),
        pan(1),
        pan(2),
        {1, {{kCleanedPan, 0}}},
        {1, {{kCleanedColor, 0}}},
        {1, {{kFill, 1}}},
        {2, {{kDoublePan, 1}}},
        {2, {{kDoublePan, 1}, {kComplete, 1}, {kCodes, frame.settings->sharpen ? 2 : 0}}},
    });
}

struct ColourLines {
    Lines<int32_t> chroma, green;     // the mosaic filled along rows
    int32_t* alternate;               // 0, -1, 0, -1 ...
    int32_t* low;                     // one half-size row of a colour
    Lines<int32_t> doubled[kColors];  // rows of double width
    Lines<int32_t> doubledPan;
    Lines<int16_t> code, sum;  // cleaned pan of full-size rows, and its sums along the row
    int16_t *edge, *lowpass;
    int16_t* out[kColors];

    ColourLines(int W, const ColourPlan& plan, LineCutter* cutter) {
        const int n = W / 2;
        chroma = cutter->Ring<int32_t>(plan.RingRows(kFill), n);
        green = cutter->Ring<int32_t>(plan.RingRows(kFill), n);
        alternate = cutter->Line<int32_t>(n + 1);
        low = cutter->Line<int32_t>(n);
        for (Lines<int32_t>& ring : doubled) {
            ring = cutter->Ring<int32_t>(plan.RingRows(kComplete), W);
        }
        doubledPan = cutter->Ring<int32_t>(plan.RingRows(kDoublePan), W);
        code = cutter->Ring<int16_t>(plan.RingRows(kCodes), W);
        sum = cutter->Ring<int16_t>(plan.RingRows(kCodes), W);
        edge = cutter->Line<int16_t>(W);
        lowpass = cutter->Line<int16_t>(W);
        for (int16_t*& row : out) {
            row = cutter->Line<int16_t>(W);
        }
    }
};

class ColourStrip {
public:
    // With a cutter made on null it only counts.
    ColourStrip(const ColourFrame& frame, LineCutter* cutter)
        : frame_(frame),
          settings_(*frame.settings),
          W_(frame.W),
          H_(frame.H),
          n_(frame.W / 2),
          rows_(frame.H / 2),
          plan_(PlanOf(frame)),
          lines_(W_, plan_, cutter),
          color_(*frame.color, plan_, kCleanColor, cutter),
          pan_(*frame.pan, plan_, kCleanPan, cutter) {}

    // Rows [y0, y1).
    void Run(int y0, int y1, const ColourRowSink& sink) const {
        FillAlternate(n_ + 1, lines_.alternate);
        const bool color = !settings_.mono;
        const auto cleanColor = [this, color](int stage) {
            return [this, color, stage](int i) {
                if (color) {
                    color_.Make(stage, i);
                }
            };
        };
        const auto cleanPan = [this](int stage) { return [this, stage](int i) { pan_.Make(stage, i); }; };
        const auto fill = [this, color](int i) {
            if (color) {
                FillAlongRow(color_[i], i, n_, lines_.alternate, lines_.chroma.Make(i), lines_.green.Make(i));
            }
        };
        const auto complete = [this, color](int i) {
            if (color) {
                DoubleColors(i);
            }
        };
        const auto codes = [this](int y) {
            if (settings_.sharpen) {
                MakeCodes(y);
            }
        };
        RunStages(
            plan_, y0 / 2, y1 / 2, rows_, cleanColor(0), cleanColor(1), cleanColor(2), cleanPan(0), cleanPan(1),
            cleanPan(2), [this](int i) { DoublePan(i); }, fill, complete, codes,
            [this, &sink](int y) { Finish(y, sink); });
    }

private:
    void DoublePan(int i) const {
        int32_t* row = lines_.low;
        std::copy(pan_[i], pan_[i] + n_, row);
        Double(row, lines_.doubledPan.Make(i));
    }
    // Sets the samples beside the row.
    void Double(int32_t* row, int32_t* out) const {
        row[-1] = row[0];
        row[n_] = row[n_ - 1];
        DoubleAlong(row, n_, out);
    }

    // Neighbour rows; the one on the other side where one is missing.
    int Above(int i) const { return i == 0 ? 1 : i - 1; }
    int Below(int i) const { return i == rows_ - 1 ? i - 1 : i + 1; }

    void DoubleColors(int i) const {
        const bool odd = (i & 1) != 0;
        int32_t* row = lines_.low;
        Double(lines_.chroma[i], lines_.doubled[odd ? kRed : kBlue].Make(i));
        FillOtherChroma<int32_t>(lines_.chroma[Above(i)], lines_.chroma[Below(i)], n_, row);
        Double(row, lines_.doubled[odd ? kBlue : kRed].Make(i));
        FillGreen<int32_t>(lines_.green[Above(i)], lines_.green[i], lines_.green[Below(i)], i, i == 0 || i == rows_ - 1,
                           n_, lines_.alternate, row);
        Double(row, lines_.doubled[kGreen].Make(i));
    }

    // The rows of double width about row y of the frame.
    RowPair Between(const Lines<int32_t>& doubled, int y) const {
        const int i = y / 2;
        const int next = (y & 1) == 0 ? i - 1 : i + 1;
        return {doubled[i], doubled[std::clamp(next, 0, rows_ - 1)]};
    }

    void MakeCodes(int y) const {
        int16_t* code = lines_.code.Make(y);
        int16_t* sum = lines_.sum.Make(y);
        CodesOfPanUp(Between(lines_.doubledPan, y), W_, code);
        SumAlong(code, W_, sum);
        for (const int x : {0, 1, W_ - 2, W_ - 1}) {
            sum[x] = static_cast<int16_t>(4 * code[x]);
        }
    }

    void Finish(int y, const ColourRowSink& sink) const {
        ColorCorrection(y);
        if (settings_.sharpen) {
            Sharpness(y);
        }
        sink.Row(y, lines_.out[kRed], lines_.out[kGreen], lines_.out[kBlue]);
    }

    void ColorCorrection(int y) const {
        RowPair pairs[kColors];
        for (int c = 0; c < kColors; ++c) {
            pairs[c] = settings_.mono ? RowPair() : Between(lines_.doubled[c], y);
        }
        const RowPair pan = Between(lines_.doubledPan, y);
        int16_t codes[kColors][kPixelsAtOnce];
        alignas(32) float linear[kColors][kPixelsAtOnce];
        const auto from = [](RowPair pair, int x) { return RowPair{pair.near + x, pair.far + x}; };
        for (int x = 0; x < W_; x += kPixelsAtOnce) {
            const int n = std::min(kPixelsAtOnce, W_ - x);
            if (settings_.mono) {
                CodesOfPanUp(from(pan, x), n, codes[0]);
            } else {
                CodesOfColours(from(pan, x), from(pairs[kRed], x), from(pairs[kGreen], x), from(pairs[kBlue], x), n,
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
            EdgeResponse(lines_.code[y - 1], code, lines_.code[y + 1], W_, lines_.edge);
            for (const int x : {0, W_ - 1}) {
                lines_.edge[x] = static_cast<int16_t>(2 * code[x]);
            }
        }
        const bool rim = y < 2 || y >= H_ - 2;
        LowpassOfSums(lines_.sum[rim ? y : y - 2], lines_.sum[y], lines_.sum[rim ? y : y + 2], W_, lines_.lowpass);
        const int16_t* fullPan = frame_.fullPan[y];
        alignas(32) float threshold[kPixelsAtOnce], restore[kPixelsAtOnce];
        alignas(32) int16_t detail[kPixelsAtOnce], add[kPixelsAtOnce];
        for (int x = 0; x < W_; x += kPixelsAtOnce) {
            const int n = std::min(kPixelsAtOnce, W_ - x);
            LookUp(settings_.sharpening.threshold, lines_.lowpass + x, n, threshold);
            LookUp(settings_.sharpening.noiseRestore, code + x, n, restore);
            const DetailSources row = {fullPan + x, code + x, lines_.lowpass + x, lines_.edge + x, threshold, restore};
            MakeDetail(row, settings_.maxSharpen, n, detail);
            LookUp(settings_.linear16, detail, n, add);
            for (int16_t* out : lines_.out) {
                BrightenRow(add, n, out + x);
            }
        }
    }

    const ColourFrame& frame_;
    const KodakLikeSettings& settings_;
    const int W_, H_;
    const int n_, rows_;  // of the half-size planes
    const ColourPlan plan_;
    const ColourLines lines_;
    const CleanRows color_, pan_;
};

}  // namespace

size_t ColourStripScratchBytes(const ColourFrame& frame) {
    LineCutter cutter(nullptr);
    const ColourStrip strip(frame, &cutter);
    return cutter.Bytes();
}

void MakeColourStrip(const ColourFrame& frame, int y0, int y1, void* scratch, const ColourRowSink& sink) {
    LineCutter cutter(scratch);
    ColourStrip(frame, &cutter).Run(y0, y1, sink);
}

}  // namespace orv
