// The order of the stages of a strip: which rows each makes, and when.
#ifndef ORV_ROWS_STRIPSTAGES_H
#define ORV_ROWS_STRIPSTAGES_H

#include <algorithm>

namespace orv {

// A stage makes one row, `make(row)`, from rows of the stage before it, or of earlier ones, that are no more than
// `reach` rows away from it.
template <class Make>
struct StripStage {
    int reach;
    Make make;
};
template <class Make>
StripStage(int, Make) -> StripStage<Make>;

// Rows that a ring must hold so that every later stage finds what it reads: a power of two.
template <class... Reach>
constexpr int RingRowsFor(Reach... reach) {
    int rows = 1;
    while (rows < (0 + ... + reach) + 1) {
        rows *= 2;
    }
    return rows;
}

// Runs the stages over rows [first, end) of a plane of `rows` rows. Each runs as far behind the one before it as it
// reaches, so that it finds its rows in the rings, and makes as many rows beyond the strip as the stages after it read.
template <class... Make>
void RunStages(int first, int end, int rows, const StripStage<Make>&... stages) {
    constexpr int kStages = sizeof...(Make);
    const int reach[kStages] = {stages.reach...};
    int lag[kStages];
    int halo[kStages];
    for (int i = 0, sum = 0; i < kStages; ++i) {
        sum += reach[i];
        lag[i] = sum;
    }
    for (int i = 0; i < kStages; ++i) {
        halo[i] = lag[kStages - 1] - lag[i];
    }
    const auto run = [&](int i, int row, const auto& make) {
        if (row >= std::max(0, first - halo[i]) && row < std::min(rows, end + halo[i])) {
            make(row);
        }
    };
    for (int t = std::max(0, first - halo[0]); t < end + lag[kStages - 1]; ++t) {
        int i = 0;
        ((run(i, t - lag[i], stages.make), ++i), ...);
    }
}

}  // namespace orv

#endif
