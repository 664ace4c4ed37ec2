// Collects the rows of a reconstruction as planes.
#ifndef ORV_TESTS_PLANESINK_H
#define ORV_TESTS_PLANESINK_H

#include <algorithm>
#include <vector>

#include "truesense/TrueSenseEngine.h"

namespace orvtest {

struct PlaneSink final : orv::ColourRowSink {
    PlaneSink(int width, int height)
        : w(width), planes(3, std::vector<int>(static_cast<size_t>(width * height), kMissing)) {}
    void Row(int y, const int16_t* red, const int16_t* green, const int16_t* blue) const override {
        Store(y, red, green, blue);
    }
    void Row(int y, const int32_t* red, const int32_t* green, const int32_t* blue) const override {
        Store(y, red, green, blue);
    }

    static constexpr int kMissing = 1 << 20;
    int w;
    mutable std::vector<std::vector<int>> planes;

private:
    template <class Value>
    void Store(int y, const Value* red, const Value* green, const Value* blue) const {
        const Value* const rows[3] = {red, green, blue};
        for (size_t k = 0; k < 3; ++k) {
            std::copy_n(rows[k], w, planes[k].begin() + static_cast<ptrdiff_t>(y) * w);
        }
    }
};

}  // namespace orvtest

#endif
