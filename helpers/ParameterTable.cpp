#include "ParameterTable.h"

#include <cstdint>

namespace orv::helpers {
namespace {

// Which algorithms read a parameter.
constexpr uint32_t kNone = 0;
constexpr uint32_t kAllBayer = 7;
constexpr uint32_t kAll = 31;
constexpr uint32_t kSimple = 1 << 1;
constexpr uint32_t kParallel = 1 << 3;
constexpr uint32_t kReference = 1 << 4;
constexpr uint32_t kPipelines = kParallel | kReference;

// Defaults are written once, as the text that is also their shortest form.
#define ORV_INTEGER(name, standard, limit, algorithms, range, unit, meaning) \
    { name, OrvParamInteger, algorithms, limit, standard, #standard, range, unit, meaning }
#define ORV_SWITCH(name, algorithms, meaning) ORV_INTEGER(name, 0, 1, algorithms, "0 or 1", "", meaning)
#define ORV_FLOAT(name, standard, algorithms, range, unit, meaning) \
    { name, OrvParamFloat, algorithms, 0, standard, #standard, range, unit, meaning }

constexpr const char* kGainRange = "0 or above";
constexpr const char* kAnyRange = "any number";
constexpr const char* kAscending = "0 or above, ascending from 0 to 4";
constexpr const char* kFactor = "factor";
constexpr const char* kCode = "12-bit codes";
constexpr const char* kSlope = "12-bit codes squared per code";
constexpr const char* kIntercept = "12-bit codes squared";

// One of the five rows of the noise model.
#define ORV_GAIN_ROW(n, standard)                                             \
    ORV_FLOAT("ISOAnalogGain_" #n, standard, kPipelines, kAscending, kFactor, \
              "noise model: the analog gain that row " #n " of the lines is for")
#define ORV_LINE_ROW(name, n, standard, algorithms, range, unit, meaning) \
    ORV_FLOAT(name "_" #n, standard, algorithms, range, unit, "noise model, row " #n ": " meaning)
#define ORV_PAN_SLOPE(n, standard)                                           \
    ORV_LINE_ROW("ISOPanSlope", n, standard, kReference, kGainRange, kSlope, \
                 "variance of pan samples per signal, without the dark floor")
#define ORV_PAN_INTERCEPT(n, standard)                                              \
    ORV_LINE_ROW("ISOPanIntercept", n, standard, kReference, kAnyRange, kIntercept, \
                 "variance of pan samples at signal 0")
#define ORV_COLOR_SLOPE(n, standard)                                           \
    ORV_LINE_ROW("ISOColorSlope", n, standard, kPipelines, kGainRange, kSlope, \
                 "variance of colour samples per signal; algorithm 3 cleans pan by it too")
#define ORV_COLOR_INTERCEPT(n, standard)                                              \
    ORV_LINE_ROW("ISOColorIntercept", n, standard, kPipelines, kAnyRange, kIntercept, \
                 "variance of colour samples at signal 0; algorithm 3 cleans pan by it too")

#define ORV_PAN_RADIUS(n)                                                                                \
    ORV_INTEGER("panRadius" #n, 1, INT64_MAX, kPipelines, "0 or above", "pixels of the half-size plane", \
                "pan cleaning, pass " #n ": distance of the eight neighbours; 0 leaves the pass out")
#define ORV_PAN_SIGMA(n, standard)                                                 \
    ORV_FLOAT("panSigma" #n, standard, kPipelines, kGainRange, "noise deviations", \
              "pan cleaning, pass " #n ": neighbours up to this far from the pixel are averaged in")
#define ORV_COLOR_RADIUS(n, standard)                                                                       \
    ORV_INTEGER("colorRadius" #n, standard, 1024, kPipelines, "0 to 1024", "cells of the half-size mosaic", \
                "colour cleaning, pass " #n ": distance of the eight neighbours; 0 leaves the pass out")
#define ORV_COLOR_SIGMA(n, standard)                                                 \
    ORV_FLOAT("colorSigma" #n, standard, kPipelines, kGainRange, "noise deviations", \
              "colour cleaning, pass " #n ": neighbours up to this far from the pixel are averaged in")
#define ORV_MATRIX(name, standard, to, from) \
    ORV_FLOAT(name, standard, kAll, kAnyRange, kFactor, "colour matrix: share of " from " in the resulting " to)

constexpr const char* kNoReallocMeaning = "stored without effect: engines keep their memory from frame to frame anyway";

constexpr OrvParamInfo kBayer[] = {
    ORV_INTEGER("BayerAlgType", 0, 4, kAllBayer, "0 to 2; 3 and 4 convert as 0", "",
                "algorithm: 0 bilinear, 1 adaptive colour differences, 2 edge-aware"),
    ORV_SWITCH("NoRealloc", kNone, kNoReallocMeaning),
};

constexpr OrvParamInfo kTrueSense[] = {
    ORV_INTEGER("TrueSenseAlgType", 0, 6, kAll, "0 to 4; 5 and 6 fail every conversion", "",
                "engine: 0 fast, 1 simple, 2 Bayer-like, 3 parallel pipeline, 4 reference pipeline"),
    ORV_SWITCH("NoRealloc", kNone, kNoReallocMeaning),
    ORV_INTEGER("threads_num", 0, 32, kAll, "0 to 32", "threads",
                "size of the team of a conversion; 0: the process's default. Pixels do not depend on it"),
    ORV_SWITCH("normalizationEnable", kAll, "1 spreads 16-bit results over the full 16 bits; 8-bit sources never are"),
    ORV_SWITCH("horMirrored", kAll,
               "1 tells that the mosaic reaches the engine mirrored left to right; the picture stays as it is"),
    ORV_SWITCH("verMirrored", kAll,
               "1 tells that the mosaic reaches the engine mirrored top to bottom; the picture stays as it is"),
    ORV_SWITCH("monoEnable", kPipelines, "1 drops colour: all channels carry pan"),
    ORV_SWITCH("impulseFilterEnable", kSimple | kParallel,
               "1 clips single outliers of the pan samples; algorithm 4 always does"),
    ORV_SWITCH("sharpnessEnable", kParallel, "1 sharpens the result; algorithm 4 always does"),
    ORV_INTEGER("darkFloor", 0, 4096, kPipelines, "0 to 4096", kCode, "black level, subtracted from every sample"),
    ORV_FLOAT("redGain", 1, kSimple | kPipelines, kGainRange, kFactor, "white balance of red samples"),
    ORV_FLOAT("greenGain", 1, kSimple | kPipelines, kGainRange, kFactor, "white balance of green samples"),
    ORV_FLOAT("blueGain", 1, kSimple | kPipelines, kGainRange, kFactor, "white balance of blue samples"),
    ORV_FLOAT("panGain", 1, kSimple | kPipelines, kGainRange, kFactor, "gain of pan samples against the colours"),
    ORV_FLOAT("globalGain", 1, kPipelines, "above 0", kFactor,
              "brightens the whole frame, after the dark floor; algorithm 4 applies it above 1 only"),
    ORV_FLOAT("analogGain", 1, kPipelines, kGainRange, kFactor,
              "the camera's gain at exposure: where to read the noise model, between its rows, at its ends beyond"),
    ORV_GAIN_ROW(0, 11.04),
    ORV_GAIN_ROW(1, 17.69),
    ORV_GAIN_ROW(2, 23.96),
    ORV_GAIN_ROW(3, 29.91),
    ORV_GAIN_ROW(4, 36.77),
    ORV_PAN_SLOPE(0, 0.3179309),
    ORV_PAN_SLOPE(1, 0.6009852),
    ORV_PAN_SLOPE(2, 1.16587611),
    ORV_PAN_SLOPE(3, 2.26059552),
    ORV_PAN_SLOPE(4, 5.11044291),
    ORV_PAN_INTERCEPT(0, -25.07685652),
    ORV_PAN_INTERCEPT(1, 17.01752105),
    ORV_PAN_INTERCEPT(2, 185.43026),
    ORV_PAN_INTERCEPT(3, 831.07495077),
    ORV_PAN_INTERCEPT(4, 4154.73883603),
    ORV_COLOR_SLOPE(0, 0.16289523),
    ORV_COLOR_SLOPE(1, 0.30242107),
    ORV_COLOR_SLOPE(2, 0.58180185),
    ORV_COLOR_SLOPE(3, 1.15281985),
    ORV_COLOR_SLOPE(4, 2.53400236),
    ORV_COLOR_INTERCEPT(0, -2.97408598),
    ORV_COLOR_INTERCEPT(1, 15.97559859),
    ORV_COLOR_INTERCEPT(2, 92.84640595),
    ORV_COLOR_INTERCEPT(3, 399.49923562),
    ORV_COLOR_INTERCEPT(4, 2080.24259272),
    ORV_PAN_RADIUS(0),
    ORV_PAN_RADIUS(1),
    ORV_PAN_RADIUS(2),
    ORV_PAN_SIGMA(0, 1.7),
    ORV_PAN_SIGMA(1, 0),
    ORV_PAN_SIGMA(2, 0),
    ORV_COLOR_RADIUS(0, 1),
    ORV_COLOR_RADIUS(1, 2),
    ORV_COLOR_RADIUS(2, 0),
    ORV_COLOR_SIGMA(0, 2),
    ORV_COLOR_SIGMA(1, 2),
    ORV_COLOR_SIGMA(2, 0),
    ORV_MATRIX("RR", 1.657, "red", "red"),
    ORV_MATRIX("RG", -0.5325, "red", "green"),
    ORV_MATRIX("RB", -0.1245, "red", "blue"),
    ORV_MATRIX("GR", -0.106, "green", "red"),
    ORV_MATRIX("GG", 1.443, "green", "green"),
    ORV_MATRIX("GB", -0.337, "green", "blue"),
    ORV_MATRIX("BR", 0.131, "blue", "red"),
    ORV_MATRIX("BG", -0.445, "blue", "green"),
    ORV_MATRIX("BB", 1.314, "blue", "blue"),
    ORV_FLOAT("sharpenParam", 40, kPipelines, "above 0", "", "edge threshold of the sharpener: the higher, the less"),
    ORV_FLOAT("maxSharpen", 1, kPipelines, kGainRange, kFactor, "cap of the sharpening gain"),
    ORV_FLOAT("highLumaNoise", 2, kPipelines, kGainRange, kFactor,
              "share of the detail, noise included, that sharpening gives back in bright places"),
    ORV_FLOAT("lowLumaNoise", 0.5, kPipelines, kGainRange, kFactor,
              "share of the detail, noise included, that sharpening gives back in the dark"),
};

constexpr int kBayerCount = sizeof(kBayer) / sizeof(kBayer[0]);
constexpr int kTrueSenseCount = sizeof(kTrueSense) / sizeof(kTrueSense[0]);
static_assert(kBayerCount == 2 && kTrueSenseCount == 66, "every registered parameter");

}  // namespace

ParameterTable ParametersOf(int family) {
    switch (family) {
    case OrvFamilyBayer: return {kBayer, kBayerCount};
    case OrvFamilyTrueSense: return {kTrueSense, kTrueSenseCount};
    default: return {nullptr, 0};
    }
}

}  // namespace orv::helpers
