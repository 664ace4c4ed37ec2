// Check numbers: hashes of whole results, one for each group of conversions.
#ifndef ORV_TESTS_CHECKNUMBERS_H
#define ORV_TESTS_CHECKNUMBERS_H

#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "support/Frames.h"

namespace orvtest {

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
    bool Begin(const std::string& name) {
        const bool wanted = name.compare(0, only_.size(), only_) == 0;
        if (wanted) {
            groups_.push_back({name, HashBytes(nullptr, 0)});
        }
        return wanted;
    }
    // Adds a conversion: its status and the whole destination buffer, so that stray writes count.
    void Add(const std::string& what, uint32_t status, const Image& result) {
        const uint64_t hash = HashBytes(result.bytes.data(), result.bytes.size(), HashBytes(&status, sizeof status));
        GroupNumber& group = groups_.back();
        group.hash = HashBytes(&hash, sizeof hash, group.hash);
        if (printCases_) {
            std::printf("%s: %s: status 0x%08" PRIx32 ", %016" PRIx64 "\n", group.name.c_str(), what.c_str(), status,
                        hash);
        }
    }

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

}  // namespace orvtest

#endif
