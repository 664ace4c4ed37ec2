#include "engines/BayerLikeStrips.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "engines/BayerLikePlanes.h"
#include "rows/Simd.h"
#include "support/DriverScope.h"
#include "support/Noise.h"
#include "support/PlaneSink.h"

namespace {

using orvtest::Noise;
using orvtest::NoiseSamples;

using Planes = std::vector<std::vector<int>>;

// The sums of colour and pan by way of OpenCV.
Planes Expected(std::vector<int16_t> mosaic, int W, int H) {
    const orvtest::PlaneSink sink(W, H);
    orv::BayerLikePlanes planes;
    EXPECT_EQ(0, planes.Reconstruct(mosaic.data(), W, H, 2, sink));
    return sink.planes;
}

// `bandRows` rows at a time.
Planes OfStrips(const std::vector<int16_t>& mosaic, int W, int H, int bandRows) {
    const orvtest::PlaneSink sink(W, H);
    std::vector<unsigned char> scratch(orv::BayerLikeScratchBytes(W));
    for (int y = 0; y < H; y += bandRows) {
        orv::ReconstructBayerLikeStrip(mosaic.data(), W, H, y, std::min(y + bandRows, H), scratch.data(), sink);
    }
    return sink.planes;
}

// An OpenCV with other means or roundings shows here.
TEST(TrueSenseBayerLike, StripsEqualOpenCv) {
    const orvtest::DriverScope restore;
    Noise noise(6);
    for (int i = 0; i < 90; ++i) {
        const int W = static_cast<int>(8 + 4 * noise.Below(i < 70 ? 10 : 100));
        const int H = static_cast<int>(8 + 4 * noise.Below(i < 70 ? 10 : 30));
        const size_t count = static_cast<size_t>(W) * H;
        std::vector<int16_t> mosaic = NoiseSamples<int16_t>(noise.Next(), count, i % 3 == 0 ? 3 : 4095);
        if (i % 3 == 1) {  // the largest differences
            std::for_each(mosaic.begin(), mosaic.end(), [](int16_t& v) { v = v < 2048 ? 0 : 4095; });
        }
        const Planes expected = Expected(mosaic, W, H);
        for (const orv::SimdLevel level : {orv::SimdLevel::Baseline, orv::BestSimdLevel()}) {
            orv::SetSimdLevel(level);
            for (const int bandRows : {4, 8, 1000}) {
                ASSERT_EQ(OfStrips(mosaic, W, H, bandRows), expected) << W << " x " << H << ", " << bandRows;
            }
        }
    }
}

}  // namespace
