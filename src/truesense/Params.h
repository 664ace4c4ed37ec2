// The settings of the TrueSense engines and the words of their frames.
#ifndef ORV_TRUESENSE_PARAMS_H
#define ORV_TRUESENSE_PARAMS_H

#include "OrvTrueSense.h"

// Grid code of a TrueSense word, 0 to 15, the same in all four depths; 255 for any other word.
int PixelTypeToTruesenseGrid(unsigned long pixelType);

namespace orv {

// One field of tagTrueSenseParam that is also a parameter of the component. Exactly one of `integer` and `real` is set.
struct TrueSenseField {
    const char* name;
    long tagTrueSenseParam::*integer;
    double tagTrueSenseParam::*real;
    long maximum;         // of integers
    long integerDefault;  // of a component
    double realDefault;   // of a component
    long recordInteger;   // of a plain record
    double recordReal;    // of a plain record: single precision
};

constexpr int kTrueSenseFieldCount = 64;

// The fields in the order of the record.
extern const TrueSenseField kTrueSenseFields[kTrueSenseFieldCount];

// The colour matrix row by row: red from red, green, blue, and so on. Real is the precision it is used in.
template <class Real>
struct ColourMatrix {
    Real factor[9];

    explicit ColourMatrix(const tagTrueSenseParam& p)
        : factor{static_cast<Real>(p.RR), static_cast<Real>(p.RG), static_cast<Real>(p.RB),
                 static_cast<Real>(p.GR), static_cast<Real>(p.GG), static_cast<Real>(p.GB),
                 static_cast<Real>(p.BR), static_cast<Real>(p.BG), static_cast<Real>(p.BB)} {}
};

// The noise model, a value for each of its five gains.
struct NoiseModel {
    double gains[5];
    double panSlopes[5], panIntercepts[5];
    double colorSlopes[5], colorIntercepts[5];

    explicit NoiseModel(const tagTrueSenseParam& p)
        : gains{p.ISOAnalogGain_0, p.ISOAnalogGain_1, p.ISOAnalogGain_2, p.ISOAnalogGain_3, p.ISOAnalogGain_4},
          panSlopes{p.ISOPanSlope_0, p.ISOPanSlope_1, p.ISOPanSlope_2, p.ISOPanSlope_3, p.ISOPanSlope_4},
          panIntercepts{p.ISOPanIntercept_0, p.ISOPanIntercept_1, p.ISOPanIntercept_2, p.ISOPanIntercept_3,
                        p.ISOPanIntercept_4},
          colorSlopes{p.ISOColorSlope_0, p.ISOColorSlope_1, p.ISOColorSlope_2, p.ISOColorSlope_3, p.ISOColorSlope_4},
          colorIntercepts{p.ISOColorIntercept_0, p.ISOColorIntercept_1, p.ISOColorIntercept_2, p.ISOColorIntercept_3,
                          p.ISOColorIntercept_4} {}
};

constexpr int kNoTrueSenseGrid = 255;  // of PixelTypeToTruesenseGrid

// How pixels of a destination word are stored.
struct OutputLayout {
    bool known = false;  // false for a word that no frame can be converted to
    bool bytes = false;  // 8-bit samples
    bool alpha = false;  // four channels
    bool bgr = false;
};
OutputLayout OutputLayoutOf(uint32_t pixelType);

}  // namespace orv

#endif
