#include "support/AllocationCounter.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own entry points; its malloc is weak, so the definitions below serve every library of the process.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}

namespace {

std::atomic<long> g_count{0};
std::atomic<long> g_live{0};
std::atomic<long> g_first{0}, g_last{0};  // the allocations to refuse, by g_count
std::atomic<bool> g_noThreads{false};

bool Refused() {
    const long number = ++g_count;
    return number >= g_first && number <= g_last;
}

template <class Allocate>
void* Made(const Allocate& allocate) {
    void* const block = Refused() ? nullptr : allocate();
    if (block == nullptr) {
        errno = ENOMEM;
    } else {
        ++g_live;
    }
    return block;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void* malloc(size_t size) {
    return Made([=] { return __libc_malloc(size); });
}

void* calloc(size_t count, size_t size) {
    return Made([=] { return __libc_calloc(count, size); });
}

void* memalign(size_t alignment, size_t size) {
    return Made([=] { return __libc_memalign(alignment, size); });
}

void* realloc(void* block, size_t size) {
    if (block == nullptr) {
        return malloc(size);
    }
    if (size == 0) {
        free(block);
        return nullptr;
    }
    return Refused() ? nullptr : __libc_realloc(block, size);
}

void free(void* block) {
    g_live -= block != nullptr ? 1 : 0;
    __libc_free(block);
}

void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void** block, size_t alignment, size_t size) {
    *block = memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    using Function = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto s_create = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_create"));
    return g_noThreads ? EAGAIN : s_create(thread, attributes, start, argument);
}
}
#pragma GCC visibility pop

namespace orvtest {

long AllocationCount() { return g_count; }

long LiveBlocks() { return g_live; }

void RefuseAllocation(long number, long more) {
    g_first = g_count + number;
    g_last = g_first + more;
}

bool StopRefusing() {
    const bool refused = g_count >= g_first;
    g_first = g_last = 0;
    return refused;
}

void RefuseThreads(bool refuse) { g_noThreads = refuse; }

}  // namespace orvtest
