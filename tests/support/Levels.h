#ifndef ORV_TESTS_LEVELS_H
#define ORV_TESTS_LEVELS_H

#include <gtest/gtest.h>

#include "rows/Simd.h"

namespace orvtest {

// Runs at every instruction-set level that the processor has, the best one last.
template <class Run>
void AtEveryLevel(const Run& run) {
    for (int level = 0; level <= static_cast<int>(orv::BestSimdLevel()); ++level) {
        SCOPED_TRACE(testing::Message() << "level " << level);
        orv::SetSimdLevel(static_cast<orv::SimdLevel>(level));
        run();
    }
}

}  // namespace orvtest

#endif
