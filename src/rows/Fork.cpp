#include "rows/Fork.h"

#include <pthread.h>

#include <atomic>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace orv {

namespace {

std::atomic<bool> g_hasThreads{false};  // of the forking process, from its last fork
std::atomic<bool> g_forkedFromThreads{false};

// False only for a process that surely has one thread.
bool HasThreads() {
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded == 0;
#else
    return true;
#endif
}

void BeforeFork() { g_hasThreads.store(HasThreads(), std::memory_order_relaxed); }

void InChild() {
    if (g_hasThreads.load(std::memory_order_relaxed)) {
        g_forkedFromThreads.store(true, std::memory_order_relaxed);
    }
}

// When the library is loaded: a pool may have its threads before the first conversion.
__attribute__((constructor)) void WatchForks() { pthread_atfork(BeforeFork, nullptr, InChild); }

}  // namespace

bool ForkedFromThreads() { return g_forkedFromThreads.load(std::memory_order_relaxed); }

}  // namespace orv
