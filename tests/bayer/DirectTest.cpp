// The direct Bayer functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bayer/BayerDirect.h"
#include "bayer/OrvBayerImp.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;

constexpr uint32_t kBadArgument = 0x80050007U;

// By pattern number: GR, RG, BG, GB.
const uint32_t kByteWords[] = {OrvPixelBayerGR8, OrvPixelBayerRG8, OrvPixelBayerBG8, OrvPixelBayerGB8};
const uint32_t kWords[][4] = {{OrvPixelBayerGR10, OrvPixelBayerRG10, OrvPixelBayerBG10, OrvPixelBayerGB10},
                              {OrvPixelBayerGR12, OrvPixelBayerRG12, OrvPixelBayerBG12, OrvPixelBayerGB12},
                              {OrvPixelBayerGR14, OrvPixelBayerRG14, OrvPixelBayerBG14, OrvPixelBayerGB14},
                              {OrvPixelBayerGR16, OrvPixelBayerRG16, OrvPixelBayerBG16, OrvPixelBayerGB16}};
const uint32_t kRgbWords[] = {OrvPixelRGB10, OrvPixelRGB12, OrvPixelRGB14, OrvPixelRGB16};

template <class From, class To>
using Function = uint32_t (*)(From const*, _OrvRect, _OrvSize, int, int, To*, int, unsigned char, int);
const Function<unsigned char, unsigned char> kByteFunctions[] = {BayerToRGB_8u_C1C3R, BayerToBGR_8u_C1C3R,
                                                                 BayerToRGB_8u_C1C4R, BayerToBGR_8u_C1C4R};
const Function<unsigned short, unsigned short> kWideFunctions[] = {BayerToRGB_16u_C1C3R, BayerToBGR_16u_C1C3R,
                                                                   BayerToRGB_16u_C1C4R, BayerToBGR_16u_C1C4R};
const Function<unsigned short, unsigned char> kNarrowingFunctions[] = {BayerToRGB_16u8u_C1C3R, BayerToBGR_16u8u_C1C3R,
                                                                       BayerToRGB_16u8u_C1C4R, BayerToBGR_16u8u_C1C4R};

template <class T>
std::vector<T> Samples(int width, int height, int bitDepth) {
    return orvtest::NoiseSamples<T>(11, static_cast<size_t>(width * height), (1U << bitDepth) - 1);
}

// Function `index` of a table against the component.
template <class T>
void CheckFunction(Function<T, T> function, uint32_t sourceWord, uint32_t destinationWord, int bitDepth,
                   unsigned char pattern) {
    const int width = 28;
    const int height = 18;
    const int bytes = sizeof(T);
    auto samples = Samples<T>(width, height, bitDepth);
    Image source(sourceWord, bitDepth, width, height, width * bytes);
    std::memcpy(source.Data(), samples.data(), samples.size() * sizeof(T));
    OrvBayer* component = OrvBayer_CreateComponent();
    for (const int algorithm : {0, 1, 2}) {
        Image expected(destinationWord, bitDepth, width, height, width * 3 * bytes + 12);
        Image destination(destinationWord, bitDepth, width, height, width * 3 * bytes + 12);
        OrvSetParam(*OrvBayer_GetComponent(component), "BayerAlgType", algorithm);
        ASSERT_EQ(OrvBayer_ConvertImage(component, &source.record, &expected.record), 0u);
        ASSERT_EQ(function(samples.data(), {5, 7, width, height}, {width, height}, width * bytes, bitDepth,
                           destination.Row<T>(0), destination.record.stride, pattern, algorithm),
                  0u);
        EXPECT_EQ(destination.bytes, expected.bytes) << "word " << sourceWord << ", algorithm " << algorithm;
        OrvBayer_ReleaseData(component);
        destination.Refill();
        ASSERT_EQ(BayerToColor(&source.record, &destination.record, algorithm), 0u);
        EXPECT_EQ(destination.bytes, expected.bytes) << "records, algorithm " << algorithm;
    }
    OrvBayer_DeleteComponent(component);
    Image untouched(destinationWord, bitDepth, width, height, width * 3 * bytes);
    for (const int algorithm : {-1, 3, 7}) {
        EXPECT_EQ(function(samples.data(), {0, 0, width, height}, {width, height}, width * bytes, bitDepth,
                           untouched.Row<T>(0), untouched.record.stride, pattern, algorithm),
                  0u);
    }
    EXPECT_EQ(function(samples.data(), {0, 0, width, height}, {width, height}, width * bytes, bitDepth,
                       untouched.Row<T>(0), untouched.record.stride, 4, 0),
              kBadArgument);
    EXPECT_TRUE(untouched.Untouched());
}

TEST(BayerDirect, BareBuffersConvertAsRecordsDo) {
    for (unsigned char pattern = 0; pattern < 4; ++pattern) {
        for (unsigned member = 0; member < 4; ++member) {
            CheckFunction<uint8_t>(kByteFunctions[member], kByteWords[pattern], OrvPixelRGB8 + member % 2, 8, pattern);
            for (unsigned depth = 0; depth < 4; ++depth) {
                CheckFunction<uint16_t>(kWideFunctions[member], kWords[depth][pattern], kRgbWords[depth] + member % 2,
                                        10 + 2 * static_cast<int>(depth), pattern);
            }
        }
    }
}

TEST(BayerDirect, RecordsAreTested) {
    _OrvImage image = {};
    image.pixelType = OrvPixelBayerGR8;
    EXPECT_EQ(BayerToColor(nullptr, &image, 1), kBadArgument);
    EXPECT_EQ(BayerToColor(&image, nullptr, 1), kBadArgument);
    EXPECT_EQ(BayerToColor(&image, &image, 1), 0x80050008U);
    for (const uint32_t word : {0x0308010CU, 0x03100319U, 0x04080131U}) {
        image.pixelType = word;
        EXPECT_EQ(BayerToColor(&image, &image, 7), kBadArgument);
    }
}

TEST(BayerDirect, FillsARecordFromANumberedPattern) {
    _OrvRect rect = {1, 2, 3, 4};
    _OrvSize size = {30, 20};
    const unsigned short sample = 0;
    for (unsigned char pattern = 0; pattern < 5; ++pattern) {
        for (const int bitDepth : {8, 10, 11, 12, 14, 16}) {
            _OrvImage image;
            std::memset(&image, 0x5A, sizeof image);
            _OrvImage expected = image;
            expected.bitDepth = bitDepth;
            expected.width = 30;
            expected.height = 20;
            expected.stride = 64;
            expected.imageSize = 1280;
            expected.data = const_cast<unsigned short*>(&sample);
            const bool good = pattern < 4 && bitDepth >= 10 && bitDepth % 2 == 0;
            if (good) {
                expected.pixelType = kWords[(bitDepth - 10) / 2][pattern];
            }
            EXPECT_EQ(fillInSrc(&image, &sample, rect, size, 64, pattern, bitDepth), good ? 0 : 7);
            EXPECT_EQ(std::memcmp(&image, &expected, sizeof image), 0) << int{pattern} << ' ' << bitDepth;
        }
    }
}

// The top 8 bits, through rows that overlap where the frame is wider than high.
TEST(BayerDirect, NarrowingKeepsTheScratchRows) {
    for (const auto& frame : {_OrvSize{24, 24}, {31, 18}, {14, 27}}) {
        for (int bitDepth = 10; bitDepth <= 16; bitDepth += 2) {
            for (unsigned member = 0; member < 4; ++member) {
                const int channels = member < 2 ? 3 : 4;
                const unsigned char pattern =
                    static_cast<unsigned char>((member + static_cast<unsigned>(bitDepth)) % 4);
                const _OrvRect rect = {0, 0, frame.width, frame.height};
                const int evenWidth = (frame.width + 1) / 2 * 2;
                auto samples = Samples<uint16_t>(evenWidth, frame.height, bitDepth);
                std::vector<uint16_t> packed(static_cast<size_t>(frame.width * frame.height * 3));
                ASSERT_EQ(kWideFunctions[member](samples.data(), rect, frame, evenWidth * 2, bitDepth, packed.data(),
                                                 frame.width * 6, pattern, 1),
                          0u);
                const int step = frame.height * channels;
                std::vector<uint16_t> scratch(static_cast<size_t>((frame.width + frame.height) * step));
                for (int y = 0; y < frame.height; ++y) {
                    std::copy_n(packed.begin() + y * frame.width * 3, frame.width * 3, scratch.begin() + y * step);
                }
                Image destination(OrvPixelRGB8, 8, frame.width, frame.height, frame.width * channels + 7);
                ASSERT_EQ(kNarrowingFunctions[member](samples.data(), rect, frame, evenWidth * 2, bitDepth,
                                                      destination.Data(), destination.record.stride, pattern, 1),
                          0u);
                EXPECT_TRUE(destination.OutsideUntouched(static_cast<size_t>(frame.width * channels)));
                for (int y = 0; y < frame.height; ++y) {
                    for (int i = 0; i < frame.width * channels; ++i) {
                        ASSERT_EQ(destination.Row<uint8_t>(y)[i],
                                  scratch[static_cast<size_t>(y * step + i)] >> (bitDepth - 8))
                            << frame.width << " by " << frame.height << ", member " << member << ", row " << y
                            << ", sample " << i;
                    }
                }
            }
        }
    }
}

TEST(BayerDirect, NarrowingFailures) {
    const auto samples = Samples<uint16_t>(20, 20, 12);
    Image destination(OrvPixelRGB8, 8, 20, 20, 80);
    const auto convert = [&](int width, int height, int bitDepth, int stride, int pattern, int algorithm, int member) {
        return kNarrowingFunctions[member](samples.data(), {0, 0, width, height}, {width, height}, 40, bitDepth,
                                           destination.Data(), stride, static_cast<unsigned char>(pattern), algorithm);
    };
    EXPECT_EQ(convert(20, 20, 11, 80, 0, 1, 0), kBadArgument);
    EXPECT_EQ(convert(20, 20, 12, 80, 4, 1, 0), kBadArgument);
    EXPECT_EQ(convert(-1, 20, 12, 80, 0, 1, 0), 0x80050009U);
    EXPECT_EQ(convert(20, 20, 12, 0, 0, 1, 0), 0u);
    EXPECT_EQ(convert(20, 20, 12, -80, 0, 1, 2), 0u);
    EXPECT_EQ(kNarrowingFunctions[0](samples.data(), {0, 0, 20, 0}, {20, 20}, 40, 12, destination.Data(), 80, 0, 1),
              0u);
    // Rows of the scratch too short for OpenCV.
    EXPECT_EQ(convert(20, 18, 12, 80, 0, 0, 0), 0x80050001U);
    EXPECT_EQ(convert(20, 18, 12, 80, 0, 2, 1), 0x80050001U);
    EXPECT_EQ(convert(20, 14, 12, 80, 0, 0, 2), 0x80050001U);
    EXPECT_TRUE(destination.Untouched());
    EXPECT_EQ(convert(20, 15, 12, 80, 0, 0, 2), 0u);
    destination.Refill();
    // Nothing is converted, so the scratch is still zero.
    EXPECT_EQ(convert(20, 20, 12, 80, 0, 7, 0), 0u);
    EXPECT_EQ(std::count(destination.Data(), destination.Data() + 60, 0), 60);
}

}  // namespace
