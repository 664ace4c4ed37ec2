// Output stage of the 12-bit engines: colour matrix, clamp to 12 bits, tone table, shift to the depth of the
// destination, channel order, mirrored walk.
#ifndef ORV_TRUESENSE_OUTPUTROWS_H
#define ORV_TRUESENSE_OUTPUTROWS_H

#include <cstddef>
#include <cstdint>

#include "truesense/GridFrame.h"

namespace orv {

// Bits from a 12-bit tone to a sample of `bits`, or to 16 bits with `normalize`: positive left, negative right. `ok`
// false for a depth outside 8, 10, 12, 14, 16 without `normalize`.
int OutputShift(int bits, bool normalize, bool* ok);

// Finished samples of type T by 12-bit value.
template <class T>
struct OutputTable {
    T entries[4096];

    // `shift` as of OutputShift; a right shift is that of a signed tone, other tones count as unsigned; the low bits
    // stay.
    void Fill(const int16_t* toneTable, int shift);
};

// True for 1.0 on the diagonal and 0.0 elsewhere.
bool IsIdentity(const double (&matrix)[9]);

// Writes rows of colour planes to the destination. Three samples per pixel are written, a fourth one is skipped.
template <class T>
struct OutputRows {
    T* dst;                // first sample of the region
    RegionWalk walk;       // over the region, in samples
    bool bgr;              // blue first
    const double* matrix;  // nine factors row by row, or null for none; green, red, blue terms are added in this order
    const OutputTable<T>* table;
    bool bounded;  // the planes hold values of 12 bits, so that nothing needs a clamp; with no matrix only

    // Row `y` of the region from `n` samples of each plane, int16_t or int32_t; values outside 12 bits are clamped.
    template <class Value>
    void Write(int y, const Value* red, const Value* green, const Value* blue, int n) const;
};

}  // namespace orv

#endif
