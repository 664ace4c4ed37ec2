#include "pipeline/parallel/PanStrips.h"

#include <algorithm>

#include "pipeline/Arithmetic.h"
#include "pipeline/parallel/PanBlend.h"
#include "rows/StripStages.h"
#include "truesense/ClipRow.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

// `row` of 2n samples to its pan and colour sites through tables of 12-bit samples, the colour sites by two that
// alternate.
void SplitBalancedRow(const int16_t* row, int n, int panColumn, const int16_t* panTable, const int16_t* const* tables,
                      int16_t* pan, int16_t* color) {
    const int16_t* first = tables[0];
    const int16_t* second = tables[1];
    for (int x = 0; x < n; x += 2) {
        const int16_t* site = row + 2 * x;
        pan[x] = panTable[site[panColumn]];
        pan[x + 1] = panTable[site[2 + panColumn]];
        color[x] = first[site[1 - panColumn]];
        color[x + 1] = second[site[3 - panColumn]];
    }
}

// Samples of one row's pan or colour sites through the front end, `even` and `odd` the factors of its lanes.
template <class Form>
ORV_ALWAYS_INLINE void BalanceLanesBody(const FrontEnd& frontEnd, double even, double odd, int n, int16_t* samples) {
    const FrontEnd steps = frontEnd;
    for (int x = 0; x < n; ++x) {
        samples[x] = Form::Balanced(steps, samples[x], (x & 1) == 0 ? even : odd);
    }
}
ORV_ROW_TEMPLATE((class Form), (Form), BalanceLanes,
                 (const FrontEnd& frontEnd, double even, double odd, int n, int16_t* samples),
                 (frontEnd, even, odd, n, samples))

constexpr int kCellsAtOnce = 256;  // cells that a row function takes through its local lines at a time

// The samples of one row of cells.
struct CellRow {
    const int16_t* a;
    const int16_t* b;
    const int16_t* panEven;  // estimates at the colour sites
    const int16_t* panOdd;
    const int16_t* colorEven;
    const int16_t* colorOdd;
};

// Places in the gamma table: of the four pan values of the cells, row by row, and of the means of colour and pan.
// Side by side, so that one register finds them all.
struct Places {
    int16_t pan[4][kCellsAtOnce];
    int16_t colorMean[kCellsAtOnce], panMean[kCellsAtOnce];
};

// Measured samples are taken into the table whatever they are; n at most kCellsAtOnce.
ORV_ALWAYS_INLINE void GammaPlacesBody(const CellRow& cells, int n, Places* places) {
    const CellRow in = cells;
    Places& out = *places;
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        out.pan[0][x] = static_cast<int16_t>(Clamp(in.a[x], 0, 4095));
        out.pan[1][x] = in.panEven[x];
        out.pan[2][x] = in.panOdd[x];
        out.pan[3][x] = static_cast<int16_t>(Clamp(in.b[x], 0, 4095));
        out.colorMean[x] = static_cast<int16_t>(Clamp((in.colorEven[x] + in.colorOdd[x] + 1) / 2, 0, 4095));
        out.panMean[x] = static_cast<int16_t>((in.panEven[x] + in.panOdd[x] + 1) / 2);
    }
}
ORV_ROW_FUNCTION(GammaPlaces, (const CellRow& cells, int n, Places* places), (cells, n, places))

// Results of one row of cells; the two rows of `full` are null where none is wanted.
template <class Form>
struct CellResults {
    int16_t* panSum;
    int16_t* colorDiff;
    typename Form::FullPan* fullEven;
    typename Form::FullPan* fullOdd;
};

template <class Form>
void MakeCellResults(CellRow cells, const typename Form::Settings& settings, int n, CellResults<Form> out) {
    const int16_t* gamma = settings.gamma;
    Places places;
    for (int start = 0; start < n; start += kCellsAtOnce) {
        const int count = std::min(kCellsAtOnce, n - start);
        const CellRow in = {cells.a + start,      cells.b + start,         cells.panEven + start,
                            cells.panOdd + start, cells.colorEven + start, cells.colorOdd + start};
        GammaPlaces(in, count, &places);
        int16_t* sum = out.panSum + start;
        int16_t* diff = out.colorDiff + start;
        if (out.fullEven == nullptr) {
            for (int x = 0; x < count; ++x) {
                sum[x] = static_cast<int16_t>(gamma[places.pan[0][x]] + gamma[places.pan[1][x]] +
                                              gamma[places.pan[2][x]] + gamma[places.pan[3][x]]);
                diff[x] = static_cast<int16_t>(gamma[places.colorMean[x]] - gamma[places.panMean[x]]);
            }
            continue;
        }
        typename Form::FullPan* even = out.fullEven + 2 * start;
        typename Form::FullPan* odd = out.fullOdd + 2 * start;
        for (int x = 0; x < count; ++x) {
            const int16_t pan[4] = {places.pan[0][x], places.pan[1][x], places.pan[2][x], places.pan[3][x]};
            const int16_t codes[4] = {gamma[pan[0]], gamma[pan[1]], gamma[pan[2]], gamma[pan[3]]};
            even[2 * x] = Form::NoisyPan(settings, pan[0], codes[0]);
            even[2 * x + 1] = Form::NoisyPan(settings, pan[1], codes[1]);
            odd[2 * x] = Form::NoisyPan(settings, pan[2], codes[2]);
            odd[2 * x + 1] = Form::NoisyPan(settings, pan[3], codes[3]);
            sum[x] = static_cast<int16_t>(codes[0] + codes[1] + codes[2] + codes[3]);
            diff[x] = static_cast<int16_t>(gamma[places.colorMean[x]] - gamma[places.panMean[x]]);
        }
    }
}

// A step is a row of cells.
enum Stage { kBalance, kClip, kBlend, kClipDiff };
using PanPlan = StripPlan<4>;
PanPlan PlanOf(bool impulse) {
    const int reach = impulse ? 1 : 0;
    return PanPlan({
        {1, {}},
        {1, {{kBalance, reach}}},
        {1, {{kBalance, 1 - reach}, {kClip, reach}}},
        {1, {{kBlend, 2 * reach}}},
    });
}

// Lines of one strip, rows of cells.
struct PanLines {
    Lines<int16_t> samplesA, samplesB, colorEven, colorOdd;  // balanced
    Lines<int16_t> cleanA, cleanB;                           // without impulses
    Lines<int16_t> diff;                                     // before its impulse filter
    int16_t *panEven, *panOdd;                               // estimates of one row
    int16_t* spare;                                          // a result that is not wanted

    PanLines(const PanPlan& plan, int n, LineCutter* cutter) {
        for (Lines<int16_t>* ring : {&samplesA, &samplesB}) {
            *ring = cutter->Ring<int16_t>(plan.RingRows(kBalance), n);
        }
        for (Lines<int16_t>* ring : {&colorEven, &colorOdd}) {
            *ring = cutter->Ring<int16_t>(plan.RingRows(kBalance, kBlend), n);
        }
        for (Lines<int16_t>* ring : {&cleanA, &cleanB}) {
            *ring = cutter->Ring<int16_t>(plan.RingRows(kClip), n);
        }
        diff = cutter->Ring<int16_t>(plan.RingRows(kBlend), n);
        panEven = cutter->Line<int16_t>(n);
        panOdd = cutter->Line<int16_t>(n);
        spare = cutter->Line<int16_t>(n);
    }
};

template <class Form>
class PanStrip {
    using Blending = typename Form::Blending;

public:
    // Rows of cells [i0, i1).
    PanStrip(const PanFrame<Form>& frame, int i0, int i1, LineCutter cutter)
        : frame_(frame),
          settings_(*frame.settings),
          n_(frame.W / 2),
          rows_(frame.H / 2),
          i0_(i0),
          i1_(i1),
          plain_(settings_.frontEnd.IsPlain() && (frame.narrow || !Form::kBoundsSamples)),
          plan_(PlanOf(settings_.impulse)),
          lines_(plan_, n_, &cutter),
          measuredA_(settings_.impulse ? lines_.cleanA : lines_.samplesA),
          measuredB_(settings_.impulse ? lines_.cleanB : lines_.samplesB) {}

    void Run() const {
        const auto blend = [this](int i) {
            InterpolatePan(i);
            GenerateLow(i);
        };
        if (settings_.impulse) {
            RunStages(
                plan_, i0_, i1_, rows_, [this](int i) { Balance(i); }, [this](int i) { Clip(i); }, blend,
                [this](int i) { ClipDiff(i); });
        } else {
            const auto nothing = [](int) {};
            RunStages(
                plan_, i0_, i1_, rows_, [this](int i) { Balance(i); }, nothing, blend, nothing);
        }
    }

private:
    bool Rim(int i) const { return i == 0 || i == rows_ - 1; }
    const int16_t* Mosaic(int y) const { return frame_.mosaic + static_cast<ptrdiff_t>(y) * frame_.W; }

    void Balance(int i) const {
        // The colours of the cells, by column.
        const Site first = (i & 1) == 0 ? kBlueSite : kGreenSite;
        const Site second = (i & 1) == 0 ? kGreenSite : kRedSite;
        int16_t* a = lines_.samplesA.Make(i);
        int16_t* b = lines_.samplesB.Make(i);
        int16_t* even = lines_.colorEven.Make(i);
        int16_t* odd = lines_.colorOdd.Make(i);
        if (!plain_ && frame_.narrow) {
            const int16_t* const tables[2] = {settings_.balanced[first], settings_.balanced[second]};
            const int16_t* panTable = settings_.balanced[kPanSite];
            SplitBalancedRow(Mosaic(2 * i), n_, 0, panTable, tables, a, even);
            SplitBalancedRow(Mosaic(2 * i + 1), n_, 1, panTable, tables, b, odd);
            return;
        }
        SplitRow(Mosaic(2 * i), n_, a, even);
        SplitRow(Mosaic(2 * i + 1), n_, odd, b);
        if (!plain_) {
            const double* factor = settings_.frontEnd.factor;
            for (int16_t* pan : {a, b}) {
                BalanceLanes<Form>(settings_.frontEnd, factor[kPanSite], factor[kPanSite], n_, pan);
            }
            for (int16_t* color : {even, odd}) {
                BalanceLanes<Form>(settings_.frontEnd, factor[first], factor[second], n_, color);
            }
        }
    }

    void Clip(int i) const {
        ClipPlaneRow(lines_.samplesA, i, lines_.cleanA.Make(i));
        ClipPlaneRow(lines_.samplesB, i, lines_.cleanB.Make(i));
    }
    void ClipPlaneRow(const Lines<int16_t>& samples, int i, int16_t* clean) const {
        std::copy(samples[i], samples[i] + n_, clean);
        if (!Rim(i)) {
            ClipRow<int16_t>(samples[i - 1], samples[i - 1], samples[i], samples[i + 1], samples[i + 1], 1, n_, clean);
        }
    }

    void InterpolatePan(int i) const {
        const int16_t* a = measuredA_[i];
        const int16_t* b = measuredB_[i];
        if (Rim(i)) {
            BlendRimRow<Blending>(a, b, n_, lines_.panEven);
            BlendRimRow<Blending>(a, b, n_, lines_.panOdd);
            return;
        }
        const Rows3 A = {measuredA_[i - 1], a, measuredA_[i + 1]};
        const Rows3 B = {measuredB_[i - 1], b, measuredB_[i + 1]};
        BlendEvenRow<Blending>(A, B, n_, lines_.panEven);
        BlendOddRow<Blending>(A, B, n_, lines_.panOdd);
        for (const int end : {0, n_ - 1}) {
            lines_.panEven[end] = lines_.panOdd[end] = BlendRim<Blending>(a[end], b[end]);
        }
    }

    void GenerateLow(int i) const {
        const CellRow cells = {measuredA_[i], measuredB_[i],       lines_.panEven,
                               lines_.panOdd, lines_.colorEven[i], lines_.colorOdd[i]};
        // Of a row of the halo only the differences are wanted.
        const bool own = i >= i0_ && i < i1_;
        CellResults<Form> out = {};
        out.colorDiff = settings_.impulse ? lines_.diff.Make(i) : frame_.colorDiff[i];
        out.panSum = own ? frame_.panSum[i] : lines_.spare;
        if (own && settings_.sharpen) {
            out.fullEven = frame_.fullPan[2 * i];
            out.fullOdd = frame_.fullPan[2 * i + 1];
        }
        MakeCellResults<Form>(cells, settings_, n_, out);
    }

    // Two rows and columns away the mosaic of differences has the same colour. Of the parallel form the vertical pair
    // stands in the rows beside, of another colour.
    void ClipDiff(int i) const {
        const Lines<int16_t>& diff = lines_.diff;
        int16_t* clean = frame_.colorDiff[i];
        std::copy(diff[i], diff[i] + n_, clean);
        if (i >= 2 && i < rows_ - 2) {
            ClipRow<int16_t>(diff[i - 2], diff[i - Form::kClipReach], diff[i], diff[i + Form::kClipReach], diff[i + 2],
                             2, n_, clean);
        }
    }

    const PanFrame<Form>& frame_;
    const typename Form::Settings& settings_;
    const int n_;     // cells per row
    const int rows_;  // rows of cells
    const int i0_, i1_;
    const bool plain_;
    const PanPlan plan_;
    const PanLines lines_;
    const Lines<int16_t> measuredA_, measuredB_;  // the pan samples that count
};

}  // namespace

size_t PanStripScratchBytes(int W, bool impulse) {
    LineCutter cutter(nullptr);
    const PanLines lines(PlanOf(impulse), W / 2, &cutter);
    return cutter.Bytes();
}

template <class Form>
void MakePanStrip(const PanFrame<Form>& frame, int y0, int y1, void* scratch) {
    PanStrip<Form>(frame, y0 / 2, y1 / 2, LineCutter(scratch)).Run();
}

template void MakePanStrip(const PanFrame<ParallelForm>&, int, int, void*);
template void MakePanStrip(const PanFrame<ReferenceForm>&, int, int, void*);

}  // namespace orv
