#include "engines/BayerLikeStrips.h"

#include <algorithm>

#include "rows/BayerRow.h"
#include "rows/Lines.h"
#include "rows/Simd.h"
#include "rows/StripStages.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

// Lanes of 16 bits throughout: samples and means have 12 bits, differences 13 with their sign.
using Lane = int16_t;

// A row of the half-size mosaic from the differences pan - colour of its two rows. The mean over a block, two sites of
// which have half the sum of the other two, rounded up, is half that sum, rounded down.
ORV_ALWAYS_INLINE void BlueRowBody(const Lane* upper, const Lane* lower, int n, Lane* low) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        low[i] = static_cast<Lane>(static_cast<Lane>(-upper[i] - lower[i]) >> 1);
    }
}
ORV_ROW_FUNCTION(BlueRow, (const Lane* upper, const Lane* lower, int n, Lane* low), (upper, lower, n, low))

// On rows with red, `redSites` having all bits there, red is averaged one column to the left of its block: over the
// right column of the green block, a colour above a filled site, and the left column of its own, a filled site above a
// colour.
ORV_ALWAYS_INLINE void RedRowBody(const Lane* upper, const Lane* lower, const Lane* redSites, int n, Lane* low) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane left = static_cast<Lane>(-upper[i - 1] - lower[i - 1]);
        const Lane own = static_cast<Lane>(-upper[i] - lower[i]);
        const Lane filled = static_cast<Lane>(RoundedHalf(left, Lane{0}) + RoundedHalf(own, Lane{0}));
        const Lane red = static_cast<Lane>(static_cast<Lane>(filled - upper[i - 1] - lower[i]) >> 2);
        low[i] = Select(redSites[i], red, static_cast<Lane>(own >> 1));
    }
}
ORV_ROW_FUNCTION(RedRow, (const Lane* upper, const Lane* lower, const Lane* redSites, int n, Lane* low),
                 (upper, lower, redSites, n, low))

// The bilinear Bayer conversion.
ORV_ALWAYS_INLINE void DemosaicRowBody(const Lane* up, const Lane* middle, const Lane* down, const Lane* greenSites,
                                       int n, Lane* green, Lane* own, Lane* other) {
    BayerRowBody<Interpolation::Bilinear, Lane>(up, middle, down, greenSites, n, green, own, other);
}
ORV_ROW_FUNCTION(DemosaicRow,
                 (const Lane* up, const Lane* middle, const Lane* down, const Lane* greenSites, int n, Lane* green,
                  Lane* own, Lane* other),
                 (up, middle, down, greenSites, n, green, own, other))

// Four times a row between two rows, three parts of the nearer one.
ORV_ALWAYS_INLINE void BetweenRowsBody(const Lane* near, const Lane* far, int n, Lane* between) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        between[i] = static_cast<Lane>(3 * near[i] + far[i]);
    }
}
ORV_ROW_FUNCTION(BetweenRows, (const Lane* near, const Lane* far, int n, Lane* between), (near, far, n, between))

// One step across from `near`, a row of BetweenRows with values of four times a difference, a quarter of the way to its
// neighbour `near + step`: (4 * near + step) / 16, rounded half to even. The numerator takes 17 bits. In 16 it is done
// by quarters: (near + (step >> 2) + 2) >> 2 has the same floor and rounds halves up, to the wrong side where an even
// result lies below; there the numerator is 8 above a multiple of 32, which its low bits tell. `near4` is 4 * near, of
// which the low bits count, `near2` is near + 2.
ORV_ALWAYS_INLINE Lane Sixteenth(Lane near4, Lane near2, Lane step) {
    const Lane quarter = static_cast<Lane>(near2 + static_cast<Lane>(step >> 2));
    const Lane down = (static_cast<Lane>(near4 + step) & 31) == 8 ? static_cast<Lane>(-1) : static_cast<Lane>(0);
    return static_cast<Lane>(static_cast<Lane>(quarter + down) >> 2);
}

// One colour of a finished row: `pan` plus the difference, doubled across. `between` has n + 2 lanes from -1 on.
ORV_ALWAYS_INLINE void PanPlusDifferenceBody(const Lane* between, const Lane* evenPan, const Lane* oddPan, int n,
                                             int16_t* colour) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane near = between[i];
        const Lane near4 = static_cast<Lane>(4 * near);
        const Lane near2 = static_cast<Lane>(near + 2);
        const Lane left = Sixteenth(near4, near2, static_cast<Lane>(between[i - 1] - near));
        const Lane right = Sixteenth(near4, near2, static_cast<Lane>(between[i + 1] - near));
        colour[2 * i] = static_cast<int16_t>(evenPan[i] + left);
        colour[2 * i + 1] = static_cast<int16_t>(oddPan[i] + right);
    }
}
ORV_ROW_FUNCTION(PanPlusDifference,
                 (const Lane* between, const Lane* evenPan, const Lane* oddPan, int n, int16_t* colour),
                 (between, evenPan, oddPan, n, colour))

// A step is a row of the half-size mosaic, two rows of the plane.
enum Stage { kSplit, kPan, kLow, kDemosaic, kFinish };
constexpr StripPlan kPlan({
    {2, {}},
    {2, {{kSplit, 1}}},
    {1, {{kPan, 0}}},
    {1, {{kLow, 1}}},
    {2, {{kSplit, 0}, {kPan, 0}, {kDemosaic, 1}}},
});

struct BayerLikeLines {
    Lines<Lane> panSites;    // pan samples of the mosaic
    Lines<Lane> colour;      // colour samples of the mosaic
    Lines<Lane> pan;         // pan at their sites
    Lines<Lane> diff;        // pan - colour there
    Lines<Lane> low;         // half-size mosaic of colour - pan
    Lines<Lane> lowDiff[3];  // demosaiced: red, green, blue
    Lane* alternate;         // 0, -1, 0, -1 ...
    Lane* between;           // a row of one colour, doubled down
    int16_t* rows[3];        // red, green, blue of a finished row

    BayerLikeLines(int W, LineCutter* cutter) {
        const int n = W / 2;
        panSites = cutter->Ring<Lane>(kPlan.RingRows(kSplit), n);
        colour = cutter->Ring<Lane>(kPlan.RingRows(kSplit, kPan), n);
        pan = cutter->Ring<Lane>(kPlan.RingRows(kPan), n);
        diff = cutter->Ring<Lane>(kPlan.RingRows(kPan, kLow), n);
        low = cutter->Ring<Lane>(kPlan.RingRows(kLow), n);
        for (Lines<Lane>& ring : lowDiff) {
            ring = cutter->Ring<Lane>(kPlan.RingRows(kDemosaic), n);
        }
        alternate = cutter->Line<Lane>(n + 1);
        between = cutter->Line<Lane>(n);
        for (int16_t*& row : rows) {
            row = cutter->Line<int16_t>(W);
        }
    }
};

class BayerLikeStrip {
public:
    BayerLikeStrip(const int16_t* mosaic, int W, int H, LineCutter cutter, const ColourRowSink& sink)
        : mosaic_(mosaic), W_(W), H_(H), n_(W / 2), h_(H / 2), sink_(sink), lines_(W, &cutter) {
        FillAlternate(n_ + 1, lines_.alternate);
    }

    // Rows [first, end) of the half-size mosaic, two rows of the plane each.
    void Run(int first, int end) {
        const auto demosaic = [this](int l) {
            if (l == Inner(l)) {
                Demosaic(l);
            }
        };
        RunStages(
            kPlan, first, end, h_, [this](int y) { Split(y); }, [this](int y) { CompletePan(y); },
            [this](int l) { Average(l); }, demosaic, [this](int y) { Finish(y); });
    }

private:
    static bool Odd(int y) { return (y & 1) != 0; }
    // The Bayer conversion repeats the rows within the rim.
    int Inner(int y) const { return std::min(std::max(y, 1), h_ - 2); }

    void Split(int y) const {
        Lane* pan = lines_.panSites.Make(y);
        Lane* colour = lines_.colour.Make(y);
        SplitRow(mosaic_ + static_cast<ptrdiff_t>(y) * W_, n_, Odd(y) ? colour : pan, Odd(y) ? pan : colour);
    }

    void CompletePan(int y) const {
        const int above = y == 0 ? 1 : y - 1;
        const int below = y == H_ - 1 ? y - 1 : y + 1;
        CompletePanRow<PanTies::Vertical, Lane>(
            {lines_.panSites[above], lines_.panSites[y], lines_.panSites[below], y, y == 0 || y == H_ - 1},
            lines_.colour[y], n_, lines_.pan.Make(y), lines_.diff.Make(y));
    }

    void Average(int y) const {
        if (Odd(y)) {
            RedRow(lines_.diff[2 * y], lines_.diff[2 * y + 1], lines_.alternate, n_, lines_.low.Make(y));
        } else {
            BlueRow(lines_.diff[2 * y], lines_.diff[2 * y + 1], n_, lines_.low.Make(y));
        }
    }

    void Demosaic(int y) const {
        Lane* own = lines_.lowDiff[Odd(y) ? 0 : 2].Make(y);
        Lane* other = lines_.lowDiff[Odd(y) ? 2 : 0].Make(y);
        DemosaicRow(lines_.low[y - 1], lines_.low[y], lines_.low[y + 1], lines_.alternate + (y & 1), n_,
                    lines_.lowDiff[1].Make(y), own, other);
        for (const Lines<Lane>& ring : lines_.lowDiff) {
            Lane* row = ring[y];
            row[0] = row[1];
            row[n_ - 1] = row[n_ - 2];
        }
    }

    void Finish(int y) const {
        const int near = y >> 1;
        const int far = Odd(y) ? std::min(near + 1, h_ - 1) : std::max(near - 1, 0);
        const Lane* evenPan = Odd(y) ? lines_.pan[y] : lines_.panSites[y];
        const Lane* oddPan = Odd(y) ? lines_.panSites[y] : lines_.pan[y];
        for (int channel = 0; channel < 3; ++channel) {
            BetweenRows(lines_.lowDiff[channel][Inner(near)], lines_.lowDiff[channel][Inner(far)], n_, lines_.between);
            lines_.between[-1] = lines_.between[0];
            lines_.between[n_] = lines_.between[n_ - 1];
            PanPlusDifference(lines_.between, evenPan, oddPan, n_, lines_.rows[channel]);
        }
        sink_.Row(y, lines_.rows[0], lines_.rows[1], lines_.rows[2]);
    }

    const int16_t* mosaic_;
    int W_, H_;
    int n_;  // lanes per row
    int h_;  // rows of the half-size mosaic
    const ColourRowSink& sink_;
    const BayerLikeLines lines_;
};

}  // namespace

size_t BayerLikeScratchBytes(int W) {
    LineCutter cutter(nullptr);
    const BayerLikeLines lines(W, &cutter);
    return cutter.Bytes();
}

void ReconstructBayerLikeStrip(const int16_t* mosaic, int W, int H, int y0, int y1, void* scratch,
                               const ColourRowSink& sink) {
    BayerLikeStrip(mosaic, W, H, LineCutter(scratch), sink).Run(y0 / 2, y1 / 2);
}

}  // namespace orv
