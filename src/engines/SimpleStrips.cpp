#include "engines/SimpleStrips.h"

#include <algorithm>

#include "rows/Avx2.h"
#include "rows/Lines.h"
#include "rows/Simd.h"
#include "rows/StripStages.h"
#include "truesense/ClipRow.h"
#include "truesense/DifferenceRows.h"
#include "truesense/MixRow.h"
#include "truesense/PanRows.h"

namespace orv {

namespace {

// Lanes are int16_t where every sample is one of 12 bits, so that all sums fit, int32_t else.

constexpr int kChannels = 3;

// A mean rounded up.
template <class Lane>
ORV_ALWAYS_INLINE Lane HalfUp(Lane a, Lane b) {
    return static_cast<Lane>(static_cast<Lane>(static_cast<Lane>(a + b) + 1) >> 1);
}

// (near + 2 centre + far) / 4, rounded down.
template <class Lane>
ORV_ALWAYS_INLINE Lane Blend(Lane near, Lane centre, Lane far) {
    return Quarter(near, centre, centre, far);
}

// A white balance gain: value * gain + half, toward zero, within the bounds.
struct Gain {
    double gain, half, low, high;

    static Gain Make(double gain) {
        return gain == 1.0 ? Gain{1.0, 0.0, -32768.0, 32767.0} : Gain{gain, 0.5, 0.0, 4095.0};
    }
};

// `even` and `odd` are the gains of even and odd lanes; up to seven lanes behind the row may change, too.
template <class Lane>
ORV_ALWAYS_INLINE void GainRowBody(Gain even, Gain odd, int n, Lane* row) {
    for (int i = 0; i < n; i += 2) {
        row[i] = static_cast<Lane>(
            TruncateClamped(Fma(even.gain, static_cast<double>(row[i]), even.half), even.low, even.high));
        row[i + 1] = static_cast<Lane>(
            TruncateClamped(Fma(odd.gain, static_cast<double>(row[i + 1]), odd.half), odd.low, odd.high));
    }
}

#if defined(__x86_64__)
// By hand, as the compiler keeps comparisons apart from selections.

// Four lanes; of bounds only the upper one.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m128i GainFour(const int16_t* from, __m256d gain, __m256d half, __m256d high) {
    const __m128i lanes = _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
    // As the second operand not-a-number passes.
    return _mm256_cvttpd_epi32(_mm256_min_pd(high, _mm256_fmadd_pd(gain, _mm256_cvtepi32_pd(lanes), half)));
}

template <class Lane>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void GainRowBodyAvx2(Gain even, Gain odd, int n, Lane* row) {
    if constexpr (sizeof(Lane) == 2) {
        const __m256d gain = _mm256_setr_pd(even.gain, odd.gain, even.gain, odd.gain);
        const __m256d half = _mm256_setr_pd(even.half, odd.half, even.half, odd.half);
        const __m256d high = _mm256_set1_pd(4095.0);
        for (int i = 0; i < n; i += 8) {
            // Samples of 16-bit lanes are never below 0 where a gain leaves them, so that the packing sets the lower
            // bound for all; not-a-number and numbers out of range come to it as the least int32.
            const __m128i results =
                _mm_packus_epi32(GainFour(row + i, gain, half, high), GainFour(row + i + 4, gain, half, high));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i), results);
        }
    } else {
        GainRowBody<Lane>(even, odd, n, row);
    }
}
#endif
ORV_ROW_TEMPLATE_TUNED((class Lane), (Lane), GainRow, (Gain even, Gain odd, int n, Lane* row), (even, odd, n, row))

// Sites of two rows of blocks, as lanes.
template <class Lane>
struct BlockRow {
    const Lane* pan[2];     // pan sites of the upper and of the lower row
    const Lane* colour[2];  // colours at the other sites
    const Lane* filled[2];  // pan at the other sites
};

template <class Lane>
ORV_ALWAYS_INLINE void BlockMeansBody(BlockRow<Lane> in, int n, Lane* diff, Lane* pan) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        const Lane upper = in.filled[0][i];
        const Lane lower = in.filled[1][i];
        diff[i] = static_cast<Lane>(HalfUp(in.colour[0][i], in.colour[1][i]) - HalfUp(upper, lower));
        pan[i] = Quarter(in.pan[0][i], upper, lower, in.pan[1][i]);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), BlockMeans, (BlockRow<Lane> in, int n, Lane* diff, Lane* pan),
                 (in, n, diff, pan))

// The row of full size behind `low`, smoothed along the row: even and odd columns.
template <class Lane>
ORV_ALWAYS_INLINE void SmoothAcrossBody(const Lane* low, int n, Lane* even, Lane* odd) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        even[i] = Blend(low[i - 1], low[i], low[i]);
        odd[i] = Blend(low[i], low[i], low[i + 1]);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), SmoothAcross, (const Lane* low, int n, Lane* even, Lane* odd),
                 (low, n, even, odd))

// Smoothed along the columns: the row nearer to `far` of the two rows of full size behind `centre`.
template <class Lane>
ORV_ALWAYS_INLINE void SmoothAlongBody(const Lane* centre, const Lane* far, int n, Lane* out) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        out[i] = Blend(centre[i], centre[i], far[i]);
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), SmoothAlong, (const Lane* centre, const Lane* far, int n, Lane* out),
                 (centre, far, n, out))

template <class Lane>
ORV_ALWAYS_INLINE void ReplicateBody(const Lane* low, int n, Lane* even, Lane* odd) {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
        even[i] = low[i];
        odd[i] = low[i];
    }
}
ORV_ROW_TEMPLATE((class Lane), (Lane), Replicate, (const Lane* low, int n, Lane* even, Lane* odd), (low, n, even, odd))

// Pan of a row and its differences by channel, even columns first.
template <class Lane>
struct ColourLanes {
    const Lane* pan[2];
    const Lane* diff[3][2];
};

template <class Lane>
ORV_ALWAYS_INLINE float Bounded(Lane pan, Lane diff) {
    Lane sum = static_cast<Lane>(pan + diff);
    sum = sum < 0 ? static_cast<Lane>(0) : sum;
    return static_cast<float>(sum > 4095 ? static_cast<Lane>(4095) : sum);
}

// Lanes [i, n).
template <class Lane>
ORV_ALWAYS_INLINE void CorrectFrom(ColourLanes<Lane> in, const float* m, int i, int n, int16_t* const* out) {
    for (; i < n; ++i) {
        for (int column = 0; column < 2; ++column) {
            const Lane pan = in.pan[column][i];
            const float r = Bounded(pan, in.diff[0][column][i]);
            const float g = Bounded(pan, in.diff[1][column][i]);
            const float b = Bounded(pan, in.diff[2][column][i]);
            for (int k = 0; k < kChannels; ++k) {
                const float* row = m + 3 * k;
                out[k][2 * i + column] = static_cast<int16_t>(Mix(r, g, b, row[0], row[1], row[2]));
            }
        }
    }
}

template <class Lane>
ORV_ALWAYS_INLINE void CorrectColoursBody(ColourLanes<Lane> in, const float* m, int n, int16_t* const* out) {
    CorrectFrom(in, m, 0, n, out);
}

#if defined(__x86_64__)
// By hand: the compiler's version takes more than twice as many steps, most of them to bring lanes to their places.

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i LoadLanes(const int16_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// Sixteen sums of pan and differences, each to two vectors: lanes 0 to 3 and 8 to 11, the others.
struct Sixteen {
    __m256 channel[kChannels][2];
};

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE Sixteen LoadSums(ColourLanes<int16_t> in, int column, int i) {
    // Raised so that saturation cuts at 4095; lowered again it cuts at 0.
    const __m256i raise = _mm256_set1_epi16(32767 - 4095);
    const __m256i pan = _mm256_add_epi16(LoadLanes(in.pan[column] + i), raise);
    const __m256i zero = _mm256_setzero_si256();
    Sixteen sums;
    for (int k = 0; k < kChannels; ++k) {
        const __m256i sum = _mm256_subs_epu16(_mm256_adds_epi16(pan, LoadLanes(in.diff[k][column] + i)), raise);
        sums.channel[k][0] = _mm256_cvtepi32_ps(_mm256_unpacklo_epi16(sum, zero));
        sums.channel[k][1] = _mm256_cvtepi32_ps(_mm256_unpackhi_epi16(sum, zero));
    }
    return sums;
}

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256i CorrectSixteen(const Sixteen& s, const __m256* row) {
    return PackTruncated(MixEight(s.channel[0][0], s.channel[1][0], s.channel[2][0], row),
                         MixEight(s.channel[0][1], s.channel[1][1], s.channel[2][1], row), _mm256_set1_ps(4095.0F));
}

ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void CorrectLanes(ColourLanes<int16_t> in, const __m256* m, int i,
                                                    int16_t* const* out) {
    const Sixteen even = LoadSums(in, 0, i);
    const __m256i first[kChannels] = {CorrectSixteen(even, m), CorrectSixteen(even, m + 3),
                                      CorrectSixteen(even, m + 6)};
    const Sixteen odd = LoadSums(in, 1, i);
    for (int k = 0; k < kChannels; ++k) {
        const __m256i second = CorrectSixteen(odd, m + 3 * k);
        const __m256i low = _mm256_unpacklo_epi16(first[k], second);
        const __m256i high = _mm256_unpackhi_epi16(first[k], second);
        __m256i* to = reinterpret_cast<__m256i*>(out[k] + 2 * i);
        _mm256_storeu_si256(to, _mm256_permute2x128_si256(low, high, 0x20));
        _mm256_storeu_si256(to + 1, _mm256_permute2x128_si256(low, high, 0x31));
    }
}

template <class Lane>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void CorrectColoursBodyAvx2(ColourLanes<Lane> in, const float* m, int n,
                                                              int16_t* const* out) {
    if constexpr (sizeof(Lane) == 2) {
        __m256 factors[9];
        for (int i = 0; i < 9; ++i) {
            factors[i] = _mm256_set1_ps(m[i]);
        }
        int i = 0;
        for (; i + 16 <= n; i += 16) {
            CorrectLanes(in, factors, i, out);
        }
        if (i < n && n >= 16) {
            CorrectLanes(in, factors, n - 16, out);
            i = n;
        }
        CorrectFrom(in, m, i, n, out);
    } else {
        CorrectFrom(in, m, 0, n, out);
    }
}
#endif
ORV_ROW_TEMPLATE_TUNED((class Lane), (Lane), CorrectColours,
                       (ColourLanes<Lane> in, const float* m, int n, int16_t* const* out), (in, m, n, out))

constexpr int kRadius = 2;  // of the impulse filter

// A step is a row of blocks, two rows of the mosaic. What `impulse` and `smooth` switch reaches nowhere when it is off.
enum Stage { kBalance, kPan, kLow, kAlong, kComplete, kFinish };
constexpr StripPlan<6> PlanOf(bool impulse, bool smooth) {
    return StripPlan<6>({
        {2, {}},
        {2, {{kBalance, 1}}},
        {1, {{kBalance, 0}, {kPan, 0}}},
        {1, {{kLow, impulse ? kRadius : 0}}},
        {1, {{kLow, 0}, {kAlong, 1}}},
        {2, {{kBalance, 0}, {kPan, 0}, {kLow, 0}, {kAlong, 0}, {kComplete, smooth ? 1 : 0}}},
    });
}

template <class Lane>
struct SimpleLines {
    // Of sites:
    Lines<Lane> panSites;  // pan samples of the mosaic
    Lines<Lane> colour;    // colour samples of the mosaic
    Lines<Lane> pan;       // pan at colour sites
    // Of blocks:
    Lines<Lane> lowColorDiff;          // colour - pan
    Lane* filtered;                    // the same without impulses
    Lines<Lane> lowPan;                // mean pan
    Lines<Lane> chroma, along;         // filled along rows: the one of red and blue on the row, green
    Lines<Lane> low[kChannels];        // differences of red, green, blue; of red or blue, whichever is not in `chroma`
    Lines<Lane> smooth[kChannels][2];  // the same smoothed along the row, even and odd columns
    Lines<Lane> panSmooth[2];          // mean pan smoothed along the row, even and odd columns
    Lane* lowPanFull[2];               // mean pan at full size: even and odd columns of a row
    Lane* full[kChannels][2];          // smoothed differences of a row, even and odd columns
    Lane* alternate;                   // 0, -1, 0, -1 ...
    int16_t* rows[kChannels];          // red, green, blue of a finished row

    SimpleLines(int W, const StripPlan<6>& plan, LineCutter* cutter) {
        const int n = W / 2;
        panSites = cutter->Ring<Lane>(plan.RingRows(kBalance), n);
        colour = cutter->Ring<Lane>(plan.RingRows(kBalance, kLow), n);
        pan = cutter->Ring<Lane>(plan.RingRows(kPan), n);
        lowColorDiff = cutter->Ring<Lane>(plan.RingRows(kLow, kAlong), n);
        filtered = cutter->Line<Lane>(n);
        lowPan = cutter->Ring<Lane>(plan.RingRows(kLow), n);
        chroma = cutter->Ring<Lane>(plan.RingRows(kAlong), n);
        along = cutter->Ring<Lane>(plan.RingRows(kAlong, kComplete), n);
        for (int channel = 0; channel < kChannels; ++channel) {
            low[channel] = cutter->Ring<Lane>(plan.RingRows(kComplete), n);
            for (int column = 0; column < 2; ++column) {
                smooth[channel][column] = cutter->Ring<Lane>(plan.RingRows(kComplete), n);
                full[channel][column] = cutter->Line<Lane>(n);
            }
        }
        for (int column = 0; column < 2; ++column) {
            panSmooth[column] = cutter->Ring<Lane>(plan.RingRows(kComplete), n);
            lowPanFull[column] = cutter->Line<Lane>(n);
        }
        alternate = cutter->Line<Lane>(n + 1);
        for (int16_t*& row : rows) {
            row = cutter->Line<int16_t>(W);
        }
    }
};

// `Filters` is true where the impulse filter or a smoothing pass may run.
template <class Lane, bool Filters>
class SimpleStrip {
public:
    SimpleStrip(const int16_t* mosaic, int W, int H, const SimpleSettings& settings, LineCutter cutter,
                const ColourRowSink& sink)
        : mosaic_(mosaic),
          W_(W),
          H_(H),
          n_(W / 2),
          last_(n_ - 1),
          lowH_(H / 2),
          settings_(settings),
          sink_(sink),
          plan_(PlanOf(Filters && settings.impulseFilter,
                       Filters && (settings.panSmoothEnable || settings.colorSmoothEnable))),
          lines_(W, plan_, &cutter) {
        FillAlternate(n_ + 1, lines_.alternate);
        unitPan_ = settings.panGain == 1.0;
        unitColour_ = settings.redGain == 1.0 && settings.greenGain == 1.0 && settings.blueGain == 1.0;
        impulseFilter_ = Filters && settings.impulseFilter;
        panSmoothEnable_ = Filters && settings.panSmoothEnable;
        colorSmoothEnable_ = Filters && settings.colorSmoothEnable;
    }

    void Run(int y0, int y1) {
        RunStages(
            plan_, y0 / 2, y1 / 2, lowH_, [this](int y) { CalculateWhiteBalance(y); },
            [this](int y) { InterpolatePanFast(y); }, [this](int l) { GenerateLow(l); },
            [this](int l) { CalculateImpulseFilter(l); }, [this](int l) { LowColorDiffUpSample(l); },
            [this](int y) { Finish(y); });
    }

private:
    bool Odd(int y) const { return (y & 1) != 0; }
    // The neighbour rows; the one on the other side where one is missing.
    int Above(int y) const { return y == 0 ? 1 : y - 1; }
    int Below(int y, int rows) const { return y + 1 == rows ? y - 1 : y + 1; }
    // The same, the row itself where one is missing.
    int AboveOrOwn(int l) const { return l == 0 ? 0 : l - 1; }
    int BelowOrOwn(int l) const { return l + 1 == lowH_ ? l : l + 1; }

    void CalculateWhiteBalance(int y) const {
        Lane* pan = lines_.panSites.Make(y);
        Lane* colour = lines_.colour.Make(y);
        SplitRow(mosaic_ + static_cast<ptrdiff_t>(y) * W_, n_, Odd(y) ? colour : pan, Odd(y) ? pan : colour);
        if (!unitPan_) {
            const Gain gain = Gain::Make(settings_.panGain);
            GainRow<Lane>(gain, gain, n_, pan);
        }
        if (!unitColour_) {
            const Gain green = Gain::Make(settings_.greenGain);
            if ((y & 2) == 0) {
                GainRow<Lane>(Gain::Make(settings_.blueGain), green, n_, colour);
            } else {
                GainRow<Lane>(green, Gain::Make(settings_.redGain), n_, colour);
            }
        }
    }

    void InterpolatePanFast(int y) const {
        const bool rim = y == 0 || y == H_ - 1;
        const PanNeighbours<Lane> sites = {lines_.panSites[Above(y)], lines_.panSites[y], lines_.panSites[Below(y, H_)],
                                           y, rim};
        CompletePanRow<PanTies::OddRows>(sites, n_, lines_.pan.Make(y));
    }

    void GenerateLow(int l) const {
        const int y = 2 * l;
        const BlockRow<Lane> blocks = {{lines_.panSites[y], lines_.panSites[y + 1]},
                                       {lines_.colour[y], lines_.colour[y + 1]},
                                       {lines_.pan[y], lines_.pan[y + 1]}};
        BlockMeans<Lane>(blocks, n_, lines_.lowColorDiff.Make(l), lines_.lowPan.Make(l));
    }

    // The differences that the completion reads, filled along the row.
    void CalculateImpulseFilter(int l) const {
        const Lane* diff = lines_.lowColorDiff[l];
        if (impulseFilter_) {
            Lane* row = lines_.filtered;
            diff = row;
            std::copy(lines_.lowColorDiff[l], lines_.lowColorDiff[l] + n_, row);
            if (l >= kRadius && l < lowH_ - kRadius) {
                ClipRow<Lane>(lines_.lowColorDiff[l - kRadius], lines_.lowColorDiff[l - 1], lines_.lowColorDiff[l],
                              lines_.lowColorDiff[l + 1], lines_.lowColorDiff[l + kRadius], kRadius, n_, row);
            }
        }
        FillAlongRow(diff, l, n_, lines_.alternate, lines_.chroma.Make(l), lines_.along.Make(l));
    }

    // Finished differences of a row of blocks.
    Lane* Difference(int channel, int l) const {
        return channel == (Odd(l) ? 0 : 2) ? lines_.chroma[l] : lines_.low[channel][l];
    }

    void LowColorDiffUpSample(int l) const {
        const int up = Above(l);
        const int down = Below(l, lowH_);
        const Lines<Lane>& along = lines_.along;
        FillOtherChroma(lines_.chroma[up], lines_.chroma[down], n_, lines_.low[Odd(l) ? 2 : 0].Make(l));
        FillGreen(along[up], along[l], along[down], l, l == 0 || l == lowH_ - 1, n_, lines_.alternate,
                  lines_.low[1].Make(l));
        if (colorSmoothEnable_) {
            for (int channel = 0; channel < kChannels; ++channel) {
                SmoothRow(Difference(channel, l), lines_.smooth[channel], l);
            }
        }
        if (panSmoothEnable_) {
            SmoothRow(lines_.lowPan[l], lines_.panSmooth, l);
        }
    }

    // The two halves of CalculateConvolveSimple1D over rows of full size, each of which stands twice in each direction.
    void SmoothRow(Lane* low, const Lines<Lane>* across, int l) const {
        low[-1] = low[0];
        low[n_] = low[last_];
        SmoothAcross<Lane>(low, n_, across[0].Make(l), across[1].Make(l));
    }
    void SmoothColumns(const Lines<Lane>& across, int y, Lane* out) const {
        const int l = y >> 1;
        SmoothAlong<Lane>(across[l], across[Odd(y) ? BelowOrOwn(l) : AboveOrOwn(l)], n_, out);
    }

    // Mean pan at full size. No later stage reads it: the branch belongs to the method, is kept on purpose, and is part
    // of its cost.
    void LowPanUpSample(int y) const {
        if (!panSmoothEnable_) {
            Replicate<Lane>(lines_.lowPan[y >> 1], n_, lines_.lowPanFull[0], lines_.lowPanFull[1]);
            return;
        }
        for (int column = 0; column < 2; ++column) {
            SmoothColumns(lines_.panSmooth[column], y, lines_.lowPanFull[column]);
        }
    }

    void Finish(int y) const {
        LowPanUpSample(y);
        ColorCorrection(y);
    }

    void ColorCorrection(int y) const {
        ColourLanes<Lane> lanes;
        lanes.pan[0] = Odd(y) ? lines_.pan[y] : lines_.panSites[y];
        lanes.pan[1] = Odd(y) ? lines_.panSites[y] : lines_.pan[y];
        for (int channel = 0; channel < kChannels; ++channel) {
            for (int column = 0; column < 2; ++column) {
                const Lane*& diff = lanes.diff[channel][column];
                diff = Difference(channel, y >> 1);
                if (colorSmoothEnable_) {
                    SmoothColumns(lines_.smooth[channel][column], y, lines_.full[channel][column]);
                    diff = lines_.full[channel][column];
                }
            }
        }
        CorrectColours<Lane>(lanes, settings_.matrix, n_, lines_.rows);
        sink_.Row(y, lines_.rows[0], lines_.rows[1], lines_.rows[2]);
    }

    const int16_t* mosaic_;
    int W_, H_;
    int n_;     // lanes per row, blocks per row of blocks
    int last_;  // the last of them
    int lowH_;  // rows of blocks
    const SimpleSettings& settings_;
    const ColourRowSink& sink_;
    bool unitPan_, unitColour_;  // gains
    bool impulseFilter_, panSmoothEnable_, colorSmoothEnable_;
    const StripPlan<6> plan_;
    const SimpleLines<Lane> lines_;
};

// True when a gain brings every sample to 12 bits.
bool AllClamp(const SimpleSettings& settings) {
    return settings.panGain != 1.0 && settings.redGain != 1.0 && settings.greenGain != 1.0 && settings.blueGain != 1.0;
}

}  // namespace

size_t SimpleScratchBytes(int W) {
    LineCutter cutter(nullptr);
    const SimpleLines<int32_t> lines(W, PlanOf(true, true), &cutter);
    return cutter.Bytes();
}

void ReconstructSimpleStrip(const int16_t* mosaic, int W, int H, int y0, int y1, bool narrow,
                            const SimpleSettings& settings, void* scratch, const ColourRowSink& sink) {
    const bool filters = settings.impulseFilter || settings.panSmoothEnable || settings.colorSmoothEnable;
    if (!narrow && !AllClamp(settings)) {
        SimpleStrip<int32_t, true>(mosaic, W, H, settings, LineCutter(scratch), sink).Run(y0, y1);
    } else if (filters) {
        SimpleStrip<int16_t, true>(mosaic, W, H, settings, LineCutter(scratch), sink).Run(y0, y1);
    } else {
        SimpleStrip<int16_t, false>(mosaic, W, H, settings, LineCutter(scratch), sink).Run(y0, y1);
    }
}

}  // namespace orv
