#include "rows/Fork.h"

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstring>

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

// True for a process made by fork(), without exec() since, that has one thread now: what the kernel tells of it.
bool IsForkedWithOneThread() {
    std::FILE* const file = std::fopen("/proc/self/stat", "re");
    if (file == nullptr) {
        return false;
    }
    char text[1024];
    text[std::fread(text, 1, sizeof(text) - 1, file)] = '\0';
    std::fclose(file);
    // Behind the program's name, which may hold anything.
    const char* const fields = std::strrchr(text, ')');
    unsigned flags = 0;
    long threads = 0;
    constexpr unsigned kForkedWithoutExec = 0x40;
    return fields != nullptr &&
           std::sscanf(fields, ") %*c %*d %*d %*d %*d %*d %u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %ld", &flags,
                       &threads) == 2 &&
           (flags & kForkedWithoutExec) != 0 && threads == 1;
}

// When the library is loaded: pools may have their threads before the first conversion. A child that loads it has seen
// no fork, but knows of threads that it does not have.
__attribute__((constructor)) void WatchForks() {
    pthread_atfork(BeforeFork, nullptr, InChild);
    if (HasThreads() && IsForkedWithOneThread()) {
        g_forkedFromThreads.store(true, std::memory_order_relaxed);
    }
}

}  // namespace

bool ForkedFromThreads() { return g_forkedFromThreads.load(std::memory_order_relaxed); }

}  // namespace orv
