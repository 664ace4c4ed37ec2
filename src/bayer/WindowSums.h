// Sums of a pair of gradients over square windows, for the adaptive Bayer engines.
//
// Gradients stand on the sites of one checkerboard half and are zero elsewhere. Their rows enter from the top; the last
// ones stay within reach of windows of half-width 4.
//
// Sums carried over. Above 8 bits the second gradient of a pass is not zero off its own sites: there it is what the
// last pass over those pixels left as its second sum in the smallest window. One plane holds these sums and is never
// cleared. So
// - green takes, between its sites, what the second cross pass of the frame before left there;
// - the diagonal pass takes on odd rows gradients at its sites and those same sums between them, on even rows also, at
//   its sites, what green has left there in this frame (sites on even rows use gradients of their own, without any);
// - the first cross pass takes, between its sites, what the diagonal pass has left there;
// - the second cross pass takes none, and leaves its own in place of the first one's.
// The plane is zero when new, so a first frame gets sums of its own passes only; every later one gets, through green
// and the diagonal pass, those of the frame before.
#ifndef ORV_BAYER_WINDOWSUMS_H
#define ORV_BAYER_WINDOWSUMS_H

#include "bayer/SplitPlane.h"
#include "rows/Numeric.h"

namespace orv {

constexpr int kMaxRadius = 4;
constexpr int kMaxSlots = 2 * kMaxRadius + 2;
constexpr int kMaxScales = 3;
// Rows that windows reach, and more; a power of two.
constexpr int kRing = 16;
static_assert(kRing > 2 * kMaxRadius + 1, "rows within reach of a window, and one more");

// Sites of the centre's checkerboard half in a window of half-width h.
constexpr int WindowArea(int h) { return ((2 * h + 1) * (2 * h + 1) >> 1) + 1; }

// Window sums of a row by scale, and the number of sites in a window: of bytes as such.
struct BoxWindows {
    const uint16_t* a[2];
    const uint16_t* b[2];
    int area[2];

    float A(int scale, int k) const { return a[scale][k]; }
    float B(int scale, int k) const { return b[scale][k]; }
};

// Window sums of a row as the corners of the windows in an integral image.
struct CornerRow {
    const float* bottomRight;
    const float* bottomLeft;
    const float* topRight;
    const float* topLeft;
};
// This order of additions: integrals round.
ORV_ALWAYS_INLINE float WindowSum(const CornerRow& row, int k) {
    return ((row.bottomRight[k] - row.bottomLeft[k]) - row.topRight[k]) + row.topLeft[k];
}
struct CornerWindows {
    CornerRow a[kMaxScales];
    CornerRow b[kMaxScales];
    float area[kMaxScales];
    float* carried;  // takes the second sums of the first scale

    float A(int scale, int k) const { return WindowSum(a[scale], k); }
    float B(int scale, int k) const { return WindowSum(b[scale], k); }
};

// A row of an integral image, from the row above and the image row's values.
struct IntegralRow {
    const float* sites;
    const float* between;  // values between the sites, null for zeros
    const float* aboveEven;
    const float* aboveOdd;
    float* nextEven;
    float* nextOdd;
};

template <class T>
class WindowSums;

// 8-bit samples: sums are small integers, taken straight from the gradients.
template <>
class WindowSums<uint8_t> {
public:
    using Gradient = uint16_t;
    using Difference = int16_t;  // of two samples
    using Windows = BoxWindows;
    // Room for the sums of one row, shared by all passes.
    static constexpr int kScratchRows = 7;
    static constexpr bool kWindowsShrink = true;
    using Scratch = RowArray<uint16_t>;
    // None are carried over at this width.
    struct Carried {
        bool Create(int, int) { return true; }
        float* Row(int, int) { return nullptr; }
        void Set(int, int, int, float) {}
    };

    bool Create(int width, int height);
    // Starts a pass over half `q` with windows of half-widths up to `reach`. `bothParities`: rows at an odd distance
    // count too, otherwise they are all zero. `carries`: the second gradient is carried over on all rows.
    void Start(int q, int reach, bool bothParities, bool carries);

    // Where the next row's gradients go, at the index of their sites.
    Gradient* NextFirst() { return first_[slot_]; }
    Gradient* NextSecond() { return second_[slot_]; }
    // Ends the next row: gradients stand at both places, or are all zero.
    void Push(bool zero, const float* carriedAtSites, const float* carriedBetween);

    // The windows of the sites of row r, of half-widths `h` by scale, none above twice the one before, as they are in
    // frames of at least 2 * kMaxRadius + 2 rows. Windows that reach the border or beyond shrink, so that they choose
    // the right sum, with kWindowsShrink; else they hold anything. Valid until the next call with `scratch`.
    Windows WindowsOf(int r, const int* h, int scales, Scratch& scratch, float* carried) const;
    // Window sums of the site (r, c); the window may reach beyond the right and the lower edge.
    void Site(int r, int c, int h, float* a, float* b) const;

private:
    void Shrink(int r, const int* h, uint16_t* const* a, uint16_t* const* b) const;

    int width_ = 0;
    int height_ = 0;
    int q_ = 0;
    bool bothParities_ = true;
    int next_ = 0;
    int slot_ = 0;
    int slots_ = 0;  // as few as windows need, which keeps them in the cache
    RowArray<Gradient> first_;
    RowArray<Gradient> second_;
    RowArray<Gradient> zero_;
    // Row y at y % kRing and once more at kRing places above, so that rows within reach of a window are neighbours.
    const Gradient* firstRows_[2 * kRing] = {};
    const Gradient* secondRows_[2 * kRing] = {};
};

// 16-bit samples: differences of single-precision integral images. Integrals above 2^24 round, so their order of
// additions is part of the results: along the row first, then from the top.
template <>
class WindowSums<uint16_t> {
public:
    using Gradient = float;
    using Difference = float;
    using Windows = CornerWindows;
    static constexpr int kScratchRows = 0;
    static constexpr bool kWindowsShrink = false;
    using Scratch = RowArray<float>;
    // Zero on the border.
    struct Carried {
        SplitPlane<float> sums;
        bool Create(int width, int height) { return sums.Create(height, width); }
        float* Row(int q, int r) { return sums.Row(q, r); }
        void Set(int q, int r, int k, float sum) { sums.Row(q, r)[k] = sum; }
    };

    bool Create(int width, int height);
    void Start(int q, int reach, bool bothParities, bool carries);

    Gradient* NextFirst() { return gradients_[0]; }
    Gradient* NextSecond() { return gradients_[1]; }
    // As above. The second gradient can have `carriedAtSites` in place of a row of zeros, and `carriedBetween` on the
    // pixels between the sites; null for zeros.
    void Push(bool zero, const float* carriedAtSites, const float* carriedBetween);

    Windows WindowsOf(int r, const int* h, int scales, Scratch& scratch, float* carried) const;
    void Site(int r, int c, int h, float* a, float* b) const;

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

        bool Create(int width, int frameHeight);
        void Start(int rows);
        // Row y + 1 as row y, or new.
        void Repeat(int y);
        IntegralRow Next(int y, const float* sites, const float* between);
        float At(int y, int x) const {
            const float* row = (x & 1) == 0 ? evenRows[y % kRing] : oddRows[y % kRing];
            return row[x >> 1];
        }
        float Window(int top, int bottom, int left, int right) const;
        CornerRow Row(int r, int h, int p) const;
    };

    int width_ = 0;
    int height_ = 0;
    int q_ = 0;
    int next_ = 0;
    bool carries_ = false;
    IntegralRow waiting_ = {};
    Integral first_;
    Integral second_;
    RowArray<float> gradients_;
};

}  // namespace orv

#endif
