// What the kernels share: the log, scratch at g_dynamicBuffer and its test.
#ifndef ORV_PIPELINE_REFERENCE_SCRATCH_H
#define ORV_PIPELINE_REFERENCE_SCRATCH_H

#include <cstddef>
#include <cstring>

#include "pipeline/reference/ImageProcess.h"

namespace orv {

// Appends a formatted message. A null log or text drops it.
__attribute__((format(printf, 2, 3))) void AppendLog(LogText_t* log, const char* format, ...);

// Elements of a plane.
inline ptrdiff_t Elements(int w, int h) { return static_cast<ptrdiff_t>(w) * h; }

// Tests whether `bytes` fit at g_dynamicBuffer; a message with `label` when not.
bool ScratchFits(const char* label, ptrdiff_t bytes, LogText_t* log);

// Takes `count` elements at g_dynamicBuffer and moves it past them; null when they do not fit.
template <class T>
T* TakeScratch(const char* label, ptrdiff_t count, LogText_t* log) {
    const ptrdiff_t bytes = count * static_cast<ptrdiff_t>(sizeof(T));
    if (!ScratchFits(label, bytes, log)) {
        return nullptr;
    }
    T* taken = reinterpret_cast<T*>(g_dynamicBuffer);
    g_dynamicBuffer += bytes;
    return taken;
}

// Copies a plane to g_dynamicBuffer, where the copy stays until the next kernel borrows the place; null when it does
// not fit. The plane may overlap the scratch.
template <class T>
const T* CopyToScratch(const char* label, const T* plane, int w, int h, LogText_t* log) {
    const ptrdiff_t bytes = Elements(w, h) * static_cast<ptrdiff_t>(sizeof(T));
    if (!ScratchFits(label, bytes, log)) {
        return nullptr;
    }
    if (bytes > 0) {
        std::memmove(g_dynamicBuffer, plane, static_cast<size_t>(bytes));
    }
    return reinterpret_cast<const T*>(g_dynamicBuffer);
}

}  // namespace orv

#endif
