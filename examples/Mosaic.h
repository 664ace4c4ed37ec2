// From linear colour to the samples of a sensor behind a Bayer or TrueSense mosaic.
#ifndef ORV_EXAMPLES_MOSAIC_H
#define ORV_EXAMPLES_MOSAIC_H

#include <cstdint>
#include <string>
#include <vector>

#include "Scene.h"

namespace orvtool {

// A source pixel word under its name: BayerRG12, or TrueSense12g5 for grid code 5.
struct SourceWord {
    std::string name;
    uint32_t word = 0;
    int bits = 0;  // significant bits of a sample
    bool trueSense = false;

    int BytesPerSample() const { return bits == 8 ? 1 : 2; }
    int MaxSample() const { return (1 << bits) - 1; }
};

// All 84 source words, Bayer first.
const std::vector<SourceWord>& SourceWords();

// A word by name (case does not matter) or by number (0x...); null when there is none.
const SourceWord* FindSourceWord(const std::string& text);
const SourceWord* FindSourceWord(uint32_t word);

// The filter in front of pixel (x, y): 'R', 'G', 'B', or 'P' for panchromatic.
char SiteColour(const SourceWord& word, int x, int y);

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
