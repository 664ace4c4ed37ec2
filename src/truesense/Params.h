// The settings of the TrueSense engines and the source words they come with.
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

}  // namespace orv

#endif
