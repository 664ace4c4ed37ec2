// Sums of a pair of gradients over square windows, for the adaptive Bayer engines.
//
// Gradients stand on the sites of one checkerboard half and are zero elsewhere. Their rows enter from the top; the last
// ones stay within reach of windows of half-width 4.
#ifndef ORV_BAYER_WINDOWSUMS_H
#define ORV_BAYER_WINDOWSUMS_H

#include "bayer/SplitPlane.h"
#include "rows/Numeric.h"

namespace orv {

constexpr int kMaxRadius = 4;
static_assert(kRing > 2 * kMaxRadius + 1, "rows within reach of a window, and one more");

// The corners of the windows of a row of sites in an integral image.
struct WindowRow {
    const float* bottomRight;
    const float* bottomLeft;
    const float* topRight;
    const float* topLeft;
};

// Window sums of a row: of bytes as such, else by corners.
template <class S>
struct SumsOf {
    using Row = const S*;
};
template <>
struct SumsOf<float> {
    using Row = WindowRow;
};

// This order of additions: integrals round.
ORV_ALWAYS_INLINE float WindowSum(const WindowRow& row, int k) {
    return ((row.bottomRight[k] - row.bottomLeft[k]) - row.topRight[k]) + row.topLeft[k];
}

// Window sums of one scale in a row, and the number of sites in a window: in each, or by corners in all.
template <class S>
struct ScaleRow {
    typename SumsOf<S>::Row a;
    typename SumsOf<S>::Row b;
    const S* area;
};

template <class T>
class WindowSums;

// 8-bit samples: sums are small integers, taken straight from the gradients.
template <>
class WindowSums<uint8_t> {
public:
    using Gradient = uint16_t;
    using Sum = uint16_t;  // at most 41 * 255
    // Hold the sums of one scale times the area of the other: at most 5 * 13 * 255, and 9 * 255 * 41 where only every
    // second row counts.
    using Contrast = int16_t;
    using DiagonalContrast = int32_t;
    using Difference = int16_t;  // of two samples
    static constexpr bool kByCorners = false;
    struct Kept {
        void Create(int, int) {}
        Sum* Row(int, int) const { return nullptr; }
        const float* Leak(int, int) const { return nullptr; }
    };

    void Create(int width, int height);
    // Starts a pass over half `q` with windows of half-widths up to `reach`. `bothParities`: rows at an odd distance
    // count too, otherwise they are all zero.
    void Start(int q, int reach, bool bothParities);

    // Where the next row's gradients go, at the index of their sites.
    Gradient* NextFirst() { return first_[next_ % kRing]; }
    Gradient* NextSecond() { return second_[next_ % kRing]; }
    // Ends the next row: gradients stand at both places, or are all zero. The leaks do not exist at this width.
    void Push(bool zero, const float* leakAtSites, const float* leakBetween);

    // Window sums of the sites of row r to `a` and `b`, by scale: half-widths `h`, none above twice the one before, as
    // they are in frames of at least 2 * kMaxRadius + 2 rows. Anything where windows reach beyond a side.
    void Rows(int r, const int* h, int scales, Sum* const* a, Sum* const* b, ScaleRow<Sum>* rows);
    const Sum* Written(const Sum* sums) const { return sums; }
    // Window sums of the site (r, c); the window may reach beyond the right and the lower edge.
    void Site(int r, int c, int h, Sum* a, Sum* b) const;

private:
    Sum Total(const Gradient* const* rows, int r, int c, int h) const;

    int width_ = 0;
    int height_ = 0;
    int q_ = 0;
    bool bothParities_ = true;
    int next_ = 0;
    RowArray<Gradient> first_;
    RowArray<Gradient> second_;
    RowArray<Gradient> zero_;
    const Gradient* firstRows_[kRing] = {};
    const Gradient* secondRows_[kRing] = {};
    // Sums over the rows of a window at even distance, by scale, and at odd distance.
    RowArray<Gradient> column_;
};

// 16-bit samples: differences of single-precision integral images. Integrals above 2^24 round, so their order of
// additions is part of the results: along the row first, then from the top.
template <>
class WindowSums<uint16_t> {
public:
    using Gradient = float;
    using Sum = float;
    using Contrast = float;
    using DiagonalContrast = float;
    using Difference = float;
    // Sums of rows are left to their reader.
    static constexpr bool kByCorners = true;

    // One plane that is never cleared between passes or frames: second sums of the smallest window at the sites of the
    // last pass over a half, zero on the border and before the first.
    struct Kept {
        SplitPlane<float> sums;
        void Create(int width, int height) { sums.Create(height, width); }
        Sum* Row(int q, int r) { return sums.Row(q, r); }
        const float* Leak(int q, int r) const { return sums.Row(q, r); }
    };

    void Create(int width, int height);
    void Start(int q, int reach, bool bothParities);

    Gradient* NextFirst() { return gradients_[0]; }
    Gradient* NextSecond() { return gradients_[1]; }
    // As above. The second gradient can have `leakAtSites` in place of a row of zeros, and `leakBetween` on the pixels
    // between the sites; null for zeros.
    void Push(bool zero, const float* leakAtSites, const float* leakBetween);

    // These are not written out: `rows` says where to take them.
    void Rows(int r, const int* h, int scales, Sum* const* a, Sum* const* b, ScaleRow<Sum>* rows) const;
    // Sums in an array, as corners: row 0 of the integral image is zero.
    WindowRow Written(const Sum* sums) const {
        const float* zero = first_.even[0];
        return {sums, zero, zero, zero};
    }
    void Site(int r, int c, int h, Sum* a, Sum* b) const;

private:
    // Rows of an integral image, split by column parity: column x at index x / 2.
    struct Integral {
        RowArray<float> even;
        RowArray<float> odd;
        const float* evenRows[kRing];
        const float* oddRows[kRing];
        int slot;
        int slots;  // as few as windows need, which keeps them in the cache
        int height;

        void Create(int width, int frameHeight);
        void Start(int reach);
        // Row y + 1 as row y, or new.
        void Repeat(int y);
        void Next(int y, float** nextEven, float** nextOdd);
        float At(int y, int x) const {
            const float* row = (x & 1) == 0 ? evenRows[y % kRing] : oddRows[y % kRing];
            return row[x >> 1];
        }
        float Window(int top, int bottom, int left, int right) const;
        WindowRow Row(int r, int h, int p) const;
    };

    int width_ = 0;
    int height_ = 0;
    int q_ = 0;
    int next_ = 0;
    Integral first_;
    Integral second_;
    RowArray<float> gradients_;
};

}  // namespace orv

#endif
