#include "bayer/DemosaicingIPP.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "bayer/AdaptiveRows.h"
#include "component/PixelTypes.h"

namespace {

constexpr uint8_t kGreenFirst = 1;
constexpr uint8_t kRedOnEvenRows = 2;
constexpr uint8_t kBlueOnEvenRows = 3;
constexpr uint8_t kRedFirst = 4;
constexpr uint8_t kBlueFirst = 5;

// Bounds a sample of bytes before its low byte is stored: above all that comes out, below 2^15.
constexpr int kMaxByteResult = 1023;

// Words GR, RG, GB, BG of a depth follow one another, as do those of RGB and BGR.
constexpr std::array<uint8_t, 256> BayerTable(uint8_t gr, uint8_t rg, uint8_t gb, uint8_t bg) {
    std::array<uint8_t, 256> table = {};
    for (const uint32_t word :
         {OrvPixelBayerGR8, OrvPixelBayerGR10, OrvPixelBayerGR12, OrvPixelBayerGR14, OrvPixelBayerGR16}) {
        const uint32_t serial = word & 0xFFU;
        table[serial] = gr;
        table[serial + 1] = rg;
        table[serial + 2] = gb;
        table[serial + 3] = bg;
    }
    return table;
}
constexpr std::array<uint8_t, 256> ColourTable(uint8_t rgb, uint8_t bgr) {
    std::array<uint8_t, 256> table = {};
    for (uint32_t serial = OrvPixelRGB8 & 0xFFU; serial < (OrvPixelBGR16 & 0xFFU); serial += 2) {
        table[serial] = rgb;
        table[serial + 1] = bgr;
    }
    return table;
}

int64_t RoundUpToEven(int size) { return static_cast<int64_t>(size) + (size & 1); }

// Half-width of the windows of row r that stay clear of the left and the right edge.
int RowHalfWidth(int r, int radius, int height) {
    if (r <= radius) {
        return r - 1;
    }
    return r >= height - radius - 1 ? height - 2 - r : radius;
}

// Half-width of the window at (r, c): windows shrink to stay off the border. In frames of a few rows or columns the
// upper and the left edge decide.
int HalfWidth(int r, int c, int radius, int width, int height) {
    const bool rowBand = r <= radius || r >= height - radius - 1;
    if (rowBand) {
        return std::min(RowHalfWidth(r, radius, height), std::min(c - 1, width - 2 - c));
    }
    if (c <= radius) {
        return c - 1;
    }
    return c >= width - radius - 1 ? width - 2 - c : radius;
}

}  // namespace

const std::array<uint8_t, 256> DemosaicingIPP::s_bayerDescG = BayerTable(kGreenFirst, 0, kGreenFirst, 0);
const std::array<uint8_t, 256> DemosaicingIPP::s_bayerDescRB =
    BayerTable(kRedOnEvenRows, kRedOnEvenRows, kBlueOnEvenRows, kBlueOnEvenRows);
const std::array<uint8_t, 256> DemosaicingIPP::s_RGBBGRDesc = ColourTable(kRedFirst, kBlueFirst);

int DemosaicingIPP::Init(_OrvImage* destination, const _OrvImage* source) {
    if (destination == nullptr || source == nullptr) {
        return orv::kCodeNullPointer;
    }
    if (!orv::IsBayer(source->pixelType)) {
        return orv::kCodeBadArgument;
    }
    destination_ = destination;
    width_ = static_cast<int>(RoundUpToEven(source->width));
    height_ = static_cast<int>(RoundUpToEven(source->height));
    greenPhase_ = s_bayerDescG[source->pixelType & 0xFF] == kGreenFirst ? 0 : 1;
    colourPhase_ = s_bayerDescRB[source->pixelType & 0xFF] == kBlueOnEvenRows ? 1 : 0;
    minValue_ = 0;
    maxValue_ = static_cast<int>((1U << (static_cast<unsigned>(source->bitDepth) & 31U)) - 1U);
    return orv::kCodeOk;
}

template <class T>
int DemosaicingIPPOf<T>::Init(_OrvImage* destination, const _OrvImage* source) {
    if (destination == nullptr || source == nullptr || destination->data == nullptr || source->data == nullptr) {
        return orv::kCodeNullPointer;
    }
    if (!orv::IsBayer(source->pixelType)) {
        return orv::kCodeBadArgument;
    }
    if (source->width < 1 || source->height < 1) {
        return orv::kCodeNoMemory;
    }
    const int64_t width = RoundUpToEven(source->width);
    const int64_t height = RoundUpToEven(source->height);
    const bool otherSize = calculated_ && (width != planeWidth_ || height != planeHeight_);
    const bool tooLarge = (destination->width > width || destination->height > height) &&
                          static_cast<int64_t>(destination->height) * destination->stride >= 1;
    if (otherSize || tooLarge) {
        return orv::kCodeBadArgument;
    }
    if (std::max(width, height) > std::numeric_limits<int>::max()) {  // no room for the extra row or column
        return orv::kCodeNoMemory;
    }
    DemosaicingIPP::Init(destination, source);
    if (width_ != allocatedWidth_ || height_ != allocatedHeight_) {
        CleanMemory();
        if (!CreatePlanes()) {
            return orv::kCodeNoMemory;
        }
        allocatedWidth_ = planeWidth_ = width_;
        allocatedHeight_ = planeHeight_ = height_;
    }
    CopyFrame(*source);
    ready_ = true;
    return orv::kCodeOk;
}

template <class T>
bool DemosaicingIPPOf<T>::CreatePlanes() {
    const int sites = width_ / 2;
    bool created = mosaic_.Create(height_, width_) && carried_.Create(width_, height_) &&
                   oddDiagonalSums_.Create(width_, height_) && scratch_.Create(Sums::kScratchRows, sites);
    for (Plane* plane : {&greenPlane_, &oddRowPlane_, &evenRowPlane_}) {
        created = created && plane->Create(width_);
    }
    for (Pass* pass : {&green_, &diagonal_, &evenCross_, &oddCross_}) {
        created = created && pass->sums.Create(width_, height_) && pass->differences.Create(kLines, sites);
    }
    return created && borderSums_.Create(2, sites);
}

template <class T>
int DemosaicingIPPOf<T>::CleanMemory() {
    allocatedWidth_ = 0;
    allocatedHeight_ = 0;
    ready_ = false;
    return orv::kCodeOk;
}

template <class T>
void DemosaicingIPPOf<T>::CopyFrame(const _OrvImage& source) {
    const auto* from = static_cast<const unsigned char*>(source.data);
    const int64_t rowBytes = static_cast<int64_t>(width_) * static_cast<int64_t>(sizeof(T));
    const bool block = source.stride == rowBytes;
    // A frame with another stride is copied row by row. Above 8 bits that walk takes strides, which are bytes, for
    // samples of two bytes: it advances two rows at a time in both buffers, so odd rows do not arrive.
    const int rowStep = block ? 1 : static_cast<int>(sizeof(T));
    const int64_t bytes = std::max(source.imageSize, 0);
    // Pixels that the copy does not reach keep what the plane holds.
    for (int r = 0; r < source.height; ++r) {
        int64_t covered = 0;
        if (block) {
            covered = std::min(rowBytes, std::max<int64_t>(bytes - r * rowBytes, 0));
        } else if (r % rowStep == 0) {
            covered = static_cast<int64_t>(source.width) * static_cast<int64_t>(sizeof(T));
        }
        T* line = mosaic_[r];
        if (covered > 0) {
            std::memcpy(line, from + static_cast<int64_t>(r) * source.stride, static_cast<size_t>(covered));
        }
        if (source.width != width_) {
            line[width_ - 1] = width_ > 2 ? line[width_ - 3] : static_cast<T>(0);
        }
    }
    if (source.height != height_) {
        T* last = mosaic_[height_ - 1];
        if (height_ > 2) {
            std::memcpy(last, mosaic_[height_ - 3], static_cast<size_t>(rowBytes));
        } else {
            std::memset(last, 0, static_cast<size_t>(rowBytes));
        }
    }
}

template <class T>
int DemosaicingIPPOf<T>::Calculate() {
    if (!ready_) {
        return orv::kCodeNullPointer;
    }
    calculated_ = true;
    const int q = 1 - greenPhase_;
    Start(green_, q, true, 1, 2);
    // Rows of one parity have gradients of their own; the other parity's rows count as zero.
    Start(diagonal_, q, false, kDiagonalRadius, kDiagonalScales);
    oddDiagonalSums_.Start(q, orv::kMaxRadius, false, true);
    Start(evenCross_, 1 - q, true, 1, 2);
    Start(oddCross_, 1 - q, true, 1, 2);
    // Every pass follows the one before as closely as the rows that it reads allow: see the header.
    const auto each = [](int first, const auto& row) {
        for (int r = first; r < first + kRowsInTurn; ++r) {
            row(r);
        }
    };
    for (int top = 0; top < height_ + kCrossLag; top += kRowsInTurn) {
        each(top, [&](int r) { SplitRow(r); });
        each(top - kGreenLag, [&](int r) { CalculateGreen(r); });
        each(top - kDiagonalLag, [&](int r) { CalculateRedAndBlueComponentInitial(r); });
        each(top - kCrossLag, [&](int r) { CalculateRedOrBlueComponent(evenCross_, evenRowPlane_, true, r); });
        each(top - kCrossLag, [&](int r) { CalculateRedOrBlueComponent(oddCross_, oddRowPlane_, false, r); });
        each(top - kCrossLag, [&](int r) { StoreRow(r); });
    }
    return orv::kCodeOk;
}

template <class T>
void DemosaicingIPPOf<T>::Start(Pass& pass, int q, bool bothParities, int radius, int scales) {
    pass.q = q;
    pass.radius = radius;
    pass.scales = scales;
    pass.fed = 0;
    pass.lined = 0;
    pass.sums.Start(q, radius << (scales - 1), bothParities, false);
}

// One row of the mosaic: green pixels to the green plane, the others to the plane of the row's colour.
template <class T>
void DemosaicingIPPOf<T>::SplitRow(int r) {
    if (r >= height_) {
        return;
    }
    uint16_t* greenRow = greenPlane_.Row(greenPhase_, r);
    uint16_t* colourRow = OwnColour(r).Row(1 - greenPhase_, r);
    const bool greenEven = Parity(r, greenPhase_) == 0;
    orv::SplitColumns<T>(mosaic_[r], width_ / 2, greenEven ? greenRow : colourRow, greenEven ? colourRow : greenRow);
}

template <class T>
template <orv::Step S>
void DemosaicingIPPOf<T>::BlendBorder(const Pass& pass, const Sums& sums, int r, const typename Sums::Windows* windows,
                                      const int* rowHalfWidths, const Target<S>& target, int first, int end) {
    for (int k = first; k < end; ++k) {
        const int c = 2 * k + Parity(r, pass.q);
        float most = 0.0F;
        int lastHalfWidth = -1;
        for (int scale = 0; scale < pass.scales; ++scale) {
            const int h = windows != nullptr ? std::min(rowHalfWidths[scale], std::min(c - 1, width_ - 2 - c))
                                             : HalfWidth(r, c, pass.radius << scale, width_, height_);
            if (h == lastHalfWidth) {  // the same window again: a tie
                continue;
            }
            lastHalfWidth = h;
            float a = 0;
            float b = 0;
            if (windows != nullptr && h == rowHalfWidths[scale]) {
                a = windows->A(scale, k);
                b = windows->B(scale, k);
            } else {
                sums.Site(r, c, h, &a, &b);
            }
            const float contrast = std::fabs(a - b) / static_cast<float>(orv::WindowArea(h));
            if (scale == 0) {
                carried_.Set(pass.q, r, k, b);
            }
            if (scale == 0 || most < contrast) {
                most = contrast;
                borderSums_[0][k] = a;
                borderSums_[1][k] = b;
            }
        }
    }
    orv::BlendSites<T, S>(borderSums_[0], borderSums_[1], &target, first, end);
}

template <class T>
template <orv::Step S, class Feed>
void DemosaicingIPPOf<T>::BlendRow(Pass& pass, Sums& sums, int r, const Feed& feed, Target<S> target, uint16_t* out) {
    const int reach = pass.radius << (pass.scales - 1);
    for (; pass.fed <= std::min(r + reach, height_ - 1); ++pass.fed) {
        feed(pass.fed);
    }
    target.green = greenPlane_.Row(pass.q, r);
    target.low = minValue_;
    target.high = sizeof(T) == 1 ? std::min(maxValue_, kMaxByteResult) : maxValue_;
    target.out = out;
    const int n = width_ / 2;
    const int p = Parity(r, pass.q);
    const int first = 1 - p;
    const int end = n - p;
    int halfWidths[orv::kMaxScales];
    for (int scale = 0; scale < pass.scales; ++scale) {
        halfWidths[scale] = RowHalfWidth(r, pass.radius << scale, height_);
    }
    // The sites between have windows of the row's half-widths.
    const int widest = halfWidths[pass.scales - 1];
    const int left = (widest + 2 - p) >> 1;
    const int right = ((width_ - 2 - widest - p) >> 1) + 1;
    if (height_ >= 2 * orv::kMaxRadius + 2 && left < right) {
        const auto windows = sums.WindowsOf(r, halfWidths, pass.scales, scratch_, carried_.Row(pass.q, r));
        orv::BlendRow<S>(windows, target, orv::RoundUpToLanes(n));
        if (!Sums::kWindowsShrink) {
            BlendBorder<S>(pass, sums, r, &windows, halfWidths, target, first, left);
            BlendBorder<S>(pass, sums, r, &windows, halfWidths, target, right, end);
        }
    } else {
        BlendBorder<S>(pass, sums, r, nullptr, nullptr, target, first, end);
    }
    carried_.Set(pass.q, r, p == 0 ? 0 : n - 1, 0.0F);  // on the border
}

// Green less the colour of `plane` at the sites of half q, rows up to r + 1.
template <class T>
void DemosaicingIPPOf<T>::MakeDifferences(Pass& pass, int r, int q, const Plane& evenRows, const Plane& oddRows) {
    for (; pass.lined <= r + 1; ++pass.lined) {
        const int y = pass.lined;
        orv::DifferenceRow<Difference>(greenPlane_.Row(q, y), ((y & 1) == 0 ? evenRows : oddRows).Row(q, y),
                                       orv::RoundUpToLanes(width_ / 2), pass.differences[y % kLines]);
    }
}

// Horizontal and vertical gradients of `plane` at the sites of half q of row r.
template <class T>
void DemosaicingIPPOf<T>::FeedCross(Sums& sums, const Plane& plane, int q, int r, bool carries) {
    const bool border = r == 0 || r == height_ - 1;
    if (!border) {
        const int p = Parity(r, q);
        const int n = width_ / 2;
        const uint16_t* row = plane.Row(1 - q, r) + p;
        auto* first = sums.NextFirst();
        auto* second = sums.NextSecond();
        orv::GradientRow<typename Sums::Gradient>(row, row - 1, plane.Row(1 - q, r + 1), plane.Row(1 - q, r - 1),
                                                  orv::RoundUpToLanes(n), first, second);
        first[p == 0 ? 0 : n - 1] = second[p == 0 ? 0 : n - 1] = 0;
    }
    sums.Push(border, nullptr, carries && !border ? carried_.Row(1 - q, r) : nullptr);
}

template <class T>
void DemosaicingIPPOf<T>::CalculateGreen(int r) {
    const int q = green_.q;
    if (IsInterior(r)) {
        const uint16_t* here = greenPlane_.Row(1 - q, r) + Parity(r, q);
        BlendRow<orv::Step::Green>(
            green_, green_.sums, r, [&](int y) { FeedCross(green_.sums, greenPlane_, q, y, true); },
            {here, here - 1, greenPlane_.Row(1 - q, r + 1), greenPlane_.Row(1 - q, r - 1)}, greenPlane_.Row(q, r));
    }
    FillCrossBorder(greenPlane_, q, r);
}

template <class T>
void DemosaicingIPPOf<T>::FeedDiagonal(int r) {
    const int q = diagonal_.q;
    const int n = width_ / 2;
    const bool border = r == 0 || r == height_ - 1;
    const bool odd = (r & 1) != 0;
    Sums& evenSums = diagonal_.sums;
    if (!border) {
        const int p = Parity(r, q);
        const uint16_t* up = OwnColour(r - 1).Row(q, r - 1) + p;
        const uint16_t* down = OwnColour(r + 1).Row(q, r + 1) + p;
        Sums& sums = odd ? oddDiagonalSums_ : evenSums;
        auto* first = sums.NextFirst();
        auto* second = sums.NextSecond();
        orv::GradientRow<typename Sums::Gradient>(down, up - 1, up, down - 1, orv::RoundUpToLanes(n), first, second);
        first[p == 0 ? 0 : n - 1] = second[p == 0 ? 0 : n - 1] = 0;
    }
    evenSums.Push(border || odd, nullptr, nullptr);
    oddDiagonalSums_.Push(border || !odd, border ? nullptr : carried_.Row(q, r),
                          border ? nullptr : carried_.Row(1 - q, r));
}

template <class T>
void DemosaicingIPPOf<T>::CalculateRedAndBlueComponentInitial(int r) {
    const int q = diagonal_.q;
    if (IsInterior(r)) {
        MakeDifferences(diagonal_, r, q, evenRowPlane_, oddRowPlane_);
        const int p = Parity(r, q);
        const Difference* up = diagonal_.differences[(r - 1) % kLines] + p;
        const Difference* down = diagonal_.differences[(r + 1) % kLines] + p;
        BlendRow<orv::Step::Diagonal>(
            diagonal_, (r & 1) == 0 ? diagonal_.sums : oddDiagonalSums_, r, [&](int y) { FeedDiagonal(y); },
            {down, up - 1, down - 1, up}, OwnColour(r + 1).Row(q, r));
    }
    FillDiagonalBorder(r);
}

template <class T>
void DemosaicingIPPOf<T>::CalculateRedOrBlueComponent(Pass& pass, Plane& plane, bool carries, int r) {
    const int q = pass.q;
    if (IsInterior(r)) {
        MakeDifferences(pass, r, 1 - q, plane, plane);
        const Difference* here = pass.differences[r % kLines] + Parity(r, q);
        BlendRow<orv::Step::Cross>(
            pass, pass.sums, r, [&](int y) { FeedCross(pass.sums, plane, q, y, carries); },
            {here, here - 1, pass.differences[(r + 1) % kLines], pass.differences[(r - 1) % kLines]}, plane.Row(q, r));
    }
    FillCrossBorder(plane, q, r);
}

template <class T>
void DemosaicingIPPOf<T>::FillCrossBorder(Plane& plane, int q, int r) {
    const int bottom = height_ - 1;
    const int right = width_ - 1;
    if (r < 0 || r > bottom) {
        return;
    }
    // (r, c) from the pixel inwards, twice, and the two along the border.
    const auto fill = [&](int c, int inRow, int inColumn, int alongRow, int alongColumn) {
        plane.At(r, c) =
            static_cast<uint16_t>((2 * plane.At(r + inRow, c + inColumn) + plane.At(r - alongRow, c - alongColumn) +
                                   plane.At(r + alongRow, c + alongColumn)) >>
                                  2);
    };
    if (r > 0 && r < bottom) {
        if (Parity(r, q) == 0) {
            fill(0, 0, 1, 1, 0);
        } else {
            fill(right, 0, -1, 1, 0);
        }
        return;
    }
    const int inRow = r == 0 ? 1 : -1;
    for (int c = 2 - Parity(r, q); c < right; c += 2) {
        fill(c, inRow, 0, 0, 1);
    }
    // Two opposite corners are sites.
    const int c = Parity(r, q) == 0 ? 0 : right;
    plane.At(r, c) = static_cast<uint16_t>((plane.At(r + inRow, c) + plane.At(r, c == 0 ? 1 : c - 1)) >> 1);
}

// The missing colour at the border's colour sites: the odd-row colour on even rows, the even-row colour on odd rows.
template <class T>
void DemosaicingIPPOf<T>::FillDiagonalBorder(int r) {
    const int bottom = height_ - 1;
    const int right = width_ - 1;
    const int q = diagonal_.q;
    if (r < 0 || r > bottom) {
        return;
    }
    if (r == bottom - 1 && greenPhase_ == 0) {
        // This corner works outwards in: the corner keeps its raw sample and replaces the pixel within.
        evenRowPlane_.At(bottom, 0) = oddRowPlane_.At(bottom, 0);
        evenRowPlane_.At(bottom - 1, 1) = evenRowPlane_.At(bottom, 0);
    }
    if (r >= 2) {
        const int row = r - 1;
        const int side = Parity(row, q) == 0 ? 0 : right;
        const int inside = side == 0 ? 1 : right - 1;
        Plane& plane = OwnColour(r);
        plane.At(row, side) = static_cast<uint16_t>((plane.At(row - 1, inside) + plane.At(row + 1, inside)) >> 1);
    }
    if (r > 0 && r < bottom) {
        return;
    }
    Plane& plane = OwnColour(r + 1);
    const int inRow = r == 0 ? 1 : bottom - 1;
    for (int c = 2 - Parity(r, q); c < right; c += 2) {
        plane.At(r, c) = static_cast<uint16_t>((plane.At(inRow, c - 1) + plane.At(inRow, c + 1)) >> 1);
    }
    if (r == 0 || greenPhase_ == 1) {
        const bool left = Parity(r, q) == 0;
        plane.At(r, left ? 0 : right) = plane.At(inRow, left ? 1 : right - 1);
    }
}

// Row r of the result, to the destination. Its green also goes to the plane of the mosaic: pixels there that the copy
// of the next frame does not reach (CopyFrame) start from it.
template <class T>
void DemosaicingIPPOf<T>::StoreRow(int r) {
    if (r < 0 || r >= height_) {
        return;
    }
    const int even = Parity(r, 0);
    orv::JoinColumns<T>(greenPlane_.Row(even, r), greenPlane_.Row(1 - even, r), width_ / 2, mosaic_[r]);
    const int rows = destination_->height;
    if (r >= rows || static_cast<int64_t>(rows) * destination_->stride < 1 || destination_->width < 1) {
        return;
    }
    const bool exchange = ExchangesOrder(destination_->pixelType);
    const Plane* const planes[] = {exchange ? &oddRowPlane_ : &evenRowPlane_, &greenPlane_,
                                   exchange ? &evenRowPlane_ : &oddRowPlane_};
    orv::PackArgs<T> args;
    for (int i = 0; i < 3; ++i) {
        args.even[i] = planes[i]->Row(even, r);
        args.odd[i] = planes[i]->Row(1 - even, r);
    }
    args.n = destination_->width;
    const ptrdiff_t step = destination_->stride / static_cast<int>(sizeof(T));
    args.out = static_cast<T*>(destination_->data) + r * step;
    orv::PackRow<T>(&args);
}

template class DemosaicingIPPOf<uint8_t>;
template class DemosaicingIPPOf<uint16_t>;

bool DemosaicingIPP_8::ExchangesOrder(uint32_t destinationWord) const {
    return destinationWord == (colourPhase_ == 1 ? OrvPixelRGB8 : OrvPixelBGR8);
}

bool DemosaicingIPP_16::ExchangesOrder(uint32_t destinationWord) const {
    return s_RGBBGRDesc[destinationWord & 0xFF] == (colourPhase_ == 1 ? kRedFirst : kBlueFirst);
}
