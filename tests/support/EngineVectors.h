// Runs a TrueSense engine over frames with expected results.
#ifndef ORV_TESTS_ENGINEVECTORS_H
#define ORV_TESTS_ENGINEVECTORS_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/Vector.h"
#include "truesense/IDemosaicing.h"
#include "truesense/Params.h"

namespace orvtest {

// The plain defaults, with the fields that the file names; `tones` receives the table of the record.
inline tagTrueSenseParam VectorParam(const Vector& vector, std::vector<int16_t>& tones) {
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
    const long top = vector.Int("toneTop");
    tones.resize(4096);
    for (long i = 0; i < 4096; ++i) {
        tones[static_cast<size_t>(i)] = static_cast<int16_t>(i * top / 4095);
    }
    param.toneTable = tones.data();
    return param;
}

template <class Sample, class Out, class Engine, class InitCall, class CalculateCall>
void RunVectorEntry(const Vector& vector, Engine& engine, const InitCall& init, const CalculateCall& calculate) {
    std::vector<int16_t> tones;
    tagTrueSenseParam param = VectorParam(vector, tones);
    const std::vector<long> r = vector.Ints("rect");
    const std::vector<long> s = vector.Ints("size");
    const _OrvRect rect = {static_cast<int>(r[0]), static_cast<int>(r[1]), static_cast<int>(r[2]),
                           static_cast<int>(r[3])};
    const _OrvSize size = {static_cast<int>(s[0]), static_cast<int>(s[1])};
    const bool alpha = vector.Int("alpha") != 0;
    std::vector<Sample> source;
    for (const auto& row : vector.sources.at(0)) {
        for (const long v : row) {
            source.push_back(static_cast<Sample>(v));
        }
    }
    const size_t samples = static_cast<size_t>(rect.width) * (alpha ? 4 : 3);
    std::vector<Out> result(samples * static_cast<size_t>(rect.height), 0);
    engine.SetOutputPixelType(alpha, vector.Int("bgr") != 0);
    ASSERT_EQ(0, init(engine, source.data(), rect, size, static_cast<int>(source.size() / s[1] * sizeof(Sample)),
                      static_cast<int>(vector.Int("bits")), result.data(), static_cast<int>(samples * sizeof(Out)),
                      static_cast<unsigned char>(vector.Int("grid")), &param));
    ASSERT_EQ(0, calculate(engine));
    for (size_t y = 0; y < vector.expected.at(0).size(); ++y) {
        for (size_t x = 0; x < samples; ++x) {
            ASSERT_EQ(vector.expected[0][y].at(x), static_cast<long>(result[y * samples + x]))
                << "row " << y << ", sample " << x;
        }
    }
}

// One fresh engine of the class per file.
template <template <class> class Engine>
void RunVectors(const std::string& prefix) {
    const std::vector<std::string> files = VectorFiles(prefix);
    if (files.empty()) {
        GTEST_SKIP() << "no vectors";
    }
    const auto init = [](auto& engine, auto... args) { return engine.Init(args...); };
    const auto initRgb = [](auto& engine, auto... args) { return engine.InitRGB(args...); };
    const auto calculate = [](auto& engine) { return engine.Calculate(); };
    const auto calculateRgb = [](auto& engine) { return engine.CalculateRGB(); };
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        const Vector vector = ReadVector(file);
        const std::string& entry = vector.values.at("entry");
        Engine<unsigned char> narrow;
        Engine<unsigned short> wide;
        if (entry == "8u") {
            RunVectorEntry<unsigned char, unsigned char>(vector, narrow, init, calculate);
        } else if (entry == "16u") {
            RunVectorEntry<unsigned short, unsigned short>(vector, wide, init, calculate);
        } else {
            RunVectorEntry<unsigned short, unsigned char>(vector, wide, initRgb, calculateRgb);
            RunVectorEntry<unsigned short, unsigned char>(vector, narrow, initRgb, calculateRgb);
        }
    }
}

}  // namespace orvtest

#endif
