// Conversions of Bayer frames by all algorithms.
#include <string>
#include <utility>

#include "checks/CheckNumbers.h"
#include "support/Components.h"

namespace orvtest {
namespace {

constexpr int kAlgorithms = 3;
constexpr uint32_t kAdaptive = 1;

struct Depth {
    int bits;
    uint32_t first;  // four words follow one another, GR first
    uint32_t colour;
};
constexpr Depth kDepths[] = {{8, OrvPixelBayerGR8, OrvPixelRGB8},
                             {10, OrvPixelBayerGR10, OrvPixelRGB10},
                             {12, OrvPixelBayerGR12, OrvPixelRGB12},
                             {14, OrvPixelBayerGR14, OrvPixelRGB14},
                             {16, OrvPixelBayerGR16, OrvPixelRGB16}};

std::string Prefix(uint32_t algorithm) { return "bayer/" + std::to_string(algorithm) + "/"; }

// As the first frame, or as the next one of a sequence.
uint32_t Convert(const BayerComponent& component, const Image& source, Image& result, bool first = true) {
    if (first) {
        component->ReleaseData();
    }
    return component.Convert(source, result);
}

// Above 8 bits the adaptive algorithm takes rows of an even number of samples.
Image Source(const Depth& depth, unsigned pattern, int w, int h, Content content, int padding = 0) {
    Image source = FrameOf(depth.first + pattern, depth.bits, w, h, padding + (depth.bits == 8 ? 0 : w % 2 * 2));
    FillFrame(source, content, static_cast<unsigned>(w * 1000 + h) * 4 + pattern, (1u << depth.bits) - 1);
    return source;
}
// Three channels in the source's sample width, whatever the word.
Image Result(const Depth& depth, uint32_t word, int w, int h, int padding = 0) {
    Image result = FrameOf(depth.colour, depth.bits, w, h, padding);
    result.record.pixelType = word;
    return result;
}

// Every word of every depth to every colour word.
void Words(CheckNumbers& numbers, uint32_t algorithm) {
    const BayerComponent component(algorithm);
    for (const Depth& depth : kDepths) {
        if (!numbers.Begin(Prefix(algorithm) + "words/" + std::to_string(depth.bits) + "-bit")) {
            continue;
        }
        for (const uint32_t word : kColourWords) {
            for (unsigned pattern = 0; pattern < 4; ++pattern) {
                const int w = pattern % 2 == 0 ? 61 : 46;
                const int h = 30 + static_cast<int>(word % 3 + pattern);
                Image source = Source(depth, pattern, w, h, pattern < 2 ? Content::Scene : Content::Noise);
                Image result = Result(depth, word, w, h, 6);
                numbers.Add("word " + std::to_string(word & 0xFF) + ", pattern " + std::to_string(pattern),
                            Convert(component, source, result), result);
            }
        }
    }
}

// Small frames, odd, wide and high ones, with padded rows; above 8 bits the adaptive algorithm takes padding for
// pixels.
void Sizes(CheckNumbers& numbers, uint32_t algorithm) {
    const BayerComponent component(algorithm);
    const auto convert = [&](const Depth& depth, int w, int h, Content content) {
        Image source = Source(depth, static_cast<unsigned>(w + h / 2) % 4, w, h, content, w % 5 == 0 ? 4 : 0);
        Image result = Result(depth, depth.colour + static_cast<uint32_t>(h % 2), w, h, 4 * (w % 3));
        numbers.Add(std::to_string(w) + "x" + std::to_string(h), Convert(component, source, result), result);
    };
    const int least = algorithm == kAdaptive ? 1 : 3;
    for (const Depth& depth : {kDepths[0], kDepths[2], kDepths[4]}) {
        const std::string bits = std::to_string(depth.bits) + "-bit";
        if (numbers.Begin(Prefix(algorithm) + "sizes/tiny/" + bits)) {
            for (int h = least; h <= 14; ++h) {
                for (int w = least; w <= 14; ++w) {
                    convert(depth, w, h, Content::Noise);
                }
            }
        }
        if (numbers.Begin(Prefix(algorithm) + "sizes/others/" + bits)) {
            for (const _OrvSize& size :
                 {_OrvSize{61, 45}, {64, 48}, {21, 203}, {301, 66}, {1034, 37}, {2051, 12}, {160, 120}}) {
                convert(depth, size.width, size.height, Content::Scene);
                convert(depth, size.width, size.height, Content::Extremes);
            }
        }
    }
}

// Frames of one size one after another: above 8 bits the adaptive engine carries sums from one to the next.
void Sequences(CheckNumbers& numbers) {
    for (const Depth& depth : kDepths) {
        if (!numbers.Begin(Prefix(kAdaptive) + "sequence/" + std::to_string(depth.bits) + "-bit")) {
            continue;
        }
        const BayerComponent component(kAdaptive);
        for (const _OrvSize& size : {_OrvSize{61, 45}, {120, 34}, {9, 12}}) {
            for (unsigned i = 0; i < 4; ++i) {
                Image source = Source(depth, i * 3 % 4, size.width, size.height, static_cast<Content>(i % 3));
                Image result = Result(depth, depth.colour, size.width, size.height);
                numbers.Add("frame " + std::to_string(i), Convert(component, source, result, i == 0), result);
            }
        }
    }
}

// Records whose numbers disagree with the frame: another depth, a short or long size, a result of another size.
void OddRecords(CheckNumbers& numbers, uint32_t algorithm) {
    if (!numbers.Begin(Prefix(algorithm) + "odd-records")) {
        return;
    }
    const BayerComponent component(algorithm);
    for (const Depth& depth : {kDepths[0], kDepths[2]}) {
        const auto convert = [&](const std::string& what, Image source, Image result, bool first) {
            numbers.Add(what, Convert(component, source, result, first), result);
        };
        const auto source = [&](unsigned i) { return Source(depth, i % 4, 40, 30, Content::Noise); };
        for (const int bits : {0, 4, 7, 8, 10, 16, 31}) {
            Image other = source(static_cast<unsigned>(bits));
            other.record.bitDepth = bits;
            convert(std::to_string(bits) + " bits", std::move(other), Result(depth, depth.colour, 40, 30), true);
        }
        for (const _OrvSize& size : {_OrvSize{33, 30}, {40, 21}, {11, 9}}) {
            convert("part", source(1), Result(depth, depth.colour, size.width, size.height, 6), true);
        }
        // What a short copy does not reach stays from the frame before.
        for (const int bytes : {0x7FFFFFFF, 1001, 0, -4, 2000}) {
            Image part = source(0);
            part.record.imageSize = bytes;
            convert(std::to_string(bytes) + " bytes", std::move(part), Result(depth, depth.colour, 40, 30), false);
            convert("padded", Source(depth, 0, 40, 30, Content::Scene, 6), Result(depth, depth.colour, 40, 30), false);
        }
    }
}

template <class From, class To>
using Plain = uint32_t (*)(From const*, _OrvRect, _OrvSize, int, int, To*, int, unsigned char, int);

template <class From, class To>
void PlainFunctions(CheckNumbers& numbers, uint32_t algorithm, const Plain<From, To> (&functions)[4]) {
    const bool narrowing = sizeof(From) != sizeof(To);
    for (unsigned i = 0; i < 34; ++i) {
        const Depth& depth = kDepths[sizeof(From) == 1 ? 0 : 1 + i / 4 % 4];
        // 16-bit rows in between are as long as the frame is high.
        const int h = 38 - static_cast<int>(i % 9);
        const int w = narrowing && (algorithm != kAdaptive || i % 2 == 0) ? h : 37 - static_cast<int>(i % 7);
        Image source = Source(depth, 0, w, h, Content::Scene);
        Image result = FrameOf(sizeof(To) == 1 ? OrvPixelRGBA8 : OrvPixelRGB16, depth.bits, w, h, 6);
        const uint32_t status = functions[i % 4](
            source.Row<From>(0), {static_cast<int>(i), 3, w, h}, {w, h}, source.record.stride, depth.bits,
            result.Row<To>(0), result.record.stride, static_cast<unsigned char>(i < 32 ? (i + i / 4) % 4 : i - 28),
            static_cast<int>(algorithm));
        numbers.Add("call " + std::to_string(i), status, result);
    }
}

void Records(CheckNumbers& numbers, uint32_t algorithm) {
    if (!numbers.Begin(Prefix(algorithm) + "functions/records")) {
        return;
    }
    for (const Depth& depth : kDepths) {
        for (unsigned pattern = 0; pattern < 4; ++pattern) {
            Image source = Source(depth, pattern, 62, 45, Content::Scene);
            Image result = Result(depth, depth.colour + pattern / 2, 62, 45);
            numbers.Add(std::to_string(depth.bits) + " bits, pattern " + std::to_string(pattern),
                        BayerToColor(&source.record, &result.record, static_cast<int>(algorithm)), result);
        }
    }
}

}  // namespace

void CheckBayer(CheckNumbers& numbers) {
    const Plain<uint8_t, uint8_t> bytes[] = {BayerToRGB_8u_C1C3R, BayerToBGR_8u_C1C3R, BayerToRGB_8u_C1C4R,
                                             BayerToBGR_8u_C1C4R};
    const Plain<uint16_t, uint16_t> words[] = {BayerToRGB_16u_C1C3R, BayerToBGR_16u_C1C3R, BayerToRGB_16u_C1C4R,
                                               BayerToBGR_16u_C1C4R};
    const Plain<uint16_t, uint8_t> narrowing[] = {BayerToRGB_16u8u_C1C3R, BayerToBGR_16u8u_C1C3R,
                                                  BayerToRGB_16u8u_C1C4R, BayerToBGR_16u8u_C1C4R};
    // Number 3 is a component's for bilinear, and none of the plain functions'.
    for (uint32_t algorithm = 0; algorithm <= kAlgorithms; ++algorithm) {
        if (algorithm < kAlgorithms) {
            Sizes(numbers, algorithm);
            OddRecords(numbers, algorithm);
        }
        Words(numbers, algorithm);
        Records(numbers, algorithm);
        if (numbers.Begin(Prefix(algorithm) + "functions/8u")) {
            PlainFunctions(numbers, algorithm, bytes);
        }
        if (numbers.Begin(Prefix(algorithm) + "functions/16u")) {
            PlainFunctions(numbers, algorithm, words);
        }
        if (numbers.Begin(Prefix(algorithm) + "functions/16u8u")) {
            PlainFunctions(numbers, algorithm, narrowing);
        }
    }
    Sequences(numbers);
}

}  // namespace orvtest
