// Frames for tests: rows with padding, the whole buffer filled with a known byte so that stray writes show.
#ifndef ORV_TESTS_IMAGE_H
#define ORV_TESTS_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "OrvImage.h"

namespace orvtest {

constexpr uint8_t kGuard = 0xA5;

// A frame with `guard` bytes before and after the pixels; `stride` in bytes.
struct Image {
    std::vector<uint8_t> bytes;
    _OrvImage record = {};
    size_t guard = 0;

    Image(uint32_t pixelType, int bitDepth, int width, int height, int stride, size_t guardBytes = 64)
        : bytes(guardBytes * 2 + static_cast<size_t>(stride) * static_cast<size_t>(height), kGuard), guard(guardBytes) {
        record.size = sizeof(record);
        record.version = 0x20000;
        record.pixelType = pixelType;
        record.bitDepth = bitDepth;
        record.width = width;
        record.height = height;
        record.stride = stride;
        record.imageSize = height * stride;
        record.data = Data();
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    Image(Image&&) = default;  // the pixels stay where they are

    uint8_t* Data() { return bytes.data() + guard; }
    template <class T>
    T* Row(int y) {
        return reinterpret_cast<T*>(Data() + static_cast<ptrdiff_t>(y) * record.stride);
    }
    void Refill() { std::memset(bytes.data(), kGuard, bytes.size()); }

    // True when every byte outside the first `rowBytes` of each row still holds the guard value.
    bool OutsideUntouched(size_t rowBytes) const {
        const size_t stride = static_cast<size_t>(record.stride);
        const size_t end = guard + stride * static_cast<size_t>(record.height);
        for (size_t i = 0; i < bytes.size(); ++i) {
            const bool inside = i >= guard && i < end && (i - guard) % stride < rowBytes;
            if (!inside && bytes[i] != kGuard) {
                return false;
            }
        }
        return true;
    }
    bool Untouched() const { return OutsideUntouched(0); }
};

}  // namespace orvtest

#endif
