// Conversions of TrueSense frames by all engines.
#include <limits>
#include <string>

#include "checks/CheckNumbers.h"
#include "support/Components.h"

namespace orvtest {
namespace {

constexpr int kEngines = 5;

struct Depth {
    OrvPixelType first;
    int bits;
};
constexpr Depth kDepths[] = {{OrvPixelTrueSense8, 8},
                             {OrvPixelTrueSense10, 10},
                             {OrvPixelTrueSense12, 12},
                             {OrvPixelTrueSense14, 14},
                             {OrvPixelTrueSense14, 16}};

// The three kinds of conversions by sample width.
struct Entry {
    const char* name;
    OrvPixelType first;
    int bits;
    uint32_t word;
};
constexpr Entry kEntries[] = {{"8u", OrvPixelTrueSense8, 8, OrvPixelBGR8},
                              {"16u", OrvPixelTrueSense12, 12, OrvPixelRGB16},
                              {"16u8u", OrvPixelTrueSense12, 12, OrvPixelRGBA8}};

uint32_t Top(int bits) { return (1u << bits) - 1; }

std::string Size(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

tagTrueSenseParam Defaults(int threads) {
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    param.threads_num = threads;
    return param;
}

// Every word of every depth with every destination word.
void Words(CheckNumbers& numbers, const std::string& prefix, int engine, int threads) {
    TrueSenseComponent component(engine, threads);
    for (const Depth& depth : kDepths) {
        for (const bool bytes : {true, false}) {
            if ((depth.bits == 8 && !bytes) ||
                !numbers.Begin(prefix + "words/" + std::to_string(depth.bits) + "-bit/" + (bytes ? "8" : "16"))) {
                continue;
            }
            for (unsigned grid = 0; grid < 16; ++grid) {
                const int w = 29 + static_cast<int>(grid);
                const int h = 60 - static_cast<int>(grid);
                Image source = FrameOf(OrvPixelTrueSense(depth.first, grid), depth.bits, w, h);
                FillFrame(source, grid % 3 == 0 ? Content::Noise : Content::Scene, grid, Top(depth.bits));
                const uint32_t word = kColourWords[bytes ? (grid + grid / 4) % 4 : 4 + (grid * 3 + grid / 8) % 8];
                Image result = FrameOf(word, depth.bits, w, h);
                numbers.Add("grid " + std::to_string(grid), component.Convert(source, result), result);
            }
        }
    }
}

// Frames from one pixel on, odd ones, wide and high ones.
void Sizes(CheckNumbers& numbers, const std::string& prefix, int engine, int threads) {
    tagTrueSenseParam param = Defaults(threads);
    const auto convert = [&](const Entry& entry, int w, int h) {
        Image source = FrameOf(OrvPixelTrueSense(entry.first, static_cast<unsigned>(w * 7 + h * 5) % 16), entry.bits, w,
                               h, entry.bits == 8 ? 3 : 6);
        FillFrame(source, Content::Scene, static_cast<unsigned>(w * 100 + h), Top(entry.bits));
        Image result = FrameOf(entry.word, entry.bits, w, h, 10);
        numbers.Add(Size(w, h), TrueSenseToColor(&source.record, &result.record, &param, engine, false), result);
    };
    for (const Entry& entry : kEntries) {
        if (numbers.Begin(prefix + "sizes/tiny/" + entry.name)) {
            for (int h = 1; h <= 13; ++h) {
                for (int w = 1; w <= 13; ++w) {
                    convert(entry, w, h);
                }
            }
        }
        if (numbers.Begin(prefix + "sizes/others/" + entry.name)) {
            for (const _OrvSize& size :
                 {_OrvSize{61, 45}, {64, 48}, {97, 34}, {21, 203}, {300, 66}, {1034, 37}, {2051, 12}}) {
                convert(entry, size.width, size.height);
            }
        }
    }
}

// The cell at every place under every mirror.
void Mirrors(CheckNumbers& numbers, const std::string& prefix, int engine, int threads) {
    if (!numbers.Begin(prefix + "mirrors")) {
        return;
    }
    tagTrueSenseParam param = Defaults(threads);
    for (unsigned i = 16; i < 64; ++i) {
        param.horMirrored = i >> 4 & 1;
        param.verMirrored = i >> 5;
        const Entry& entry = kEntries[i % 3];
        Image source = FrameOf(OrvPixelTrueSense(entry.first, i % 16), entry.bits, 26, 21);
        FillFrame(source, Content::Noise, i, Top(entry.bits));
        Image result = FrameOf(entry.word, entry.bits, 26, 21);
        numbers.Add("grid " + std::to_string(i % 16) + ", mirrors " + std::to_string(i >> 4),
                    TrueSenseToColor(&source.record, &result.record, &param, engine, false), result);
    }
}

// Tables for the record; entries of the wild one all differ, signed ones among them.
const int16_t* Tones(bool wild) {
    static int16_t tables[2][4096];
    for (int i = 0; i < 4096; ++i) {
        tables[0][i] = static_cast<int16_t>(i);
        tables[1][i] = static_cast<int16_t>(static_cast<uint16_t>(i * 13 + 7));
    }
    return tables[wild ? 1 : 0];
}

template <class From, class To>
using Plain = uint32_t (*)(From const*, _OrvRect, _OrvSize, int, int, To*, int, unsigned char, tagTrueSenseParam*, int,
                           bool);

// Regions inside larger frames through the plain functions; two of four strides are negative.
template <class From, class To>
void PlainFunctions(CheckNumbers& numbers, int engine, int threads, const Plain<From, To> (&functions)[4]) {
    for (unsigned i = 0; i < 32; ++i) {
        tagTrueSenseParam param = Defaults(threads);
        param.normalizationEnable = i % 2;
        param.horMirrored = i >> 3 & 1;
        param.verMirrored = i >> 4;
        param.toneTable = i % 3 == 1 ? Tones(true) : nullptr;
        const int bits = sizeof(From) == 1 && i % 5 != 0 ? 8 : 8 + 2 * static_cast<int>((i + i / 5) % 5);
        const unsigned channels = i % 4 < 2 ? 3 : 4;
        const int w = 37 - static_cast<int>(i % 7);
        const int h = 38 - static_cast<int>(i % 9);
        const _OrvRect rect = {static_cast<int>(i % 5), static_cast<int>(i % 3), w, h};
        const _OrvSize size = {w + 6, h + 4};
        // A row more than needed: negative strides start in the second one and run backward into the first.
        const unsigned sample = sizeof(From) == 1 ? OrvPixelTrueSense8 : OrvPixelTrueSense12;
        Image source = FrameOf(sample, bits, size.width, size.height + 1);
        FillFrame(source, Content::Scene, i, sizeof(From) == 1 ? 255 : Top(bits));
        Image result = FrameOf(sizeof(To) == 1 ? OrvPixelRGBA8 : OrvPixelRGB16, bits, w * 2, h + 1);
        const int from = i % 8 < 4 ? source.record.stride : -source.record.stride;
        const int to = i / 2 % 4 < 2 ? result.record.stride : -result.record.stride;
        const uint32_t status =
            functions[i % 4](source.Row<From>(from < 0 ? 1 : 0), rect, size, from, bits, result.Row<To>(to < 0 ? 1 : 0),
                             to, static_cast<unsigned char>(i / 2), &param, engine, i % 3 == 0);
        numbers.Add("call " + std::to_string(i) + ", " + std::to_string(channels) + " channels", status, result);
    }
}

// A settings list: `apply` makes variant 0, 1, ... of the defaults.
struct Settings {
    const char* name;
    int variants;
    void (*apply)(tagTrueSenseParam& p, int variant);
};

void SetMatrix(tagTrueSenseParam& p, const double (&m)[9]) {
    p.RR = m[0], p.RG = m[1], p.RB = m[2];
    p.GR = m[3], p.GG = m[4], p.GB = m[5];
    p.BR = m[6], p.BG = m[7], p.BB = m[8];
}
const double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
// The default matrix of components, which that of records narrows to single precision.
const double kDoubleMatrix[9] = {1.657, -0.5325, -0.1245, -0.106, 1.443, -0.337, 0.131, -0.445, 1.314};

const Settings kSettings[] = {
    {"gains", 6,
     [](tagTrueSenseParam& p, int v) {
         const double gains[6][4] = {{1.4, 1, 1.8, 1},     {0.7, 0.9, 1.1, 1},  {1, 1, 1, 1.5},
                                     {2.5, 0.5, 3.1, 0.6}, {9, 12.5, 30, 0.01}, {1, 1.0000001, 1, 0.9999999}};
         p.redGain = gains[v][0], p.greenGain = gains[v][1], p.blueGain = gains[v][2], p.panGain = gains[v][3];
     }},
    {"global-gain", 6,
     [](tagTrueSenseParam& p, int v) {
         const double gains[] = {0.25, 0.999, 1.001, 1.7, 6.5, 100};
         p.globalGain = gains[v];
     }},
    {"dark-floor", 5,
     [](tagTrueSenseParam& p, int v) {
         const long floors[] = {1, 64, 300, 4096, -100};
         p.darkFloor = floors[v];
         p.redGain = v == 2 ? 1.3 : 1;
     }},
    {"noise-model", 8,
     [](tagTrueSenseParam& p, int v) {
         const double gains[] = {0, 11.04, 14, 20, 27, 33, 50, std::numeric_limits<double>::quiet_NaN()};
         p.analogGain = gains[v];
         p.redGain = 1.5;
         p.ISOColorSlope_1 += 0.1 * v;
         p.ISOPanIntercept_2 += 10 * v;
     }},
    {"filters", 8,
     [](tagTrueSenseParam& p, int v) {
         p.impulseFilterEnable = v & 1;
         p.sharpnessEnable = v >> 1 & 1;
         p.monoEnable = v >> 2;
     }},
    {"flags", 6,  // neither 0 nor 1
     [](tagTrueSenseParam& p, int v) {
         const long flag = v < 3 ? 2 : (1L << 32) + v - 3;
         p.impulseFilterEnable = p.sharpnessEnable = v % 3 == 0 ? flag : 0;
         p.monoEnable = v % 3 == 0 ? flag : 0;
         p.horMirrored = v % 3 == 1 ? flag : 0;
         p.verMirrored = v % 3 != 0 ? flag : 0;
         p.normalizationEnable = v % 3 == 2 ? flag : 0;
     }},
    {"pan-passes", 7,
     [](tagTrueSenseParam& p, int v) {
         const long radii[7][3] = {
             {0, 0, 0}, {1, 2, 3}, {2, 2, 2}, {5, 0, 9}, {30, 1, -2}, {1L << 40, 1, 1000000}, {(1L << 32) + 1, 1, 1}};
         p.panRadius0 = radii[v][0], p.panRadius1 = radii[v][1], p.panRadius2 = radii[v][2];
         p.panSigma0 = 0.6 + v, p.panSigma1 = v % 2 == 0 ? 0.6 + v : 3, p.panSigma2 = 100;
     }},
    {"colour-passes", 6,
     [](tagTrueSenseParam& p, int v) {
         const long radii[6][3] = {{0, 0, 0}, {1, 2, 3}, {2, 2, 2}, {4, 0, 1}, {10, 1, 1}, {1024, 1, 5}};
         p.colorRadius0 = radii[v][0], p.colorRadius1 = radii[v][1], p.colorRadius2 = radii[v][2];
         p.colorSigma0 = 0.5 + v, p.colorSigma1 = v % 2 == 0 ? 0.5 + v : 3, p.colorSigma2 = 100;
         p.greenGain = 1.2;
     }},
    {"matrix", 7,
     [](tagTrueSenseParam& p, int v) {
         const double inf = std::numeric_limits<double>::infinity();
         const double nan = std::numeric_limits<double>::quiet_NaN();
         const double matrices[7][9] = {{1, 0, 0, 0, 1, 0, 0, 0, 1},
                                        {1.657, -0.5325, -0.1245, -0.106, 1.443, -0.337, 0.131, -0.445, 1.314},
                                        {1.0000001, 0, 0, 0, 1, 0, 0, 0, 1},
                                        {0, 0, 1, 1, 0, 0, 0, 1, 0},
                                        {0.1, 0.2, 0.7, 1e-3, 0.999, 0, -1, -1, -1},
                                        {1e300, 1e300, -1e300, -1e9, 0, 0, 3e6, 1, 1},
                                        {nan, 0, 0, 0, inf, 1, -inf, 0, inf}};
         SetMatrix(p, matrices[v]);
     }},
    {"tones", 3,
     [](tagTrueSenseParam& p, int v) {
         p.toneTable = Tones(v > 0);
         if (v == 2) {
             SetMatrix(p, kIdentity);
         }
     }},
    {"normalised", 2,
     [](tagTrueSenseParam& p, int v) {
         p.normalizationEnable = 1;
         p.toneTable = v == 1 ? Tones(true) : nullptr;
     }},
    {"sharpness", 8,
     [](tagTrueSenseParam& p, int v) {
         // With 2 the threshold at gamma code 256 is exactly 1, with 0 all are 0.
         const double sharpness[8][4] = {{1, 1, 2, 0.5}, {400, 3, 2, 0.5},    {40, 0.25, 0, 0}, {10, 5, 0.5, 20},
                                         {0, 1, 1, 1},   {40, 100, 100, 100}, {2, 1, 0, 0},     {2, 1000, 1, 0}};
         p.sharpenParam = sharpness[v][0], p.maxSharpen = sharpness[v][1];
         p.highLumaNoise = sharpness[v][2], p.lowLumaNoise = sharpness[v][3];
     }},
};

void AllSettings(CheckNumbers& numbers, const std::string& prefix, int engine, int threads) {
    for (const Settings& settings : kSettings) {
        if (!numbers.Begin(prefix + "settings/" + settings.name)) {
            continue;
        }
        for (int v = 0; v < settings.variants; ++v) {
            tagTrueSenseParam param = Defaults(threads);
            settings.apply(param, v);
            for (const Entry& entry : kEntries) {
                for (const Content content : {Content::Noise, Content::Scene}) {
                    const unsigned grid = static_cast<unsigned>(v * 5 + (content == Content::Noise ? 0 : 7)) % 16;
                    Image source = FrameOf(OrvPixelTrueSense(entry.first, grid), entry.bits, 61, 45);
                    FillFrame(source, content, static_cast<uint64_t>(v), Top(entry.bits));
                    Image result = FrameOf(entry.word, entry.bits, 61, 45);
                    numbers.Add("variant " + std::to_string(v) + ", " + entry.name,
                                TrueSenseToColor(&source.record, &result.record, &param, engine, false), result);
                }
            }
        }
    }
}

// Flat frames land on whole numbers, where the order of rounded terms decides.
void Grey(CheckNumbers& numbers, const std::string& prefix, int engine, int threads) {
    if (!numbers.Begin(prefix + "grey")) {
        return;
    }
    for (const unsigned level : {1u, 31u, 62u, 239u, 459u, 1000u, 3001u, 4095u}) {
        for (int v = 0; v < 3; ++v) {
            tagTrueSenseParam param = Defaults(threads);
            if (v > 0) {
                SetMatrix(param, v == 1 ? kDoubleMatrix : kIdentity);
            }
            param.toneTable = v == 2 ? nullptr : Tones(false);
            for (const int e : {1, 2}) {
                const Entry& entry = kEntries[e];
                Image source = FrameOf(OrvPixelTrueSense(entry.first, level % 16), 12, 22, 18);
                Fill(source, [level](uint32_t, uint32_t) { return level; });
                Image result = FrameOf(entry.word, 12, 22, 18);
                numbers.Add("level " + std::to_string(level) + ", matrix " + std::to_string(v) + ", " + entry.name,
                            TrueSenseToColor(&source.record, &result.record, &param, engine, false), result);
            }
        }
        // The settings that a component starts with.
        Image source = FrameOf(OrvPixelTrueSense12, 12, 22, 18);
        Fill(source, [level](uint32_t, uint32_t) { return level; });
        Image result = FrameOf(OrvPixelRGB12, 12, 22, 18);
        numbers.Add("level " + std::to_string(level) + ", component",
                    TrueSenseComponent(engine, threads).Convert(source, result), result);
    }
}

// Samples above the stated depth, and only the two ends of the range.
void StrayBits(CheckNumbers& numbers, const std::string& prefix, int engine, int threads) {
    if (!numbers.Begin(prefix + "stray-bits")) {
        return;
    }
    for (int bits = 8; bits <= 16; bits += 2) {
        for (const uint32_t top : {Top(bits), 8191u, 65535u}) {
            for (const bool wide : {true, false}) {
                tagTrueSenseParam param = Defaults(threads);
                param.darkFloor = bits == 10 ? 20 : 0;
                param.globalGain = bits == 14 ? 1.5 : 1;
                if (top == 8191) {
                    SetMatrix(param, kIdentity);
                }
                Image source = FrameOf(OrvPixelTrueSense(OrvPixelTrueSense12, top % 7), bits, 41, 38);
                FillFrame(source, top == Top(bits) ? Content::Extremes : Content::Noise, top, top);
                Image result = FrameOf(wide ? OrvPixelBGR16 : OrvPixelBGR8, bits, 41, 38);
                numbers.Add(std::to_string(bits) + " bits, up to " + std::to_string(top),
                            TrueSenseToColor(&source.record, &result.record, &param, engine, true), result);
            }
        }
    }
    // Pan steps from -32768 to 32767 where all colours are 32767: sums of differences and pan pass 16 bits.
    tagTrueSenseParam param = Defaults(threads);
    SetMatrix(param, {1.0 / 16, 0, 0, 0, 1, 0, 0, 0, 1});
    param.toneTable = Tones(false);
    Image source = FrameOf(OrvPixelTrueSense12, 12, 32, 36);
    for (int i = 0; i < 32 * 36; ++i) {
        source.Row<uint16_t>(0)[i] = (i + i / 32) % 2 == 0 && i % 32 < 16 ? 0x8000 : 0x7FFF;
    }
    Image result = FrameOf(OrvPixelRGB16, 12, 32, 36);
    numbers.Add("step", TrueSenseToColor(&source.record, &result.record, &param, engine, true), result);
}

void NoRecord(CheckNumbers& numbers, const std::string& prefix, int engine) {
    if (!numbers.Begin(prefix + "no-record")) {
        return;
    }
    for (const Depth& depth : kDepths) {
        for (const uint32_t word : {OrvPixelRGB8, OrvPixelBGRA8, OrvPixelRGB14}) {
            Image source = FrameOf(OrvPixelTrueSense(depth.first, 9), depth.bits, 61, 45);
            FillFrame(source, Content::Scene, 77, Top(depth.bits));
            Image result = FrameOf(word, depth.bits, 61, 45);
            numbers.Add(std::to_string(depth.bits) + " bits to " + std::to_string(word & 0xFF),
                        TrueSenseToColor(&source.record, &result.record, nullptr, engine, false), result);
        }
    }
}

// One component over frames of all kinds and engines.
void Sequence(CheckNumbers& numbers, int threads) {
    if (!numbers.Begin("truesense/sequence")) {
        return;
    }
    TrueSenseComponent component(0, threads);
    for (unsigned i = 0; i < 45; ++i) {
        component.Set("TrueSenseAlgType", static_cast<long>(i * i / 7 % kEngines));
        const Entry& entry = kEntries[(i + i / 5) % 3];
        const int w = 24 + static_cast<int>(i / 3 % 4) * 9;
        const int h = 60 - w / 2;
        Image source = FrameOf(OrvPixelTrueSense(entry.first, i / 2 % 16), entry.bits, w, h);
        FillFrame(source, Content::Scene, i, Top(entry.bits));
        Image result = FrameOf(entry.word, entry.bits, w, h);
        numbers.Add("frame " + std::to_string(i), component.Convert(source, result), result);
    }
}

}  // namespace

void CheckTrueSense(CheckNumbers& numbers, int threads) {
    const Plain<uint8_t, uint8_t> bytes[] = {TrueSenseToRGB_8u_C1C3R, TrueSenseToBGR_8u_C1C3R, TrueSenseToRGB_8u_C1C4R,
                                             TrueSenseToBGR_8u_C1C4R};
    const Plain<uint16_t, uint16_t> words[] = {TrueSenseToRGB_16u_C1C3R, TrueSenseToBGR_16u_C1C3R,
                                               TrueSenseToRGB_16u_C1C4R, TrueSenseToBGR_16u_C1C4R};
    const Plain<uint16_t, uint8_t> narrowing[] = {TrueSenseToRGB_16u8u_C1C3R, TrueSenseToBGR_16u8u_C1C3R,
                                                  TrueSenseToRGB_16u8u_C1C4R, TrueSenseToBGR_16u8u_C1C4R};
    for (int engine = 0; engine < kEngines; ++engine) {
        const std::string prefix = "truesense/" + std::to_string(engine) + "/";
        Words(numbers, prefix, engine, threads);
        Sizes(numbers, prefix, engine, threads);
        Mirrors(numbers, prefix, engine, threads);
        if (numbers.Begin(prefix + "functions/8u")) {
            PlainFunctions(numbers, engine, threads, bytes);
        }
        if (numbers.Begin(prefix + "functions/16u")) {
            PlainFunctions(numbers, engine, threads, words);
        }
        if (numbers.Begin(prefix + "functions/16u8u")) {
            PlainFunctions(numbers, engine, threads, narrowing);
        }
        AllSettings(numbers, prefix, engine, threads);
        Grey(numbers, prefix, engine, threads);
        StrayBits(numbers, prefix, engine, threads);
        NoRecord(numbers, prefix, engine);
    }
    Sequence(numbers, threads);
}

}  // namespace orvtest
