#include "pipeline/reference/Scratch.h"

#include <cstdarg>
#include <cstdio>

thread_local unsigned char* g_dynamicBuffer = nullptr;
thread_local unsigned char* g_bufFloor = nullptr;
thread_local unsigned char* g_bufCeil = nullptr;
thread_local unsigned char* g_dynamicBuffer1 = nullptr;
thread_local unsigned char* g_dynamicBuffer2 = nullptr;

namespace orv {

void AppendLog(LogText_t* log, const char* format, ...) {
    if (log == nullptr || log->text == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is not seen there
    const int written = std::vsprintf(log->text + log->length, format, arguments);
    va_end(arguments);
    if (written > 0) {
        log->length += static_cast<uint32_t>(written);
    }
}

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
