#include "rows/Bands.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <vector>

namespace {

// Every row once, bands from multiples of 4, no two bands of one worker at a time.
TEST(Workers, CoverRowsOnceWithWorkersApart) {
    const int threads = omp_get_max_threads();
    for (const int team : {1, 2, 5}) {
        for (const int bandRows : {0, 4, 6, 1000}) {
            for (const int rows : {0, 1, 3, 5, 33, 130}) {
                for (const int workers : {1, 3, 100}) {
                    omp_set_num_threads(team);
                    orv::SetBandRows(bandRows);
                    orv::SetBandOrder(team + rows * workers);
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
    orv::SetBandRows(0);
    orv::SetBandOrder(0);
    omp_set_num_threads(threads);
}

TEST(Workers, TeamNeverLargerThanBands) {
    const int threads = omp_get_max_threads();
    omp_set_num_threads(64);
    EXPECT_EQ(3, orv::TeamSize(3));
    EXPECT_EQ(1, orv::TeamSize(0));
    EXPECT_EQ(2, orv::MaxWorkers(5, 0));
    EXPECT_EQ(1, orv::MaxWorkers(4, 1000000));
    EXPECT_EQ(7, orv::MaxWorkers(400, 7));
    {
        const orv::ThreadsScope scope(9);
        EXPECT_EQ(9, omp_get_max_threads());
    }
    EXPECT_EQ(64, omp_get_max_threads());
    omp_set_num_threads(threads);
}

}  // namespace
