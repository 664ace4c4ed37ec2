// Puts back what tests change of how engines run.
#ifndef ORV_TESTS_DRIVERSCOPE_H
#define ORV_TESTS_DRIVERSCOPE_H

#include <omp.h>

#include "rows/Bands.h"
#include "rows/Simd.h"

namespace orvtest {

class DriverScope {
public:
    ~DriverScope() {
        orv::SetSimdLevel(orv::BestSimdLevel());
        orv::SetBandRows(0);
        orv::SetBandOrder(0);
        omp_set_num_threads(threads_);
    }

private:
    int threads_ = omp_get_max_threads();
};

}  // namespace orvtest

#endif
