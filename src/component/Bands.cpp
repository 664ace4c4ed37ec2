#include "component/Bands.h"

#include <omp.h>

#include <algorithm>
#include <atomic>

namespace orv {

namespace {
std::atomic<int> g_bandRows{0};

int RoundUp4(int rows) { return (rows + 3) & ~3; }
}  // namespace

int BandRows(int rows, int threads) {
    const int fixed = g_bandRows.load(std::memory_order_relaxed);
    if (fixed > 0) {
        return fixed;
    }
    // A few bands per thread even out an uneven machine; bands below 32 rows cost more in halo than they gain.
    return std::max(32, RoundUp4(rows / std::max(1, 4 * threads)));
}

void SetBandRows(int rows) { g_bandRows.store(RoundUp4(std::max(0, rows)), std::memory_order_relaxed); }

int TeamSize(int bands) { return std::max(1, std::min(omp_get_max_threads(), bands)); }

}  // namespace orv
