// Tests that run once at every instruction-set level.
#ifndef ORV_TESTS_LEVELS_H
#define ORV_TESTS_LEVELS_H

#include <gtest/gtest.h>

#include <string>

#include "rows/Simd.h"

namespace orvtest {

// Levels that the processor lacks are skipped. Instantiated by ORV_EVERY_LEVEL.
class EveryLevel : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        const auto level = static_cast<orv::SimdLevel>(GetParam());
        if (level > orv::BestSimdLevel()) {
            GTEST_SKIP() << "not on this processor";
        }
        orv::SetSimdLevel(level);
    }
    void TearDown() override { orv::SetSimdLevel(orv::BestSimdLevel()); }
};

inline std::string LevelName(const testing::TestParamInfo<int>& info) {
    const char* const names[] = {"Baseline", "Avx2", "Avx512"};
    return names[info.param];
}

}  // namespace orvtest

#define ORV_EVERY_LEVEL(Suite) \
    INSTANTIATE_TEST_SUITE_P(Levels, Suite, testing::Range(0, orv::kSimdLevels), orvtest::LevelName)

#endif
