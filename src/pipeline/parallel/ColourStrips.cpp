#include "pipeline/parallel/ColourStrips.h"

#include <algorithm>

#include "pipeline/parallel/ColourRows.h"
#include "pipeline/parallel/SharpenRows.h"
#include "truesense/DifferenceRows.h"
#include "truesense/MixRow.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

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
template <class Form>
ColourPlan PlanOf(const ColourFrame<Form>& frame) {
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

template <class Lane>
struct ColourLines {
    Lines<Lane> chroma, green;     // the mosaic filled, or summed up, along rows
    int32_t* alternate;            // 0, -1, 0, -1 ...
    Lane* low;                     // one half-size row of a colour
    Lines<Lane> doubled[kColors];  // rows of double width
    Lines<Lane> doubledPan;
    Lines<int16_t> clean, sum;  // cleaned pan of full-size rows as it is sharpened, and its sums along the row
    int16_t *edge, *lowpass;
    int16_t* out[kColors];

    ColourLines(int W, const ColourPlan& plan, LineCutter* cutter) {
        const int n = W / 2;
        chroma = cutter->Ring<Lane>(plan.RingRows(kFill), n);
        green = cutter->Ring<Lane>(plan.RingRows(kFill), n);
        alternate = cutter->Line<int32_t>(n + 1);
        low = cutter->Line<Lane>(n);
        for (Lines<Lane>& ring : doubled) {
            ring = cutter->Ring<Lane>(plan.RingRows(kComplete), W);
        }
        doubledPan = cutter->Ring<Lane>(plan.RingRows(kDoublePan), W);
        clean = cutter->Ring<int16_t>(plan.RingRows(kCodes), W);
        sum = cutter->Ring<int16_t>(plan.RingRows(kCodes), W);
        edge = cutter->Line<int16_t>(W);
        lowpass = cutter->Line<int16_t>(W);
        for (int16_t*& row : out) {
            row = cutter->Line<int16_t>(W);
        }
    }
};

template <class Form>
class ColourStrip {
    using Lane = typename Form::Lane;

public:
    // With a cutter made on null it only counts.
    ColourStrip(const ColourFrame<Form>& frame, LineCutter* cutter)
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
                FillAlong(i, lines_.chroma.Make(i), lines_.green.Make(i));
            }
        };
        const auto complete = [this, color](int i) {
            if (color) {
                DoubleColors(i);
            }
        };
        const auto codes = [this](int y) {
            if (settings_.sharpen) {
                MakeClean(y, lines_.clean.Make(y), lines_.sum.Make(y));
            }
        };
        RunStages(
            plan_, y0 / 2, y1 / 2, rows_, cleanColor(0), cleanColor(1), cleanColor(2), cleanPan(0), cleanPan(1),
            cleanPan(2), [this](int i) { DoublePan(i); }, fill, complete, codes,
            [this, &sink](int y) { Finish(y, sink); });
    }

private:
    void DoublePan(int i) const {
        ToLanes<Form, Lane>(pan_[i], n_, lines_.low);
        Double(lines_.low, lines_.doubledPan.Make(i));
    }
    // Sets the samples beside the row.
    void Double(Lane* row, Lane* out) const {
        row[-1] = row[0];
        row[n_] = row[n_ - 1];
        DoubleAlong<Form, Lane>(row, n_, out);
    }

    bool Rim(int i) const { return i == 0 || i == rows_ - 1; }
    // Neighbour rows; the one on the other side where one is missing.
    int Above(int i) const { return i == 0 ? 1 : i - 1; }
    int Below(int i) const { return i == rows_ - 1 ? i - 1 : i + 1; }

    // One row of the mosaic of differences along itself: the one of red and blue that it has, and green.
    void FillAlong(int i, Lane* chroma, Lane* green) const;
    // The colours of a row from the rows that this has made: the chroma of the row, the other one, green.
    Lane* CompleteOwn(int i) const;
    Lane* CompleteOther(int i) const;
    Lane* CompleteGreen(int i) const;

    void DoubleColors(int i) const {
        const bool odd = (i & 1) != 0;
        Double(CompleteOwn(i), lines_.doubled[odd ? kRed : kBlue].Make(i));
        Double(CompleteOther(i), lines_.doubled[odd ? kBlue : kRed].Make(i));
        Double(CompleteGreen(i), lines_.doubled[kGreen].Make(i));
    }

    // The rows of double width about row y of the frame; of even rows the far one lies above.
    RowPair<Lane> Between(const Lines<Lane>& doubled, int y) const {
        const int i = y / 2;
        const int next = (y & 1) == 0 ? i - 1 : i + 1;
        return {doubled[i], doubled[std::clamp(next, 0, rows_ - 1)]};
    }
    void PanCodes(int y, RowPair<Lane> pan, int n, int16_t* code) const {
        if ((y & 1) == 0) {
            CodesOfPanUp<Form, true>(pan, n, code);
        } else {
            CodesOfPanUp<Form, false>(pan, n, code);
        }
    }

    // Cleaned pan of a row in the values that are sharpened.
    void ToSharpened(int16_t* code) const;

    void MakeClean(int y, int16_t* clean, int16_t* sum) const {
        PanCodes(y, Between(lines_.doubledPan, y), W_, clean);
        ToSharpened(clean);
        SumAlong(clean, W_, sum);
        for (const int x : {0, 1, W_ - 2, W_ - 1}) {
            sum[x] = static_cast<int16_t>(4 * clean[x]);
        }
    }

    void Finish(int y, const ColourRowSink& sink) const {
        ColorCorrection(y);
        if (settings_.sharpen) {
            MeasureEdges(y);
            Sharpness(y);
        }
        sink.Row(y, lines_.out[kRed], lines_.out[kGreen], lines_.out[kBlue]);
    }

    void ColorCorrection(int y) const {
        RowPair<Lane> pairs[kColors] = {};
        for (int c = 0; c < kColors && !settings_.mono; ++c) {
            pairs[c] = Between(lines_.doubled[c], y);
        }
        const RowPair<Lane> pan = Between(lines_.doubledPan, y);
        int16_t codes[kColors][kPixelsAtOnce];
        alignas(32) float linear[kColors][kPixelsAtOnce];
        for (int x = 0; x < W_; x += kPixelsAtOnce) {
            const int n = std::min(kPixelsAtOnce, W_ - x);
            const RowPair<Lane> diffs[kColors] = {pairs[kRed].From(x), pairs[kGreen].From(x), pairs[kBlue].From(x)};
            if (settings_.mono) {
                PanCodes(y, pan.From(x), n, codes[0]);
            } else if ((y & 1) == 0) {
                CodesOfColours<Form, true>(pan.From(x), diffs, n, codes);
            } else {
                CodesOfColours<Form, false>(pan.From(x), diffs, n, codes);
            }
            for (int c = 0; c < kColors; ++c) {
                LookUp(settings_.linear, codes[settings_.mono ? 0 : c], n, linear[c]);
            }
            for (int c = 0; c < kColors; ++c) {
                MixRow(linear[kRed], linear[kGreen], linear[kBlue], settings_.matrix + 3 * c, n, lines_.out[c] + x);
            }
        }
    }

    // Edge response and surroundings of a row of cleaned pan. In the outer ring the values stand for both responses.
    void MeasureEdges(int y) const {
        const int16_t* clean = lines_.clean[y];
        if (y == 0 || y == H_ - 1) {
            for (int x = 0; x < W_; ++x) {
                lines_.edge[x] = static_cast<int16_t>(2 * clean[x]);
            }
        } else {
            EdgeResponse(lines_.clean[y - 1], clean, lines_.clean[y + 1], W_, lines_.edge);
            for (const int x : {0, W_ - 1}) {
                lines_.edge[x] = static_cast<int16_t>(2 * clean[x]);
            }
        }
        const bool rim = y < 2 || y >= H_ - 2;
        LowpassOfSums(lines_.sum[rim ? y : y - 2], lines_.sum[y], lines_.sum[rim ? y : y + 2], W_, lines_.lowpass);
    }
    void Sharpness(int y) const;

    const ColourFrame<Form>& frame_;
    const typename Form::Settings& settings_;
    const int W_, H_;
    const int n_, rows_;  // of the half-size planes
    const ColourPlan plan_;
    const ColourLines<Lane> lines_;
    const CleanRows color_, pan_;
};

// The mosaic filled from nearest neighbours.

template <>
void ColourStrip<ParallelForm>::FillAlong(int i, int32_t* chroma, int32_t* green) const {
    FillAlongRow(color_[i], i, n_, lines_.alternate, chroma, green);
}
template <>
int32_t* ColourStrip<ParallelForm>::CompleteOwn(int i) const {
    return lines_.chroma[i];
}
template <>
int32_t* ColourStrip<ParallelForm>::CompleteOther(int i) const {
    FillOtherChroma<int32_t>(lines_.chroma[Above(i)], lines_.chroma[Below(i)], n_, lines_.low);
    return lines_.low;
}
template <>
int32_t* ColourStrip<ParallelForm>::CompleteGreen(int i) const {
    FillGreen<int32_t>(lines_.green[Above(i)], lines_.green[i], lines_.green[Below(i)], i, Rim(i), n_, lines_.alternate,
                       lines_.low);
    return lines_.low;
}

// The mosaic summed up and divided by the density. The outer ring is not summed up, but divided.

template <>
void ColourStrip<ReferenceForm>::FillAlong(int i, float* chroma, float* green) const {
    const int32_t* mosaic = color_[i];
    const int last = n_ - 1;
    SumAlongRow(mosaic, lines_.alternate + (i & 1), n_, chroma, green);
    const bool odd = (i & 1) != 0;
    chroma[0] = odd ? 0.0F : static_cast<float>(mosaic[0]);
    green[0] = odd ? static_cast<float>(mosaic[0]) : 0.0F;
    chroma[last] = odd ? static_cast<float>(mosaic[last]) : 0.0F;
    green[last] = odd ? 0.0F : static_cast<float>(mosaic[last]);
}
template <>
float* ColourStrip<ReferenceForm>::CompleteOwn(int i) const {
    float* low = lines_.low;
    ShareOfRow(lines_.chroma[i], Rim(i) ? 0.25F : 0.5F, n_, low);
    return low;
}
template <>
float* ColourStrip<ReferenceForm>::CompleteOther(int i) const {
    float* low = lines_.low;
    if (Rim(i)) {
        std::fill(low, low + n_, 0.0F);
    } else {
        QuarterOfRows(lines_.chroma[i - 1], lines_.chroma[i + 1], n_, low);
    }
    return low;
}
template <>
float* ColourStrip<ReferenceForm>::CompleteGreen(int i) const {
    float* low = lines_.low;
    if (Rim(i)) {
        ShareOfRow(lines_.green[i], 0.125F, n_, low);
    } else {
        EighthOfRows(lines_.green[i - 1], lines_.green[i], lines_.green[i + 1], n_, low);
    }
    return low;
}

// Sharpening in gamma codes, which only brightens, and adds in L12.

template <>
void ColourStrip<ParallelForm>::ToSharpened(int16_t*) const {}

template <>
void ColourStrip<ParallelForm>::Sharpness(int y) const {
    const int16_t* clean = lines_.clean[y];
    const int16_t* noisy = frame_.fullPan[y];
    alignas(32) float threshold[kPixelsAtOnce], restore[kPixelsAtOnce];
    alignas(32) int16_t detail[kPixelsAtOnce], add[kPixelsAtOnce];
    for (int x = 0; x < W_; x += kPixelsAtOnce) {
        const int n = std::min(kPixelsAtOnce, W_ - x);
        LookUp(settings_.sharpening.threshold, lines_.lowpass + x, n, threshold);
        LookUp(settings_.sharpening.noiseRestore, clean + x, n, restore);
        DetailCodes({noisy + x, clean + x, lines_.lowpass + x, lines_.edge + x, threshold, restore},
                    settings_.maxSharpen, n, detail);
        LookUp(settings_.linear16, detail, n, add);
        for (int16_t* out : lines_.out) {
            BrightenRow(add, n, out + x);
        }
    }
}

// Tones of 8 bits and their sharpening.

template <>
void ColourStrip<ReferenceForm>::ToSharpened(int16_t* code) const {
    LookUp(settings_.toneOfCode, code, W_, code);
}

template <>
void ColourStrip<ReferenceForm>::Sharpness(int y) const {
    const int16_t* clean = lines_.clean[y];
    alignas(32) float threshold[kPixelsAtOnce], restore[kPixelsAtOnce];
    for (int x = 0; x < W_; x += kPixelsAtOnce) {
        const int n = std::min(kPixelsAtOnce, W_ - x);
        int16_t* const tones[kColors] = {lines_.out[kRed] + x, lines_.out[kGreen] + x, lines_.out[kBlue] + x};
        for (int16_t* tone : tones) {
            LookUp(settings_.tone, tone, n, tone);
        }
        LookUp(settings_.sharpening.threshold, lines_.lowpass + x, n, threshold);
        LookUp(settings_.sharpening.noiseRestore, clean + x, n, restore);
        AddDetail({frame_.fullPan[y] + x, clean + x, lines_.lowpass + x, lines_.edge + x, threshold, restore},
                  settings_.maxSharpen, n, tones);
    }
}

}  // namespace

template <class Form>
size_t ColourStripScratchBytes(const ColourFrame<Form>& frame) {
    LineCutter cutter(nullptr);
    const ColourStrip<Form> strip(frame, &cutter);
    return cutter.Bytes();
}

template <class Form>
void MakeColourStrip(const ColourFrame<Form>& frame, int y0, int y1, void* scratch, const ColourRowSink& sink) {
    LineCutter cutter(scratch);
    ColourStrip<Form>(frame, &cutter).Run(y0, y1, sink);
}

#define ORV_COLOUR_STRIPS(Form)                                        \
    template size_t ColourStripScratchBytes(const ColourFrame<Form>&); \
    template void MakeColourStrip(const ColourFrame<Form>&, int, int, void*, const ColourRowSink&);
ORV_COLOUR_STRIPS(ParallelForm)
ORV_COLOUR_STRIPS(ReferenceForm)
#undef ORV_COLOUR_STRIPS

}  // namespace orv
