// Noise cleaning of the half-size planes in the parallel pipeline: sigma filter passes, each from one plane to another.
#ifndef ORV_PIPELINE_LOWCLEANING_H
#define ORV_PIPELINE_LOWCLEANING_H

#include "pipeline/KodakLikeSettings.h"
#include "pipeline/Lines.h"

namespace orv {

// Planes of n columns. The codes before the first pass are whole; those after it are 16.16.
struct LowPlanes {
    int n, rows;
    Lines<int16_t> colorDiff;           // of the first half of the pipeline: gamma codes
    Lines<int16_t> panSum;              // four codes added up
    Lines<int32_t> color[2], pan[2];    // work planes
    const KodakLikeSettings* settings;  // with the passes

    // The plane that the last pass wrote; null lines where no pass ran.
    Lines<int32_t> CleanColor() const;
    Lines<int32_t> CleanPan() const;
};

constexpr int kColorFraction = 16;  // bits from colorDiff to 16.16
constexpr int kPanFraction = 14;    // bits from panSum to 16.16

// Bytes of scratch memory that one band needs.
size_t CleaningScratchBytes(int n);

// The passes number `pass`, from 0, of both planes on rows [y0, y1), where there are any.
void CleanRows(const LowPlanes& planes, int pass, int y0, int y1, void* scratch);

}  // namespace orv

#endif
