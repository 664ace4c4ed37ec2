#include "Mosaic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using namespace orvtool;

TEST(SourceWords, AreAllDistinctAndFoundByNameAndNumber) {
    std::set<uint32_t> numbers;
    for (const SourceWord& word : SourceWords()) {
        numbers.insert(word.word);
        char hex[16];
        std::snprintf(hex, sizeof(hex), "0x%08x", word.word);
        EXPECT_EQ(FindSourceWord(word.name), &word);
        EXPECT_EQ(FindSourceWord(std::string(hex)), &word);
    }
    EXPECT_EQ(numbers.size(), 84U);
    EXPECT_EQ(FindSourceWord("bayerrg12")->word, 0x03100316U);
    EXPECT_EQ(FindSourceWord("TrueSense8g4")->word, 0x04080133U);
    EXPECT_EQ(FindSourceWord("0x03100319"), nullptr);
    EXPECT_EQ(FindSourceWord("TrueSense16g0"), nullptr);
}

// The top-left letters, row by row.
TEST(SiteColour, FollowsTheCell) {
    const auto corner = [](const char* name) {
        const SourceWord& word = *FindSourceWord(name);
        return std::string{SiteColour(word, 0, 0), SiteColour(word, 1, 0), SiteColour(word, 0, 1),
                           SiteColour(word, 1, 1)};
    };
    EXPECT_EQ(corner("BayerGR8"), "GRBG");
    EXPECT_EQ(corner("BayerRG10"), "RGGB");
    EXPECT_EQ(corner("BayerGB14"), "GBRG");
    EXPECT_EQ(corner("BayerBG16"), "BGGR");
    EXPECT_EQ(corner("TrueSense8g0"), "PBBP");
    EXPECT_EQ(corner("TrueSense10g6"), "GPPR");
    EXPECT_EQ(corner("TrueSense12g11"), "RPPG");
    EXPECT_EQ(corner("TrueSense14g13"), "PRBP");
}

TEST(Noise, HasTheStatedVarianceAndRepeatsWithItsSeed) {
    std::vector<float> first(200000, 0.5F);
    std::vector<float> second = first;
    AddNoise(&first, {0.001, 0.02, 7});
    AddNoise(&second, {0.001, 0.02, 7});
    EXPECT_EQ(first, second);
    double mean = 0;
    double variance = 0;
    for (const float sample : first) {
        mean += sample / static_cast<double>(first.size());
        variance += (sample - 0.5) * (sample - 0.5) / static_cast<double>(first.size());
    }
    EXPECT_NEAR(mean, 0.5, 0.0005);
    EXPECT_NEAR(variance, 0.001 * 0.5 + 0.02 * 0.02, 2e-5);
}

TEST(Scene, StaysInRangeAndHasGreySteps) {
    const SceneImage scene = RenderScene(300, 200);
    const auto range = std::minmax_element(scene.rgb.begin(), scene.rgb.end());
    EXPECT_GE(*range.first, 0.0F);
    EXPECT_LE(*range.second, 1.0F);
    // The fourth row of patches of the first tile.
    float last = 0;
    for (int step = 0; step < 6; ++step) {
        const float* grey = scene.At(100 * (2 * step + 1) / 12, 87);
        EXPECT_EQ(grey[0], grey[1]);
        EXPECT_EQ(grey[0], grey[2]);
        EXPECT_GT(grey[1], last);
        last = grey[1];
    }
}

TEST(Shrink, AveragesBlocksAndCutsTheRest) {
    SceneImage image;
    image.width = 5;
    image.height = 2;
    for (int i = 0; i < 30; ++i) {
        image.rgb.push_back(static_cast<float>(i));
    }
    const SceneImage small = Shrink(image, 2);
    EXPECT_EQ(small.width, 2);
    EXPECT_EQ(small.height, 1);
    // Pixels 0, 1, 5, 6 and 2, 3, 7, 8 of the two rows.
    EXPECT_EQ(small.rgb, (std::vector<float>{9, 10, 11, 15, 16, 17}));
}

TEST(Curve, SrgbRoundTrip) {
    for (float value = 0; value <= 1; value += 0.01F) {
        EXPECT_NEAR(SrgbToLinear(LinearToSrgb(value)), value, 1e-5F);
    }
}

}  // namespace
