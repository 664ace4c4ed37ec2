#include "engines/BayerLikeStrips.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "engines/BayerLikePlanes.h"
#include "support/Noise.h"
#include "support/PlaneSink.h"

namespace {

using orvtest::Noise;
using orvtest::NoiseSamples;

// The sums of colour and pan by way of OpenCV: one with other means or roundings shows here.
TEST(TrueSenseBayerLike, StripsEqualOpenCv) {
    Noise noise(6);
    for (int i = 0; i < 90; ++i) {
        const int W = static_cast<int>(8 + 4 * noise.Below(i < 70 ? 10 : 100));
        const int H = static_cast<int>(8 + 4 * noise.Below(i < 70 ? 10 : 30));
        const size_t count = static_cast<size_t>(W) * static_cast<size_t>(H);
        std::vector<int16_t> mosaic = NoiseSamples<int16_t>(noise.Next(), count, i % 3 == 0 ? 3 : 4095);
        if (i % 3 == 1) {  // the largest differences
            std::for_each(mosaic.begin(), mosaic.end(), [](int16_t& v) { v = v < 2048 ? 0 : 4095; });
        }
        const orvtest::PlaneSink strips(W, H), expected(W, H);
        std::vector<unsigned char> scratch(orv::BayerLikeScratchBytes(W));
        for (int y = 0; y < H; y += 8) {
            orv::ReconstructBayerLikeStrip(mosaic.data(), W, H, y, std::min(y + 8, H), scratch.data(), strips);
        }
        orv::BayerLikePlanes planes;
        EXPECT_EQ(0, planes.Reconstruct(mosaic.data(), W, H, 2, expected));
        ASSERT_EQ(expected.planes, strips.planes) << W << " x " << H;
    }
}

}  // namespace
