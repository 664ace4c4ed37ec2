// A test scene of our own, in linear light, and the noise of a sensor that looks at it.
#ifndef ORV_EXAMPLES_SCENE_H
#define ORV_EXAMPLES_SCENE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvtool {

struct SceneImage {
    int width = 0;
    int height = 0;
    std::vector<float> rgb;  // linear light, 0 to 1, interleaved R, G, B, no row padding

    const float* At(int x, int y) const {
        return rgb.data() + (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3;
    }
};

// Renders the scene: three by two tiles with colour patches and grey steps, a zone plate, slanted edges, lettering,
// smooth ramps and line stars. The same on every call; any size of at least 1 by 1.
SceneImage RenderScene(int width, int height);

// A scene with the statistics of photographs: thousands of shaded, textured leaves, of few strong colours, that cover
// one another, small ones in far greater number than large ones, seen through a lens. Algorithms rank on it as on
// photographs, where the test patterns of RenderScene exaggerate. The same on every call.
SceneImage RenderLeaves(int width, int height);

// Means of `factor` by `factor` pixels; what is left over at the right and bottom is cut off, at least one pixel
// remains.
SceneImage Shrink(const SceneImage& image, int factor);

// Noise of linear samples: variance `shotGain` times the signal plus `readNoise` squared.
struct NoiseModel {
    double shotGain = 0;   // variance per unit of signal; a full well of N electrons has 1 / N
    double readNoise = 0;  // standard deviation, 1 is full scale
    uint64_t seed = 1;
};

// Adds noise in place, not clamped: negative samples and samples above 1 occur.
void AddNoise(std::vector<float>* samples, const NoiseModel& noise);

// The sRGB transfer curve and its inverse, both on 0 to 1; values outside are clamped.
float LinearToSrgb(float value);
float SrgbToLinear(float value);

}  // namespace orvtool

#endif
