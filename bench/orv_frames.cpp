// Frames of one engine and nothing else, for profilers and instruction counters.
//
//     orv_frames --list                 the engines of our own, one "name|bits" a line
//     orv_frames NAME BITS WxH FRAMES   converts on one thread; prints nanoseconds per pixel, best and median
//
// The counted frames run inside `CountedFrames`, after one frame that builds the planes.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Cases.h"

// Named for --toggle-collect of callgrind.
extern "C" __attribute__((noinline)) uint32_t CountedFrames(const orvbench::FrameRun& run,
                                                            std::vector<double>* seconds) {
    uint32_t status = 0;
    for (double& each : *seconds) {
        const auto start = std::chrono::steady_clock::now();
        status |= run();
        each = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    return status;
}

namespace {

// Neither copies nor OpenCV alone.
bool IsOurs(const orvbench::Case& each) {
    return each.name.compare(0, 5, "Bayer") == 0 || each.name.compare(0, 9, "TrueSense") == 0;
}

int Run(const char* name, int bits, const char* size, int frames) {
    int width = 0;
    int height = 0;
    if (std::sscanf(size, "%dx%d", &width, &height) != 2 || width < 8 || height < 8 || frames < 1) {
        std::fprintf(stderr, "orv_frames: size and number of frames are WxH, from 8x8 on, and N, from 1 on\n");
        return 1;
    }
    for (const orvbench::Case& each : orvbench::AllCases()) {
        if (each.name == name && each.bits == bits) {
            orvbench::UseThreads(1);
            const orvbench::FrameRun run = each.make(width, height, 1);
            std::vector<double> seconds(static_cast<size_t>(frames));
            if (run() != 0 || CountedFrames(run, &seconds) != 0) {
                std::fprintf(stderr, "orv_frames: the conversion failed\n");
                return 1;
            }
            std::sort(seconds.begin(), seconds.end());
            const double scale = 1e9 / (static_cast<double>(width) * height);
            std::printf("%.3f %.3f\n", seconds.front() * scale, seconds[seconds.size() / 2] * scale);
            return 0;
        }
    }
    std::fprintf(stderr, "orv_frames: no engine '%s' at %d bits; --list shows them\n", name, bits);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (const orvbench::Case& each : orvbench::AllCases()) {
            if (IsOurs(each)) {
                std::printf("%s|%d\n", each.name.c_str(), each.bits);
            }
        }
        return 0;
    }
    if (argc != 5) {
        std::fprintf(stderr, "usage: orv_frames --list | orv_frames NAME BITS WxH FRAMES\n");
        return 1;
    }
    return Run(argv[1], std::atoi(argv[2]), argv[3], std::atoi(argv[4]));
}
