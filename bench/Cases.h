// What the benchmarks run: every engine behind its component, and the peers it is measured against.
#ifndef ORV_BENCH_CASES_H
#define ORV_BENCH_CASES_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvbench {

// Converts or copies one frame between buffers of its own; returns a status word. Buffers are allocated and touched,
// and parameters set, when the run is made.
using FrameRun = std::function<uint32_t()>;

struct Case {
    std::string name;
    int bits;
    std::function<FrameRun(int width, int height, int threads)> make;
};

// Peers first (copies and OpenCV alone), then the engines. Engines that the library refuses are left out.
std::vector<Case> AllCases();

// OpenCV's bilinear conversion of an 8-bit frame, the unit of the ratios. Runs with OpenCV's thread count in force.
FrameRun ReferenceRun(int width, int height);

// What libOrvHelpers does to frames before and after a conversion, on one thread.
std::vector<Case> HelperCases();

// memcpy of a frame of 16-bit samples, the unit of those.
FrameRun CopyReferenceRun(int width, int height);

// OpenCV's own threads and the OpenMP default, for everything that follows.
void UseThreads(int threads);

struct Size {
    const char* name;
    int width, height;
};
extern const Size kSizes[4];

// Bayer algorithm 0 through the component: the same conversion as ReferenceRun.
FrameRun ComponentBilinearRun(int width, int height);

}  // namespace orvbench

#endif
