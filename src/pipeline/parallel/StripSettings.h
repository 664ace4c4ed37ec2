// What the parameters of a frame come to in strips: tables, thresholds, switches.
#ifndef ORV_PIPELINE_PARALLEL_STRIPSETTINGS_H
#define ORV_PIPELINE_PARALLEL_STRIPSETTINGS_H

#include <array>
#include <cstdint>

#include "OrvTrueSense.h"
#include "pipeline/Arithmetic.h"
#include "pipeline/reference/ImageProcess.h"

namespace orv {

// The sites of the cell by their factors.
enum Site { kPanSite, kRedSite, kGreenSite, kBlueSite, kSites };

// The steps from a sample of the mosaic to a balanced one.
struct FrontEnd {
    bool hasFloor;          // also for a floor of 0, which leaves the limits
    int32_t darkFloor;      // subtracted in 32 bits, wrapping
    double globalGain;      // 1.0: no step
    double factor[kSites];  // 1.0: no step

    // True when 12-bit samples stay as they are.
    bool IsPlain() const;
};

// One pass of a sigma filter.
struct SigmaPass {
    int spacing;
    bool limitsOfLast;    // the limits are those of the pass before
    int16_t limit[1024];  // by gamma code: how far a neighbour may lie, in the unit of the plane before the first pass
    bool filled;          // the limits are those of `source`, be it of a frame before
    std::array<uint32_t, 4> source;  // bits of the numbers that the limits come from: zeros of either sign differ
};

// The passes of one plane that are to run and reach an interior.
struct SigmaPasses {
    int count;
    SigmaPass pass[3];
};

// Zero when new. Filled for every frame anew; what did not change since the last one stays.
struct StripSettings {
    bool impulse, sharpen, mono;
    FrontEnd frontEnd;
    int16_t balanced[kSites][4096];  // the front end over 12-bit samples
    int16_t gamma[4096];             // L12 to G10
    float linear[1024];              // G10 to L12
    float matrix[9];
    float maxSharpen;
    SigmaPasses color, pan;  // over half-size planes
};

// Of the parallel form.
struct KodakLikeSettings : StripSettings {
    int16_t linear16[1024];  // G10 to L12
    SharpenTables<1024> sharpening;

    // For half-size planes of qw by qh.
    void Fill(const tagTrueSenseParam& param, int qw, int qh);
};

// Of the reference form.
struct KodakSettings : StripSettings {
    int16_t tone[4096];             // of L12, the low byte
    uint8_t toneOfPan[4096];        // of the gamma code of L12
    int16_t toneOfCode[1024];       // of G10
    SharpenTables<256> sharpening;  // over a tone, which is read as the gamma code of the same number

    // True when the tone table, null or of the caller, is one of 8 bits as far as it is reached from gamma codes.
    static bool Takes(const ImageProcessParam& param);
    void Fill(const ImageProcessParam& param, int qw, int qh);
};

}  // namespace orv

#endif
