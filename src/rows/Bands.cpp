#include "rows/Bands.h"

#include <omp.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <numeric>

#include "rows/Fork.h"

namespace orv {

namespace {
std::atomic<int> g_bandRows{0};
std::atomic<int> g_bandOrder{0};

int RoundUp4(int rows) { return (rows + 3) & ~3; }

// Starts `*left` threads, each from the one before, so that all are there at once. Leaves how many did not start.
void* StartThreads(void* left) {
    int& count = *static_cast<int*>(left);
    pthread_t next = {};
    const auto start = [](void* others) {
        --*static_cast<int*>(others);
        return StartThreads(others);
    };
    if (count > 0 && pthread_create(&next, nullptr, start, left) == 0) {
        pthread_join(next, nullptr);
    }
    return nullptr;
}
}  // namespace

int BandRows(int rows, int threads) {
    const int fixed = g_bandRows.load(std::memory_order_relaxed);
    if (fixed > 0) {
        return fixed;
    }
    if (threads <= 1) {
        return RoundUp4(rows);  // nothing to share, no halo to make twice
    }
    // A few bands per thread even out an uneven machine; bands below 32 rows cost more in halo than they gain.
    return std::max(32, RoundUp4(rows / (4 * threads)));
}

void SetBandRows(int rows) { g_bandRows.store(RoundUp4(std::max(0, rows)), std::memory_order_relaxed); }

int BandAt(int turn, int bands) {
    const int order = g_bandOrder.load(std::memory_order_relaxed);
    if (order == 0) {
        return turn;
    }
    // Steps of a number coprime to `bands`, from anywhere, meet each band once.
    int step = order % bands + 1;
    while (std::gcd(step, bands) != 1) {
        ++step;
    }
    return static_cast<int>((static_cast<int64_t>(turn) * step + order) % bands);
}

void SetBandOrder(int order) { g_bandOrder.store(std::max(0, order), std::memory_order_relaxed); }

int MaxWorkers(int rows, int threads) {
    if (ForkedFromThreads()) {
        return 1;
    }
    return std::max(1, std::min(threads > 0 ? threads : omp_get_max_threads(), (rows + 3) / 4));
}

void SetThreads(int threads) { omp_set_num_threads(threads); }

int ThreadsThatStart(int threads) {
    // The runtime keeps the threads of the calling thread's last team.
    thread_local int t_team = 1;
    if (threads <= 1) {
        return threads;
    }
    int missing = threads > t_team ? threads - 1 : 0;
    StartThreads(&missing);
    return t_team = threads - missing;
}

int WorkerIndex() { return omp_get_thread_num(); }

}  // namespace orv
