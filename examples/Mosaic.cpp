#include "Mosaic.h"

#include <algorithm>
#include <cmath>

#include "OrvHelpers.h"

namespace orvtool {

SourceWord::SourceWord(uint32_t number)
    : word(number), name(OrvWord_Name(number)), bits(OrvWord_Bits(number)), trueSense(OrvWord_Grid(number) >= 0) {}

std::vector<float> SampleMosaic(const SceneImage& image, const SourceWord& word, const PanWeights& pan) {
    std::vector<float> samples(static_cast<size_t>(image.width) * static_cast<size_t>(image.height));
    size_t i = 0;
    for (int y = 0; y < image.height; ++y) {
        char cell[4];
        for (int x = 0; x < 4; ++x) {
            cell[x] = OrvWord_Site(word.word, x, y);
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
