// Frames of given content, and hashes of whole results.
#ifndef ORV_TESTS_FRAMES_H
#define ORV_TESTS_FRAMES_H

#include "support/Image.h"
#include "support/Noise.h"

namespace orvtest {

// FNV-1a over bytes; `hash` continues an earlier one.
inline uint64_t HashBytes(const void* bytes, size_t count, uint64_t hash = 0xCBF29CE484222325ULL) {
    const unsigned char* at = static_cast<const unsigned char*>(bytes);
    for (size_t i = 0; i < count; ++i) {
        hash = (hash ^ at[i]) * 0x100000001B3ULL;
    }
    return hash;
}

// A packed frame for the word, or one with `padding` bytes behind each row.
inline Image FrameOf(uint32_t word, int bitDepth, int width, int height, int padding = 0) {
    return Image(word, bitDepth, width, height, width * static_cast<int>((word >> 16 & 0xFF) / 8) + padding);
}

// Sets every sample to value(row, column); row padding keeps the guard value.
template <class Value>
void Fill(Image& frame, const Value& value) {
    const bool bytes = (frame.record.pixelType & 0xFF00) == 0x100;
    for (int y = 0; y < frame.record.height; ++y) {
        for (int x = 0; x < frame.record.width; ++x) {
            const uint32_t v = value(static_cast<uint32_t>(y), static_cast<uint32_t>(x));
            if (bytes) {
                frame.Row<uint8_t>(y)[x] = static_cast<uint8_t>(v);
            } else {
                frame.Row<uint16_t>(y)[x] = static_cast<uint16_t>(v);
            }
        }
    }
}

enum class Content {
    Noise,     // any sample from 0 to the top
    Scene,     // slopes and edges with a little noise, and single outliers
    Extremes,  // 0 or the top
};

// Fills the frame row by row with samples of 0 to `top`.
inline void FillFrame(Image& frame, Content content, uint64_t seed, uint32_t top) {
    Noise noise(seed);
    if (content == Content::Noise) {
        Fill(frame, [&](uint32_t, uint32_t) { return noise.Below(top + 1); });
    } else if (content == Content::Extremes) {
        Fill(frame, [&](uint32_t, uint32_t) { return noise.Below(2) * top; });
    } else {
        Fill(frame, [&](uint32_t y, uint32_t x) {
            // A ramp both ways, a darker disc-like patch, columns of another colour, noise, outliers.
            uint32_t v = (x * 3 + y * 2) % 256;
            v = v < 128 ? v * 2 : (255 - v) * 2;
            v = x / 23 % 2 == y / 17 % 2 ? v : v / 3;
            v = (x + y) % 2 == 0 ? v : v * (2 + (x / 2 + y / 2) % 3) / 4;
            const uint32_t fine = v * (top / 255) + noise.Below(top / 24 + 1);
            const uint32_t outlier = noise.Below(97);
            return outlier == 0 ? top : outlier == 1 ? 0 : fine > top ? top : fine;
        });
    }
}

}  // namespace orvtest

#endif
