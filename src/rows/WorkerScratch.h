// Scratch memory for the workers of a banded run, kept across frames.
#ifndef ORV_ROWS_WORKERSCRATCH_H
#define ORV_ROWS_WORKERSCRATCH_H

#include "rows/AlignedBuffer.h"
#include "rows/Bands.h"

namespace orv {

class WorkerScratch {
public:
    // `bytes` for each of the threads that share `rows` rows, see MaxWorkers. False when memory ran out.
    bool Reserve(size_t bytes, int rows, int threads) {
        bytes_ = (bytes + kLine - 1) / kLine * kLine;
        workers_ = MaxWorkers(rows, threads);
        return memory_.Reserve(bytes_ * static_cast<size_t>(workers_));
    }
    int Workers() const { return workers_; }
    // Cache lines of its own for each worker below Workers().
    void* Of(int worker) const {
        return static_cast<unsigned char*>(memory_.Data()) + bytes_ * static_cast<size_t>(worker);
    }

private:
    static constexpr size_t kLine = 64;
    AlignedBuffer memory_;
    size_t bytes_ = 0;
    int workers_ = 0;
};

}  // namespace orv

#endif
