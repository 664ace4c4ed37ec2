// Runs a TrueSense engine on one frame with expected results.
#ifndef ORV_TESTS_ENGINEVECTOR_H
#define ORV_TESTS_ENGINEVECTOR_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "OrvTrueSense.h"
#include "support/Vector.h"
#include "truesense/Params.h"

namespace orvtest {

// The plain defaults, with the fields that the file names; `tone` receives the table of the record.
inline tagTrueSenseParam RecordOf(const Vector& vector, std::vector<int16_t>* tone) {
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    for (const orv::TrueSenseField& field : orv::kTrueSenseFields) {
        if (vector.values.count(field.name) == 0) {
            continue;
        }
        if (field.integer != nullptr) {
            param.*field.integer = vector.Int(field.name);
        } else {
            param.*field.real = vector.Float(field.name);
        }
    }
    tone->clear();
    for (long i = 0; i < 4096; ++i) {
        tone->push_back(static_cast<int16_t>(i * vector.Int("toneTop") / 4095));
    }
    param.toneTable = tone->data();
    return param;
}

template <class Sample>
std::vector<Sample> SamplesOf(const std::vector<std::vector<long>>& rows) {
    std::vector<Sample> samples;
    for (const auto& row : rows) {
        for (const long v : row) {
            samples.push_back(static_cast<Sample>(v));
        }
    }
    return samples;
}

// `init(src, rect, size, srcStride, bits, dst, dstStride, grid, param)` and `calculate()` are one pair of an engine's
// calls.
template <class Source, class Result, class Init, class Calculate>
void CompareWithExpected(const Vector& vector, const Init& init, const Calculate& calculate) {
    const std::vector<long> rect = vector.Ints("rect"), size = vector.Ints("size");
    const _OrvRect region = {static_cast<int>(rect[0]), static_cast<int>(rect[1]), static_cast<int>(rect[2]),
                             static_cast<int>(rect[3])};
    const _OrvSize frame = {static_cast<int>(size[0]), static_cast<int>(size[1])};
    std::vector<int16_t> tone;
    tagTrueSenseParam param = RecordOf(vector, &tone);
    const auto source = SamplesOf<Source>(vector.sources.at(0));
    const auto expected = SamplesOf<Result>(vector.expected.at(0));
    std::vector<Result> result(expected.size(), Result{0});
    const int channels = vector.Int("alpha") != 0 ? 4 : 3;
    ASSERT_EQ(init(source.data(), region, frame, static_cast<int>(sizeof(Source)) * frame.width,
                   static_cast<int>(vector.Int("bits")), result.data(),
                   static_cast<int>(sizeof(Result)) * channels * region.width,
                   static_cast<unsigned char>(vector.Int("grid")), &param),
              0);
    ASSERT_EQ(calculate(), 0);
    EXPECT_EQ(result, expected);
}

// A fresh engine of the class template on the file at `path`.
template <template <class> class Engine>
void CheckEngineVector(const std::string& path) {
    const Vector vector = ReadVector(path);
    const bool alpha = vector.Int("alpha") != 0, bgr = vector.Int("bgr") != 0;
    Engine<unsigned char> engine8;
    Engine<unsigned short> engine16;
    engine8.SetOutputPixelType(alpha, bgr);
    engine16.SetOutputPixelType(alpha, bgr);
    const std::string& entry = vector.values.at("entry");
    if (entry == "8u") {
        CompareWithExpected<unsigned char, unsigned char>(
            vector, [&](auto... arguments) { return engine8.Init(arguments...); }, [&] { return engine8.Calculate(); });
    } else if (entry == "16u") {
        CompareWithExpected<unsigned short, unsigned short>(
            vector, [&](auto... arguments) { return engine16.Init(arguments...); },
            [&] { return engine16.Calculate(); });
    } else {
        // Either instantiation serves this pair.
        CompareWithExpected<unsigned short, unsigned char>(
            vector, [&](auto... arguments) { return engine16.InitRGB(arguments...); },
            [&] { return engine16.CalculateRGB(); });
        CompareWithExpected<unsigned short, unsigned char>(
            vector, [&](auto... arguments) { return engine8.InitRGB(arguments...); },
            [&] { return engine8.CalculateRGB(); });
    }
}

}  // namespace orvtest

#endif
