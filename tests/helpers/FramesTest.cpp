// Rows and frames made to fit, against the conversions of packed frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "OrvHelpers.h"
#include "support/Components.h"
#include "support/Frames.h"
#include "support/Levels.h"

namespace {

using orvtest::Image;

TEST(Rows, DepthsAndFourthChannelsByFormula) {
    orvtest::AtEveryLevel([&] {
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
    });
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
    EXPECT_TRUE(image.size == 96 && image.bitDepth == 12 && image.stride == 10 && image.imageSize == 30 &&
                image.data == &pixels);
    const _OrvImage before = image;
    const struct {
        uint32_t word;
        int width, height, stride;
    } bad[] = {{OrvPixelBayerRG12, 5, 3, 8},
               {OrvPixelBayerRG12, 5, 3, 11},
               {1, 5, 3, 0},
               {OrvPixelBGR8, -5, 3, 0},
               {OrvPixelBGR8, 30000, 30000, 0}};
    for (const auto& each : bad) {
        EXPECT_EQ(0x80070007, OrvFrame_Make(&image, each.word, each.width, each.height, each.stride, &pixels));
    }
    EXPECT_EQ(0x80070007, OrvFrame_Make(nullptr, OrvPixelBGR8, 5, 3, 0, &pixels));
    EXPECT_EQ(0, std::memcmp(&before, &image, sizeof(image)));
}

constexpr int kHeight = 7;

// The samples of a colour frame, whatever their width.
std::vector<int> Samples(Image& image) {
    const int n = image.record.width * OrvWord_Channels(image.record.pixelType);
    std::vector<int> samples;
    for (int y = 0; y < kHeight; ++y) {
        for (int i = 0; i < n; ++i) {
            samples.push_back(image.record.bitDepth == 8 ? image.Row<uint8_t>(y)[i] : image.Row<uint16_t>(y)[i]);
        }
    }
    return samples;
}

Image FrameOf(uint32_t word, int width, int padding) {
    return orvtest::FrameOf(word, OrvWord_Bits(word), width, kHeight, padding);
}

// Every layout of rows in memory gives what the component makes of rows as it wants them.
void CheckLayouts(uint32_t word, uint32_t resultWord, int width, int algorithm) {
    const int bits = OrvWord_Bits(word);
    const int bytes = bits == 8 ? 1 : 2;
    const int resultBits = OrvWord_Bits(resultWord);
    const orvtest::BayerComponent component(algorithm);
    const int wanted = bytes * (width + width % 2);
    Image packed = FrameOf(word, width, wanted - bytes * width);
    FillFrame(packed, orvtest::Content::Noise, 5, (1U << bits) - 1);
    Image plain = FrameOf(OrvWord_Colour(OrvWord_Name(resultWord)[0] == 'B', 3, bits), width, 0);
    ASSERT_EQ(0U, component.Convert(packed, plain));
    const std::vector<int> three = Samples(plain);
    std::vector<int> expected;
    for (size_t i = 0; i < three.size(); ++i) {
        const int v = three[i];
        expected.push_back(resultBits < bits   ? v >> (bits - 8)
                           : resultBits > bits ? v << (16 - bits) | v >> (2 * bits - 16)
                                               : v);
        if (OrvWord_Channels(resultWord) == 4 && i % 3 == 2) {
            expected.push_back(255);
        }
    }

    const struct {
        int step;      // 0: no padding
        int offset;    // of the first byte
        bool upwards;  // rows
    } layouts[] = {{0, 0, false},
                   {wanted, 0, false},
                   {bytes * width + 7, 0, false},
                   {bytes * width + 6, 1, false},
                   {bytes * width + 6, 0, true}};
    for (const auto& layout : layouts) {
        SCOPED_TRACE(&layout - layouts);
        component->ReleaseData();
        const int step = layout.step == 0 ? bytes * width : layout.step;
        const int last = (kHeight - 1) * step;
        std::vector<uint8_t> memory(static_cast<size_t>(layout.offset + last + bytes * width));
        uint8_t* first = memory.data() + layout.offset + (layout.upwards ? last : 0);
        _OrvImage source = packed.record;
        source.data = first;
        source.stride = layout.upwards ? -layout.step : layout.step;
        source.imageSize = 0;  // not read by the helpers
        for (int y = 0; y < kHeight; ++y) {
            std::memcpy(first + y * (layout.upwards ? -step : step), packed.Row<uint8_t>(y),
                        static_cast<size_t>(bytes * width));
        }
        Image result = FrameOf(resultWord, width, 10);
        const int64_t needed = OrvFrame_ConvertBayerBytes(&source, &result.record, algorithm);
        ASSERT_GE(needed, 0);
        std::vector<uint8_t> scratch(static_cast<size_t>(needed) + 1);
        const auto convert = [&](int64_t scratchBytes) {  // with a scratch at an odd address
            return OrvFrame_ConvertBayer(component.Get(), &source, &result.record, scratch.data() + 1,
                                         static_cast<size_t>(scratchBytes));
        };
        if (needed > 0) {
            EXPECT_EQ(0x80070006, convert(needed - 1));
            EXPECT_TRUE(result.Untouched());
        }
        ASSERT_EQ(0U, convert(needed));
        EXPECT_TRUE(result.OutsideUntouched(static_cast<size_t>(result.record.stride - 10)));
        EXPECT_EQ(expected, Samples(result));
    }
}

TEST(Frames, OfAnyRowsToAnyDepth) {
    const std::pair<uint32_t, uint32_t> pairs[] = {
        {OrvPixelBayerGR8, OrvPixelBGR8},   {OrvPixelBayerGR8, OrvPixelRGBA8},  {OrvPixelBayerRG12, OrvPixelRGB8},
        {OrvPixelBayerRG12, OrvPixelBGRA8}, {OrvPixelBayerRG12, OrvPixelBGR12}, {OrvPixelBayerGB10, OrvPixelRGB16},
        {OrvPixelBayerBG16, OrvPixelBGR16}};
    for (const auto& [word, resultWord] : pairs) {
        for (const int width : {13, 14}) {
            for (int algorithm = 0; algorithm < 3; ++algorithm) {
                SCOPED_TRACE(testing::Message() << OrvWord_Name(word) << " to " << OrvWord_Name(resultWord) << ", "
                                                << width << ", " << algorithm);
                CheckLayouts(word, resultWord, width, algorithm);
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
    const orvtest::BayerComponent component(0);
    const auto refused = [&] {
        EXPECT_EQ(-1, OrvFrame_ConvertBayerBytes(&source, &result.record, 0));
        EXPECT_EQ(0x80070007, OrvFrame_ConvertBayer(component.Get(), &source, &result.record, buffer, sizeof(buffer)));
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
    Image frame = FrameOf(OrvPixelTrueSense(OrvPixelTrueSense8, 6), kWidth, 0);
    FillFrame(frame, orvtest::Content::Noise, 5, 255);
    const orvtest::TrueSenseComponent component(0);
    Image plain = FrameOf(OrvPixelRGB8, kWidth, 0);
    ASSERT_EQ(0U, component.Convert(frame, plain));
    // Bytes read back to front also exchange red and blue.
    Image mirrored = FrameOf(OrvPixelBGR8, kWidth, 0);
    for (int y = 0; y < kHeight; ++y) {
        std::reverse(frame.Row<uint8_t>(y), frame.Row<uint8_t>(y) + kWidth);
    }
    ASSERT_EQ(0U, OrvParam_SetInteger(component->GetComponent(), "horMirrored", 1));
    ASSERT_EQ(0U, component.Convert(frame, mirrored));
    for (int y = 0; y < kHeight; ++y) {
        std::reverse(mirrored.Row<uint8_t>(y), mirrored.Row<uint8_t>(y) + 3 * kWidth);
    }
    EXPECT_EQ(Samples(plain), Samples(mirrored));
}

}  // namespace
