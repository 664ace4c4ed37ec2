// Rows and frames made to fit, against the conversions of packed frames.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "OrvHelpers.h"
#include "OrvTrueSense.h"
#include "rows/Simd.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;

TEST(Rows, DepthsAndFourthChannelsByFormula) {
    for (const orv::SimdLevel level : {orv::SimdLevel::Baseline, orv::BestSimdLevel()}) {
        orv::SetSimdLevel(level);
        for (int n = 0; n <= 66; n += 3) {
            const std::vector<uint16_t> in = orvtest::NoiseSamples<uint16_t>(3, static_cast<size_t>(n + 1) * 2, 65535);
            const int64_t stride = 2 * (n + 1);
            for (const int bits : {8, 10, 12, 14, 16}) {
                std::vector<uint8_t> bytes(in.size(), 77);
                std::vector<uint16_t> words = in;
                ASSERT_EQ(0U, OrvRows_To8(in.data(), stride, bytes.data(), n + 1, n, 2, bits));
                ASSERT_EQ(0U, OrvRows_To16(words.data(), stride, words.data(), stride, n, 2, bits));
                for (size_t i = 0; i < in.size(); ++i) {
                    const int v = std::min<int>(in[i], (1 << bits) - 1);
                    const bool padding = static_cast<int>(i) % (n + 1) == n;
                    ASSERT_EQ(padding ? 77 : v >> (bits - 8), bytes[i]);
                    ASSERT_EQ(padding ? in[i] : (v << (16 - bits) | v >> (2 * bits - 16)) & 0xFFFF, words[i]);
                }
            }
            const int pixels = n / 3;
            std::vector<uint16_t> four(static_cast<size_t>(4 * pixels));
            std::vector<uint8_t> in8(in.begin(), in.end());
            std::vector<uint8_t> four8(four.size());
            ASSERT_EQ(0U, OrvRows_AddAlpha16(in.data(), stride, four.data(), 8 * pixels, pixels, 1, 999));
            ASSERT_EQ(0U, OrvRows_AddAlpha8(in8.data(), n + 1, four8.data(), 4 * pixels, pixels, 1, 200));
            for (size_t i = 0; i < four.size(); ++i) {
                const size_t from = i / 4 * 3 + i % 4;
                ASSERT_EQ(i % 4 == 3 ? 999 : in[from], four[i]);
                ASSERT_EQ(i % 4 == 3 ? 200 : in8[from], four8[i]);
            }
        }
    }
    orv::SetSimdLevel(orv::BestSimdLevel());
    uint16_t one[4] = {};
    EXPECT_EQ(0x80070007, OrvRows_To16(one, 8, one, 8, 4, 1, 11));
    EXPECT_EQ(0x80070007, OrvRows_To16(one, 7, one, 8, 3, 1, 12));
    EXPECT_EQ(0x80070007, OrvRows_To16(one, 6, one, 8, 4, 1, 12));
    EXPECT_EQ(0x80070007, OrvRows_To16(nullptr, 8, one, 8, 4, 1, 12));
    EXPECT_EQ(0x80070007, OrvRows_AddAlpha16(one, 8, one, 8, -1, 1, 0));
}

TEST(Frames, RecordsOfTheCallersPixels) {
    _OrvImage image;
    int pixels = 0;
    ASSERT_EQ(0U, OrvFrame_Make(&image, OrvPixelBayerRG12, 5, 3, 0, &pixels));
    EXPECT_EQ(96U, image.size);
    EXPECT_EQ(12, image.bitDepth);
    EXPECT_EQ(10, image.stride);
    EXPECT_EQ(30, image.imageSize);
    EXPECT_EQ(&pixels, image.data);
    const _OrvImage before = image;
    EXPECT_EQ(0x80070007, OrvFrame_Make(&image, OrvPixelBayerRG12, 5, 3, 8, &pixels));
    EXPECT_EQ(0x80070007, OrvFrame_Make(&image, OrvPixelBayerRG12, 5, 3, 11, &pixels));
    EXPECT_EQ(0x80070007, OrvFrame_Make(&image, 1, 5, 3, 0, &pixels));
    EXPECT_EQ(0x80070007, OrvFrame_Make(&image, OrvPixelBGR8, -5, 3, 0, &pixels));
    EXPECT_EQ(0x80070007, OrvFrame_Make(&image, OrvPixelBGR8, 30000, 30000, 0, &pixels));
    EXPECT_EQ(0x80070007, OrvFrame_Make(nullptr, OrvPixelBGR8, 5, 3, 0, &pixels));
    EXPECT_EQ(0, std::memcmp(&before, &image, sizeof(image)));
}

struct Deleter {
    void operator()(OrvBayer* component) const { OrvBayer_DeleteComponent(component); }
};

// Samples of 0 to the word's largest.
uint16_t SampleAt(int bits, int width, int x, int y) {
    static const std::vector<uint16_t> noise = orvtest::NoiseSamples<uint16_t>(5, 4096, 65535);
    return static_cast<uint16_t>(noise[static_cast<size_t>(y * width + x) % noise.size()] >> (16 - bits));
}

// A mosaic of noise at `step` bytes a row from `first`, which may run upwards.
_OrvImage Mosaic(uint32_t word, int width, int height, int step, uint8_t* first) {
    _OrvImage source = {};
    EXPECT_EQ(0U, OrvFrame_Make(&source, word, width, height, 0, first));
    source.stride = step;
    source.imageSize = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint16_t sample = SampleAt(OrvWord_Bits(word), width, x, y);
            const size_t bytes = OrvWord_Bits(word) == 8 ? 1 : 2;
            std::memcpy(first + static_cast<ptrdiff_t>(y) * step + static_cast<ptrdiff_t>(bytes) * x, &sample, bytes);
        }
    }
    return source;
}

// Every layout of rows in memory gives what the component makes of rows as it wants them.
TEST(Frames, BayerFramesOfAnyRowsToAnyDepth) {
    const struct {
        uint32_t source, destination;
    } pairs[] = {{OrvPixelBayerGR8, OrvPixelBGR8},   {OrvPixelBayerGR8, OrvPixelRGBA8},
                 {OrvPixelBayerRG12, OrvPixelRGB8},  {OrvPixelBayerRG12, OrvPixelBGRA8},
                 {OrvPixelBayerRG12, OrvPixelBGR12}, {OrvPixelBayerGB10, OrvPixelRGB16},
                 {OrvPixelBayerBG16, OrvPixelBGR16}};
    constexpr int kHeight = 7;
    for (const int width : {13, 14}) {
        for (const auto& pair : pairs) {
            const int bits = OrvWord_Bits(pair.source);
            const int bytes = bits == 8 ? 1 : 2;
            const int resultBits = OrvWord_Bits(pair.destination);
            const int channels = OrvWord_Channels(pair.destination);
            const bool blueFirst = OrvWord_Name(pair.destination)[0] == 'B';
            for (int algorithm = 0; algorithm < 3; ++algorithm) {
                SCOPED_TRACE(testing::Message() << OrvWord_Name(pair.source) << " to " << OrvWord_Name(pair.destination)
                                                << " by " << algorithm << ", width " << width);
                const std::unique_ptr<OrvBayer, Deleter> component(OrvBayer_CreateComponent());
                ASSERT_EQ(0U, OrvParam_SetInteger(component->GetComponent(), "BayerAlgType", algorithm));
                const int wanted = bytes * (width + width % 2);
                Image packed(pair.source, bits, width, kHeight, wanted);
                Mosaic(pair.source, width, kHeight, wanted, packed.Data());
                Image plain(OrvWord_Colour(blueFirst, 3, bits), bits, width, kHeight, 3 * bytes * width);
                ASSERT_EQ(0U, OrvBayer_ConvertImage(component.get(), &packed.record, &plain.record));
                for (const int layout : {0, 1, 2, 3, 4}) {
                    component->ReleaseData();
                    const int rowBytes = bytes * width;
                    const int step = layout == 0 ? 0 : layout == 1 ? wanted : rowBytes + 6 + (layout == 2 ? 1 : 0);
                    const int magnitude = step == 0 ? rowBytes : step;
                    std::vector<uint8_t> memory(static_cast<size_t>(magnitude) * (kHeight - 1) +
                                                static_cast<size_t>(rowBytes) + (layout == 3 ? 1 : 0));
                    const bool upwards = layout == 4;
                    uint8_t* first = memory.data() + (layout == 3 ? 1 : 0) + (upwards ? magnitude * (kHeight - 1) : 0);
                    _OrvImage source = Mosaic(pair.source, width, kHeight, upwards ? -magnitude : magnitude, first);
                    source.stride = step == 0 ? 0 : source.stride;
                    const int resultBytes = resultBits == 8 ? 1 : 2;
                    Image result(pair.destination, resultBits, width, kHeight, resultBytes * channels * width + 10);
                    const int64_t needed = OrvFrame_ConvertBayerBytes(&source, &result.record, algorithm);
                    ASSERT_GE(needed, 0);
                    // From an odd address, and without a byte to spare.
                    std::vector<uint8_t> scratch(static_cast<size_t>(needed) + 1);
                    if (needed > 0) {
                        EXPECT_EQ(0x80070006, OrvFrame_ConvertBayer(component.get(), &source, &result.record,
                                                                    scratch.data(), scratch.size() - 2));
                        EXPECT_TRUE(result.Untouched());
                    }
                    ASSERT_EQ(0U, OrvFrame_ConvertBayer(component.get(), &source, &result.record, scratch.data() + 1,
                                                        static_cast<size_t>(needed)));
                    EXPECT_TRUE(result.OutsideUntouched(static_cast<size_t>(resultBytes * channels * width)));
                    for (int y = 0; y < kHeight; ++y) {
                        for (int i = 0; i < channels * width; ++i) {
                            const int from = i / channels * 3 + i % channels;
                            int v = bytes == 1 ? plain.Row<uint8_t>(y)[from] : plain.Row<uint16_t>(y)[from];
                            v = resultBits < bits   ? v >> (bits - 8)
                                : resultBits > bits ? v << (16 - bits) | v >> (2 * bits - 16)
                                                    : v;
                            v = i % channels == 3 ? 255 : v;
                            ASSERT_EQ(v, resultBytes == 1 ? result.Row<uint8_t>(y)[i] : result.Row<uint16_t>(y)[i])
                                << "layout " << layout << ", row " << y << ", sample " << i;
                        }
                    }
                }
            }
        }
    }
}

TEST(Frames, TightCopiesOnlyWhatDoesNotFitAndRefusesTheRest) {
    std::vector<uint16_t> memory(64);
    _OrvImage source;
    _OrvImage tight = {};
    ASSERT_EQ(0U, OrvFrame_Make(&source, OrvPixelBayerRG12, 5, 4, 12, memory.data()));
    EXPECT_EQ(0, OrvFrame_TightBytes(&source, 0));
    EXPECT_EQ(0, OrvFrame_TightBytes(&source, 1));
    ASSERT_EQ(0U, OrvFrame_Tight(&source, 1, nullptr, 0, &tight));
    EXPECT_EQ(source.data, tight.data);
    EXPECT_EQ(3 * 12 + 10, tight.imageSize);  // of the last row no padding
    source.stride = 14;
    EXPECT_EQ(0, OrvFrame_TightBytes(&source, 2));
    EXPECT_EQ(4 * 12 + 1, OrvFrame_TightBytes(&source, 1));
    source.pixelType = OrvPixelTrueSense12;
    EXPECT_EQ(0, OrvFrame_TightBytes(&source, 1));
    source.stride = 13;
    EXPECT_EQ(4 * 10 + 1, OrvFrame_TightBytes(&source, 3));
    const _OrvImage before = tight;
    uint8_t buffer[41];
    EXPECT_EQ(0x80070006, OrvFrame_Tight(&source, 3, buffer, 40, &tight));
    EXPECT_EQ(0x80070007, OrvFrame_Tight(&source, 3, nullptr, 41, &tight));
    EXPECT_EQ(0x80070007, OrvFrame_Tight(&source, 3, buffer, 41, nullptr));
    for (const int stride : {9, -9}) {
        source.stride = stride;
        EXPECT_EQ(-1, OrvFrame_TightBytes(&source, 0));
        EXPECT_EQ(0x80070007, OrvFrame_Tight(&source, 0, buffer, 41, &tight));
    }
    source.pixelType = OrvPixelBGR8;
    EXPECT_EQ(-1, OrvFrame_TightBytes(&source, 0));
    EXPECT_EQ(-1, OrvFrame_TightBytes(nullptr, 0));
    EXPECT_EQ(0, std::memcmp(&before, &tight, sizeof(tight)));

    // Destinations that a Bayer frame has no way to.
    Image result(OrvPixelBGR8, 8, 5, 4, 15);
    ASSERT_EQ(0U, OrvFrame_Make(&source, OrvPixelBayerRG12, 5, 4, 12, memory.data()));
    const std::unique_ptr<OrvBayer, Deleter> component(OrvBayer_CreateComponent());
    const auto refused = [&] {
        EXPECT_EQ(-1, OrvFrame_ConvertBayerBytes(&source, &result.record, 0));
        EXPECT_EQ(0x80070007, OrvFrame_ConvertBayer(component.get(), &source, &result.record, buffer, sizeof(buffer)));
        EXPECT_TRUE(result.Untouched());
    };
    for (const uint32_t word : {uint32_t{OrvPixelBGR10}, uint32_t{OrvPixelBGR16}, uint32_t{OrvPixelBayerRG8}}) {
        result.record.pixelType = word;
        refused();
    }
    result.record.pixelType = OrvPixelBGR8;
    result.record.stride = 14;
    refused();
    result.record.stride = 15;
    result.record.width = 4;
    refused();
    EXPECT_EQ(0x80070007, OrvFrame_ConvertBayer(nullptr, &source, &result.record, buffer, sizeof(buffer)));
}

// A TrueSense picture mirrored once has no word of its own: the same word and the parameter give the mirrored result.
TEST(Frames, MirroredTrueSenseFramesByTheParameter) {
    constexpr int kWidth = 14;
    constexpr int kHeight = 11;
    const uint32_t word = OrvPixelTrueSense(OrvPixelTrueSense8, 6);
    std::vector<uint8_t> plain(kWidth * kHeight);
    _OrvImage source = Mosaic(word, kWidth, kHeight, kWidth, plain.data());
    std::vector<uint8_t> mirrored(plain.size());
    for (size_t i = 0; i < plain.size(); ++i) {
        mirrored[i] = plain[i / kWidth * kWidth + (kWidth - 1 - i % kWidth)];
    }
    const auto convert = [&](std::vector<uint8_t>& frame, int64_t horMirrored) {
        std::vector<uint8_t> result(3 * frame.size());
        _OrvImage destination;
        source.data = frame.data();
        EXPECT_EQ(0U, OrvFrame_Make(&destination, OrvPixelRGB8, kWidth, kHeight, 0, result.data()));
        OrvTrueSense* component = OrvTrueSense_CreateComponent();
        EXPECT_EQ(0U, OrvParam_SetInteger(component->GetComponent(), "horMirrored", horMirrored));
        EXPECT_EQ(0U, OrvTrueSense_ConvertImage(component, &source, &destination));
        OrvTrueSense_DeleteComponent(component);
        return result;
    };
    const std::vector<uint8_t> expected = convert(plain, 0);
    const std::vector<uint8_t> got = convert(mirrored, 1);
    for (size_t i = 0; i < expected.size(); ++i) {
        const size_t pixel = i / 3;
        ASSERT_EQ(expected[(pixel / kWidth * kWidth + (kWidth - 1 - pixel % kWidth)) * 3 + i % 3], got[i]);
    }
}

}  // namespace
