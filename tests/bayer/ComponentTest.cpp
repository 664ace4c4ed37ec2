// The Bayer component with the conversions that OpenCV does.
#include <gtest/gtest.h>

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "bayer/OrvBayerImp.h"
#include "component/PixelTypes.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;

struct Pattern {
    const char* name;  // the top-left cell, row by row
    uint32_t words[5];
    int bgr, rgb, bgrEdgeAware, rgbEdgeAware;
};
const Pattern kPatterns[] = {
    {"GRBG", {0x0308010D, 0x03100211, 0x03100315, 0x03100429, 0x0310052D}, 47, 49, 136, 138},
    {"RGGB", {0x0308010E, 0x03100212, 0x03100316, 0x0310042A, 0x0310052E}, 46, 48, 135, 137},
    {"GBRG", {0x0308010F, 0x03100213, 0x03100317, 0x0310042B, 0x0310052F}, 49, 47, 138, 136},
    {"BGGR", {0x03080110, 0x03100214, 0x03100318, 0x0310042C, 0x03100530}, 48, 46, 137, 135},
};
const int kDepths[] = {8, 10, 12, 14, 16};
const uint32_t kDestinations[] = {0x02180171, 0x02180172, 0x02200173, 0x02200174, 0x02300275, 0x02300276,
                                  0x02300377, 0x02300378, 0x02300479, 0x0230047A, 0x0230057B, 0x0230057C};

bool BlueFirst(uint32_t word) { return (word & 0xFF) % 2 == 0; }

class Component {
public:
    explicit Component(long algorithm = 0) : bayer(OrvBayer_CreateComponent()) { Set(algorithm); }
    ~Component() { OrvBayer_DeleteComponent(bayer); }
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    void Set(long algorithm) { EXPECT_EQ(OrvSetParam(*bayer->GetComponent(), "BayerAlgType", algorithm), 0u); }
    uint32_t Convert(Image& source, Image& destination) {
        return OrvBayer_ConvertImage(bayer, &source.record, &destination.record);
    }
    OrvBayer* bayer;
};

void FillNoise(Image& image, uint64_t seed) {
    orvtest::Noise noise(seed);
    const bool bytes = orv::HasByteSamples(image.record.pixelType);
    for (int y = 0; y < image.record.height; ++y) {
        for (int x = 0; x < image.record.width; ++x) {
            const uint32_t sample = noise.Below(1U << image.record.bitDepth);
            if (bytes) {
                image.Row<uint8_t>(y)[x] = static_cast<uint8_t>(sample);
            } else {
                image.Row<uint16_t>(y)[x] = static_cast<uint16_t>(sample);
            }
        }
    }
}

class EveryWord : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(EveryWord, EqualsOpenCvInEveryDestination) {
    const Pattern& pattern = kPatterns[std::get<0>(GetParam())];
    const int depthIndex = std::get<1>(GetParam());
    const int bits = kDepths[depthIndex];
    const int bytes = bits == 8 ? 1 : 2;
    const int width = 37;
    const int height = 23;
    Image source(pattern.words[depthIndex], bits, width, height, width * bytes + 6);
    FillNoise(source, 7);
    // Packed: OpenCV's edge-aware conversion takes no notice of row steps.
    const cv::Mat mosaic = cv::Mat(height, width, bytes == 1 ? CV_8UC1 : CV_16UC1, source.Data(),
                                   static_cast<size_t>(source.record.stride))
                               .clone();
    Component component;
    for (const int algorithm : {0, 2}) {
        component.Set(algorithm);
        for (const uint32_t word : kDestinations) {
            Image destination(word, bits, width, height, width * 3 * bytes + 10);
            ASSERT_EQ(component.Convert(source, destination), 0u);
            const int code = algorithm == 0 ? (BlueFirst(word) ? pattern.bgr : pattern.rgb)
                                            : (BlueFirst(word) ? pattern.bgrEdgeAware : pattern.rgbEdgeAware);
            cv::Mat expected;
            cv::cvtColor(mosaic, expected, code);
            for (int y = 0; y < height; ++y) {
                ASSERT_EQ(std::memcmp(destination.Row<uint8_t>(y), expected.ptr(y), expected.elemSize() * width), 0)
                    << pattern.name << " algorithm " << algorithm << ", " << bits << " bits to " << std::hex << word
                    << ", row " << std::dec << y;
            }
            EXPECT_TRUE(destination.OutsideUntouched(expected.elemSize() * width));
        }
    }
}

// The codes above could be wrong the same way twice; a scene of one colour can't.
TEST_P(EveryWord, KeepsTheColourOfAUniformScene) {
    const Pattern& pattern = kPatterns[std::get<0>(GetParam())];
    const int depthIndex = std::get<1>(GetParam());
    const int bits = kDepths[depthIndex];
    const int bytes = bits == 8 ? 1 : 2;
    Image source(pattern.words[depthIndex], bits, 12, 10, 12 * bytes);
    const int colour[3] = {200, 120, 40};
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 12; ++x) {
            const char letter = pattern.name[(y & 1) * 2 + (x & 1)];
            const int sample = colour[letter == 'R' ? 0 : letter == 'G' ? 1 : 2];
            if (bytes == 1) {
                source.Row<uint8_t>(y)[x] = static_cast<uint8_t>(sample);
            } else {
                source.Row<uint16_t>(y)[x] = static_cast<uint16_t>(sample);
            }
        }
    }
    for (const int algorithm : {0, 2}) {
        Component component(algorithm);
        for (const uint32_t word : {OrvPixelRGB8, OrvPixelBGR16}) {
            Image destination(word, bits, 12, 10, 36 * bytes);
            ASSERT_EQ(component.Convert(source, destination), 0u);
            for (int channel = 0; channel < 3; ++channel) {
                const int index = 3 * 6 + channel;
                const int value = bytes == 1 ? destination.Row<uint8_t>(5)[index] : destination.Row<uint16_t>(5)[index];
                EXPECT_EQ(value, colour[BlueFirst(word) ? 2 - channel : channel]) << pattern.name;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(BayerComponent, EveryWord, testing::Combine(testing::Range(0, 4), testing::Range(0, 5)));

TEST(BayerComponent, CodesDependOnPatternAndEdgeAwarenessOnly) {
    EXPECT_EQ(PixelTypeToBayerType(0x0308010D, 1, false), 49);
    EXPECT_EQ(PixelTypeToBayerType(0x0308010D, 77, false), 49);
    EXPECT_EQ(PixelTypeToBayerType(0x03100319, 0, false), -1);
    EXPECT_EQ(PixelTypeToBayerType(0x0310010D, 0, false), -1);
}

TEST(BayerComponent, NumbersWithoutAnAlgorithmConvertAsBilinear) {
    Image source(OrvPixelBayerBG8, 8, 20, 14, 20);
    FillNoise(source, 3);
    Image bilinear(OrvPixelRGB8, 8, 20, 14, 60);
    Component component(0);
    ASSERT_EQ(component.Convert(source, bilinear), 0u);
    for (const long algorithm : {3L, 4L}) {
        component.Set(algorithm);
        Image other(OrvPixelRGB8, 8, 20, 14, 60);
        EXPECT_EQ(component.Convert(source, other), 0u);
        EXPECT_EQ(bilinear.bytes, other.bytes);
        long stored = 0;
        char name[] = "BayerAlgType";
        EXPECT_EQ(component.bayer->GetComponent()->GetParamInt(name, &stored), 0u);
        EXPECT_EQ(stored, algorithm);
    }
}

TEST(BayerComponent, BadInputIsRefusedAndWritesNothing) {
    for (const long algorithm : {0L, 2L}) {
        Component component(algorithm);
        Image source(OrvPixelBayerRG8, 8, 16, 12, 16);
        FillNoise(source, 5);
        Image destination(OrvPixelRGB8, 8, 16, 12, 48);
        EXPECT_EQ(OrvBayer_ConvertImage(component.bayer, nullptr, &destination.record), 0x80050007u);
        EXPECT_EQ(OrvBayer_ConvertImage(component.bayer, &source.record, nullptr), 0x80050007u);
        for (const uint32_t word : {0x04080131u, 0x02180171u, 0x03100319u, 0x03080111u, 0u}) {
            source.record.pixelType = word;
            EXPECT_EQ(component.Convert(source, destination), 0x80050007u) << std::hex << word;
            EXPECT_EQ(OrvBayer_AllocData(component.bayer, &source.record, &destination.record), 0x80050007u);
        }
        source.record.pixelType = OrvPixelBayerRG8;
        EXPECT_EQ(OrvBayer_AllocData(component.bayer, &source.record, nullptr), 0x80050007u);
        // A row step below the row.
        source.record.stride = 15;
        EXPECT_EQ(component.Convert(source, destination), 0x80050001u);
        source.record.stride = 16;
        EXPECT_TRUE(destination.Untouched());
        EXPECT_EQ(OrvBayer_AllocData(component.bayer, &source.record, &destination.record), 0u);
        EXPECT_EQ(component.Convert(source, destination), 0u);
        EXPECT_FALSE(destination.Untouched());
    }
}

}  // namespace
