// Noise cleaning of the half-size planes in the parallel pipeline: passes of sigma filters.
//
// Passes of small spacing follow each other row by row in line rings, at the pace of the strip that reads their result;
// wide ones run over the whole plane each.
#ifndef ORV_PIPELINE_PARALLEL_LOWCLEANING_H
#define ORV_PIPELINE_PARALLEL_LOWCLEANING_H

#include "pipeline/parallel/KodakLikeSettings.h"
#include "rows/Lines.h"

namespace orv {

constexpr int kColorFraction = 16;  // bits from the codes of a colour difference to 16.16
constexpr int kPanFraction = 14;    // from the sum of four pan codes

// A plane and the way it is cleaned.
struct LowPlane {
    int n, rows;
    bool color;             // colour differences, else pan
    Lines<int16_t> codes;   // before the first pass: differences of gamma codes, sums of four
    Lines<int16_t> panSum;  // the codes of pan
    SigmaPasses passes;
    Lines<int32_t> work[2];  // 16.16, results of passes over the whole plane in turn

    // True when the passes fit line rings.
    bool InRings() const;
    // Makes rows [y0, y1) of pass number `pass`, from 0, of a plane that is not cleaned in rings.
    void Clean(int pass, int y0, int y1, void* scratch) const;
};

// Bytes of scratch memory for one band of LowPlane::Clean.
size_t CleaningScratchBytes(int n);

// The cleaned rows of a plane, 16.16, in order.
class CleanRows {
public:
    // Results are wanted for rows from `y0` to `y1`, the last kKept of them at a time.
    CleanRows(const LowPlane& plane, int y0, int y1, LineCutter* cutter);
    static constexpr int kKept = 4;
    static void CutMost(int n, LineCutter* cutter);

    // Rows that come before the first one wanted.
    int Lead() const { return 2 * ahead_[0]; }
    // To be called for t from y0 - Lead() on: makes row t of the result, where it is wanted.
    void Step(int t) const;
    const int32_t* operator[](int y) const { return result_[y]; }

private:
    const LowPlane& plane_;
    int y0_, y1_;
    int ahead_[3] = {};        // rows that a pass is ahead of the last one
    Lines<int32_t> rings_[3];  // by pass
    Lines<int32_t> result_;
    Lines<int16_t> limits_[3];  // by pass
    int16_t* codes_;
};

}  // namespace orv

#endif
