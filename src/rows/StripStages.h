// The order of the stages of a strip: which rows each makes, when, and how many of them the rings hold.
#ifndef ORV_ROWS_STRIPSTAGES_H
#define ORV_ROWS_STRIPSTAGES_H

#include <algorithm>

namespace orv {

// Rows of an earlier stage that a stage reads: those beside its own, and up to `reach` further ones above and below.
struct StageRead {
    int stage = -1;
    int reach = 0;
};

// A strip is made step by step. A stage makes `rows` rows in a step: where a step is a row of half-size planes, two of
// a plane of full size.
struct StripStage {
    int rows;
    StageRead reads[6];
};

// What follows from the reads of all stages; they stand in the order in which they run within a step.
template <int Stages>
class StripPlan {
public:
    constexpr explicit StripPlan(const StripStage (&stages)[Stages]) {
        for (int reader = Stages - 1; reader >= 0; --reader) {
            rows_[reader] = stages[reader].rows;
            for (const StageRead& read : stages[reader].reads) {
                if (read.stage < 0) {
                    continue;
                }
                const int rows = stages[read.stage].rows;
                const int reach = (read.reach + rows - 1) / rows;
                ahead_[read.stage] = std::max(ahead_[read.stage], ahead_[reader] + reach);
                reach_[read.stage][reader] = std::max(reach_[read.stage][reader], reach + 1);
            }
        }
    }
    // Rows of a ring that keeps what a stage makes until the stage `reader` has read it, or every stage that does: a
    // power of two.
    constexpr int RingRows(int stage, int reader) const {
        const int steps = reach_[stage][reader] == 0 ? 1 : ahead_[stage] - ahead_[reader] + reach_[stage][reader];
        int rows = 1;
        while (rows < steps * rows_[stage]) {
            rows *= 2;
        }
        return rows;
    }
    constexpr int RingRows(int stage) const {
        int rows = 1;
        for (int reader = 0; reader < Stages; ++reader) {
            rows = std::max(rows, RingRows(stage, reader));
        }
        return rows;
    }
    // Steps by which a stage runs ahead of the last one. So many it makes beyond the strip, too, on either side.
    constexpr int Ahead(int stage) const { return ahead_[stage]; }
    constexpr int Rows(int stage) const { return rows_[stage]; }

private:
    int rows_[Stages] = {};
    int ahead_[Stages] = {};
    int reach_[Stages][Stages] = {};  // steps, and one more; 0 where nothing is read
};
template <int Stages>
StripPlan(const StripStage (&)[Stages]) -> StripPlan<Stages>;

// Makes steps [first, end) of a plane of `steps`, and as many beyond them as later stages read. `make` are the stages
// in the order of the plan, each called with the number of a row to be made.
template <int Stages, class... Make>
void RunStages(const StripPlan<Stages>& plan, int first, int end, int steps, const Make&... make) {
    static_assert(sizeof...(Make) == Stages, "one function for each stage");
    int most = 0;
    for (int stage = 0; stage < Stages; ++stage) {
        most = std::max(most, plan.Ahead(stage));
    }
    const auto run = [&](int stage, int step, const auto& makeRow) {
        const int halo = plan.Ahead(stage);
        if (step >= std::max(0, first - halo) && step < std::min(steps, end + halo)) {
            for (int row = 0; row < plan.Rows(stage); ++row) {
                makeRow(step * plan.Rows(stage) + row);
            }
        }
    };
    for (int t = std::max(0, first - most) - most; t < end; ++t) {
        int stage = 0;
        ((run(stage, t + plan.Ahead(stage), make), ++stage), ...);
    }
}

}  // namespace orv

#endif
