// From linear colour to the samples of a sensor behind a Bayer or TrueSense mosaic.
#ifndef ORV_EXAMPLES_MOSAIC_H
#define ORV_EXAMPLES_MOSAIC_H

#include <cstdint>
#include <string>
#include <vector>

#include "Scene.h"

namespace orvtool {

// A source pixel word and what is asked of it at every turn.
struct SourceWord {
    uint32_t word = 0;
    std::string name;
    int bits = 0;  // significant bits of a sample
    bool trueSense = false;

    SourceWord() = default;
    // Of a Bayer or TrueSense word.
    explicit SourceWord(uint32_t number);

    int BytesPerSample() const { return bits == 8 ? 1 : 2; }
    int MaxSample() const { return (1 << bits) - 1; }
};

// Pan as a sum of the linear channels: exact, without infrared or crosstalk.
struct PanWeights {
    float r = 0.25F, g = 0.5F, b = 0.25F;
};

// One linear sample per pixel.
std::vector<float> SampleMosaic(const SceneImage& image, const SourceWord& word, const PanWeights& pan = {});

// Rounds linear samples to the word's depth and clips at both ends.
std::vector<uint16_t> Quantise(const std::vector<float>& samples, int bits);

}  // namespace orvtool

#endif
