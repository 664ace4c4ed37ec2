// Counts the allocations of the whole process, those of shared libraries included, and refuses one of them.
#ifndef ORV_TESTS_ALLOCATIONCOUNTER_H
#define ORV_TESTS_ALLOCATIONCOUNTER_H

namespace orvtest {

// Calls of malloc and its kin since the start of the process.
long AllocationCount();
// Blocks that have not been freed.
long LiveBlocks();

// From now on the allocation number `number`, counted from 1, gets no memory, as do the `more` after it.
void RefuseAllocation(long number, long more = 0);
// Ends that. True if an allocation was refused.
bool StopRefusing();

// From now on no thread starts, or all do again.
void RefuseThreads(bool refuse);

}  // namespace orvtest

#endif
