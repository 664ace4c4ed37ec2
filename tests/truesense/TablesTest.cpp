#include "truesense/Tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "support/Frames.h"

namespace {

using Rows = std::vector<std::pair<int, int>>;

void ExpectRows(const int16_t (&table)[4096], const Rows& rows) {
    for (const auto& [index, value] : rows) {
        EXPECT_EQ(table[index], value) << "row " << index;
    }
}

// Built before main, perhaps before the other file's statics.
const int kRowAtStart = Tonescale12Table12[2048] + Gamma10toLinear12Table[1023];

TEST(Tables, AreReadyForStaticInitialisers) { EXPECT_EQ(kRowAtStart, 3648 + 4095); }

TEST(Tables, GammaFollowsItsCurve) {
    double c = 277;  // the root of c * exp(1023 / c - 1) = 4095
    for (int i = 0; i < 20; ++i) {
        c = 1023 / (1 + std::log(4095 / c));
    }
    ASSERT_NEAR(c, 276.9625984, 1e-7);
    for (int i = 0; i < 1024; ++i) {
        const int above = i == 773 || i == 1004 ? 1 : 0;
        EXPECT_EQ(Gamma10toLinear12[i], std::lround(i <= c ? i : c * std::exp(i / c - 1)) + above) << i;
        EXPECT_EQ(Linear12toGamma10[Gamma10toLinear12[i]], i);
    }
    for (int x = 0; x < 4096; ++x) {
        EXPECT_EQ(Linear12toGamma10[x], std::lround(x <= c ? x : c * (1 + std::log(x / c)))) << x;
    }
}

// Some rows, and the sum of all.
TEST(Tables, ToneRows) {
    const Rows bytes = {{0, 0},      {8, 0},      {9, 1},      {16, 2},     {32, 7},
                        {64, 21},    {128, 41},   {256, 71},   {512, 116},  {1024, 174},
                        {2048, 228}, {3072, 248}, {3584, 252}, {3955, 254}, {4095, 255}};
    const Rows twelve = {{0, 0},       {1, 5},       {8, 41},      {64, 322},    {128, 628},   {256, 1140},
                         {512, 1846},  {1000, 2764}, {1024, 2795}, {2000, 3623}, {2048, 3648}, {3000, 3959},
                         {3072, 3971}, {4000, 4084}, {4090, 4094}, {4095, 4095}};
    ExpectRows(Tonescale12, bytes);
    ExpectRows(Tonescale12Table12, twelve);
    EXPECT_EQ(10420464822309329579U, orvtest::HashBytes(Tonescale12, sizeof Tonescale12));
    EXPECT_EQ(14554056974694862417U, orvtest::HashBytes(Tonescale12Table12, sizeof Tonescale12Table12));
}

TEST(Tables, SecondNamesShareTheValues) {
    EXPECT_TRUE(std::equal(std::begin(Tonescale12), std::end(Tonescale12), std::begin(Tonescale12Table)));
    EXPECT_TRUE(std::equal(std::begin(Gamma10toLinear12), std::end(Gamma10toLinear12), Gamma10toLinear12Table));
    EXPECT_TRUE(std::equal(std::begin(Linear12toGamma10), std::end(Linear12toGamma10), Linear12toGamma10Table));
}

}  // namespace
