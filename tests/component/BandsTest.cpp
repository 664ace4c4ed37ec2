#include "component/Bands.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <mutex>
#include <vector>

namespace {

TEST(Bands, EveryRowBelongsToOneBandThatStartsAtAMultipleOfFour) {
    const int saved = omp_get_max_threads();
    for (const int threads : {1, 2, 5}) {
        for (const int bandRows : {0, 4, 6, 1000}) {
            for (const int rows : {0, 1, 3, 4, 5, 31, 33, 200}) {
                omp_set_num_threads(threads);
                orv::SetBandRows(bandRows);
                std::vector<int> visits(static_cast<size_t>(rows), 0);
                std::mutex guard;
                int team = 0;
                orv::ForEachBand(rows, [&](int y0, int y1) {
                    const std::lock_guard<std::mutex> lock(guard);
                    EXPECT_EQ(y0 % 4, 0);
                    EXPECT_LT(y0, y1);
                    team = omp_get_num_threads();
                    for (int y = y0; y < y1; ++y) {
                        ++visits[static_cast<size_t>(y)];
                    }
                });
                EXPECT_EQ(visits, std::vector<int>(static_cast<size_t>(rows), 1));
                EXPECT_LE(team, threads);
                EXPECT_LE(team, (rows + 3) / 4);
            }
        }
    }
    orv::SetBandRows(0);
    omp_set_num_threads(saved);
}

}  // namespace
