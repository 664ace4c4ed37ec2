// What a forked process may not do.
#ifndef ORV_ROWS_FORK_H
#define ORV_ROWS_FORK_H

namespace orv {

// True in a process that came from one with threads by fork(), and in its children. Thread pools of such a process,
// of OpenMP and of OpenCV, wait for threads that it does not have: work stays on the calling thread.
bool ForkedFromThreads();

}  // namespace orv

#endif
