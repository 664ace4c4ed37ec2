// The Bayer-like reconstruction on whole planes, with OpenCV's Bayer conversion and resizing: for samples of any value
// and planes of any size. It defines what the strips compute for samples of 12 bits.
//
// The 2 by 2 blocks of the cell are the sites of the half-size mosaic, each with two colour samples on its
// anti-diagonal:
//
//     B G
//     G R
#ifndef ORV_ENGINES_BAYERLIKEPLANES_H
#define ORV_ENGINES_BAYERLIKEPLANES_H

#include <opencv2/core.hpp>

#include "truesense/TrueSenseEngine.h"

namespace orv {

class BayerLikePlanes {
public:
    // Reconstructs the mosaic of `W` by `H` samples, multiples of 4, on `workers` threads and hands all rows to `sink`;
    // pan completes the mosaic in its place. Sums are 32-bit, stored samples signed 16-bit; OpenCV's subtractions and
    // additions saturate. Returns 0, 9 when memory for the planes ran out, or 1 when a later OpenCV call threw; but for
    // 0 nothing has reached the sink.
    int Reconstruct(int16_t* mosaic, int W, int H, int workers, const ColourRowSink& sink);

private:
    bool Create(int16_t* mosaic, int W, int H, int workers);
    int16_t PanAt(int y, int x) const;
    void CompleteRow(int y);
    void FillBlocks(int y);
    void AverageBlocks(int y);
    void Widen();
    void Finish(const ColourRowSink& sink, int worker, int y);

    AlignedBuffer memory_;  // of all planes below but pan
    cv::Mat pan_;           // the mosaic's memory
    cv::Mat mosaic_;        // differences colour - pan
    cv::Mat low_;           // their half-size mosaic
    cv::Mat lowDiff_;       // demosaiced: red, green, blue
    cv::Mat fullDiff_;      // in full size
    cv::Mat rows_;          // three 32-bit rows per worker
};

}  // namespace orv

#endif
