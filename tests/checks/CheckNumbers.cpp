#include "checks/CheckNumbers.h"

#include <cinttypes>
#include <cstdio>

#include "support/Noise.h"

namespace orvtest {

uint64_t HashBytes(const void* bytes, size_t count, uint64_t hash) {
    const unsigned char* at = static_cast<const unsigned char*>(bytes);
    for (size_t i = 0; i < count; ++i) {
        hash = (hash ^ at[i]) * 0x100000001B3ULL;
    }
    return hash;
}

bool CheckNumbers::Begin(const std::string& name) {
    if (name.compare(0, only_.size(), only_) != 0) {
        return false;
    }
    groups_.push_back({name, HashBytes(nullptr, 0)});
    return true;
}

void CheckNumbers::Add(const std::string& what, uint32_t status, const Image& result) {
    const uint64_t hash = HashBytes(result.bytes.data(), result.bytes.size(), HashBytes(&status, sizeof status));
    GroupNumber& group = groups_.back();
    group.hash = HashBytes(&hash, sizeof hash, group.hash);
    if (printCases_) {
        std::printf("%s: %s: status 0x%08" PRIx32 ", %016" PRIx64 "\n", group.name.c_str(), what.c_str(), status, hash);
    }
}

Image FrameOf(uint32_t word, int bitDepth, int width, int height, int padding) {
    return Image(word, bitDepth, width, height, width * static_cast<int>((word >> 16 & 0xFF) / 8) + padding);
}

namespace {

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

}  // namespace

void FillFlat(Image& frame, uint32_t value) {
    Fill(frame, [value](uint32_t, uint32_t) { return value; });
}

void FillFrame(Image& frame, Content content, uint64_t seed, uint32_t top) {
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
