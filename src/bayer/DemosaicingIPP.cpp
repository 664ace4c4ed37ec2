#include "bayer/DemosaicingIPP.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "bayer/DemosaicingIPPRows.h"
#include "component/PixelTypes.h"

uint8_t DemosaicingIPP::s_bayerDescG[256];
uint8_t DemosaicingIPP::s_bayerDescRB[256];
uint8_t DemosaicingIPP::s_RGBBGRDesc[256];

namespace {

constexpr uint8_t kGreenFirst = 1;
constexpr uint8_t kRedOnEvenRows = 2;
constexpr uint8_t kBlueOnEvenRows = 3;
constexpr uint8_t kRedFirst = 4;
constexpr uint8_t kBlueFirst = 5;

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

DemosaicingIPP::DemosaicingIPP() {
    const unsigned firstSerials[] = {OrvPixelBayerGR8 & 0xFF, OrvPixelBayerGR10 & 0xFF, OrvPixelBayerGR12 & 0xFF,
                                     OrvPixelBayerGR14 & 0xFF, OrvPixelBayerGR16 & 0xFF};
    for (const unsigned gr : firstSerials) {  // followed by RG, GB, BG
        s_bayerDescG[gr] = s_bayerDescG[gr + 2] = kGreenFirst;
        s_bayerDescRB[gr] = s_bayerDescRB[gr + 1] = kRedOnEvenRows;
        s_bayerDescRB[gr + 2] = s_bayerDescRB[gr + 3] = kBlueOnEvenRows;
    }
    for (unsigned serial = OrvPixelRGB8 & 0xFF; serial < (OrvPixelBGR16 & 0xFF); serial += 2) {
        s_RGBBGRDesc[serial] = kRedFirst;
        s_RGBBGRDesc[serial + 1] = kBlueFirst;
    }
}

DemosaicingIPP::~DemosaicingIPP() = default;

int DemosaicingIPP::Init(_OrvImage* destination, const _OrvImage* source) {
    if (destination == nullptr || source == nullptr) {
        return orv::kCodeNullPointer;
    }
    if (!orv::IsBayer(source->pixelType)) {
        return orv::kCodeBadArgument;
    }
    destination_ = destination;
    // The largest size has no room for its extra column; it comes out negative.
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
    const int64_t width = RoundUpToEven(source->width);
    const int64_t height = RoundUpToEven(source->height);
    const bool otherSize = calculated_ && (width != planeWidth_ || height != planeHeight_);
    const bool tooLarge = (destination->width > width || destination->height > height) &&
                          static_cast<int64_t>(destination->height) * destination->stride >= 1;
    if (!orv::IsBayer(source->pixelType) || otherSize || tooLarge) {
        return orv::kCodeBadArgument;
    }
    DemosaicingIPP::Init(destination, source);
    if (width_ != allocatedWidth_ || height_ != allocatedHeight_) {
        CleanMemory();
        try {
            if (width_ <= 0 || height_ <= 0) {
                return orv::kCodeNoMemory;
            }
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
    for (Plane* plane : {&greenPlane_, &oddRowPlane_, &evenRowPlane_}) {
        plane->Create(height_, width_);
    }
    kept_.Create(width_, height_);
    evenSums_.Create(width_, height_);
    oddSums_.Create(width_, height_);
    line_.Create(3, width_);
    sumA_.Create(kMaxScales, width_ / 2);
    sumB_.Create(kMaxScales, width_ / 2);
    area_.Create(2 * kMaxScales, width_ / 2);
    lines_.Create(kLines, width_ / 2);
}

template <class T>
int DemosaicingIPPOf<T>::CleanMemory() {
    allocatedWidth_ = 0;
    allocatedHeight_ = 0;
    ready_ = false;
    return orv::kCodeOk;
}

// One row of the mosaic: green pixels to the green plane, the others to the plane of the row's colour.
template <class T>
void DemosaicingIPPOf<T>::SplitRow(int r, const T* line) {
    Plane& colour = (r & 1) == 0 ? evenRowPlane_ : oddRowPlane_;
    const int green = greenPhase_;
    uint16_t* greenRow = greenPlane_.Row(green, r);
    uint16_t* colourRow = colour.Row(1 - green, r);
    const bool greenEven = Parity(r, green) == 0;
    orv::SplitColumns<T>(line, width_ / 2, greenEven ? greenRow : colourRow, greenEven ? colourRow : greenRow);
}

template <class T>
void DemosaicingIPPOf<T>::CopyFrame(const _OrvImage& source) {
    const auto* from = static_cast<const unsigned char*>(source.data);
    const int64_t rowBytes = static_cast<int64_t>(width_) * static_cast<int64_t>(sizeof(T));
    const bool block = source.stride == rowBytes;
    // Samples of 16 bits: both strides count as elements of 2 bytes, so every second row of the upper half arrives.
    const int rowStep = block ? 1 : static_cast<int>(sizeof(T));
    const int64_t bytes = std::max(source.imageSize, 0);
    for (int r = 0; r < height_; ++r) {
        int64_t covered = 0;
        if (block) {
            covered = std::min(rowBytes, std::max<int64_t>(bytes - r * rowBytes, 0));
        } else if (r < source.height && r % rowStep == 0) {
            covered = static_cast<int64_t>(source.width) * static_cast<int64_t>(sizeof(T));
        }
        if (r == height_ - 1 && source.height != height_) {
            covered = 0;
        }
        T* line = line_[0];
        if (covered < rowBytes) {
            // Pixels that the copy does not reach keep what the plane holds.
            const int even = Parity(r, 0);
            orv::JoinColumns<T>(greenPlane_.Row(even, r), greenPlane_.Row(1 - even, r), width_ / 2, line);
        }
        if (covered > 0) {
            std::memcpy(line, from + static_cast<int64_t>(r) * source.stride, static_cast<size_t>(covered));
        }
        if (source.width != width_) {
            line[width_ - 1] = width_ > 2 ? line[width_ - 3] : static_cast<T>(0);
        }
        SplitRow(r, line);
    }
    if (source.height != height_) {
        const int r = height_ - 1;
        const size_t halfBytes = static_cast<size_t>(width_ / 2) * sizeof(uint16_t);
        Plane* const planes[] = {&greenPlane_, &oddRowPlane_};
        const int halves[] = {greenPhase_, 1 - greenPhase_};
        for (int i = 0; i < 2; ++i) {
            uint16_t* last = planes[i]->Row(halves[i], r);
            if (r >= 2) {
                std::memcpy(last, planes[i]->Row(halves[i], r - 2), halfBytes);
            } else {
                std::memset(last, 0, halfBytes);
            }
        }
    }
}

template <class T>
int DemosaicingIPPOf<T>::Calculate() {
    if (!ready_) {
        return orv::kCodeNullPointer;
    }
    calculated_ = true;
    CalculateGreen();
    CalculateRedAndBlueComponentInitial(kDiagonalRadius, kDiagonalScales);
    CalculateRedOrBlueComponent(evenRowPlane_, evenSums_, true, 1, 2);
    CalculateRedOrBlueComponent(oddRowPlane_, oddSums_, false, 1, 2);
    if (ExchangesOrder(destination_->pixelType)) {
        StoreImage(oddRowPlane_, evenRowPlane_);
    } else {
        StoreImage(evenRowPlane_, oddRowPlane_);
    }
    return orv::kCodeOk;
}

// One scale of row r: sums of all sites to `a` and `b`, window areas to the area row of the scale.
template <class T>
void DemosaicingIPPOf<T>::WindowRow(Sums& sums, int r, int q, int radius, int scale, Sum* a, Sum* b) {
    const int p = Parity(r, q);
    const int end = width_ / 2 - p;
    const int h = RowHalfWidth(r, radius, height_);
    // Sites whose windows have the row's half-width.
    const int k0 = std::min((h + 2 - p) >> 1, end);
    const int k1 = std::max(((width_ - 2 - h - p) >> 1) + 1, k0);
    if (k0 < k1) {
        sums.Row(r, h, k0, orv::RoundUpToLanes(k0, k1), a, b);
        if (p == 1) {
            b[end] = 0;  // on the border
        }
    }
    Sum* area = area_[2 * scale + p];
    const bool newArea = areaHalfWidth_[scale][p] != h;
    areaHalfWidth_[scale][p] = h;
    if (newArea) {
        std::fill(area + k0, area + k1, static_cast<Sum>(WindowArea(h)));
    }
    const auto site = [&](int k) {
        const int c = 2 * k + p;
        const int siteHalfWidth = HalfWidth(r, c, radius, width_, height_);
        sums.Site(r, c, siteHalfWidth, a + k, b + k);
        if (newArea) {
            area[k] = static_cast<Sum>(WindowArea(siteHalfWidth));
        }
    };
    for (int k = 1 - p; k < k0; ++k) {
        site(k);
    }
    for (int k = k1; k < end; ++k) {
        site(k);
    }
}

template <class T>
template <class Feed, class SumsOf, class Line, class Out>
void DemosaicingIPPOf<T>::RunPass(Pass pass, int q, int radius, int scales, const Feed& feed, const SumsOf& sumsOf,
                                  const Line& line, const Out& out) {
    for (auto& halfWidths : areaHalfWidth_) {
        halfWidths[0] = halfWidths[1] = -1;
    }
    const int reach = radius << (scales - 1);
    const int n = width_ / 2;
    int fed = 0;
    int lines = 0;
    for (int r = 1; r < height_ - 1; ++r) {
        for (; fed <= std::min(r + reach, height_ - 1); ++fed) {
            feed(fed);
        }
        for (; lines <= r + 1; ++lines) {
            line(lines, lines_[lines % kLines]);
        }
        const int p = Parity(r, q);
        orv::BlendArgs<Sum> args;
        for (int scale = 0; scale < scales; ++scale) {
            Sum* a = sumA_[scale];
            Sum* b = scale == 0 ? kept_.Row(q, r, sumB_[0]) : sumB_[scale];
            WindowRow(sumsOf(r), r, q, radius << scale, scale, a, b);
            args.scales[scale] = {a, b, area_[2 * scale + p]};
        }
        const float* here = lines_[r % kLines] + p;
        const float* up = lines_[(r - 1) % kLines];
        const float* down = lines_[(r + 1) % kLines];
        if (pass == Pass::Diagonal) {
            args.a1 = down + p;
            args.a2 = up + p - 1;
            args.b1 = down + p - 1;
            args.b2 = up + p;
        } else {
            args.a1 = here;
            args.a2 = here - 1;
            args.b1 = down;
            args.b2 = up;
        }
        args.green = greenPlane_.Row(q, r);
        args.low = minValue_;
        args.high = maxValue_;
        args.mask = std::numeric_limits<T>::max();
        args.k0 = 1 - p;
        args.k1 = orv::RoundUpToLanes(1 - p, n - p);
        args.out = out(r);
        if (pass == Pass::Green) {
            orv::BlendRow<Sum, typename Sums::Contrast, 2, false>(&args);
        } else if (pass == Pass::Cross) {
            orv::BlendRow<Sum, typename Sums::Contrast, 2, true>(&args);
        } else {
            orv::BlendRow<Sum, typename Sums::DiagonalContrast, kDiagonalScales, true>(&args);
        }
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
        orv::GradientRow<typename Sums::Gradient>(row, row - 1, plane.Row(1 - q, r + 1), plane.Row(1 - q, r - 1), 1 - p,
                                                  orv::RoundUpToLanes(1 - p, n - p), first, second);
        first[p == 0 ? 0 : n - 1] = second[p == 0 ? 0 : n - 1] = 0;
    }
    sums.Push(border, nullptr, leaks && !border ? kept_.Leak(1 - q, r) : nullptr);
}

template <class T>
void DemosaicingIPPOf<T>::CalculateGreen() {
    const int q = 1 - greenPhase_;
    evenSums_.Start(q, true);
    RunPass(
        Pass::Green, q, 1, 2, [&](int r) { FeedCross(evenSums_, greenPlane_, q, r, true); },
        [&](int) -> Sums& { return evenSums_; },
        [&](int r, float* line) {
            orv::SampleLine(greenPlane_.Row(1 - q, r), orv::RoundUpToLanes(0, width_ / 2), line);
        },
        [&](int r) { return greenPlane_.Row(q, r); });
    FillCrossBorder(greenPlane_, q);
}

template <class T>
void DemosaicingIPPOf<T>::CalculateRedAndBlueComponentInitial(int radius, int scales) {
    const int q = 1 - greenPhase_;
    const int n = width_ / 2;
    // Rows of one parity have gradients of their own; the other parity's rows count as zero.
    evenSums_.Start(q, false);
    oddSums_.Start(q, false);
    const auto ownColour = [&](int r) -> Plane& { return (r & 1) == 0 ? evenRowPlane_ : oddRowPlane_; };
    const auto feed = [&](int r) {
        const bool border = r == 0 || r == height_ - 1;
        const bool odd = (r & 1) != 0;
        if (!border) {
            const int p = Parity(r, q);
            const uint16_t* up = ownColour(r - 1).Row(q, r - 1) + p;
            const uint16_t* down = ownColour(r + 1).Row(q, r + 1) + p;
            Sums& sums = odd ? oddSums_ : evenSums_;
            auto* first = sums.NextFirst();
            auto* second = sums.NextSecond();
            orv::GradientRow<typename Sums::Gradient>(down, up - 1, up, down - 1, 1 - p,
                                                      orv::RoundUpToLanes(1 - p, n - p), first, second);
            first[p == 0 ? 0 : n - 1] = second[p == 0 ? 0 : n - 1] = 0;
        }
        evenSums_.Push(border || odd, nullptr, nullptr);
        oddSums_.Push(border || !odd, border ? nullptr : kept_.Leak(q, r), border ? nullptr : kept_.Leak(1 - q, r));
    };
    RunPass(
        Pass::Diagonal, q, radius, scales, feed, [&](int r) -> Sums& { return (r & 1) != 0 ? oddSums_ : evenSums_; },
        [&](int r, float* line) {
            orv::DifferenceLine(greenPlane_.Row(q, r), ownColour(r).Row(q, r), orv::RoundUpToLanes(0, n), line);
        },
        [&](int r) { return ownColour(r + 1).Row(q, r); });
    FillDiagonalBorder();
}

template <class T>
void DemosaicingIPPOf<T>::CalculateRedOrBlueComponent(Plane& plane, Sums& sums, bool leaks, int radius, int scales) {
    const int q = greenPhase_;
    sums.Start(q, true);
    RunPass(
        Pass::Cross, q, radius, scales, [&](int r) { FeedCross(sums, plane, q, r, leaks); },
        [&](int) -> Sums& { return sums; },
        [&](int r, float* line) {
            orv::DifferenceLine(greenPlane_.Row(1 - q, r), plane.Row(1 - q, r), orv::RoundUpToLanes(0, width_ / 2),
                                line);
        },
        [&](int r) { return plane.Row(q, r); });
    FillCrossBorder(plane, q);
}

template <class T>
void DemosaicingIPPOf<T>::FillCrossBorder(Plane& plane, int q) {
    const int bottom = height_ - 1;
    const int right = width_ - 1;
    // (r, c) from the pixel inwards, twice, and the two along the border.
    const auto fill = [&](int r, int c, int inRow, int inColumn, int alongRow, int alongColumn) {
        plane.At(r, c) =
            static_cast<uint16_t>((2 * plane.At(r + inRow, c + inColumn) + plane.At(r - alongRow, c - alongColumn) +
                                   plane.At(r + alongRow, c + alongColumn)) >>
                                  2);
    };
    for (int c = 1; c < right; ++c) {
        if (Parity(c, q) == 0) {
            fill(0, c, 1, 0, 0, 1);
        } else {
            fill(bottom, c, -1, 0, 0, 1);
        }
    }
    for (int r = 1; r < bottom; ++r) {
        if (Parity(r, q) == 0) {
            fill(r, 0, 0, 1, 1, 0);
        } else {
            fill(r, right, 0, -1, 1, 0);
        }
    }
    // Two opposite corners are sites.
    const auto corner = [&](int r, int c) {
        plane.At(r, c) =
            static_cast<uint16_t>((plane.At(r == 0 ? 1 : r - 1, c) + plane.At(r, c == 0 ? 1 : c - 1)) >> 1);
    };
    corner(0, q == 0 ? 0 : right);
    corner(bottom, q == 0 ? right : 0);
}

// The missing colour at the border's colour sites: the odd-row colour on even rows, the even-row colour on odd rows.
template <class T>
void DemosaicingIPPOf<T>::FillDiagonalBorder() {
    const int bottom = height_ - 1;
    const int right = width_ - 1;
    const int q = 1 - greenPhase_;
    if (greenPhase_ == 1) {
        oddRowPlane_.At(0, 0) = oddRowPlane_.At(1, 1);
        evenRowPlane_.At(bottom, right) = evenRowPlane_.At(bottom - 1, right - 1);
    } else {
        oddRowPlane_.At(0, right) = oddRowPlane_.At(1, right - 1);
        // This corner works outwards in: the corner keeps its raw sample and replaces the pixel within.
        evenRowPlane_.At(bottom, 0) = oddRowPlane_.At(bottom, 0);
        evenRowPlane_.At(bottom - 1, 1) = evenRowPlane_.At(bottom, 0);
    }
    for (int c = 1; c < right; ++c) {
        const int inside = Parity(c, q) == 0 ? 1 : bottom - 1;
        Plane& plane = Parity(c, q) == 0 ? oddRowPlane_ : evenRowPlane_;
        plane.At(Parity(c, q) == 0 ? 0 : bottom, c) =
            static_cast<uint16_t>((plane.At(inside, c - 1) + plane.At(inside, c + 1)) >> 1);
    }
    for (int r = 1; r < bottom; ++r) {
        const int side = Parity(r, q) == 0 ? 0 : right;
        const int inside = Parity(r, q) == 0 ? 1 : right - 1;
        Plane& plane = (r & 1) == 0 ? oddRowPlane_ : evenRowPlane_;
        plane.At(r, side) = static_cast<uint16_t>((plane.At(r - 1, inside) + plane.At(r + 1, inside)) >> 1);
    }
}

template <class T>
void DemosaicingIPPOf<T>::StoreImage(const Plane& first, const Plane& third) {
    const int rows = destination_->height;
    const int columns = destination_->width;
    if (static_cast<int64_t>(rows) * destination_->stride < 1 || columns < 1) {
        return;
    }
    const ptrdiff_t step = destination_->stride / static_cast<int>(sizeof(T));
    T* out = static_cast<T*>(destination_->data);
    const Plane* const planes[] = {&first, &greenPlane_, &third};
    for (int r = 0; r < rows; ++r) {
        const int even = Parity(r, 0);
        for (int i = 0; i < 3; ++i) {
            orv::JoinColumns<T>(planes[i]->Row(even, r), planes[i]->Row(1 - even, r), width_ / 2, line_[i]);
        }
        orv::PackRow<T>(line_[0], line_[1], line_[2], columns, out + r * step);
    }
}

template class DemosaicingIPPOf<uint8_t>;
template class DemosaicingIPPOf<uint16_t>;

bool DemosaicingIPP_8::ExchangesOrder(uint32_t destinationWord) const {
    return destinationWord == (colourPhase_ == 1 ? OrvPixelRGB8 : OrvPixelBGR8);
}

bool DemosaicingIPP_16::ExchangesOrder(uint32_t destinationWord) const {
    return s_RGBBGRDesc[destinationWord & 0xFF] == (colourPhase_ == 1 ? kRedFirst : kBlueFirst);
}
