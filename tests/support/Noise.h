// Seeded noise, the same on every machine.
#ifndef ORV_TESTS_NOISE_H
#define ORV_TESTS_NOISE_H

#include <cstdint>
#include <vector>

namespace orvtest {

class Noise {
public:
    explicit Noise(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 0x1234567ULL) {}

    uint32_t Next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<uint32_t>(state_ >> 32);
    }
    // 0 to limit - 1.
    uint32_t Below(uint32_t limit) { return Next() % limit; }

private:
    uint64_t state_;
};

// `count` samples of 0 to `top`.
template <class T>
std::vector<T> NoiseSamples(uint64_t seed, size_t count, uint32_t top) {
    Noise noise(seed);
    std::vector<T> samples(count);
    for (T& sample : samples) {
        sample = static_cast<T>(noise.Below(top + 1));
    }
    return samples;
}

}  // namespace orvtest

#endif
