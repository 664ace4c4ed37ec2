#include "rows/Lines.h"

#include <gtest/gtest.h>

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
