#include "rows/Simd.h"

#include <atomic>

namespace orv {

SimdLevel BestSimdLevel() {
#if defined(__x86_64__)
    const bool avx2 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
    if (avx2 && __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
        __builtin_cpu_supports("avx512dq") != 0 && __builtin_cpu_supports("avx512vl") != 0) {
        return SimdLevel::Avx512;
    }
    if (avx2) {
        return SimdLevel::Avx2;
    }
#endif
    return SimdLevel::Baseline;
}

namespace {
std::atomic<SimdLevel>& Level() {
    static std::atomic<SimdLevel> level{BestSimdLevel()};
    return level;
}
}  // namespace

SimdLevel SimdLevelInForce() { return Level().load(std::memory_order_relaxed); }

void SetSimdLevel(SimdLevel level) {
    if (level <= BestSimdLevel()) {
        Level().store(level, std::memory_order_relaxed);
    }
}

}  // namespace orv
