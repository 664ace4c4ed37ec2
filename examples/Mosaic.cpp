#include "Mosaic.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "OrvImage.h"

namespace orvtool {

namespace {

std::vector<SourceWord> MakeWords() {
    std::vector<SourceWord> words;
    const struct {
        OrvPixelType first;
        int bits;
    } bayer[] = {{OrvPixelBayerGR8, 8},
                 {OrvPixelBayerGR10, 10},
                 {OrvPixelBayerGR12, 12},
                 {OrvPixelBayerGR14, 14},
                 {OrvPixelBayerGR16, 16}};
    const char* const patterns[] = {"GR", "RG", "GB", "BG"};
    for (const auto& depth : bayer) {
        for (uint32_t i = 0; i < 4; ++i) {
            words.push_back({std::string("Bayer") + patterns[i] + std::to_string(depth.bits),
                             static_cast<uint32_t>(depth.first) + i, depth.bits, false});
        }
    }
    const struct {
        OrvPixelType first;
        int bits;
    } trueSense[] = {
        {OrvPixelTrueSense8, 8}, {OrvPixelTrueSense10, 10}, {OrvPixelTrueSense12, 12}, {OrvPixelTrueSense14, 14}};
    for (const auto& depth : trueSense) {
        for (unsigned grid = 0; grid < 16; ++grid) {
            words.push_back({"TrueSense" + std::to_string(depth.bits) + "g" + std::to_string(grid),
                             OrvPixelTrueSense(depth.first, grid), depth.bits, true});
        }
    }
    return words;
}

template <class Match>
const SourceWord* FindIf(const Match& match) {
    const std::vector<SourceWord>& words = SourceWords();
    const auto found = std::find_if(words.begin(), words.end(), match);
    return found == words.end() ? nullptr : &*found;
}

// The grid code of a TrueSense word: bits 1 and 2 of its position in the run change places.
unsigned GridOf(const SourceWord& word) {
    const unsigned position = (word.word - 1U) & 15U;
    return (position & 9U) | ((position & 2U) << 1) | ((position & 4U) >> 1);
}

}  // namespace

const std::vector<SourceWord>& SourceWords() {
    static const std::vector<SourceWord> words = MakeWords();
    return words;
}

const SourceWord* FindSourceWord(uint32_t number) {
    return FindIf([&](const SourceWord& word) { return word.word == number; });
}

const SourceWord* FindSourceWord(const std::string& text) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        char* end = nullptr;
        const unsigned long number = std::strtoul(text.c_str(), &end, 16);
        return *end == '\0' && number <= 0xFFFFFFFFUL ? FindSourceWord(static_cast<uint32_t>(number)) : nullptr;
    }
    return FindIf([&](const SourceWord& word) { return strcasecmp(word.name.c_str(), text.c_str()) == 0; });
}

char SiteColour(const SourceWord& word, int x, int y) {
    if (word.trueSense) {
        static const char* const kCell[4] = {"PBPG", "BPGP", "PGPR", "GPRP"};
        const unsigned grid = GridOf(word);
        return kCell[(static_cast<unsigned>(y) + (grid >> 2)) & 3U][(static_cast<unsigned>(x) + (grid & 3U)) & 3U];
    }
    // The two letters of the first row; the second row holds green and the missing one on the other diagonal.
    const char first = word.name[5];
    const char second = word.name[6];
    const bool odd = ((x ^ y) & 1) != 0;
    if ((first == 'G') != odd) {
        return 'G';
    }
    const char inFirstRow = first == 'G' ? second : first;
    return (y & 1) == 0 ? inFirstRow : (inFirstRow == 'R' ? 'B' : 'R');
}

std::vector<float> SampleMosaic(const SceneImage& image, const SourceWord& word, const PanWeights& pan) {
    std::vector<float> samples(static_cast<size_t>(image.width) * static_cast<size_t>(image.height));
    size_t i = 0;
    for (int y = 0; y < image.height; ++y) {
        char cell[4];
        for (int x = 0; x < 4; ++x) {
            cell[x] = SiteColour(word, x, y);
        }
        for (int x = 0; x < image.width; ++x, ++i) {
            const float* c = image.rgb.data() + i * 3;
            switch (cell[x & 3]) {
            case 'R': samples[i] = c[0]; break;
            case 'G': samples[i] = c[1]; break;
            case 'B': samples[i] = c[2]; break;
            default: samples[i] = pan.r * c[0] + pan.g * c[1] + pan.b * c[2]; break;
            }
        }
    }
    return samples;
}

std::vector<uint16_t> Quantise(const std::vector<float>& samples, int bits) {
    const float top = static_cast<float>((1 << bits) - 1);
    std::vector<uint16_t> codes(samples.size());
    std::transform(samples.begin(), samples.end(), codes.begin(), [top](float sample) {
        return static_cast<uint16_t>(std::lrint(std::clamp(sample * top, 0.0F, top)));
    });
    return codes;
}

}  // namespace orvtool
