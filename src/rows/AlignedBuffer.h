// Zeroed memory aligned to cache lines, kept across frames.
#ifndef ORV_ROWS_ALIGNEDBUFFER_H
#define ORV_ROWS_ALIGNEDBUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

namespace orv {

class AlignedBuffer {
public:
    // Makes room for `bytes`. Room that suffices keeps its content and address; else the new room is zero. False, and
    // no room, when memory ran out.
    bool Reserve(size_t bytes) {
        if (block_ != nullptr && bytes <= capacity_) {
            return true;
        }
        block_.reset();
        if (bytes > std::numeric_limits<size_t>::max() - kAlignment) {
            return false;
        }
        // calloc leaves large blocks to the system's zero pages.
        block_.reset(std::calloc(bytes + kAlignment, 1));
        capacity_ = bytes;
        return block_ != nullptr;
    }
    void* Data() const {
        char* start = static_cast<char*>(block_.get());
        return start == nullptr ? nullptr : start + (kAlignment - reinterpret_cast<uintptr_t>(start) % kAlignment);
    }

private:
    static constexpr size_t kAlignment = 64;
    struct Free {
        void operator()(void* p) const { std::free(p); }
    };
    std::unique_ptr<void, Free> block_;
    size_t capacity_ = 0;
};

}  // namespace orv

#endif
