#include "rows/Lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

#ifndef NDEBUG
// So that every conversion of a debug build shows that no stage reads a row too early or too late.
TEST(Lines, ARowThatLeftTheRingIsCaught) {
    std::vector<unsigned char> memory(4096);
    orv::LineCutter cutter(memory.data());
    const auto ring = cutter.Ring<int>(2, 8);
    ring.Make(0);
    ring.Make(1);
    int* const third = ring.Make(2);
    EXPECT_EQ(third, ring[2]);
    EXPECT_DEATH(ring[0], "no longer holds");
    EXPECT_DEATH(ring[3], "never did");
}
#endif

// Sums of neighbours beyond the ends, of what an earlier frame has left there, might overflow.
TEST(Lines, NothingStandsBeyondTheEndsOfWideRows) {
    alignas(64) unsigned char memory[4096];
    std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0x80));
    orv::LineCutter cutter(memory);
    cutter.Line<int16_t>(5);
    const orv::Lines<int32_t> lines = cutter.Plane<int32_t>(3, 7);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(0, lines[y][-1]);
        EXPECT_EQ(0, lines[y][7]);
    }
}
