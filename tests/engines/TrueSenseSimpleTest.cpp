#include "engines/SimpleStrips.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/Noise.h"
#include "support/PlaneSink.h"

namespace {

// 1 2 1 along rows (step 1) or columns (step w) but for the first and last position.
std::vector<int> Smoothed(const std::vector<int>& plane, int w, int h, bool columns) {
    std::vector<int> out = plane;
    for (int y = columns ? 1 : 0; y < h - (columns ? 1 : 0); ++y) {
        for (int x = columns ? 0 : 1; x < w - (columns ? 0 : 1); ++x) {
            const int at = y * w + x;
            const int step = columns ? w : 1;
            const auto value = [&plane](int i) { return plane[static_cast<size_t>(i)]; };
            out[static_cast<size_t>(at)] = (value(at - step) + 2 * value(at) + value(at + step)) >> 2;
        }
    }
    return out;
}

TEST(SimpleStrips, SmoothingIsThatOfWholePlanes) {
    const int w = 44;
    const int h = 32;
    const int pan = 2000;  // flat, so that the planes are it and the differences
    orvtest::Noise noise(5);
    std::vector<int16_t> mosaic;
    for (int i = 0; i < w * h; ++i) {
        mosaic.push_back(static_cast<int16_t>((i + i / w) % 2 == 0 ? pan : 1500 + noise.Below(1000)));
    }
    std::vector<unsigned char> scratch(orv::SimpleScratchBytes(w) + 64);
    void* aligned = scratch.data() + (64 - reinterpret_cast<uintptr_t>(scratch.data()) % 64);
    for (const bool narrow : {true, false}) {
        for (const bool impulse : {true, false}) {
            orv::SimpleSettings settings = {1, 1, 1, 1, {1, 0, 0, 0, 1, 0, 0, 0, 1}, impulse, false, false};
            orvtest::PlaneSink blocks(w, h);
            orv::ReconstructSimpleStrip(mosaic.data(), w, h, 0, h, narrow, settings, aligned, blocks);
            settings.panSmoothEnable = settings.colorSmoothEnable = true;
            orvtest::PlaneSink smooth(w, h);
            orv::ReconstructSimpleStrip(mosaic.data(), w, h, 0, h, narrow, settings, aligned, smooth);
            for (int k = 0; k < 3; ++k) {
                std::vector<int> expected = blocks.planes[static_cast<size_t>(k)];
                for (int& v : expected) {
                    v -= pan;
                }
                expected = Smoothed(Smoothed(expected, w, h, false), w, h, true);
                for (int& v : expected) {
                    v += pan;
                }
                EXPECT_EQ(expected, smooth.planes[static_cast<size_t>(k)]) << k << narrow << impulse;
            }
        }
    }
}

}  // namespace
