// The component with the library's own engines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

#include "OrvTrueSense.h"
#include "support/Image.h"
#include "truesense/Engines.h"
#include "truesense/Tables.h"

namespace {

constexpr int kSide = 32;

// Red in the middle of a flat frame: the matrix on three equal values, in the engine's order of roundings.
int FlatRed(const tagTrueSenseParam& param, int v) {
    return static_cast<int>(std::fma(v, param.RB, std::fma(v, param.RR, v * param.RG)));
}

// The component holds its matrix in double, a plain record in single precision: grey lands on other entries.
TEST(TrueSenseFrames, GreyOfComponentAndRecordDiffers) {
    const std::unique_ptr<IDemConvertion<unsigned short>> engine(
        orv::kTrueSenseEngines.Find<unsigned short>(0)->make());
    const std::unique_ptr<OrvTrueSense> component(OrvTrueSense_CreateComponent());
    tagTrueSenseParam narrowed;
    TrueSense_DefaultValues(&narrowed);
    tagTrueSenseParam exact = narrowed;
    exact.RR = 1.657;
    exact.RG = -0.5325;
    exact.RB = -0.1245;
    int16_t identity[4096];
    std::iota(std::begin(identity), std::end(identity), static_cast<int16_t>(0));
    narrowed.toneTable = identity;

    int differing = 0;
    for (const int v : {100, 1000, 1999, 2048, 3333, 4000}) {
        orvtest::Image source(OrvPixelTrueSense12, 12, kSide, kSide, kSide * 2);
        orvtest::Image result(OrvPixelRGB12, 12, kSide, kSide, kSide * 6 + 10);
        std::fill_n(source.Row<uint16_t>(0), kSide * kSide, static_cast<uint16_t>(v));
        const uint16_t* middle = result.Row<uint16_t>(kSide / 2) + 3 * (kSide / 2);
        ASSERT_EQ(component->ConvertImage(&source.record, &result.record), 0U);
        EXPECT_EQ(*middle, Tonescale12Table12[FlatRed(exact, v)]) << v;

        engine->SetOutputPixelType(false, false);
        ASSERT_EQ(engine->Init(source.Row<uint16_t>(0), {0, 0, kSide, kSide}, {kSide, kSide}, source.record.stride, 12,
                               result.Row<uint16_t>(0), result.record.stride, 0, &narrowed),
                  0);
        ASSERT_EQ(engine->Calculate(), 0);
        EXPECT_EQ(*middle, FlatRed(narrowed, v)) << v;
        differing += FlatRed(narrowed, v) != FlatRed(exact, v);
        EXPECT_TRUE(result.OutsideUntouched(kSide * 6));
    }
    EXPECT_GT(differing, 0);
}

// Bad input: the status, and not a byte written; the component works on afterwards.
TEST(TrueSenseFrames, BadInputWritesNothing) {
    const std::unique_ptr<OrvTrueSense> component(OrvTrueSense_CreateComponent());
    orvtest::Image source(OrvPixelTrueSense10, 10, kSide, kSide, kSide * 2);
    orvtest::Image result(OrvPixelRGB8, 8, kSide, kSide, kSide * 3);
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

}  // namespace
