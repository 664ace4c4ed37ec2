#include "bayer/Interpolation.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "bayer/InterpolationRows.h"
#include "component/PixelTypes.h"
#include "rows/Fork.h"

namespace orv {

namespace {

constexpr int64_t kChannels = 3;

// Rows of a record in samples of type T.
template <class T>
struct FrameRows {
    unsigned char* data;
    int64_t rowBytes;  // of the pixels
    ptrdiff_t stride;  // bytes

    FrameRows(const _OrvImage& image, int64_t channels)
        : data(static_cast<unsigned char*>(image.data)),
          rowBytes(image.width * channels * int64_t{sizeof(T)}),
          stride(image.stride != 0 ? image.stride : rowBytes) {}
    T* operator[](int y) const { return reinterpret_cast<T*>(data + y * stride); }
    bool Overlap() const { return std::llabs(stride) < rowBytes; }
};

template <class T>
bool IsRefused(const _OrvImage& image, int64_t channels) {
    return image.width < 0 || image.height < 0 ||
           (image.stride > 0 && image.stride < image.width * channels * int64_t{sizeof(T)}) ||
           image.stride % static_cast<int>(sizeof(T)) != 0 ||
           (image.data == nullptr && image.width != 0 && image.height != 0);
}

// Calls rows(y0, y1) for parts of [0, height), from OpenCV's threads where each gets a part worth waking it for.
template <class Rows>
void SpreadRows(int height, int64_t rowBytes, const Rows& rows) {
    constexpr double kPartBytes = 1 << 17;
    const double parts = static_cast<double>(rowBytes) * height / kPartBytes;
    if (parts < 2 || ForkedFromThreads()) {
        rows(0, height);
        return;
    }
    try {
        cv::parallel_for_(
            cv::Range(0, height), [&rows](const cv::Range& part) { rows(part.start, part.end); }, parts);
    } catch (const std::exception&) {  // it found no memory or no thread, half-way perhaps
        rows(0, height);
    }
}

template <Interpolation Kind, class T>
void InterpolateFrom(const _OrvImage& source, const _OrvImage& destination, bool greenFirst, bool ownFirst) {
    const FrameRows<const T> from(source, 1);
    const FrameRows<T> to(destination, kChannels);
    const int width = source.width;
    const int height = source.height;
    const auto rows = [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            if (width < 3 || height < 3) {
                std::memset(to[y], 0, static_cast<size_t>(to.rowBytes));
                continue;
            }
            // The first and last row repeat their neighbours.
            const int inner = std::clamp(y, 1, height - 2);
            const bool odd = inner % 2 != 0;
            InterpolateRow<Kind, T>({from[inner - 1], from[inner], from[inner + 1], greenFirst != odd, ownFirst != odd},
                                    width, to[y]);
        }
    };
    if (to.Overlap()) {
        rows(0, height);
    } else {
        SpreadRows(height, to.rowBytes, rows);
    }
}

template <class T>
int InterpolateSamples(const _OrvImage& source, const _OrvImage& destination, int code) {
    if (IsRefused<T>(source, 1) || IsRefused<T>(destination, kChannels) || source.width == 0 || source.height == 0) {
        return kCodeOpenCv;
    }
    if (source.width != destination.width || source.height != destination.height) {
        return kCodeOk;
    }
    const bool edgeAware = code >= cv::COLOR_BayerBG2BGR_EA;
    const int pattern = code - (edgeAware ? cv::COLOR_BayerBG2BGR_EA : cv::COLOR_BayerBG2BGR);
    // By pattern the first two samples, and the channel of the one that is not green: R G 2, G R 2, B G 0, G B 0.
    const bool greenFirst = pattern % 2 != 0;
    const bool ownFirst = pattern >= 2;
    if (edgeAware) {
        InterpolateFrom<Interpolation::EdgeAware, T>(source, destination, greenFirst, ownFirst);
    } else {
        InterpolateFrom<Interpolation::Bilinear, T>(source, destination, greenFirst, ownFirst);
    }
    return kCodeOk;
}

}  // namespace

int InterpolateFrame(const _OrvImage& source, const _OrvImage& destination, int code) {
    return HasByteSamples(source.pixelType) ? InterpolateSamples<uint8_t>(source, destination, code)
                                            : InterpolateSamples<uint16_t>(source, destination, code);
}

}  // namespace orv
