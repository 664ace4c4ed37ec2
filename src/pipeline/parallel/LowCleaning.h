// Noise cleaning of the half-size planes in strips, alike in both forms: passes of sigma filters.
//
// Passes of small spacing follow each other row by row in line rings, at the pace of the strip that reads their result;
// wide ones run over the whole plane each.
#ifndef ORV_PIPELINE_PARALLEL_LOWCLEANING_H
#define ORV_PIPELINE_PARALLEL_LOWCLEANING_H

#include "pipeline/parallel/StripSettings.h"
#include "rows/Lines.h"
#include "rows/StripStages.h"

namespace orv {

constexpr int kColorFraction = 16;  // bits from the codes of a colour difference to 16.16
constexpr int kPanFraction = 14;    // from the sum of four pan codes

// A plane and the way it is cleaned.
struct LowPlane {
    int n, rows;
    bool color;             // colour differences, else pan
    Lines<int16_t> codes;   // before the first pass: differences of gamma codes, sums of four
    Lines<int16_t> panSum;  // the codes of pan
    const SigmaPasses* passes;
    Lines<int32_t> work[2];  // 16.16, results of passes over the whole plane in turn

    // True when the passes fit line rings.
    bool InRings() const;
    // The pass whose limits a pass has: its own or an earlier one's.
    int LimitsOf(int pass) const;
    // Makes rows [y0, y1) of pass number `pass`, from 0, of a plane that is not cleaned in rings.
    void Clean(int pass, int y0, int y1, void* scratch) const;
};

// Bytes of scratch memory for one band of LowPlane::Clean.
size_t CleaningScratchBytes(int n);

// The stages of a strip that clean a plane row by row. The last pass is the last stage, whatever their number.
constexpr int kCleanStages = 3;

// What stage `stage` of them reads, the first one being stage `first` of the strip.
StripStage CleanStage(const LowPlane& plane, int first, int stage);

// Rows of a plane under these stages, 16.16.
class CleanRows {
public:
    template <int Stages>
    CleanRows(const LowPlane& plane, const StripPlan<Stages>& plan, int first, LineCutter* cutter)
        : plane_(plane), codes_(cutter->Line<int16_t>(plane.n)) {
        for (int stage = 0; stage < kCleanStages; ++stage) {
            const int rows = Used(stage) ? plan.RingRows(first + stage) : 1;
            rings_[stage] = cutter->Ring<int32_t>(rows, plane.n);
            limits_[stage] = cutter->Ring<int16_t>(rows, plane.n);
        }
    }

    void Make(int stage, int y) const;
    // The result.
    const int32_t* operator[](int y) const;

private:
    int PassOf(int stage) const { return stage - (kCleanStages - plane_.passes->count); }
    bool Used(int stage) const { return plane_.InRings() && (PassOf(stage) >= 0 || stage == kCleanStages - 1); }

    const LowPlane& plane_;
    int16_t* codes_;
    Lines<int32_t> rings_[kCleanStages];
    Lines<int16_t> limits_[kCleanStages];
};

}  // namespace orv

#endif
