#include "support/AllocationCounter.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The C library's own entry points; its malloc is weak, so the definitions below serve every library of the process.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

namespace {
std::atomic<long> g_count{0};
}

extern "C" {

void* malloc(size_t size) {
    ++g_count;
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    ++g_count;
    return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    ++g_count;
    return __libc_realloc(block, size);
}

void* memalign(size_t alignment, size_t size) {
    ++g_count;
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void** block, size_t alignment, size_t size) {
    *block = memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}
}

namespace orvtest {
long AllocationCount() { return g_count.load(); }
}  // namespace orvtest
