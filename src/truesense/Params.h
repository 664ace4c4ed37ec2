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
