// What a pixel word says, and the words of a depth.
#ifndef ORV_HELPERS_WORDS_H
#define ORV_HELPERS_WORDS_H

#include "OrvHelpers.h"
#include "Status.h"

namespace orv::helpers {

// Longest row and highest frame that sizes in bytes are computed for without overflow.
constexpr int64_t kMaxCount = int64_t{1} << 40;

enum class Mosaic { None, Bayer, TrueSense };

// Mosaic::None for colour words and for no word.
Mosaic MosaicOf(uint32_t word);

// Bytes of a sample that is not packed: 1 or 2.
inline int BytesPerSample(uint32_t word) { return OrvWord_Bits(word) == 8 ? 1 : 2; }

// Of a Bayer word: bit 0 set where red stands in odd columns, bit 1 where it stands in odd rows.
int BayerPhase(uint32_t word);

}  // namespace orv::helpers

#endif
