// No conversion allocates once a frame of its geometry has passed.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "support/AllocationCounter.h"
#include "support/Components.h"

namespace {

using orvtest::AllocationCount;
using orvtest::Image;

TEST(SteadyState, TheCounterSeesAllocations) {
    const long before = AllocationCount();
    delete new volatile int(1);
    EXPECT_GT(AllocationCount(), before);
}

class BayerSteadyState : public testing::TestWithParam<int> {};

TEST_P(BayerSteadyState, FramesAfterTheFirstAllocateNothing) {
    const orvtest::BayerComponent component(GetParam());
    for (const bool wide : {false, true}) {
        Image source(wide ? OrvPixelBayerGB12 : OrvPixelBayerGB8, wide ? 12 : 8, 322, 242, wide ? 644 : 322);
        Image destination(wide ? OrvPixelRGB12 : OrvPixelRGB8, wide ? 12 : 8, 322, 242, wide ? 1944 : 978);
        for (int frame = 0; frame < 2; ++frame) {  // OpenCV settles its own state in the first calls
            ASSERT_EQ(component.Convert(source, destination), 0u);
        }
        const long before = AllocationCount();
        for (int frame = 0; frame < 5; ++frame) {
            component.Convert(source, destination);
        }
        EXPECT_EQ(AllocationCount(), before) << (wide ? "16 bits" : "8 bits");
    }
}

INSTANTIATE_TEST_SUITE_P(Algorithms, BayerSteadyState, testing::Values(0, 1, 2));

class TrueSenseSteadyState : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(TrueSenseSteadyState, FramesAfterTheFirstAllocateNothing) {
    const orvtest::TrueSenseComponent component(std::get<0>(GetParam()), std::get<1>(GetParam()));
    const struct {
        uint32_t source, destination;
        int bits, sourceBytes, destinationBytes;
    } kinds[] = {{OrvPixelTrueSense(OrvPixelTrueSense8, 5), OrvPixelRGB8, 8, 1, 1},
                 {OrvPixelTrueSense(OrvPixelTrueSense12, 2), OrvPixelBGR12, 12, 2, 2},
                 {OrvPixelTrueSense(OrvPixelTrueSense12, 2), OrvPixelRGB8, 12, 2, 1}};
    for (const auto& kind : kinds) {
        Image source(kind.source, kind.bits, 322, 242, 324 * kind.sourceBytes);
        std::memset(source.Data(), 5, static_cast<size_t>(source.record.imageSize));  // within the depth
        Image destination(kind.destination, kind.bits, 322, 242, 970 * kind.destinationBytes);
        for (int frame = 0; frame < 2; ++frame) {
            ASSERT_EQ(component.Convert(source, destination), 0u);
        }
        const long before = AllocationCount();
        for (int frame = 0; frame < 5; ++frame) {
            component.Convert(source, destination);
        }
        EXPECT_EQ(AllocationCount(), before) << kind.bits << " bits";
    }
}

INSTANTIATE_TEST_SUITE_P(Algorithms, TrueSenseSteadyState,
                         testing::Combine(testing::Values(0, 1, 2, 3, 4), testing::Values(1, 2)), [](const auto& test) {
                             return "Engine" + std::to_string(std::get<0>(test.param)) + "Threads" +
                                    std::to_string(std::get<1>(test.param));
                         });

}  // namespace
