// Threads of the process, sleeping ones included.
#ifndef ORV_TESTS_THREADS_H
#define ORV_TESTS_THREADS_H

#include <filesystem>
#include <iterator>

namespace orvtest {

inline int CountThreads() {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

}  // namespace orvtest

#endif
