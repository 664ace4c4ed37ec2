// The Bayer component with the conversions that OpenCV does.
#include <gtest/gtest.h>

#include "support/Components.h"
#include "support/Frames.h"

namespace {

using orvtest::Image;

TEST(BayerComponent, BadInputIsRefusedAndWritesNothing) {
    for (const long algorithm : {0L, 2L}) {
        const orvtest::BayerComponent component(algorithm);
        Image source(OrvPixelBayerRG8, 8, 16, 12, 16);
        FillFrame(source, orvtest::Content::Noise, 5, 255);
        Image destination(OrvPixelRGB8, 8, 16, 12, 48);
        EXPECT_EQ(OrvBayer_ConvertImage(component.Get(), nullptr, &destination.record), 0x80050007u);
        EXPECT_EQ(OrvBayer_ConvertImage(component.Get(), &source.record, nullptr), 0x80050007u);
        for (const uint32_t word : {0x04080131u, 0x02180171u, 0x03100319u, 0x03080111u, 0u}) {
            source.record.pixelType = word;
            EXPECT_EQ(component.Convert(source, destination), 0x80050007u) << std::hex << word;
            EXPECT_EQ(OrvBayer_AllocData(component.Get(), &source.record, &destination.record), 0x80050007u);
        }
        source.record.pixelType = OrvPixelBayerRG8;
        EXPECT_EQ(OrvBayer_AllocData(component.Get(), &source.record, nullptr), 0x80050007u);
        // A row step below the row.
        source.record.stride = 15;
        EXPECT_EQ(component.Convert(source, destination), 0x80050001u);
        source.record.stride = 16;
        EXPECT_TRUE(destination.Untouched());
        EXPECT_EQ(OrvBayer_AllocData(component.Get(), &source.record, &destination.record), 0u);
        EXPECT_EQ(component.Convert(source, destination), 0u);
        EXPECT_FALSE(destination.Untouched());
    }
}

}  // namespace
