#include "pipeline/reference/Scratch.h"

thread_local unsigned char* g_dynamicBuffer = nullptr;
thread_local unsigned char* g_bufFloor = nullptr;
thread_local unsigned char* g_bufCeil = nullptr;
thread_local unsigned char* g_dynamicBuffer1 = nullptr;
thread_local unsigned char* g_dynamicBuffer2 = nullptr;

namespace orv {

bool ScratchFits(const char* label, ptrdiff_t bytes, LogText_t* log) {
    // As numbers: the end of a request that fails lies outside any object.
    const auto end = reinterpret_cast<uintptr_t>(g_dynamicBuffer) + static_cast<uintptr_t>(bytes);
    if (end < reinterpret_cast<uintptr_t>(g_bufFloor) || end > reinterpret_cast<uintptr_t>(g_bufCeil)) {
        AppendLog(log, "%s memory alloc error.\n", label);
        return false;
    }
    return true;
}

}  // namespace orv
