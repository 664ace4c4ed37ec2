#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <random>

namespace orvtool {

namespace {

constexpr float kPi = 3.14159265358979F;
// Samples per pixel and axis: edges get the coverage that a sensor's pixel would integrate.
constexpr int kSub = 3;

struct Colour {
    float r, g, b;
};

Colour Grey(float level) { return {level, level, level}; }
Colour Mix(const Colour& a, const Colour& b, float share) {
    return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

// A hue on the circle, 0 to 1, from grey (`saturation` 0) to a pure colour, `level` being the brightest channel.
Colour Hue(float hue, float saturation, float level) {
    const auto channel = [&](float offset) {
        const float x = std::fabs(std::fmod(hue + offset, 1.0F) * 6.0F - 3.0F) - 1.0F;
        return level * (1.0F - saturation * (1.0F - std::clamp(x, 0.0F, 1.0F)));
    };
    return {channel(0.0F), channel(2.0F / 3.0F), channel(1.0F / 3.0F)};
}

// A point of a tile: `u`, `v` 0 to 1 across it, `x`, `y` in pixels from its centre, `size` its shorter side in pixels.
struct Point {
    float u, v, x, y, size;
};

constexpr int kGreySteps = 6;
constexpr float kGreyLevels[kGreySteps] = {0.02F, 0.06F, 0.15F, 0.32F, 0.58F, 0.9F};

// Four rows of six patches with gaps: pure hues, muted hues, pale hues, grey steps.
Colour Patches(const Point& p) {
    const float column = p.u * 6.0F;
    const float row = p.v * 4.0F;
    const float inColumn = column - std::floor(column);
    const float inRow = row - std::floor(row);
    if (inColumn < 0.06F || inColumn > 0.94F || inRow < 0.06F || inRow > 0.94F) {
        return Grey(0.03F);
    }
    const float hue = std::floor(column) / 6.0F;
    switch (static_cast<int>(row)) {
    case 0: return Hue(hue, 0.85F, 0.75F);
    case 1: return Hue(hue + 0.08F, 0.55F, 0.35F);
    case 2: return Hue(hue + 0.04F, 0.3F, 0.8F);
    default: return Grey(kGreyLevels[std::clamp(static_cast<int>(column), 0, kGreySteps - 1)]);
    }
}

// Rings whose frequency rises from 0 at the centre to a third of a cycle per pixel at the rim.
Colour ZonePlate(const Point& p) {
    const float rim = p.size * 0.5F;
    const float r2 = p.x * p.x + p.y * p.y;
    if (r2 > rim * rim) {
        return Grey(0.3F);
    }
    return Grey(0.42F + 0.38F * std::cos(kPi * 0.33F * r2 / rim));
}

// Three tilted squares on grounds of another colour or level.
Colour SlantedEdges(const Point& p) {
    const Colour ground[3] = {Grey(0.06F), {0.08F, 0.45F, 0.12F}, {0.05F, 0.12F, 0.5F}};
    const Colour square[3] = {Grey(0.8F), {0.65F, 0.06F, 0.05F}, {0.7F, 0.6F, 0.08F}};
    const int strip = std::clamp(static_cast<int>(p.v * 3.0F), 0, 2);
    const float angle = 0.09F + 0.25F * static_cast<float>(strip);
    const float dx = p.x;
    const float dy = p.y - (static_cast<float>(strip) - 1.0F) * p.size / 3.0F;
    const float along = std::fabs(dx * std::cos(angle) + dy * std::sin(angle));
    const float across = std::fabs(dy * std::cos(angle) - dx * std::sin(angle));
    return std::max(along * 0.5F, across) < p.size * 0.085F ? square[strip] : ground[strip];
}

// Ramps from dark to bright: grey, the three primaries, then a hue circle in two saturations.
Colour Ramps(const Point& p) {
    const float level = 0.9F * p.u;
    switch (std::clamp(static_cast<int>(p.v * 6.0F), 0, 5)) {
    case 0: return Grey(level);
    case 1: return {level, 0.05F, 0.05F};
    case 2: return {0.05F, level, 0.05F};
    case 3: return {0.05F, 0.05F, level};
    case 4: return Hue(p.u, 0.8F, 0.7F);
    default: return Hue(p.u, 0.3F, 0.4F);
    }
}

// Two stars of 36 spokes, black and white above, coloured below.
Colour Stars(const Point& p) {
    const bool coloured = p.y > 0;
    const float y = p.y + (coloured ? -0.25F : 0.25F) * p.size;
    const float radius = std::sqrt(p.x * p.x + y * y);
    if (radius > 0.22F * p.size || radius < 3.0F) {
        return Grey(0.25F);
    }
    const float wave = 0.5F + 0.5F * std::cos(36.0F * std::atan2(y, p.x));
    return coloured ? Mix({0.55F, 0.1F, 0.1F}, {0.1F, 0.35F, 0.55F}, wave) : Grey(0.05F + 0.75F * wave);
}

// Lines of text in falling sizes, each in its own colours, drawn enlarged and averaged down.
void DrawLettering(SceneImage* scene, int x0, int y0, int width, int height) {
    constexpr int kEnlarged = 4;
    cv::Mat large(height * kEnlarged, width * kEnlarged, CV_8UC1, cv::Scalar(0));
    int y = 0;
    std::vector<int> lineEnd;
    for (int cap = std::max(8, height / 8); y + cap * 2 < height && lineEnd.size() < 12;
         cap = std::max(6, cap * 3 / 4)) {
        const double scale = cv::getFontScaleFromHeight(cv::FONT_HERSHEY_SIMPLEX, cap * kEnlarged, kEnlarged);
        cv::putText(large, "Orv 0123 Hamburg fjord quartz 456789 WMXYZ", {kEnlarged * 4, (y + cap * 3 / 2) * kEnlarged},
                    cv::FONT_HERSHEY_SIMPLEX, scale, cv::Scalar(255), std::max(1, cap * kEnlarged / 9), cv::LINE_8);
        y += cap * 2;
        lineEnd.push_back(y);
    }
    cv::Mat mask;
    cv::resize(large, mask, cv::Size(width, height), 0, 0, cv::INTER_AREA);
    const Colour ink[4] = {Grey(0.03F), Grey(0.85F), {0.6F, 0.05F, 0.04F}, {0.8F, 0.7F, 0.1F}};
    const Colour paper[4] = {Grey(0.75F), Grey(0.05F), {0.35F, 0.5F, 0.6F}, {0.05F, 0.1F, 0.35F}};
    size_t line = 0;
    for (int row = 0; row < height; ++row) {
        while (line < lineEnd.size() && row >= lineEnd[line]) {
            ++line;
        }
        const uint8_t* coverage = mask.ptr<uint8_t>(row);
        float* out = scene->rgb.data() +
                     (static_cast<size_t>(y0 + row) * static_cast<size_t>(scene->width) + static_cast<size_t>(x0)) * 3;
        for (int column = 0; column < width; ++column, out += 3) {
            const Colour c = Mix(paper[line % 4], ink[line % 4], static_cast<float>(coverage[column]) / 255.0F);
            out[0] = c.r;
            out[1] = c.g;
            out[2] = c.b;
        }
    }
}

template <class Paint>
void DrawTile(SceneImage* scene, int x0, int y0, int width, int height, const Paint& paint) {
    const float size = static_cast<float>(std::min(width, height));
    for (int y = 0; y < height; ++y) {
        float* out = scene->rgb.data() +
                     (static_cast<size_t>(y0 + y) * static_cast<size_t>(scene->width) + static_cast<size_t>(x0)) * 3;
        for (int x = 0; x < width; ++x, out += 3) {
            Colour sum = Grey(0);
            for (int s = 0; s < kSub * kSub; ++s) {
                const int column = s % kSub;
                const int row = s / kSub;
                const float px = static_cast<float>(x) + (static_cast<float>(column) + 0.5F) / kSub;
                const float py = static_cast<float>(y) + (static_cast<float>(row) + 0.5F) / kSub;
                const float w = static_cast<float>(width);
                const float h = static_cast<float>(height);
                const Colour c = paint(Point{px / w, py / h, px - w * 0.5F, py - h * 0.5F, size});
                sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b};
            }
            out[0] = sum.r / (kSub * kSub);
            out[1] = sum.g / (kSub * kSub);
            out[2] = sum.b / (kSub * kSub);
        }
    }
}

}  // namespace

SceneImage RenderScene(int width, int height) {
    SceneImage scene;
    scene.width = width;
    scene.height = height;
    scene.rgb.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    const int x[4] = {0, width / 3, width * 2 / 3, width};
    const int y[3] = {0, height / 2, height};
    const auto tile = [&](int column, int row, Colour (*paint)(const Point&)) {
        DrawTile(&scene, x[column], y[row], x[column + 1] - x[column], y[row + 1] - y[row], paint);
    };
    tile(0, 0, Patches);
    tile(1, 0, ZonePlate);
    tile(2, 0, SlantedEdges);
    tile(1, 1, Ramps);
    tile(2, 1, Stars);
    if (x[1] > 0) {
        DrawLettering(&scene, 0, y[1], x[1], height - y[1]);
    }
    return scene;
}

SceneImage RenderLeaves(int width, int height) {
    constexpr float kSmallest = 4;  // half axis of a leaf, pixels
    constexpr double kLayers = 8;   // so that hardly a pixel stays uncovered
    constexpr int kOctaves = 6;
    std::mt19937 engine(20);
    const auto random = [&engine](float from, float to) {
        return from + (to - from) * static_cast<float>(engine() >> 8) / 16777216.0F;
    };
    struct Leaf {
        cv::Vec3f colour;
        cv::Point2f centre, shade;
        float texture;
    };
    std::vector<Leaf> leaves;
    // Which leaf is in front, at every sample.
    cv::Mat front(height * kSub, width * kSub, CV_32S, cv::Scalar(0));
    const float largest = std::max(2 * kSmallest, 0.25F * static_cast<float>(std::min(width, height)));
    const float span = 1 - kSmallest * kSmallest / (largest * largest);
    for (double covered = 0; covered < kLayers * width * height;) {
        // So many of each size that the picture looks alike from every distance.
        const float radius = kSmallest / std::sqrt(1 - random(0, 1) * span);
        const cv::Size2f axes(radius, radius * random(0.25F, 1));
        covered += static_cast<double>(kPi * axes.area());
        const float hue = random(0, 1);
        const float saturation = random(0, 0.8F);
        const Colour c = Hue(hue, saturation * saturation, std::exp(random(-3.5F, -0.3F)));
        const float slope = 0.3F / largest;
        leaves.push_back({{c.r, c.g, c.b},
                          {random(0, static_cast<float>(width)), random(0, static_cast<float>(height))},
                          {random(-slope, slope), random(-slope, slope)},
                          random(0, 0.06F)});
        cv::ellipse(front, cv::RotatedRect(leaves.back().centre * kSub, axes * (2.0F * kSub), random(0, 180)),
                    cv::Scalar::all(static_cast<double>(leaves.size() - 1)), cv::FILLED);
    }
    // As strong in every octave.
    cv::Mat texture(height, width, CV_32F, cv::Scalar(0));
    for (int octave = 0; octave < kOctaves; ++octave) {
        cv::Mat_<float> nodes((height >> octave) + 2, (width >> octave) + 2);
        std::generate(nodes.begin(), nodes.end(), [&] { return random(-1, 1); });
        cv::Mat layer;
        cv::resize(nodes, layer, texture.size(), 0, 0, cv::INTER_CUBIC);
        texture += layer;
    }
    cv::Mat_<cv::Vec3f> picture(height, width);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            cv::Vec3f sum(0, 0, 0);
            for (int s = 0; s < kSub * kSub; ++s) {
                const Leaf& leaf = leaves[static_cast<size_t>(front.at<int>(y * kSub + s / kSub, x * kSub + s % kSub))];
                const cv::Point2f from = cv::Point2f(cv::Point(x, y)) - leaf.centre;
                sum += leaf.colour * (1 + leaf.shade.dot(from) + leaf.texture * texture.at<float>(y, x));
            }
            picture(y, x) = sum / static_cast<float>(kSub * kSub);
        }
    }
    cv::GaussianBlur(picture, picture, cv::Size(), 0.6);  // the lens
    SceneImage scene;
    scene.width = width;
    scene.height = height;
    for (const cv::Vec3f& pixel : picture) {
        for (int c = 0; c < 3; ++c) {
            scene.rgb.push_back(std::clamp(pixel[c], 0.0F, 1.0F));
        }
    }
    return scene;
}

SceneImage Shrink(const SceneImage& image, int factor) {
    const int horizontal = std::min(factor, image.width);
    const int vertical = std::min(factor, image.height);
    SceneImage small;
    small.width = image.width / horizontal;
    small.height = image.height / vertical;
    small.rgb.reserve(static_cast<size_t>(small.width) * static_cast<size_t>(small.height) * 3);
    for (int y = 0; y < small.height; ++y) {
        for (int x = 0; x < small.width; ++x) {
            float sum[3] = {0, 0, 0};
            for (int i = 0; i < horizontal * vertical; ++i) {
                const float* pixel = image.At(x * horizontal + i % horizontal, y * vertical + i / horizontal);
                for (int c = 0; c < 3; ++c) {
                    sum[c] += pixel[c];
                }
            }
            for (const float each : sum) {
                small.rgb.push_back(each / static_cast<float>(horizontal * vertical));
            }
        }
    }
    return small;
}

void AddNoise(std::vector<float>* samples, const NoiseModel& noise) {
    if (noise.shotGain <= 0 && noise.readNoise <= 0) {
        return;
    }
    std::mt19937_64 engine(noise.seed);
    std::normal_distribution<double> normal;
    for (float& sample : *samples) {
        const double variance = noise.shotGain * std::max(0.0F, sample) + noise.readNoise * noise.readNoise;
        sample = static_cast<float>(sample + std::sqrt(variance) * normal(engine));
    }
}

float LinearToSrgb(float value) {
    const float v = std::clamp(value, 0.0F, 1.0F);
    return v <= 0.0031308F ? 12.92F * v : 1.055F * std::pow(v, 1.0F / 2.4F) - 0.055F;
}

float SrgbToLinear(float value) {
    const float v = std::clamp(value, 0.0F, 1.0F);
    return v <= 0.04045F ? v / 12.92F : std::pow((v + 0.055F) / 1.055F, 2.4F);
}

}  // namespace orvtool
