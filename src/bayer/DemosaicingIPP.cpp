#include "bayer/DemosaicingIPP.h"

#include <algorithm>
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

// Sites of the centre's checkerboard half in a window of half-width h.
int WindowArea(int h) {
    const int side = 2 * h + 1;
    return (side * side >> 1) + 1;
}

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
        try {
            CreatePlanes();
        } catch (const cv::Exception&) {
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
void DemosaicingIPPOf<T>::CreatePlanes() {
    mosaic_.Create(height_, width_);
    for (Plane* plane : {&greenPlane_, &oddRowPlane_, &evenRowPlane_}) {
        plane->Create(width_);
    }
    kept_.Create(width_, height_);
    for (Pass* pass : {&green_, &diagonal_, &evenCross_, &oddCross_}) {
        pass->sums.Create(width_, height_);
        pass->area.Create(2 * kMaxScales, width_ / 2);
        pass->differences.Create(kLines, width_ / 2);
    }
    oddDiagonalSums_.Create(width_, height_);
    sumA_.Create(kMaxScales, width_ / 2);
    sumB_.Create(kMaxScales, width_ / 2);
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
    // Samples of 16 bits: both strides count as elements of 2 bytes, so every second row of the upper half arrives.
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
    oddDiagonalSums_.Start(q, orv::kMaxRadius, false);
    Start(evenCross_, 1 - q, true, 1, 2);
    Start(oddCross_, 1 - q, true, 1, 2);
    // Every pass follows the one before as closely as the rows that it reads allow: see the header.
    for (int r = 0; r < height_ + kCrossLag; ++r) {
        if (r < height_) {
            SplitRow(r);
        }
        CalculateGreen(r - kGreenLag);
        CalculateRedAndBlueComponentInitial(r - kDiagonalLag);
        CalculateRedOrBlueComponent(evenCross_, evenRowPlane_, true, r - kCrossLag);
        CalculateRedOrBlueComponent(oddCross_, oddRowPlane_, false, r - kCrossLag);
        StoreRow(r - kCrossLag);
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
    for (auto& halfWidths : pass.areaHalfWidth) {
        halfWidths[0] = halfWidths[1] = -1;
    }
    pass.sums.Start(q, radius << (scales - 1), bothParities);
}

// One row of the mosaic: green pixels to the green plane, the others to the plane of the row's colour.
template <class T>
void DemosaicingIPPOf<T>::SplitRow(int r) {
    uint16_t* greenRow = greenPlane_.Row(greenPhase_, r);
    uint16_t* colourRow = OwnColour(r).Row(1 - greenPhase_, r);
    const bool greenEven = Parity(r, greenPhase_) == 0;
    orv::SplitColumns<T>(mosaic_[r], width_ / 2, greenEven ? greenRow : colourRow, greenEven ? colourRow : greenRow);
}

// Window sums of the sites of the interior row r to `a` and `b`, by scale, and window areas to the pass's area rows.
// Sums by corners: those between `left` and `right`, where all windows have the row's half-widths, are in `rows`
// instead.
template <class T>
void DemosaicingIPPOf<T>::WindowRows(Pass& pass, Sums& sums, int r, Sum* const* a, Sum* const* b, ScaleRow* rows,
                                     int* left, int* right) {
    const int p = Parity(r, pass.q);
    const int end = width_ / 2 - p;
    int halfWidths[kMaxScales];
    for (int scale = 0; scale < pass.scales; ++scale) {
        halfWidths[scale] = RowHalfWidth(r, pass.radius << scale, height_);
    }
    // Low frames have windows of their own.
    const bool regular = height_ >= 2 * orv::kMaxRadius + 2;
    if (regular) {
        sums.Rows(r, halfWidths, pass.scales, a, b, rows);
    }
    for (int scale = 0; scale < pass.scales; ++scale) {
        const int radius = pass.radius << scale;
        // All scales by corners, or each in its array.
        const int h = halfWidths[Sums::kByCorners ? pass.scales - 1 : scale];
        *left = regular ? std::min((h + 2 - p) >> 1, end) : end;
        *right = regular ? std::max(((width_ - 2 - h - p) >> 1) + 1, *left) : end;
        Sum* area = pass.area[2 * scale + p];
        const bool newArea = pass.areaHalfWidth[scale][p] != halfWidths[scale];
        pass.areaHalfWidth[scale][p] = halfWidths[scale];
        if (newArea) {
            std::fill(area + *left, area + *right, static_cast<Sum>(WindowArea(halfWidths[scale])));
        }
        const auto site = [&](int k) {
            const int c = 2 * k + p;
            const int siteHalfWidth = HalfWidth(r, c, radius, width_, height_);
            sums.Site(r, c, siteHalfWidth, a[scale] + k, b[scale] + k);
            if (newArea) {
                area[k] = static_cast<Sum>(WindowArea(siteHalfWidth));
            }
        };
        for (int k = 1 - p; k < *left; ++k) {
            site(k);
        }
        for (int k = *right; k < end; ++k) {
            site(k);
        }
    }
}

template <class T>
template <class N, class Feed>
void DemosaicingIPPOf<T>::RunRow(Pass& pass, Sums& sums, int r, const Feed& feed,
                                 void (*blend)(const orv::BlendArgs<Sum, N>*), orv::BlendArgs<Sum, N>* args) {
    const int reach = pass.radius << (pass.scales - 1);
    for (; pass.fed <= std::min(r + reach, height_ - 1); ++pass.fed) {
        feed(pass.fed);
    }
    args->green = greenPlane_.Row(pass.q, r);
    args->low = minValue_;
    args->high = sizeof(T) == 1 ? std::min(maxValue_, kMaxByteResult) : maxValue_;
    args->keep = kept_.Row(pass.q, r);
    Sum* const a[] = {sumA_[0], sumA_[1], sumA_[2]};
    Sum* const b[] = {sumB_[0], sumB_[1], sumB_[2]};
    int left = 0;
    int right = 0;
    WindowRows(pass, sums, r, a, b, args->scales, &left, &right);
    const int n = width_ / 2;
    const int p = Parity(r, pass.q);
    const auto run = [&](int first, int end, int firstArea) {
        args->first = first;
        args->end = end;
        for (int scale = 0; scale < pass.scales; ++scale) {
            args->scales[scale].area = pass.area[2 * scale + p] + firstArea;
        }
        blend(args);
    };
    if (Sums::kByCorners && left < right) {
        run(0, orv::RoundUpToLanes(n), left);
    }
    for (int scale = 0; scale < pass.scales; ++scale) {
        args->scales[scale].a = sums.Written(a[scale]);
        args->scales[scale].b = sums.Written(b[scale]);
    }
    if (Sums::kByCorners) {
        for (int k = 1 - p; k < left; ++k) {
            run(k, k + 1, k);
        }
        for (int k = right; k < n - p; ++k) {
            run(k, k + 1, k);
        }
        args->keep[p == 0 ? 0 : n - 1] = 0;  // on the border
    } else {
        run(0, orv::RoundUpToLanes(n), 0);
    }
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
void DemosaicingIPPOf<T>::FeedCross(Sums& sums, const Plane& plane, int q, int r, bool leaks) {
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
    sums.Push(border, nullptr, leaks && !border ? kept_.Leak(1 - q, r) : nullptr);
}

template <class T>
void DemosaicingIPPOf<T>::CalculateGreen(int r) {
    const int q = green_.q;
    if (IsInterior(r)) {
        orv::BlendArgs<Sum, uint16_t> args;
        const uint16_t* here = greenPlane_.Row(1 - q, r) + Parity(r, q);
        args.a1 = here;
        args.a2 = here - 1;
        args.b1 = greenPlane_.Row(1 - q, r + 1);
        args.b2 = greenPlane_.Row(1 - q, r - 1);
        args.out = greenPlane_.Row(q, r);
        RunRow(
            green_, green_.sums, r, [&](int y) { FeedCross(green_.sums, greenPlane_, q, y, true); },
            orv::BlendRow<Sum, typename Sums::Contrast, uint16_t, 2, false>, &args);
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
    oddDiagonalSums_.Push(border || !odd, border ? nullptr : kept_.Leak(q, r), border ? nullptr : kept_.Leak(1 - q, r));
}

template <class T>
void DemosaicingIPPOf<T>::CalculateRedAndBlueComponentInitial(int r) {
    const int q = diagonal_.q;
    if (IsInterior(r)) {
        orv::BlendArgs<Sum, Difference> args;
        MakeDifferences(diagonal_, r, q, evenRowPlane_, oddRowPlane_);
        const int p = Parity(r, q);
        const Difference* up = diagonal_.differences[(r - 1) % kLines] + p;
        const Difference* down = diagonal_.differences[(r + 1) % kLines] + p;
        args.a1 = down;
        args.a2 = up - 1;
        args.b1 = down - 1;
        args.b2 = up;
        args.out = OwnColour(r + 1).Row(q, r);
        RunRow(
            diagonal_, (r & 1) == 0 ? diagonal_.sums : oddDiagonalSums_, r, [&](int y) { FeedDiagonal(y); },
            orv::BlendRow<Sum, typename Sums::DiagonalContrast, Difference, kDiagonalScales, true>, &args);
    }
    FillDiagonalBorder(r);
}

template <class T>
void DemosaicingIPPOf<T>::CalculateRedOrBlueComponent(Pass& pass, Plane& plane, bool leaks, int r) {
    const int q = pass.q;
    if (IsInterior(r)) {
        orv::BlendArgs<Sum, Difference> args;
        MakeDifferences(pass, r, 1 - q, plane, plane);
        const Difference* here = pass.differences[r % kLines] + Parity(r, q);
        args.a1 = here;
        args.a2 = here - 1;
        args.b1 = pass.differences[(r + 1) % kLines];
        args.b2 = pass.differences[(r - 1) % kLines];
        args.out = plane.Row(q, r);
        RunRow(
            pass, pass.sums, r, [&](int y) { FeedCross(pass.sums, plane, q, y, leaks); },
            orv::BlendRow<Sum, typename Sums::Contrast, Difference, 2, true>, &args);
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

// Interleaves row r into the destination. The plane of the mosaic takes its full green, which the next frame's copy may
// leave.
template <class T>
void DemosaicingIPPOf<T>::StoreRow(int r) {
    if (r < 0) {
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
