#include "truesense/Tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

using Rows = std::vector<std::pair<int, int>>;

template <class Table>
int FirstAtLeast(const Table& table, int value) {
    return static_cast<int>(std::find_if(std::begin(table), std::end(table), [=](int v) { return v >= value; }) -
                            std::begin(table));
}

template <class Table>
void ExpectRows(const Table& table, const Rows& rows) {
    for (const auto& [index, value] : rows) {
        EXPECT_EQ(table[index], value) << "row " << index;
    }
}

// A kink shows as a second difference over steps that widen with the index, as the eye sees levels.
void ExpectSmooth(const int16_t (&table)[4096], int low, int high) {
    for (int x = 3; x < 3600; ++x) {
        const int step = std::min(x, (x + 24) / 8);
        const int bend = table[x + step] - 2 * table[x] + table[x - step];
        EXPECT_TRUE(bend >= low && bend <= high) << "row " << x << " bends by " << bend;
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
    ExpectRows(Gamma10toLinear12, {{293, 293},
                                   {294, 295},
                                   {384, 408},
                                   {512, 647},
                                   {640, 1027},
                                   {768, 1631},
                                   {773, 1661},
                                   {896, 2589},
                                   {1004, 3824},
                                   {1023, 4095}});
    ExpectRows(Linear12toGamma10, {{512, 447}, {1024, 639}, {2048, 831}, {3072, 943}, {4095, 1023}});
}

TEST(Tables, ByteToneRowsAndShape) {
    ExpectRows(Tonescale12, {{0, 0},
                             {8, 0},
                             {16, 2},
                             {32, 7},
                             {64, 21},
                             {128, 41},
                             {256, 71},
                             {512, 116},
                             {1024, 174},
                             {2048, 228},
                             {3072, 248},
                             {3584, 252},
                             {4000, 255},
                             {4095, 255}});
    EXPECT_EQ(FirstAtLeast(Tonescale12, 1), 9);
    EXPECT_EQ(FirstAtLeast(Tonescale12, 255), 3956);
    EXPECT_TRUE(std::is_sorted(std::begin(Tonescale12), std::end(Tonescale12)));
    ExpectSmooth(Tonescale12, -3, 2);
}

TEST(Tables, TwelveBitToneRowsAndShape) {
    ExpectRows(Tonescale12Table12,
               {{0, 0},       {1, 5},       {2, 10},      {3, 15},      {8, 41},      {16, 81},     {32, 162},
                {64, 322},    {128, 628},   {256, 1140},  {512, 1846},  {1000, 2764}, {1024, 2795}, {2000, 3623},
                {2048, 3648}, {3000, 3959}, {3072, 3971}, {3584, 4036}, {4000, 4084}, {4095, 4095}});
    EXPECT_EQ(FirstAtLeast(Tonescale12Table12, 4095), 4091);
    for (int x = 1; x < 4096; ++x) {
        const int step = Tonescale12Table12[x] - Tonescale12Table12[x - 1];
        EXPECT_TRUE(step >= 0 && step <= 6) << "row " << x << " step " << step;
    }
    ExpectSmooth(Tonescale12Table12, -42, 1);
}

TEST(Tables, SecondNamesShareTheValues) {
    EXPECT_TRUE(std::equal(std::begin(Tonescale12), std::end(Tonescale12), std::begin(Tonescale12Table)));
    EXPECT_TRUE(std::equal(std::begin(Gamma10toLinear12), std::end(Gamma10toLinear12), Gamma10toLinear12Table));
    EXPECT_TRUE(std::equal(std::begin(Linear12toGamma10), std::end(Linear12toGamma10), Linear12toGamma10Table));
}

}  // namespace
