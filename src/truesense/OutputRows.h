// Output stage of the 12-bit engines: colour matrix, clamp to 12 bits, tone table, shift to the depth of the
// destination, channel order, mirrored walk.
#ifndef ORV_TRUESENSE_OUTPUTROWS_H
#define ORV_TRUESENSE_OUTPUTROWS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "truesense/GridFrame.h"

namespace orv {

// Bits from a 12-bit tone to a sample of `bits`, or to 16 bits with `normalize`: positive left, negative right. `ok`
// false for a depth outside 8, 10, 12, 14, 16 without `normalize`.
int OutputShift(int bits, bool normalize, bool* ok);

// Finished samples of type T by 12-bit value, each at the upper end of a word of zeros. The 32 bits from a place within
// that word on have the sample lower down and zeros of the next word above it: so the samples of a word of the
// destination are or-ed together, which is stored at once.
template <class T>
struct OutputTable {
    static constexpr int kPlaces = 4 / static_cast<int>(sizeof(T));
    uint32_t entries[4096 + 1];

    // `shift` as of OutputShift; a right shift is that of a signed tone, other tones count as unsigned; the low bits
    // stay.
    void Fill(const int16_t* toneTable, int shift);

    T Sample(uint16_t v) const { return static_cast<T>(entries[v] >> (32 - 8 * sizeof(T))); }
    // The sample at one of the kPlaces places of a word, the first one in memory being 0.
    uint32_t At(int place, uint16_t v) const {
        static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "places are counted from the low end");
        uint32_t word;
        std::memcpy(&word, reinterpret_cast<const unsigned char*>(entries + v + 1) - (place + 1) * sizeof(T), 4);
        return word;
    }
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
