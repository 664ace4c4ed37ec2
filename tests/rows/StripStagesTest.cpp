#include "rows/StripStages.h"

#include <gtest/gtest.h>

#include <vector>

#include "rows/Lines.h"
#include "support/Noise.h"

namespace {

// Every stage finds all that it reads, in rings of the sizes that the plan gives, and the last one makes its rows once.
TEST(StripStages, EveryRowReadIsStillInItsRing) {
    orvtest::Noise noise(3);
    for (int round = 0; round < 300; ++round) {
        const auto reach = [&] { return static_cast<int>(noise.Below(4)); };
        const auto rows = [&] { return 1 + static_cast<int>(noise.Below(2)); };
        const orv::StripStage stages[] = {
            {rows(), {}}, {rows(), {{0, reach()}}}, {rows(), {{0, reach()}}}, {rows(), {{2, reach()}, {1, reach()}}}};
        const orv::StripPlan plan(stages);
        const int steps = 1 + static_cast<int>(noise.Below(30));
        const int first = static_cast<int>(noise.Below(static_cast<uint32_t>(steps)));
        const int end = first + 1 + static_cast<int>(noise.Below(static_cast<uint32_t>(steps - first)));
        std::vector<int> rings[4];
        for (int stage = 0; stage < 4; ++stage) {
            rings[stage].assign(static_cast<size_t>(plan.RingRows(stage)), -1);
        }
        const auto place = [&](int stage, int row) -> int& {
            return rings[stage][static_cast<size_t>(row & (plan.RingRows(stage) - 1))];
        };
        std::vector<int> made;
        const auto make = [&](int stage) {
            return [&, stage](int row) {
                const int step = row / stages[stage].rows;
                for (const orv::StageRead& read : stages[stage].reads) {
                    const int perStep = read.stage < 0 ? 0 : stages[read.stage].rows;
                    for (int at = step * perStep - read.reach; at < (step + 1) * perStep + read.reach; ++at) {
                        if (at >= 0 && at < steps * perStep) {
                            ASSERT_EQ(at, place(read.stage, at)) << "stage " << stage << ", row " << row;
                        }
                    }
                }
                place(stage, row) = row;
                if (stage == 3) {
                    made.push_back(row);
                }
            };
        };
        orv::RunStages(plan, first, end, steps, make(0), make(1), make(2), make(3));
        ASSERT_EQ(static_cast<size_t>((end - first) * stages[3].rows), made.size());
        for (size_t i = 0; i < made.size(); ++i) {
            ASSERT_EQ(first * stages[3].rows + static_cast<int>(i), made[i]);
        }
    }
}

#ifndef NDEBUG
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

}  // namespace
