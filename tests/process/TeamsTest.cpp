// Threads of conversions, in forked processes too. Each test is a process of its own under ctest, which starts without
// threads.
#include <gtest/gtest.h>
#include <omp.h>

#include "support/Child.h"
#include "support/Components.h"
#include "support/Noise.h"
#include "support/Threads.h"

namespace {

using orvtest::CountThreads;
using orvtest::ExpectInChild;
using orvtest::Image;

constexpr int kSide = 256;
constexpr int kTeam = 3;

// Results of every engine by both entries, `threads` for `threads_num`. Samples have stray high bits, which some stages
// take another way for.
std::vector<std::vector<uint8_t>> ConvertAll(int threads) {
    Image source(OrvPixelTrueSense12, 12, kSide, kSide, 2 * kSide);
    orvtest::Noise noise(5);
    for (uint8_t& byte : source.bytes) {
        byte = static_cast<uint8_t>(noise.Next());
    }
    std::vector<std::vector<uint8_t>> results;
    for (int algorithm = 4; algorithm >= 0; --algorithm) {
        const orvtest::TrueSenseComponent component(algorithm, threads);
        for (const uint32_t word : {OrvPixelRGB12, OrvPixelRGB8}) {
            Image result(word, 12, kSide, kSide, 6 * kSide);
            EXPECT_EQ(0U, component.Convert(source, result));
            results.push_back(result.bytes);
        }
    }
    return results;
}

TEST(Teams, AllHaveTheSizeAskedFor) {
    omp_set_num_threads(kTeam);
    ConvertAll(1);
    EXPECT_EQ(1, CountThreads());
    omp_set_num_threads(kTeam);
    ConvertAll(0);
    EXPECT_EQ(kTeam, CountThreads());
}

TEST(Fork, ParentWithoutThreadsLeavesTeamsToItsChild) {
    ASSERT_EQ(1, CountThreads());
    ExpectInChild([] {
        ConvertAll(kTeam);
        return CountThreads() == kTeam;
    });
}

// Also in a child of the child, and the parent keeps its team.
TEST(Fork, ChildConvertsAfterTeamsOfItsParent) {
    const auto expected = ConvertAll(kTeam);
    const auto alone = [&] { return ConvertAll(kTeam) == expected && CountThreads() == 1; };
    ExpectInChild([&] {
        ExpectInChild(alone);
        return alone() && !testing::Test::HasFailure();
    });
    EXPECT_EQ(expected, ConvertAll(kTeam));
    EXPECT_EQ(kTeam, CountThreads());
}

TEST(Fork, ChildConvertsAfterOpenMpOfTheHost) {
    int members = 0;
#pragma omp parallel num_threads(kTeam) reduction(+ : members)
    ++members;
    ASSERT_EQ(kTeam, members);
    ExpectInChild([] { return ConvertAll(kTeam).size() == 10 && CountThreads() == 1; });
}

// Frames large enough to be handed to OpenCV's threads.
std::vector<std::vector<uint8_t>> ConvertBayer() {
    Image source(OrvPixelBayerRG16, 16, 1024, 512, 2048);
    orvtest::Noise noise(7);
    for (uint8_t& byte : source.bytes) {
        byte = static_cast<uint8_t>(noise.Next());
    }
    std::vector<std::vector<uint8_t>> results;
    for (const int algorithm : {0, 2}) {
        Image result(OrvPixelRGB16, 16, 1024, 512, 6144);
        EXPECT_EQ(0U, BayerToColor(&source.record, &result.record, algorithm));
        results.push_back(result.bytes);
    }
    return results;
}

TEST(Fork, ChildrenConvertBayerAfterThreadsOfOpenCv) {
    const auto expected = ConvertBayer();
    for (int i = 0; i < 50; ++i) {
        ExpectInChild([&] { return ConvertBayer() == expected && CountThreads() == 1; });
    }
}

}  // namespace
