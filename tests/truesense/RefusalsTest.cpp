// Bad input with the library's own engines: the status, and not a byte written.
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "OrvTrueSense.h"
#include "support/Image.h"

namespace {

using orvtest::Image;

constexpr int kSide = 32;

// The component works on afterwards.
TEST(TrueSenseRefusals, OfComponents) {
    const std::unique_ptr<OrvTrueSense> component(OrvTrueSense_CreateComponent());
    Image source(OrvPixelTrueSense10, 10, kSide, kSide, kSide * 2);
    Image result(OrvPixelRGB8, 8, kSide, kSide, kSide * 3);
    struct Case {
        int32_t _OrvImage::*field;
        int32_t value;
        uint32_t status;
    };
    const Case cases[] = {{&_OrvImage::bitDepth, 9, 0x80060007U},
                          {&_OrvImage::bitDepth, 0, 0x80060007U},
                          {&_OrvImage::width, -1, 0x80060009U},
                          {&_OrvImage::height, -4, 0x80060009U},
                          {&_OrvImage::width, 0, 0x80060009U}};
    for (const Case& bad : cases) {
        _OrvImage record = source.record;
        record.*bad.field = bad.value;
        EXPECT_EQ(component->ConvertImage(&record, &result.record), bad.status);
    }
    for (const bool sourceNull : {true, false}) {
        _OrvImage from = source.record;
        _OrvImage to = result.record;
        (sourceNull ? from : to).data = nullptr;
        EXPECT_EQ(component->ConvertImage(&from, &to), 0x80060008U);
    }
    for (const uint32_t word : {0U, 0x02180170U, 0x03100211U}) {
        _OrvImage to = result.record;
        to.pixelType = word;
        EXPECT_EQ(component->ConvertImage(&source.record, &to), 0x80060007U);
    }
    EXPECT_TRUE(result.Untouched());
    EXPECT_EQ(component->ConvertImage(&source.record, &result.record), 0U);
    EXPECT_FALSE(result.Untouched());
}

// Functions of 8 bits clear a flag of the record before all else.
TEST(TrueSenseRefusals, OfPlainFunctions) {
    Image source(OrvPixelTrueSense8, 8, 8, 8, 8);
    Image wide(OrvPixelTrueSense10, 10, 8, 8, 16);
    Image result(OrvPixelRGB8, 8, 8, 8, 24);
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    const auto convert = [&](const uint8_t* from, _OrvRect rect, int bits, int grid, int algorithm) {
        param.normalizationEnable = 1;
        const uint32_t status = TrueSenseToBGR_8u_C1C3R(from, rect, {8, 8}, 8, bits, result.Data(), 24,
                                                        static_cast<unsigned char>(grid), &param, algorithm, false);
        EXPECT_EQ(0, param.normalizationEnable);
        return status;
    };
    const _OrvRect whole = {0, 0, 8, 8};
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 0, 5));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 0, -1));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 16, 0));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 9, 0, 4));
    EXPECT_EQ(0x80060008U, convert(nullptr, whole, 8, 0, 0));
    EXPECT_EQ(0x80060009U, convert(source.Data(), {0, 0, -1, 8}, 8, 0, 0));
    // With the grid the plane would be wider than an int counts.
    EXPECT_EQ(0x80060009U, convert(source.Data(), {0, 0, std::numeric_limits<int>::max(), 1}, 8, 3, 1));

    EXPECT_EQ(0x80060007U, TrueSenseToColor(nullptr, &result.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, nullptr, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, &source.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&result.record, &result.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&wide.record, &result.record, &param, 4, false));
    result.record.pixelType = OrvPixelRGB10;
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, &result.record, &param, 0, false));
    EXPECT_TRUE(result.Untouched());

    // Algorithm 0 takes any `bits` for 8, and the engine works on after a failure.
    EXPECT_EQ(0U, convert(source.Data(), whole, 9, 0, 0));
    EXPECT_TRUE(result.OutsideUntouched(24));
    EXPECT_FALSE(result.Untouched());
}

}  // namespace
