// Check numbers: hashes of whole results, one for each group of conversions.
#ifndef ORV_TESTS_CHECKNUMBERS_H
#define ORV_TESTS_CHECKNUMBERS_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/Image.h"

namespace orvtest {

// FNV-1a over bytes; `hash` continues an earlier one.
uint64_t HashBytes(const void* bytes, size_t count, uint64_t hash = 0xCBF29CE484222325ULL);

struct GroupNumber {
    std::string name;
    uint64_t hash;
};

// The numbers of one run, group by group.
class CheckNumbers {
public:
    // Names of groups start with `only`; `printCases` prints every conversion by itself.
    CheckNumbers(std::string only, bool printCases) : only_(std::move(only)), printCases_(printCases) {}

    // Starts a group; false when it is not wanted.
    bool Begin(const std::string& name);
    // Adds a conversion: its status and the whole destination buffer, so that stray writes count.
    void Add(const std::string& what, uint32_t status, const Image& result);

    const std::vector<GroupNumber>& Groups() const { return groups_; }

private:
    std::string only_;
    bool printCases_;
    std::vector<GroupNumber> groups_;
};

// The conversions. `threads` is the team size of every one that takes a number.
void CheckTrueSense(CheckNumbers& numbers, int threads);
void CheckBayer(CheckNumbers& numbers);

// Every colour word; the first four are those of 8 bits.
constexpr uint32_t kColourWords[] = {OrvPixelRGB8,  OrvPixelBGR8,  OrvPixelRGBA8, OrvPixelBGRA8,
                                     OrvPixelRGB10, OrvPixelBGR10, OrvPixelRGB12, OrvPixelBGR12,
                                     OrvPixelRGB14, OrvPixelBGR14, OrvPixelRGB16, OrvPixelBGR16};

enum class Content {
    Noise,     // any sample from 0 to the top
    Scene,     // slopes and edges with a little noise, and single outliers
    Extremes,  // 0 or the top
};
// Fills the frame row by row with samples of 0 to `top`; row padding keeps the guard value.
void FillFrame(Image& frame, Content content, uint64_t seed, uint32_t top);
void FillFlat(Image& frame, uint32_t value);

// A packed frame for the word, or one with `padding` bytes behind each row.
Image FrameOf(uint32_t word, int bitDepth, int width, int height, int padding = 0);

}  // namespace orvtest

#endif
