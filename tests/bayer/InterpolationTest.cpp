// Bilinear and edge-aware conversion against cv::cvtColor: the alarm for an OpenCV that rounds otherwise.
#include "bayer/Interpolation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "support/Image.h"
#include "support/Levels.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;
using orvtest::Noise;

// The eight codes, plain and edge-aware.
int CodeOf(uint32_t n) {
    return static_cast<int>(n % 8 < 4 ? cv::COLOR_BayerBG2BGR + n % 4 : cv::COLOR_BayerBG2BGR_EA + n % 4);
}

// From the last row upwards.
void Turn(_OrvImage* record) {
    record->data = static_cast<uint8_t*>(record->data) + (record->height - 1) * ptrdiff_t{record->stride};
    record->stride = -record->stride;
}

Image Frame(int bytes, int channels, int width, int height, int padding) {
    return Image(bytes == 1 ? OrvPixelBayerRG8 : OrvPixelBayerRG16, 8 * bytes, width, height,
                 bytes * (width * channels + padding));
}

// A frame of random content, padding and direction. Content of few values has neighbours that differ alike.
void CheckFrame(int bytes, int width, int height, int code, Noise& noise) {
    Image source = Frame(bytes, 1, width, height, static_cast<int>(noise.Below(4)));
    Image result = Frame(bytes, 3, width, height, static_cast<int>(noise.Below(4)));
    const uint8_t mask = noise.Below(4) == 0 ? 0x81 : 0xFF;
    for (uint8_t& byte : source.bytes) {
        byte = static_cast<uint8_t>(noise.Next()) & mask;
    }
    _OrvImage from = source.record;
    _OrvImage to = result.record;
    if (noise.Below(4) == 0) {
        Turn(&from);
    }
    if (noise.Below(4) == 0) {
        Turn(&to);
    }
    // Packed, since OpenCV's edge-aware conversion takes no notice of row steps.
    const auto row = [](const _OrvImage& image, int y) {
        return static_cast<uint8_t*>(image.data) + y * ptrdiff_t{image.stride};
    };
    const size_t rowBytes = static_cast<size_t>(width * bytes);
    cv::Mat mosaic(height, width, bytes == 1 ? CV_8UC1 : CV_16UC1);
    for (int y = 0; y < height; ++y) {
        std::memcpy(mosaic.ptr(y), row(from, y), rowBytes);
    }
    cv::Mat expected;
    cv::cvtColor(mosaic, expected, code);
    ASSERT_EQ(0, orv::InterpolateFrame(from, to, code));
    for (int y = 0; y < height; ++y) {
        ASSERT_EQ(0, std::memcmp(row(to, y), expected.ptr(y), 3 * rowBytes))
            << width << " by " << height << ", code " << code << ", " << bytes << " bytes, row " << y;
    }
    ASSERT_TRUE(result.OutsideUntouched(3 * rowBytes)) << width << " by " << height << ", code " << code;
}

void CheckFrames() {
    Noise noise(17);
    for (int width = 1; width <= 140; ++width) {
        const bool wide = width > 45;
        for (int height = wide ? 3 + width % 5 : 1; height <= (wide ? 3 + width % 5 : 45); ++height) {
            for (const int bytes : {1, 2}) {
                for (const uint32_t edgeAware : {0U, 4U}) {
                    ASSERT_NO_FATAL_FAILURE(
                        CheckFrame(bytes, width, height, CodeOf(edgeAware + noise.Below(4)), noise));
                }
            }
        }
    }
    for (int threads = 1; threads <= 4; ++threads) {
        cv::setNumThreads(threads);
        for (uint32_t n = 0; n < 8; ++n) {
            ASSERT_NO_FATAL_FAILURE(CheckFrame(1, 1001, 401, CodeOf(n), noise));
            ASSERT_NO_FATAL_FAILURE(CheckFrame(2, 318, 701, CodeOf(n), noise));
        }
    }
}

TEST(Interpolation, EqualsOpenCv) {
    orvtest::AtEveryLevel(CheckFrames);
    cv::setNumThreads(-1);
}

bool OpenCvRefuses(const _OrvImage& from, const _OrvImage& to, int type, int code) {
    if (from.width < 0 || from.height < 0 || to.width < 0 || to.height < 0) {
        return true;  // OpenCV does not test a matrix header of a negative size on every path
    }
    try {
        const cv::Mat source(from.height, from.width, type, from.data, static_cast<size_t>(from.stride));
        const cv::Mat wrapped(to.height, to.width, CV_MAKETYPE(type, 3), to.data, static_cast<size_t>(to.stride));
        cv::Mat result;
        cv::cvtColor(source, result, code);
        return false;
    } catch (const cv::Exception&) {
        return true;
    }
}

// Records of any size and stride in buffers that hold them all.
TEST(Interpolation, RefusesWhatOpenCvRefuses) {
    constexpr int kMost = 9;
    Noise noise(23);
    Image source = Frame(2, 1, 64, 64, 0);
    std::fill(source.bytes.begin(), source.bytes.end(), uint8_t{1});
    Image result = Frame(2, 3, 64, 64, 0);
    const auto describe = [&noise](Image& image, int width, int height, int bytes, int channels) {
        _OrvImage record = image.record;
        record.pixelType = bytes == 1 ? OrvPixelBayerRG8 : OrvPixelBayerRG16;
        record.width = noise.Below(8) == 0 ? static_cast<int>(noise.Below(kMost)) - 1 : width;
        record.height = noise.Below(8) == 0 ? static_cast<int>(noise.Below(kMost)) - 1 : height;
        const int row = std::max(width, 0) * bytes * channels;
        const int strides[] = {0, row, row, row - 1, row + 1, row + 2, -row, -row - 3, -row - 4, 1, -1, -2};
        record.stride = strides[noise.Below(std::size(strides))];
        record.data = noise.Below(10) == 0 ? nullptr : image.Row<uint8_t>(32);
        return record;
    };
    int accepted = 0;
    for (int i = 0; i < 3000; ++i) {
        const int bytes = 1 + i % 2;
        const int width = static_cast<int>(noise.Below(kMost));
        const int height = static_cast<int>(noise.Below(kMost));
        const _OrvImage from = describe(source, width, height, bytes, 1);
        const _OrvImage to = describe(result, width, height, bytes, 3);
        const int code = CodeOf(noise.Below(8));
        const bool refused = OpenCvRefuses(from, to, bytes == 1 ? CV_8UC1 : CV_16UC1, code);
        result.Refill();
        SCOPED_TRACE(testing::Message() << from.width << " by " << from.height << ", stride " << from.stride << " to "
                                        << to.width << " by " << to.height << ", stride " << to.stride << ", " << bytes
                                        << " bytes");
        ASSERT_EQ(refused ? 1 : 0, orv::InterpolateFrame(from, to, code));
        const bool sameSize = from.width == to.width && from.height == to.height;
        ASSERT_EQ(refused || !sameSize, result.Untouched());
        accepted += refused ? 0 : 1;
    }
    EXPECT_GT(accepted, 500);
    EXPECT_LT(accepted, 2500);
}

}  // namespace
