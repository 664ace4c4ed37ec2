// What the parameters of a frame come to in the parallel pipeline: tables, thresholds, switches.
#ifndef ORV_PIPELINE_PARALLEL_KODAKLIKESETTINGS_H
#define ORV_PIPELINE_PARALLEL_KODAKLIKESETTINGS_H

#include <cstdint>

#include "OrvTrueSense.h"
#include "pipeline/Arithmetic.h"

namespace orv {

// The sites of the cell by their factors.
enum Site { kPanSite, kRedSite, kGreenSite, kBlueSite, kSites };

// The steps from a sample of the mosaic to a balanced one. A step that changes nothing is left out, limits included: a
// sample with stray high bits passes a front end without steps.
struct FrontEnd {
    bool hasFloor;          // also for a floor of 0, which leaves the limits
    int32_t darkFloor;      // subtracted in 32 bits, wrapping
    double globalGain;      // 1.0: no step
    double factor[kSites];  // 1.0: no step

    bool IsPlain() const;
};

// One pass of a sigma filter.
struct SigmaPass {
    int spacing;
    bool limitsOfLast;    // the limits are those of the pass before
    int16_t limit[1024];  // by gamma code: how far a neighbour may lie, in the unit of the plane before the first pass
};

// The passes of one plane that are to run and reach an interior.
struct SigmaPasses {
    int count;
    SigmaPass pass[3];
};

struct KodakLikeSettings {
    bool impulse, sharpen, mono;
    FrontEnd frontEnd;
    int16_t balanced[kSites][4096];  // the front end over 12-bit samples
    int16_t gamma[4096];             // L12 to G10
    float linear[1024];              // G10 to L12
    int16_t linear16[1024];          // the same
    float matrix[9];
    float maxSharpen;
    SharpenTables<1024> sharpening;

    // `color` and `pan` receive the passes over half-size planes of qw by qh.
    void Fill(const tagTrueSenseParam& param, int qw, int qh, SigmaPasses* color, SigmaPasses* pan);
};

// Samples of one row's pan or colour sites through the front end, `even` and `odd` the factors of its lanes.
void BalanceRow(const FrontEnd& frontEnd, double even, double odd, const int16_t* samples, int n, int16_t* balanced);

}  // namespace orv

#endif
