// The adaptive Bayer engines (`BayerAlgType` 1).
//
// Green is completed first, then red and blue from their differences to green. Every missing sample is a mean of a
// pair of neighbours in one direction and a pair in the other, weighted by the fourth power of how smooth the frame is
// along each; a window of two or three sizes around the site measures that, and the size wins whose directions differ
// most.
#ifndef ORV_BAYER_DEMOSAICINGIPP_H
#define ORV_BAYER_DEMOSAICINGIPP_H

#include "OrvImage.h"
#include "bayer/DemosaicingIPPSums.h"
#include "bayer/SplitPlane.h"

// What both sample widths share. The operations return bare codes: 0, 7 bad argument, 8 null pointer, 9 no memory.
class DemosaicingIPP {
public:
    DemosaicingIPP();
    virtual ~DemosaicingIPP();
    DemosaicingIPP(const DemosaicingIPP&) = delete;
    DemosaicingIPP& operator=(const DemosaicingIPP&) = delete;

    // Takes over size, mosaic and value range of a frame. Keeps `destination` for the next Calculate. A failure changes
    // nothing.
    virtual int Init(_OrvImage* destination, const _OrvImage* source);
    virtual int Calculate() = 0;
    // Forgets the geometry; the planes stay.
    virtual int CleanMemory() = 0;

    // By the serial of a pixel type word. 1: the first pixel is green.
    static uint8_t s_bayerDescG[256];
    // 2: red lies on the even rows, 3: blue does.
    static uint8_t s_bayerDescRB[256];
    // 4: red comes first in memory, 5: blue does.
    static uint8_t s_RGBBGRDesc[256];

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
    // Copies the frame in. 7 also for a destination that is larger than the frame and for a frame of another size than
    // the one calculated before; 8 also for missing pixels.
    int Init(_OrvImage* destination, const _OrvImage* source) override;
    // Converts the frame of the last Init into its destination.
    int Calculate() override;
    int CleanMemory() override;

protected:
    // True when the words at this destination want the planes of the even-row and the odd-row colour exchanged.
    virtual bool ExchangesOrder(uint32_t destinationWord) const = 0;

private:
    // Samples of either width.
    using Plane = orv::SplitPlane<uint16_t>;
    using Sums = orv::WindowSums<T>;
    using Sum = typename Sums::Sum;
    static constexpr int kMaxScales = 3;
    // Radii of the diagonal pass: 2 and 4 for bytes, else 1, 2 and 4.
    static constexpr int kDiagonalRadius = sizeof(T) == 1 ? 2 : 1;
    static constexpr int kDiagonalScales = sizeof(T) == 1 ? 2 : 3;

    void CreatePlanes();
    void CopyFrame(const _OrvImage& source);
    void SplitRow(int r, const T* line);

    void CalculateGreen();
    void CalculateRedAndBlueComponentInitial(int radius, int scales);
    void CalculateRedOrBlueComponent(Plane& plane, Sums& sums, bool leaks, int radius, int scales);
    void StoreImage(const Plane& first, const Plane& third);

    // Border sites of half `q` of `plane` from their neighbours in the other half.
    void FillCrossBorder(Plane& plane, int q);
    void FillDiagonalBorder();

    // The window pass and the blend over the sites of half `q`, row by row. `feed(r)` hands gradient row r to the sums,
    // `sumsOf(r)` names those that row r reads, `line(r, to)` makes the row of the sites' neighbours that the blend
    // reads, and `out(r)` is where the samples go. Border sites are left with anything.
    enum class Pass { Green, Diagonal, Cross };
    template <class Feed, class SumsOf, class Line, class Out>
    void RunPass(Pass pass, int q, int radius, int scales, const Feed& feed, const SumsOf& sumsOf, const Line& line,
                 const Out& out);
    void WindowRow(Sums& sums, int r, int q, int radius, int scale, Sum* a, Sum* b);
    void FeedCross(Sums& sums, const Plane& plane, int q, int r, bool leaks);

    // Column parity of the sites of half `q` in row r.
    static int Parity(int r, int q) { return (r + q) & 1; }

    bool calculated_ = false;
    bool ready_ = false;
    int planeWidth_ = 0;
    int planeHeight_ = 0;

    Plane greenPlane_;
    Plane evenRowPlane_;
    Plane oddRowPlane_;
    // What stays of the first scale's second window sums, from pass to pass and frame to frame.
    typename Sums::Kept kept_;
    Sums evenSums_;
    Sums oddSums_;

    orv::RowArray<T> line_;
    orv::RowArray<Sum> sumA_;
    orv::RowArray<Sum> sumB_;
    // Sites per window, by scale and column parity of the sites.
    orv::RowArray<Sum> area_;
    int areaHalfWidth_[kMaxScales][2];
    // Rows of neighbours, the last few.
    static constexpr int kLines = 4;
    orv::RowArray<float> lines_;
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
