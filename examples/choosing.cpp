// The tables and pictures of docs/choosing.md: every algorithm on the same truths, at 12 bits, in three lights.
//
//     choosing bayer|truesense PICTURE
//
// Prints the table, in dB, and writes crops of the results side by side.
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>

#include "Console.h"
#include "Converter.h"
#include "Quality.h"
#include "Scene.h"
#include "View.h"
#include "WritePicture.h"

namespace {

using namespace orvtool;

constexpr int kWidth = 960;
constexpr int kHeight = 640;
constexpr int kBits = 12;

struct Scene {
    const char* name;
    SceneImage truth;
    cv::Rect crop;
};

struct Light {
    const char* name;
    NoiseModel noise;
    bool pictured;
};
// Full scale is 10,000 electrons, then 500 and 100; the read noise 5 electrons, then 2.
constexpr Light kLights[] = {
    {"well lit", {1e-4, 5e-4, 1}, true}, {"dim", {2e-3, 4e-3, 1}, true}, {"very dim", {1e-2, 2e-2, 1}, false}};

// What a Bayer conversion is given.
enum class Form { kSent, kBalanced, kEncoded };
// What a sensor sends for white: red and blue filters let less light through than green ones.
constexpr float kWhite[3] = {0.5F, 1, 0.6F};

// An algorithm and how it is used: a row of the table.
struct Way {
    std::string label;
    int algorithm;
    bool pictured;
    Form form = Form::kSent;
    std::vector<std::pair<std::string, std::string>> settings = {};
    bool noiseLines = false;
};

struct Result {
    std::string figures;
    cv::Mat picture, truth;  // CV_8UC3
};

Frame See(const SceneImage& scene, const SourceWord& word, const NoiseModel& noise, Form form = Form::kSent) {
    std::vector<float> samples = SampleMosaic(scene, word);
    AddNoise(&samples, noise);
    for (size_t i = 0; form != Form::kSent && i < samples.size(); ++i) {
        const char site = OrvWord_Site(word.word, static_cast<int>(i) % kWidth, static_cast<int>(i) / kWidth);
        samples[i] /= kWhite[site == 'R' ? 0 : site == 'G' ? 1 : 2];
        samples[i] = form == Form::kEncoded ? LinearToSrgb(samples[i]) : samples[i];
    }
    return {word, scene.width, scene.height, Quantise(samples, word.bits)};
}

// The truth on the scale of a 16-bit view.
SceneImage FullScale(SceneImage scene, bool encoded) {
    for (float& value : scene.rgb) {
        value = 65535 * (encoded ? LinearToSrgb(value) : value);
    }
    return scene;
}

Result ConvertBayer(const Way& way, const Scene& scene, const Light& light) {
    const SourceWord word(OrvWord_Bayer(OrvPatternRG, kBits));
    SceneImage seen = scene.truth;
    for (size_t i = 0; i < seen.rgb.size(); ++i) {
        seen.rgb[i] *= kWhite[i % 3];
    }
    View linear;
    if (way.form == Form::kSent) {
        linear.gains = {1 / kWhite[0], 1 / kWhite[1], 1 / kWhite[2]};
    }
    View screen = linear;
    screen.srgb = way.form != Form::kEncoded;

    Converter converter(false);
    converter.SetAlgorithm(way.algorithm);
    ColourFrame colour;
    converter.Convert(See(seen, word, light.noise, way.form), false, &colour);
    const auto judge = [&](const View& view, bool encoded) {
        return Compare({Render(colour, view, 16), 16}, FullScale(scene.truth, encoded)).all;
    };
    return {(way.form == Form::kEncoded ? "" : Format("%.1f / ", judge(linear, false))) +
                Format("%.1f", judge(screen, true)),
            Render(colour, screen, 8), Render(TruthFrame(FullScale(scene.truth, true), 16), {}, 8)};
}

Result ConvertTrueSense(const Way& way, const Scene& scene, const Light& light) {
    const SourceWord word(OrvWord_TrueSense(0, kBits));
    Converter converter(true);
    converter.SetAlgorithm(way.algorithm);
    converter.SetColourMatrix(kIdentity);
    for (const auto& setting : way.settings) {
        converter.Set(way.label, setting.first, setting.second);
    }
    for (const char* samples : {"Pan", "Color"}) {
        if (way.noiseLines) {
            constexpr double kTop = 4095;  // lines are in 12-bit codes, whatever the depth
            converter.Set(way.label, Format("ISO%sSlope_0", samples), Format("%g", light.noise.shotGain * kTop));
            converter.Set(way.label, Format("ISO%sIntercept_0", samples),
                          Format("%g", std::pow(light.noise.readNoise * kTop, 2)));
        }
    }
    ColourFrame colour;
    converter.Convert(See(scene.truth, word, light.noise), false, &colour);
    const SceneImage expected = ExpectedResult(scene.truth, word, false, colour.bits, &converter);
    return {Format("%.1f", Compare(colour, expected).all), Render(colour, {}, 8),
            Render(TruthFrame(expected, colour.bits), {}, 8)};
}

std::vector<Way> BayerWays() {
    std::vector<Way> ways;
    for (const int algorithm : {0, 2, 1}) {
        const std::string name = Format("%d", algorithm);
        ways.push_back({name + ", as sent", algorithm, algorithm == 1, Form::kSent});
        ways.push_back({name + ", balanced", algorithm, algorithm == 1, Form::kBalanced});
        ways.push_back({name + ", encoded", algorithm, true, Form::kEncoded});
    }
    return ways;
}

std::vector<Way> TrueSenseWays() {
    const std::pair<std::string, std::string> sharp = {"sharpnessEnable", "1"};
    return {{"0", 0, true},
            {"1", 1, false},
            {"1, impulse", 1, true, Form::kSent, {{"impulseFilterEnable", "1"}}},
            {"2", 2, true},
            {"3", 3, false},
            {"3, sharp", 3, true, Form::kSent, {sharp}},
            {"3, lines", 3, true, Form::kSent, {}, true},
            {"3, sharp, lines", 3, true, Form::kSent, {sharp}, true},
            {"4", 4, true},
            {"4, lines", 4, true, Form::kSent, {}, true}};
}

// Columns of enlarged crops under their names.
cv::Mat Tile(const std::vector<std::pair<std::string, std::vector<cv::Mat>>>& columns) {
    constexpr int kLabel = 18;
    constexpr int kGap = 4;
    constexpr int kScale = 3;
    const cv::Size tile = columns.front().second.front().size() * kScale;
    const int rows = static_cast<int>(columns.front().second.size());
    cv::Mat picture(kLabel + rows * (tile.height + kGap) - kGap,
                    static_cast<int>(columns.size()) * (tile.width + kGap) - kGap, CV_8UC3, cv::Scalar::all(255));
    int x = 0;
    for (const auto& column : columns) {
        cv::putText(picture, column.first, {x + 1, kLabel - 6}, cv::FONT_HERSHEY_SIMPLEX, 0.4, cv::Scalar::all(0), 1,
                    cv::LINE_AA);
        int y = kLabel;
        for (const cv::Mat& crop : column.second) {
            cv::Mat enlarged = picture(cv::Rect({x, y}, tile));
            cv::resize(crop, enlarged, tile, 0, 0, cv::INTER_NEAREST);
            y += tile.height + kGap;
        }
        x += tile.width + kGap;
    }
    return picture;
}

void Choose(const std::vector<Way>& ways, Result (*convert)(const Way&, const Scene&, const Light&), const char* path) {
    const Scene scenes[] = {{"leaves", RenderLeaves(kWidth, kHeight), {628, 160, 48, 36}},
                            {"patterns", RenderScene(kWidth, kHeight), {2, 539, 48, 36}}};
    std::string head = "| Algorithm |";
    std::string rule = "|---|";
    for (const Scene& scene : scenes) {
        for (const Light& light : kLights) {
            head += Format(" %s, %s |", scene.name, light.name);
            rule += "---|";
        }
    }
    std::printf("%s\n%s\n", head.c_str(), rule.c_str());
    std::vector<std::pair<std::string, std::vector<cv::Mat>>> columns = {{"truth", {}}};
    for (const Way& way : ways) {
        std::string line = "| " + way.label + " |";
        if (way.pictured) {
            columns.push_back({way.label, {}});
        }
        for (const Scene& scene : scenes) {
            for (const Light& light : kLights) {
                const Result result = convert(way, scene, light);
                line += " " + result.figures + " |";
                if (way.pictured && light.pictured) {
                    columns.back().second.push_back(result.picture(scene.crop));
                    if (columns.size() == 2) {
                        columns.front().second.push_back(result.truth(scene.crop));
                    }
                }
            }
        }
        std::printf("%s\n", line.c_str());
    }
    WritePicture(path, Tile(columns));
}

}  // namespace

int main(int argc, char** argv) {
    const std::string family = argc == 3 ? argv[1] : "";
    if (family != "bayer" && family != "truesense") {
        std::fprintf(stderr, "usage: choosing bayer|truesense PICTURE\n");
        return 2;
    }
    try {
        if (family == "bayer") {
            Choose(BayerWays(), ConvertBayer, argv[2]);
        } else {
            Choose(TrueSenseWays(), ConvertTrueSense, argv[2]);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "choosing: %s\n", error.what());
        return 1;
    }
    return 0;
}
