#include "engines/FastStrips.h"

#include <algorithm>

#include "rows/Lines.h"
#include "rows/Simd.h"
#include "rows/StripStages.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

// A mean of differences becomes the difference of a site: its colour, pan - mean, is a stored sample of 16 bits, which
// takes part in later sums as it was stored. Lanes of 16 bits are for samples whose sums all fit.
ORV_ALWAYS_INLINE int16_t Settle(int16_t, int16_t mean) { return mean; }
ORV_ALWAYS_INLINE int32_t Settle(int32_t pan, int32_t mean) { return pan - static_cast<int16_t>(pan - mean); }

// On the half-size mosaic: `green` gets the green difference of every site, `diagonal` at red and blue sites the
// difference of the other of the two. `greenSites` has all bits at green sites.
template <class Lane>
ORV_ALWAYS_INLINE void SeedRowBody(const Lane* up, const Lane* middle, const Lane* down, const Lane* pan,
                                   const Lane* greenSites, int n, Lane* green, Lane* diagonal) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane cross = Quarter(up[i], down[i], middle[i - 1], middle[i + 1]);
        green[i] = Select(greenSites[i], middle[i], Settle(pan[i], cross));
        diagonal[i] = Settle(pan[i], Quarter(up[i - 1], up[i + 1], down[i - 1], down[i + 1]));
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), SeedRow,
                 (const Lane* up, const Lane* middle, const Lane* down, const Lane* pan, const Lane* greenSites, int n,
                  Lane* green, Lane* diagonal),
                 (up, middle, down, pan, greenSites, n, green, diagonal))

// Red and blue differences at green sites too. `own` is the colour that the mosaic has on this row, `other` the one
// that it has two rows up and down.
template <class Lane>
ORV_ALWAYS_INLINE void ChromaRowBody(const Lane* diffUp, const Lane* diffDown, const Lane* diagonalUp,
                                     const Lane* diagonalDown, const Lane* diff, const Lane* diagonal, const Lane* pan,
                                     const Lane* greenSites, int n, Lane* own, Lane* other) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane ownMean = Quarter(diagonalUp[i], diagonalDown[i], diff[i - 1], diff[i + 1]);
        const Lane otherMean = Quarter(diffUp[i], diffDown[i], diagonal[i - 1], diagonal[i + 1]);
        own[i] = Select(greenSites[i], Settle(pan[i], ownMean), diff[i]);
        other[i] = Select(greenSites[i], Settle(pan[i], otherMean), diagonal[i]);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), ChromaRow,
                 (const Lane* diffUp, const Lane* diffDown, const Lane* diagonalUp, const Lane* diagonalDown,
                  const Lane* diff, const Lane* diagonal, const Lane* pan, const Lane* greenSites, int n, Lane* own,
                  Lane* other),
                 (diffUp, diffDown, diagonalUp, diagonalDown, diff, diagonal, pan, greenSites, n, own, other))

// All bits where pan changes less across than along, from the pan values at the four colour neighbours of pan sites.
template <class Lane>
ORV_ALWAYS_INLINE void DirectionRowBody(const Lane* left, const Lane* right, const Lane* up, const Lane* down, int n,
                                        Lane* across) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        across[i] =
            Distance(left[i], right[i]) < Distance(up[i], down[i]) ? static_cast<Lane>(-1) : static_cast<Lane>(0);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), DirectionRow,
                 (const Lane* left, const Lane* right, const Lane* up, const Lane* down, int n, Lane* across),
                 (left, right, up, down, n, across))

// One colour of a whole row, 2n samples in column order: at colour sites from its difference `diff`, at pan sites from
// the differences of the pair along the direction. `Odd` rows begin with a colour site.
template <class Lane, bool Odd>
ORV_ALWAYS_INLINE void ColourSitesBody(const Lane* across, const Lane* panSites, const Lane* pan, const Lane* diff,
                                       const Lane* diffUp, const Lane* diffDown, int n, int16_t* colour) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane mean =
            Select(across[i], Half(diff[Odd ? i : i - 1], diff[Odd ? i + 1 : i]), Half(diffUp[i], diffDown[i]));
        const int16_t atPan = static_cast<int16_t>(panSites[i] - mean);
        const int16_t atColour = static_cast<int16_t>(pan[i] - diff[i]);
        colour[2 * i] = Odd ? atColour : atPan;
        colour[2 * i + 1] = Odd ? atPan : atColour;
    }
}
ORV_ROW_TEMPLATE((class Lane, bool Odd), (Lane, Odd), ColourSites,
                 (const Lane* across, const Lane* panSites, const Lane* pan, const Lane* diff, const Lane* diffUp,
                  const Lane* diffDown, int n, int16_t* colour),
                 (across, panSites, pan, diff, diffUp, diffDown, n, colour))

// The same on the first and last row of the plane: means of the colour itself, `inner` the only vertical neighbour.
template <class Lane, bool Odd>
ORV_ALWAYS_INLINE void ColourRimBody(const Lane* pan, const Lane* diff, const Lane* panInner, const Lane* diffInner,
                                     int n, int16_t* colour) {
    for (int i = 0; i < n; ++i) {
        const int left = Odd ? i : i - 1;
        const Lane inner = static_cast<Lane>(panInner[i] - diffInner[i]);
        const int16_t atPan =
            static_cast<int16_t>(Quarter(static_cast<Lane>(pan[left] - diff[left]),
                                         static_cast<Lane>(pan[left + 1] - diff[left + 1]), inner, inner));
        const int16_t atColour = static_cast<int16_t>(pan[i] - diff[i]);
        colour[2 * i] = Odd ? atColour : atPan;
        colour[2 * i + 1] = Odd ? atPan : atColour;
    }
}
ORV_ROW_TEMPLATE((class Lane, bool Odd), (Lane, Odd), ColourRim,
                 (const Lane* pan, const Lane* diff, const Lane* panInner, const Lane* diffInner, int n,
                  int16_t* colour),
                 (pan, diff, panInner, diffInner, n, colour))

enum Stage { kSplit, kPan, kSeed, kChroma, kFinish };
constexpr StripPlan kPlan({
    {1, {}},
    {1, {{kSplit, 1}}},
    {1, {{kPan, 2}}},
    {1, {{kPan, 2}, {kSeed, 2}}},
    {1, {{kSplit, 0}, {kPan, 1}, {kSeed, 1}, {kChroma, 1}}},
});

template <class Lane>
struct FastLines {
    Lines<Lane> panSites;  // pan samples of the mosaic
    Lines<Lane> colour;    // colour samples of the mosaic
    // At colour sites:
    Lines<Lane> pan;       // pan
    Lines<Lane> diff;      // differences of the mosaic's colours
    Lines<Lane> green;     // differences of green
    Lines<Lane> diagonal;  // of the other of red and blue at red and blue sites
    Lines<Lane> own;       // of blue on rows 0 and 1 of the cell, of red on rows 2 and 3
    Lines<Lane> other;     // of the other one
    Lane* alternate;       // 0, -1, 0, -1 ...
    Lane* across;          // directions at the pan sites of a row
    int16_t* rows[3];      // red, green, blue of a finished row

    FastLines(int W, LineCutter* cutter) {
        const int n = W / 2;
        panSites = cutter->Ring<Lane>(kPlan.RingRows(kSplit), n);
        colour = cutter->Ring<Lane>(kPlan.RingRows(kSplit, kPan), n);
        for (Lines<Lane>* ring : {&pan, &diff}) {
            *ring = cutter->Ring<Lane>(kPlan.RingRows(kPan), n);
        }
        for (Lines<Lane>* ring : {&green, &diagonal}) {
            *ring = cutter->Ring<Lane>(kPlan.RingRows(kSeed), n);
        }
        for (Lines<Lane>* ring : {&own, &other}) {
            *ring = cutter->Ring<Lane>(kPlan.RingRows(kChroma), n);
        }
        alternate = cutter->Line<Lane>(n + 1);
        across = cutter->Line<Lane>(n);
        for (int16_t*& row : rows) {
            row = cutter->Line<int16_t>(W);
        }
    }
};

template <class Lane, class Sample>
class FastStrip {
public:
    FastStrip(const Sample* mosaic, int W, int H, LineCutter cutter, const ColourRowSink& sink)
        : mosaic_(mosaic), W_(W), H_(H), n_(W / 2), last_(n_ - 1), sink_(sink), lines_(W, &cutter) {
        FillAlternate(n_ + 1, lines_.alternate);
    }

    void Run(int y0, int y1) const {
        RunStages(
            kPlan, y0, y1, H_, [this](int y) { Split(y); }, [this](int y) { FillPan(y); }, [this](int y) { Seed(y); },
            [this](int y) { CalculateBlueOrRedComponentFast1(y); }, [this](int y) { Finish(y); });
    }

private:
    bool Odd(int y) const { return (y & 1) != 0; }
    bool Rim(int y) const { return y == 0 || y == H_ - 1; }
    // The neighbour rows, one or two apart; the one on the other side where one is missing.
    int Above(int y, int distance) const { return y < distance ? y + distance : y - distance; }
    int Below(int y, int distance) const { return y + distance >= H_ ? y - distance : y + distance; }
    // Mask of the green sites of row `y`: odd lanes on blue rows, even lanes on red rows.
    const Lane* GreenSites(int y) const { return lines_.alternate + ((y >> 1) & 1); }

    // Sets the lanes beside the row, the missing neighbours on the half-size mosaic.
    void Pad(Lane* row) const {
        row[-1] = row[1];
        row[n_] = row[last_ - 1];
    }

    void Split(int y) const {
        Lane* pan = lines_.panSites.Make(y);
        Lane* colour = lines_.colour.Make(y);
        SplitRow(mosaic_ + static_cast<ptrdiff_t>(y) * W_, n_, Odd(y) ? colour : pan, Odd(y) ? pan : colour);
        Pad(pan);
    }

    void FillPan(int y) const {
        Lane* pan = lines_.pan.Make(y);
        Lane* diff = lines_.diff.Make(y);
        const PanNeighbours<Lane> sites = {lines_.panSites[Above(y, 1)], lines_.panSites[y],
                                           lines_.panSites[Below(y, 1)], y, Rim(y)};
        CompletePanRow<PanTies::Vertical>(sites, lines_.colour[y], n_, pan, diff);
        Pad(pan);
        Pad(diff);
    }

    void Seed(int y) const {
        const Lane* up = lines_.diff[Above(y, 2)];
        const Lane* down = lines_.diff[Below(y, 2)];
        const Lane* middle = lines_.diff[y];
        const Lane* pan = lines_.pan[y];
        Lane* green = lines_.green.Make(y);
        Lane* diagonal = lines_.diagonal.Make(y);
        SeedRow<Lane>(up, middle, down, pan, GreenSites(y), n_, green, diagonal);
        // In two corners the green site between the missing neighbours counts twice, and the one diagonal neighbour
        // that is left counts half.
        if (y < 2) {
            const Lane near = y == 0 ? lines_.diff[1][1] : lines_.diff[2][0];
            green[0] = Settle(pan[0], Quarter(down[0], middle[1], near, near));
            diagonal[0] = Settle(pan[0], Half(down[1], Lane{0}));
        } else if (y >= H_ - 2) {
            const Lane near = y == H_ - 2 ? lines_.diff[H_ - 3][last_] : lines_.diff[H_ - 2][last_ - 1];
            green[last_] = Settle(pan[last_], Quarter(up[last_], middle[last_ - 1], near, near));
            diagonal[last_] = Settle(pan[last_], Half(up[last_ - 1], Lane{0}));
        }
        Pad(green);
        Pad(diagonal);
    }

    void CalculateBlueOrRedComponentFast1(int y) const {
        const int above = Above(y, 2);
        const int below = Below(y, 2);
        const Lane* pan = lines_.pan[y];
        Lane* own = lines_.own.Make(y);
        Lane* other = lines_.other.Make(y);
        ChromaRow<Lane>(lines_.diff[above], lines_.diff[below], lines_.diagonal[above], lines_.diagonal[below],
                        lines_.diff[y], lines_.diagonal[y], pan, GreenSites(y), n_, own, other);
        if (y < 2) {
            // Both corner sites use the neighbours of the upper one.
            own[last_] = Settle(pan[last_], Half(lines_.diff[0][last_ - 1], lines_.diagonal[2][last_]));
            other[last_] = Settle(pan[last_], Half(lines_.diagonal[0][last_ - 1], lines_.diff[2][last_]));
        } else if (y >= H_ - 2) {
            // The lower corner site has the difference of a pan site, 0, for its upper neighbour.
            const bool upper = y == H_ - 2;
            own[0] = Settle(pan[0], Half(upper ? lines_.diagonal[H_ - 3][0] : Lane{0}, lines_.diff[H_ - 1][1]));
            other[0] = Settle(pan[0], Half(upper ? lines_.diff[H_ - 3][0] : Lane{0}, lines_.diagonal[H_ - 1][1]));
        }
        Pad(own);
        Pad(other);
    }

    // Row `y` of red or of blue; the rows of a cell exchange the two.
    Lane* RedOrBlue(int y, bool blue) const { return (((y >> 1) & 1) == 0) == blue ? lines_.own[y] : lines_.other[y]; }
    Lane* Difference(int y, int channel) const { return channel == 1 ? lines_.green[y] : RedOrBlue(y, channel == 2); }

    template <bool OddRow>
    void CalculateComponentFast(int y, int channel) const {
        const int above = Above(y, 1);
        const int below = Below(y, 1);
        const Lane* pan = lines_.pan[y];
        const Lane* diff = Difference(y, channel);
        const Lane* diffUp = Difference(above, channel);
        const Lane* diffDown = Difference(below, channel);
        int16_t* colour = lines_.rows[channel];
        if (Rim(y)) {
            ColourRim<Lane, OddRow>(pan, diff, lines_.pan[above], diffUp, n_, colour);
        } else {
            ColourSites<Lane, OddRow>(lines_.across, lines_.panSites[y], pan, diff, diffUp, diffDown, n_, colour);
        }
        const int end = OddRow ? last_ : 0;
        const Lane beside = static_cast<Lane>(pan[end] - diff[end]);
        colour[OddRow ? W_ - 1 : 0] =
            static_cast<int16_t>(Quarter(beside, beside, static_cast<Lane>(lines_.pan[above][end] - diffUp[end]),
                                         static_cast<Lane>(lines_.pan[below][end] - diffDown[end])));
    }

    void Finish(int y) const {
        const Lane* left = lines_.pan[y] - (Odd(y) ? 0 : 1);
        if (!Rim(y)) {
            DirectionRow<Lane>(left, left + 1, lines_.pan[y - 1], lines_.pan[y + 1], n_, lines_.across);
        }
        for (int channel = 0; channel < 3; ++channel) {
            if (Odd(y)) {
                CalculateComponentFast<true>(y, channel);
            } else {
                CalculateComponentFast<false>(y, channel);
            }
        }
        sink_.Row(y, lines_.rows[0], lines_.rows[1], lines_.rows[2]);
    }

    const Sample* mosaic_;
    int W_, H_;
    int n_;     // lanes per row
    int last_;  // the last of them
    const ColourRowSink& sink_;
    const FastLines<Lane> lines_;
};

}  // namespace

size_t FastScratchBytes(int W) {
    LineCutter cutter(nullptr);
    const FastLines<int32_t> lines(W, &cutter);
    return cutter.Bytes();
}

void ReconstructFastStrip(const int16_t* mosaic, int W, int H, int y0, int y1, bool narrow, void* scratch,
                          const ColourRowSink& sink) {
    if (narrow) {
        FastStrip<int16_t, int16_t>(mosaic, W, H, LineCutter(scratch), sink).Run(y0, y1);
    } else {
        FastStrip<int32_t, int16_t>(mosaic, W, H, LineCutter(scratch), sink).Run(y0, y1);
    }
}

void ReconstructFastStrip(const uint8_t* mosaic, int W, int H, int y0, int y1, void* scratch,
                          const ColourRowSink& sink) {
    FastStrip<int16_t, uint8_t>(mosaic, W, H, LineCutter(scratch), sink).Run(y0, y1);
}

}  // namespace orv
