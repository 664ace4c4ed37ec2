// What the kernels share: the log, the scratch test, and filters in place over the rows of a plane.
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

// Lets a filter read values from before the call while it rewrites a plane from the top down: keeps the last
// `radius + 1` original rows. The rows below stand in the plane itself.
template <class T>
class RowHistory {
public:
    RowHistory(T* plane, int w, int radius, void* memory)
        : plane_(plane), kept_(static_cast<T*>(memory)), w_(w), depth_(radius + 1) {}

    // To be called for each row from 0 on before it is rewritten.
    void Keep(int y) { std::memcpy(Slot(y), InPlane(y), static_cast<size_t>(w_) * sizeof(T)); }
    // Original row: one of the last radius + 1 kept.
    const T* Kept(int y) const { return Slot(y); }
    T* InPlane(int y) const { return plane_ + Elements(w_, y); }

private:
    T* Slot(int y) const { return kept_ + Elements(w_, y % depth_); }

    T* plane_;
    T* kept_;
    int w_, depth_;
};

}  // namespace orv

#endif
