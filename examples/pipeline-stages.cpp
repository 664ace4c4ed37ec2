// Pictures of every stage of the reference pipeline on the test scene, for docs/reference-pipeline.md.
//
//     pipeline-stages FOLDER
//
// Internal: calls the kernels one by one, in the order of Api_ImageProcess, on planes that outlive their stage.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "Mosaic.h"
#include "OrvHelpers.h"
#include "OrvTrueSense.h"
#include "Scene.h"
#include "pipeline/reference/ImageProcess.h"
#include "truesense/Tables.h"

namespace {

constexpr int kWidth = 252, kHeight = 168;
constexpr int kHalfWidth = kWidth / 2, kHalfHeight = kHeight / 2;
constexpr size_t kN = static_cast<size_t>(kWidth) * kHeight, kQ = kN / 4;
constexpr int kPattern = 1;  // P B P G / B P G P / ...

std::string g_folder;

void Check(int result) {
    if (result != 0) {
        throw std::runtime_error("a kernel failed");
    }
}

// Writes w by h pixels; `at(p, c)` is the value of channel c (red, green, blue) of pixel p, clamped to 8 bits.
template <class At>
void Save(const char* name, int w, int h, const At& at) {
    cv::Mat image(h, w, CV_8UC3);
    for (int p = 0; p < w * h; ++p) {
        for (int c = 0; c < 3; ++c) {
            image.data[3 * p + 2 - c] = static_cast<unsigned char>(std::clamp(at(static_cast<size_t>(p), c), 0, 255));
        }
    }
    const std::string path = g_folder + "/" + name + ".png";
    if (!cv::imwrite(path, image, {cv::IMWRITE_PNG_COMPRESSION, 9})) {
        throw std::runtime_error("cannot write " + path);
    }
}

// One stage's view of a linear sample, of a gamma code, and of a difference (grey is zero).
int FromLinear(int v) { return Tonescale12[std::clamp(v, 0, 4095)]; }
int FromGamma(int code) { return code / 4; }
int FromDifference(int v) { return 128 + v / 65536 / 2; }

void SetScratch(std::vector<int>* memory) {
    g_dynamicBuffer = g_bufFloor = reinterpret_cast<unsigned char*>(memory->data());
    g_bufCeil = g_bufFloor + memory->size() * sizeof(int);
}

std::vector<uint16_t> NoisyFrame() {
    const uint32_t word = OrvWord_TrueSense(0, 12);
    orvtool::SceneImage scene = orvtool::RenderScene(kWidth, kHeight);
    std::vector<float> samples = orvtool::SampleMosaic(scene, orvtool::SourceWord(word));
    for (float& sample : samples) {
        sample *= 0.8F;
    }
    // Some more noise than the model's lowest line expects of pan.
    orvtool::AddNoise(&samples, {0.4 / 4095, 4.0 / 4095, 7});
    std::vector<uint16_t> frame = orvtool::Quantise(samples, 12);
    for (size_t p = 1013; p < frame.size(); p += 2611) {
        frame[p] = 4095;  // hot sites
    }
    const auto site = [word](size_t p) {
        return OrvWord_Site(word, static_cast<int>(p) % kWidth, static_cast<int>(p) / kWidth);
    };
    Save("1-mosaic", kWidth, kHeight,
         [&](size_t p, int c) { return site(p) == 'P' || site(p) == "RGB"[c] ? FromLinear(frame[p]) : 0; });
    return frame;
}

void Run() {
    tagTrueSenseParam d;
    TrueSense_DefaultValues(&d);
    LogText_t* const log = nullptr;
    std::vector<uint16_t> sensor = NoisyFrame();
    std::vector<int> scratch(4 * kN), work(4 * kN), work2(kN);
    g_dynamicBuffer1 = reinterpret_cast<unsigned char*>(work.data());
    g_dynamicBuffer2 = reinterpret_cast<unsigned char*>(work2.data());
    const auto f = [](double v) { return static_cast<float>(v); };

    std::vector<short> frame(kN), panEven(kQ), panOdd(kQ), colorEven(kQ), colorOdd(kQ);
    Alg_SubtractDarkFloor(reinterpret_cast<unsigned char*>(sensor.data()), kWidth, kHeight, 0, frame.data(), log);
    Check(Alg_WhiteBalance(frame.data(), kWidth, kHeight, kPattern, 1, 1, 1, 1, panEven.data(), panOdd.data(),
                           colorEven.data(), colorOdd.data(), log));
    Save("2-pan-even", kHalfWidth, kHalfHeight, [&](size_t p, int) { return FromLinear(panEven[p]); });
    Save("2-color-even", kHalfWidth, kHalfHeight, [&](size_t p, int) { return FromLinear(colorEven[p]); });

    std::vector<short> fullPan(kN), panAtEven(kQ), panAtOdd(kQ), lowGamma(kQ);
    SetScratch(&scratch);
    Check(Alg_InterpolatePan(panEven.data(), panOdd.data(), kWidth, kHeight, fullPan.data(), panAtEven.data(),
                             panAtOdd.data(), log));
    Save("3-full-pan", kWidth, kHeight, [&](size_t p, int) { return FromGamma(fullPan[p]); });

    std::vector<int> lowPan(kQ), lowDiff(kQ);
    Check(Alg_GenerateLow(fullPan.data(), panAtEven.data(), panAtOdd.data(), colorEven.data(), colorOdd.data(), kWidth,
                          kHeight, lowPan.data(), lowGamma.data(), lowDiff.data(), log));
    const auto saveLow = [&](const char* diffName, const char* panName) {
        Save(diffName, kHalfWidth, kHalfHeight, [&](size_t p, int) { return FromDifference(lowDiff[p]); });
        Save(panName, kHalfWidth, kHalfHeight, [&](size_t p, int) { return FromGamma(lowPan[p] / 65536); });
    };
    saveLow("4-low-color-diff", "4-low-pan");

    float gains[5] = {f(d.ISOAnalogGain_0), f(d.ISOAnalogGain_1), f(d.ISOAnalogGain_2), f(d.ISOAnalogGain_3),
                      f(d.ISOAnalogGain_4)};
    float colorSlope[5] = {f(d.ISOColorSlope_0)}, colorIntercept[5] = {f(d.ISOColorIntercept_0)};
    float panSlope[5] = {f(d.ISOPanSlope_0)}, panIntercept[5] = {f(d.ISOPanIntercept_0)};
    Check(Alg_LowColorDiffClean(lowGamma.data(), lowDiff.data(), kHalfWidth, kHalfHeight, 1, 1, 1, 1, 1, gains,
                                colorSlope, colorIntercept, 2, 2, 0, 1, 2, 0, log));
    SetScratch(&scratch);
    Check(Alg_LowPanClean(lowPan.data(), kHalfWidth, kHalfHeight, 1, 1, gains, panSlope, panIntercept, f(d.panSigma0),
                          0, 0, 1, 0, 0, log));
    saveLow("5-clean-color-diff", "5-clean-pan");

    std::vector<int> planeR(kN), planeG(kN), planeB(kN), panUp(kN);
    SetScratch(&scratch);
    Check(Alg_LowColorDiffUpSample(lowDiff.data(), kHalfWidth, kHalfHeight, kPattern, planeR.data(), planeG.data(),
                                   planeB.data(), log));
    Check(Alg_LowPanUpSample(lowPan.data(), kHalfWidth, kHalfHeight, panUp.data(), log));
    const std::vector<int>* const planes[3] = {&planeR, &planeG, &planeB};
    Save("6-color-diff", kWidth, kHeight, [&](size_t p, int c) { return FromDifference((*planes[c])[p]); });
    Save("6-pan-up", kWidth, kHeight, [&](size_t p, int) { return FromGamma(panUp[p] / 65536); });

    std::vector<unsigned char> rgb(3 * kN);
    short* tone = const_cast<short*>(static_cast<const short*>(Tonescale12));
    const auto saveRgb = [&](const char* name) {
        Save(name, kWidth, kHeight,
             [&](size_t p, int c) { return static_cast<int>(rgb[3 * p + static_cast<size_t>(c)]); });
    };
    Alg_ColorCorrection(planeR.data(), planeG.data(), planeB.data(), panUp.data(), kWidth, kHeight, f(d.RR), f(d.RG),
                        f(d.RB), f(d.GR), f(d.GG), f(d.GB), f(d.BR), f(d.BG), f(d.BB), rgb.data(), tone, log);
    saveRgb("7-color-corrected");
    Check(Alg_Sharpness(rgb.data(), fullPan.data(), panUp.data(), kWidth, kHeight, f(d.sharpenParam), f(d.maxSharpen),
                        f(d.highLumaNoise), f(d.lowLumaNoise), tone, log));
    saveRgb("8-sharpened");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: pipeline-stages FOLDER\n");
        return 2;
    }
    g_folder = argv[1];
    try {
        Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pipeline-stages: %s\n", error.what());
        return 1;
    }
    return 0;
}
