#include "Cases.h"

#include <omp.h>

#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "OrvBayer.h"
#include "OrvHelpers.h"
#include "OrvTrueSense.h"
#include "Record.h"

namespace orvbench {

namespace {

// A ramp with noise, within the depth: neither flat nor all edges.
cv::Mat Mosaic(int width, int height, int bits) {
    cv::Mat frame(height, width, bits == 8 ? CV_8UC1 : CV_16UC1);
    const uint32_t top = (1U << bits) - 1U;
    uint32_t state = 12345;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            state = state * 1664525U + 1013904223U;
            const uint32_t ramp = static_cast<uint32_t>(x + y) * (top / 2) / static_cast<uint32_t>(width + height);
            const uint32_t code = ramp + (state >> 16) * (top / 4) / 65536U;
            if (bits == 8) {
                frame.at<uint8_t>(y, x) = static_cast<uint8_t>(code);
            } else {
                frame.at<uint16_t>(y, x) = static_cast<uint16_t>(code);
            }
        }
    }
    return frame;
}

_OrvImage Record(const cv::Mat& frame, uint32_t word, int bits) {
    return MakeRecord(word, bits, frame.cols, frame.rows, static_cast<int>(frame.step[0]), frame.data);
}

// Source and destination of one depth, with their records.
struct Buffers {
    cv::Mat source, destination;
    _OrvImage from, to;

    Buffers(int width, int height, int bits, uint32_t word)
        : source(Mosaic(width, height, bits)),
          destination(height, width, bits == 8 ? CV_8UC3 : CV_16UC3, cv::Scalar::all(1)),
          from(Record(source, word, bits)),
          to(Record(destination, bits == 8 ? OrvPixelBGR8 : OrvPixelBGR12, bits)) {}
};

template <class Component>
uint32_t SetAll(Component* component, const std::vector<std::pair<const char*, long>>& settings) {
    for (const auto& setting : settings) {
        const uint32_t status = OrvSetParam(*component->GetComponent(), setting.first, setting.second);
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

using Settings = std::vector<std::pair<const char*, long>>;

FrameRun BayerRun(int width, int height, int bits, long algorithm) {
    auto buffers = std::make_shared<Buffers>(width, height, bits, bits == 8 ? OrvPixelBayerRG8 : OrvPixelBayerRG12);
    std::shared_ptr<OrvBayer> component(OrvBayer_CreateComponent(), OrvBayer_DeleteComponent);
    if (const uint32_t status = SetAll(component.get(), {{"BayerAlgType", algorithm}})) {
        return [status] { return status; };
    }
    return [buffers, component] { return OrvBayer_ConvertImage(component.get(), &buffers->from, &buffers->to); };
}

FrameRun TrueSenseRun(int width, int height, int threads, int bits, Settings settings) {
    auto buffers = std::make_shared<Buffers>(width, height, bits, bits == 8 ? OrvPixelTrueSense8 : OrvPixelTrueSense12);
    std::shared_ptr<OrvTrueSense> component(OrvTrueSense_CreateComponent(), OrvTrueSense_DeleteComponent);
    settings.emplace_back("threads_num", threads);
    if (const uint32_t status = SetAll(component.get(), settings)) {
        return [status] { return status; };
    }
    return [buffers, component] { return OrvTrueSense_ConvertImage(component.get(), &buffers->from, &buffers->to); };
}

FrameRun OpenCvRun(int width, int height, int bits, int code) {
    auto buffers = std::make_shared<Buffers>(width, height, bits, OrvPixelBayerRG8);
    return [buffers, code]() -> uint32_t {
        cv::cvtColor(buffers->source, buffers->destination, code);
        return 0;
    };
}

FrameRun CopyRun(int width, int height, int bits, int threads) {
    auto buffers = std::make_shared<Buffers>(width, height, bits, OrvPixelBayerRG8);
    return [buffers, threads]() -> uint32_t {
        const int rows = buffers->source.rows;
#pragma omp parallel for num_threads(threads)
        for (int part = 0; part < threads; ++part) {
            const int from = rows * part / threads;
            const int to = rows * (part + 1) / threads;
            std::memcpy(buffers->destination.data + static_cast<size_t>(from) * buffers->source.step[0],
                        buffers->source.ptr(from), static_cast<size_t>(to - from) * buffers->source.step[0]);
        }
        return 0;
    };
}

// Noise in the packed bytes of a frame.
FrameRun UnpackRun(int width, int height, int packing) {
    const int64_t stride = OrvPacking_RowBytes(packing, width);
    auto source = std::make_shared<std::vector<uint8_t>>(static_cast<size_t>(stride * height));
    uint32_t state = 12345;
    for (uint8_t& byte : *source) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<uint8_t>(state >> 24);
    }
    auto result = std::make_shared<std::vector<uint16_t>>(static_cast<size_t>(width) * static_cast<size_t>(height));
    return [=] {
        return OrvPacking_Unpack(packing, source->data(), source->size(), stride, width, height, result->data(),
                                 2 * result->size(), 2 * int64_t{width});
    };
}

FrameRun To8Run(int width, int height) {
    auto buffers = std::make_shared<Buffers>(width, height, 12, OrvPixelBayerRG12);
    auto result = std::make_shared<std::vector<uint8_t>>(static_cast<size_t>(width) * static_cast<size_t>(height));
    return [=] {
        return OrvRows_To8(buffers->source.ptr<uint16_t>(), 2 * int64_t{width}, result->data(), width, width, height,
                           12);
    };
}

}  // namespace

const Size kSizes[4] = {{"2", 1920, 1080}, {"5", 2592, 1944}, {"12", 4000, 3000}, {"48", 8000, 6000}};

void UseThreads(int threads) {
    cv::setNumThreads(threads);
    omp_set_num_threads(threads);
}

FrameRun ReferenceRun(int width, int height) { return OpenCvRun(width, height, 8, cv::COLOR_BayerBG2BGR); }

FrameRun CopyReferenceRun(int width, int height) { return CopyRun(width, height, 16, 1); }

FrameRun ComponentBilinearRun(int width, int height) { return BayerRun(width, height, 8, 0); }

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (const int bits : {8, 16}) {
        cases.push_back({"memcpy", bits, [bits](int w, int h, int threads) { return CopyRun(w, h, bits, threads); }});
        const struct {
            const char* name;
            int code;
        } peers[] = {{"OpenCV bilinear", cv::COLOR_BayerBG2BGR}, {"OpenCV edge-aware", cv::COLOR_BayerBG2BGR_EA}};
        for (const auto& peer : peers) {
            cases.push_back(
                {peer.name, bits, [bits, code = peer.code](int w, int h, int) { return OpenCvRun(w, h, bits, code); }});
        }
    }
    const auto add = [&cases](Case candidate) {
        if (candidate.make(64, 48, 1)() == 0) {
            cases.push_back(std::move(candidate));
        }
    };
    for (const long algorithm : {0L, 2L, 1L}) {
        for (const int bits : {8, 12}) {
            add({"Bayer " + std::to_string(algorithm), bits,
                 [=](int w, int h, int) { return BayerRun(w, h, bits, algorithm); }});
        }
    }
    const Settings identity = {{"RR", 1}, {"RG", 0}, {"RB", 0}, {"GR", 0}, {"GG", 1},
                               {"GB", 0}, {"BR", 0}, {"BG", 0}, {"BB", 1}};
    const Settings filters = {{"impulseFilterEnable", 1}, {"sharpnessEnable", 1}};
    const Settings gains = {
        {"panGain", 2}, {"redGain", 2}, {"greenGain", 2}, {"blueGain", 2}, {"impulseFilterEnable", 1}};
    const struct {
        long algorithm;
        const char* variant;
        Settings settings;
    } variants[] = {{0, ", default matrix", {}},
                    {0, ", identity matrix", identity},
                    {1, ", defaults", {}},
                    {1, ", gains and impulse", gains},
                    {2, ", default matrix", {}},
                    {2, ", identity matrix", identity},
                    {3, ", defaults", {}},
                    {3, ", impulse and sharpness", filters},
                    {4, "", {}}};
    for (const auto& variant : variants) {
        for (const int bits : {8, 12}) {
            Settings settings = variant.settings;
            settings.emplace_back("TrueSenseAlgType", variant.algorithm);
            add({"TrueSense " + std::to_string(variant.algorithm) + variant.variant, bits,
                 [=](int w, int h, int threads) { return TrueSenseRun(w, h, threads, bits, settings); }});
        }
    }
    return cases;
}

std::vector<Case> HelperCases() {
    std::vector<Case> cases;
    for (int packing = OrvPacking10p; packing <= OrvPackingRaw12; ++packing) {
        cases.push_back({OrvPacking_Name(packing), OrvPacking_Bits(packing),
                         [packing](int w, int h, int) { return UnpackRun(w, h, packing); }});
    }
    cases.push_back({"12 bits to 8", 12, [](int w, int h, int) { return To8Run(w, h); }});
    return cases;
}

}  // namespace orvbench
