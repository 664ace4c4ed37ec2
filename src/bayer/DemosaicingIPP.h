// The adaptive Bayer engines (`BayerAlgType` 1). Their class name is fixed; everything else calls them adaptive.
//
// Green is completed first, then red and blue from their differences to green. Every missing sample is a mean of a
// pair of neighbours in one direction and a pair in the other, weighted by the fourth power of how smooth the frame is
// along each; a window of two or three sizes around the site measures that, and the size wins whose directions differ
// most.
#ifndef ORV_BAYER_DEMOSAICINGIPP_H
#define ORV_BAYER_DEMOSAICINGIPP_H

#include <array>

#include "OrvImage.h"
#include "bayer/AdaptiveBlend.h"
#include "bayer/SplitPlane.h"
#include "bayer/WindowSums.h"

// What both sample widths share. The operations return bare codes: 0, 7 bad argument, 8 null pointer, 9 no memory.
class DemosaicingIPP {
public:
    DemosaicingIPP() = default;
    virtual ~DemosaicingIPP() = default;
    DemosaicingIPP(const DemosaicingIPP&) = delete;
    DemosaicingIPP& operator=(const DemosaicingIPP&) = delete;

    // Takes over size, mosaic and value range of a frame. Keeps `destination` for the next Calculate. A failure changes
    // nothing.
    virtual int Init(_OrvImage* destination, const _OrvImage* source);
    virtual int Calculate() = 0;
    // Forgets the geometry; the planes stay.
    virtual int CleanMemory() = 0;

    // By the serial of a pixel type word, 0 for words without an entry. 1: the first pixel is green.
    static const std::array<uint8_t, 256> s_bayerDescG;
    // 2: red lies on the even rows, 3: blue does.
    static const std::array<uint8_t, 256> s_bayerDescRB;
    // 4: red comes first in memory, 5: blue does.
    static const std::array<uint8_t, 256> s_RGBBGRDesc;

protected:
    _OrvImage* destination_ = nullptr;
    // Source size rounded up to even.
    int width_ = 0;
    int height_ = 0;
    int allocatedWidth_ = 0;
    int allocatedHeight_ = 0;
    int minValue_ = 0;
    int maxValue_ = 0;
    // 0: the first pixel is green; a pixel (r, c) is a colour sample when r + c + greenPhase is odd.
    int greenPhase_ = 0;
    // 0: red lies on the even rows, 1: blue does.
    int colourPhase_ = 0;
};

// The engine for samples of type T. All work runs on the calling thread; frames of the first calculated size only.
template <class T>
class DemosaicingIPPOf : public DemosaicingIPP {
public:
    // Copies the frame in. Refusals come in this order, before any change: 8 also for missing pixels, 7 for a word that
    // is no Bayer word, 9 for a frame without pixels, 7 for a frame of another size than the one calculated before and
    // for a destination that is larger than the frame.
    int Init(_OrvImage* destination, const _OrvImage* source) override;
    // Converts the frame of the last Init into its destination.
    int Calculate() override;
    int CleanMemory() override;

protected:
    // True when the words at this destination want the planes of the even-row and the odd-row colour exchanged.
    virtual bool ExchangesOrder(uint32_t destinationWord) const = 0;

private:
    using Sums = orv::WindowSums<T>;
    using Difference = typename Sums::Difference;
    template <orv::Step S>
    using Target = orv::BlendTarget<orv::NeighbourOf<T, S>>;
    // Radii of the diagonal pass: 2 and 4 for bytes, else 1, 2 and 4.
    static constexpr int kDiagonalRadius = sizeof(T) == 1 ? 2 : 1;
    static constexpr int kDiagonalScales = orv::ScalesOf<T>(orv::Step::Diagonal);

    // All passes work on a few rows at a time, each behind the one before, so that rows stay in the cache: row r of the
    // mosaic is split when green is at row r - kGreenLag, and so on. Green needs gradients two rows down, and those the
    // row below. The diagonal windows reach four rows down, where green must be done with the sums that both keep. The
    // windows of the last passes reach two rows down, and gradients there the row below.
    static constexpr int kGreenLag = 3;
    static constexpr int kDiagonalLag = kGreenLag + 4;
    static constexpr int kCrossLag = kDiagonalLag + 3;
    // A pass makes as many rows before the next one has its turn. What a pass keeps, about a quarter of what all keep,
    // stays in the cache meanwhile.
    static constexpr int kRowsInTurn = 8;
    // Rows at work: the last passes read one row up.
    static constexpr int kPlaneRows = kCrossLag + 1 + kRowsInTurn;
    // Samples of either width.
    using Plane = orv::SplitRing<uint16_t, kPlaneRows>;

    // One pass over the sites of half `q`.
    static constexpr int kLines = 4;
    struct Pass {
        int q, radius, scales;
        // Rows of gradients that the sums have got, and of differences to green there are: the last few.
        int fed, lined;
        orv::RowArray<Difference> differences;
        Sums sums;  // of all rows; in the diagonal pass of the even ones
    };

    bool CreatePlanes();
    void CopyFrame(const _OrvImage& source);
    static void Start(Pass& pass, int q, bool bothParities, int radius, int scales);

    // Row r of each step; none for rows outside the frame.
    void SplitRow(int r);
    void CalculateGreen(int r);
    void CalculateRedAndBlueComponentInitial(int r);
    void CalculateRedOrBlueComponent(Pass& pass, Plane& plane, bool carries, int r);
    void StoreRow(int r);

    // Border sites of half `q` of row r of `plane` from their neighbours in the other half.
    void FillCrossBorder(Plane& plane, int q, int r);
    // After row r of the diagonal pass: borders of rows above it, and of the uppermost and the lowest row.
    void FillDiagonalBorder(int r);

    bool IsInterior(int r) const { return r > 0 && r < height_ - 1; }
    // For an interior row r: hands the sums the gradients that its windows want, by `feed(y)`, then blends the
    // neighbours in `target` to `out`.
    template <orv::Step S, class Feed>
    void BlendRow(Pass& pass, Sums& sums, int r, const Feed& feed, Target<S> target, uint16_t* out);
    // The same for the sites [first, end), some of whose windows shrink to stay off the border. `windows`: those of the
    // whole row, of half-widths `rowHalfWidths`; null where all have sizes of their own.
    template <orv::Step S>
    void BlendBorder(const Pass& pass, const Sums& sums, int r, const typename Sums::Windows* windows,
                     const int* rowHalfWidths, const Target<S>& target, int first, int end);
    void MakeDifferences(Pass& pass, int r, int q, const Plane& evenRows, const Plane& oddRows);
    void FeedCross(Sums& sums, const Plane& plane, int q, int r, bool carries);
    void FeedDiagonal(int r);

    // The plane of the colour that row r has samples of.
    Plane& OwnColour(int r) { return (r & 1) == 0 ? evenRowPlane_ : oddRowPlane_; }
    // Column parity of the sites of half q in row r.
    static int Parity(int r, int q) { return (r + q) & 1; }

    bool calculated_ = false;
    bool ready_ = false;
    int planeWidth_ = 0;
    int planeHeight_ = 0;

    // The frame; after Calculate its full green.
    orv::RowArray<T> mosaic_;
    Plane greenPlane_;
    Plane evenRowPlane_;
    Plane oddRowPlane_;
    typename Sums::Carried carried_;
    Pass green_;
    Pass diagonal_;
    Sums oddDiagonalSums_;
    Pass evenCross_;
    Pass oddCross_;

    typename Sums::Scratch scratch_;
    // The sums that count at sites near the border.
    orv::RowArray<float> borderSums_;
};

class DemosaicingIPP_8 final : public DemosaicingIPPOf<uint8_t> {
protected:
    // Only the RGB and BGR words of 8 bits are known here; all others leave the even-row colour first.
    bool ExchangesOrder(uint32_t destinationWord) const override;
};

class DemosaicingIPP_16 final : public DemosaicingIPPOf<uint16_t> {
protected:
    bool ExchangesOrder(uint32_t destinationWord) const override;
};

#endif
