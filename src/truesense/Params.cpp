#include "truesense/Params.h"

#include <initializer_list>
#include <limits>

namespace orv {
namespace {

using Record = tagTrueSenseParam;

constexpr TrueSenseField Integer(const char* name, long Record::*field, long maximum, long componentDefault,
                                 long recordDefault) {
    return {name, field, nullptr, maximum, componentDefault, 0, recordDefault, 0};
}

constexpr TrueSenseField Real(const char* name, double Record::*field, double componentDefault, float recordDefault) {
    return {name, nullptr, field, 0, 0, componentDefault, 0, static_cast<double>(recordDefault)};
}

constexpr long kLargest = std::numeric_limits<long>::max();

}  // namespace

#define ORV_INTEGER(field, maximum, componentDefault, recordDefault) \
    Integer(#field, &Record::field, maximum, componentDefault, recordDefault)
#define ORV_REAL(field, value) Real(#field, &Record::field, value, static_cast<float>(value))

constexpr TrueSenseField kTrueSenseFields[kTrueSenseFieldCount] = {
    ORV_INTEGER(threads_num, 32, 0, 0),
    ORV_INTEGER(normalizationEnable, 1, 0, 0),
    ORV_INTEGER(horMirrored, 1, 0, 0),
    ORV_INTEGER(verMirrored, 1, 0, 0),
    ORV_INTEGER(monoEnable, 1, 0, 0),
    ORV_INTEGER(impulseFilterEnable, 1, 0, 1),
    ORV_INTEGER(sharpnessEnable, 1, 0, 1),
    ORV_INTEGER(darkFloor, 4096, 0, 0),
    ORV_REAL(redGain, 1.0),
    ORV_REAL(greenGain, 1.0),
    ORV_REAL(blueGain, 1.0),
    ORV_REAL(panGain, 1.0),
    ORV_REAL(globalGain, 1.0),
    ORV_REAL(analogGain, 1.0),
    ORV_REAL(ISOAnalogGain_0, 11.04),
    ORV_REAL(ISOAnalogGain_1, 17.69),
    ORV_REAL(ISOAnalogGain_2, 23.96),
    ORV_REAL(ISOAnalogGain_3, 29.91),
    ORV_REAL(ISOAnalogGain_4, 36.77),
    // The record's first slope is two units in the last place above the component's: thresholds
    // of the plain functions' noise model differ by that much.
    Real("ISOPanSlope_0", &Record::ISOPanSlope_0, 0.3179309, 0.31793097F),
    ORV_REAL(ISOPanSlope_1, 0.6009852),
    ORV_REAL(ISOPanSlope_2, 1.16587611),
    ORV_REAL(ISOPanSlope_3, 2.26059552),
    ORV_REAL(ISOPanSlope_4, 5.11044291),
    ORV_REAL(ISOPanIntercept_0, -25.07685652),
    ORV_REAL(ISOPanIntercept_1, 17.01752105),
    ORV_REAL(ISOPanIntercept_2, 185.43026),
    ORV_REAL(ISOPanIntercept_3, 831.07495077),
    ORV_REAL(ISOPanIntercept_4, 4154.73883603),
    ORV_REAL(ISOColorSlope_0, 0.16289523),
    ORV_REAL(ISOColorSlope_1, 0.30242107),
    ORV_REAL(ISOColorSlope_2, 0.58180185),
    ORV_REAL(ISOColorSlope_3, 1.15281985),
    ORV_REAL(ISOColorSlope_4, 2.53400236),
    ORV_REAL(ISOColorIntercept_0, -2.97408598),
    ORV_REAL(ISOColorIntercept_1, 15.97559859),
    ORV_REAL(ISOColorIntercept_2, 92.84640595),
    ORV_REAL(ISOColorIntercept_3, 399.49923562),
    ORV_REAL(ISOColorIntercept_4, 2080.24259272),
    ORV_INTEGER(panRadius0, kLargest, 1, 1),
    ORV_INTEGER(panRadius1, kLargest, 1, 0),
    ORV_INTEGER(panRadius2, kLargest, 1, 0),
    ORV_REAL(panSigma0, 1.7),
    ORV_REAL(panSigma1, 0.0),
    ORV_REAL(panSigma2, 0.0),
    ORV_INTEGER(colorRadius0, 1024, 1, 1),
    ORV_INTEGER(colorRadius1, 1024, 2, 2),
    ORV_INTEGER(colorRadius2, 1024, 0, 0),
    ORV_REAL(colorSigma0, 2.0),
    ORV_REAL(colorSigma1, 2.0),
    ORV_REAL(colorSigma2, 0.0),
    ORV_REAL(RR, 1.657),
    ORV_REAL(RG, -0.5325),
    ORV_REAL(RB, -0.1245),
    ORV_REAL(GR, -0.106),
    ORV_REAL(GG, 1.443),
    ORV_REAL(GB, -0.337),
    ORV_REAL(BR, 0.131),
    ORV_REAL(BG, -0.445),
    ORV_REAL(BB, 1.314),
    ORV_REAL(sharpenParam, 40.0),
    ORV_REAL(maxSharpen, 1.0),
    ORV_REAL(highLumaNoise, 2.0),
    ORV_REAL(lowLumaNoise, 0.5),
};

#undef ORV_INTEGER
#undef ORV_REAL

OutputLayout OutputLayoutOf(uint32_t pixelType) {
    switch (pixelType) {
    case OrvPixelRGB8: return {true, true, false, false};
    case OrvPixelBGR8: return {true, true, false, true};
    case OrvPixelRGBA8: return {true, true, true, false};
    case OrvPixelBGRA8: return {true, true, true, true};
    case OrvPixelRGB10:
    case OrvPixelRGB12:
    case OrvPixelRGB14:
    case OrvPixelRGB16: return {true, false, false, false};
    case OrvPixelBGR10:
    case OrvPixelBGR12:
    case OrvPixelBGR14:
    case OrvPixelBGR16: return {true, false, false, true};
    default: return {};
    }
}

}  // namespace orv

uint32_t TrueSense_DefaultValues(tagTrueSenseParam* param) {
    *param = tagTrueSenseParam{};
    for (const orv::TrueSenseField& field : orv::kTrueSenseFields) {
        if (field.integer != nullptr) {
            param->*field.integer = field.recordInteger;
        } else {
            param->*field.real = field.recordReal;
        }
    }
    return 0;
}

int PixelTypeToTruesenseGrid(unsigned long pixelType) {
    for (const unsigned long first :
         {OrvPixelTrueSense8, OrvPixelTrueSense10, OrvPixelTrueSense12, OrvPixelTrueSense14}) {
        if (pixelType >= first && pixelType < first + 16) {
            const unsigned long position = pixelType - first;
            // Bits 1 and 2 of the position change places.
            return static_cast<int>((position & 9) | ((position & 2) << 1) | ((position & 4) >> 1));
        }
    }
    return orv::kNoTrueSenseGrid;
}
