#include "rows/Bands.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <vector>

#include "support/DriverScope.h"

namespace {

// Every row once, bands from multiples of 4, no two bands of one worker at a time.
TEST(Workers, CoverRowsOnceWithWorkersApart) {
    const orvtest::DriverScope restore;
    for (const int bandRows : {0, 4, 6, 1000}) {
        for (const int rows : {0, 1, 3, 5, 33, 130}) {
            for (const int workers : {1, 2, 5, 100}) {
                for (const int order : {0, 7}) {
                    orv::SetBandRows(bandRows);
                    orv::SetBandOrder(order);
                    std::vector<std::atomic<int>> seen(static_cast<size_t>(rows));
                    std::vector<std::atomic<int>> busy(static_cast<size_t>(workers));
                    std::atomic<int> faults{0};
                    orv::ForEachBandWithWorker(rows, workers, [&](int worker, int y0, int y1) {
                        if (worker < 0 || worker >= workers || y0 % 4 != 0 || y1 > rows || y0 >= y1) {
                            ++faults;
                            return;
                        }
                        std::atomic<int>& mine = busy[static_cast<size_t>(worker)];
                        faults += mine.fetch_add(1);
                        for (int y = y0; y < y1; ++y) {
                            ++seen[static_cast<size_t>(y)];
                        }
                        --mine;
                    });
                    EXPECT_EQ(0, faults);
                    for (const auto& count : seen) {
                        ASSERT_EQ(1, count);
                    }
                }
            }
        }
    }
}

TEST(Workers, NoMoreThanBands) {
    const orvtest::DriverScope restore;
    omp_set_num_threads(64);
    EXPECT_EQ(2, orv::MaxWorkers(5, 0));
    EXPECT_EQ(64, orv::MaxWorkers(400, 0));
    EXPECT_EQ(1, orv::MaxWorkers(4, 1000000));
    EXPECT_EQ(7, orv::MaxWorkers(400, 7));
}

}  // namespace
