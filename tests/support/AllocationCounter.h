// Counts the allocations of the whole process, those of shared libraries included.
#ifndef ORV_TESTS_ALLOCATIONCOUNTER_H
#define ORV_TESTS_ALLOCATIONCOUNTER_H

namespace orvtest {

// Calls of malloc and its kin since the start of the process.
long AllocationCount();

}  // namespace orvtest

#endif
