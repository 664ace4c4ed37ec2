// One table of ratios: every engine against OpenCV's bilinear conversion of an 8-bit frame of the same size on one
// thread.
//
// Runs of the engine and of the reference alternate, so that a busy machine slows both; each is the second of two, so
// that both find their own frames in the caches. The best and the 25 % quantile of each are compared. The last column
// is the memory that an engine keeps after a frame.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>

#include "Cases.h"
#ifdef ORV_BENCH_LEVELS
#include "rows/Simd.h"
#endif

namespace {

using orvbench::FrameRun;

struct Options {
    std::vector<std::string> sizes = {"2", "5", "12"};
    std::vector<int> threads = {1, 2};
    std::string filter;
    int repetitions = 40;
    double seconds = 5;
    bool overhead = false;
    bool small = false;
    bool helpers = false;
};

double Seconds(const FrameRun& run) {
    const auto start = std::chrono::steady_clock::now();
    if (run() != 0) {
        throw std::runtime_error("a conversion failed");
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Bytes allocated and not freed.
double Held() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

struct Times {
    std::vector<double> seconds;

    double Best() const { return *std::min_element(seconds.begin(), seconds.end()); }
    double Quarter() const {
        std::vector<double> sorted = seconds;
        const auto at = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 4);
        std::nth_element(sorted.begin(), at, sorted.end());
        return *at;
    }
};

// Alternates reference and engine until `repetitions` or the time is spent, at least five times.
void Alternate(const Options& options, const FrameRun& reference, const FrameRun& engine, int threads,
               Times* ofReference, Times* ofEngine) {
    const auto start = std::chrono::steady_clock::now();
    const auto spent = [&start] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    for (int i = 0; i < options.repetitions && (i < 5 || spent() < options.seconds); ++i) {
        orvbench::UseThreads(1);
        reference();
        ofReference->seconds.push_back(Seconds(reference));
        orvbench::UseThreads(threads);
        engine();  // as the reference: planes, caches, and threads that a changed count makes OpenCV start anew
        ofEngine->seconds.push_back(Seconds(engine));
    }
}

orvbench::Size FindSize(const std::string& text) {
    for (const orvbench::Size& size : orvbench::kSizes) {
        if (text == size.name) {
            return size;
        }
    }
    orvbench::Size size = {text.c_str(), 0, 0};
    if (std::sscanf(text.c_str(), "%dx%d", &size.width, &size.height) != 2 || size.width < 8 || size.height < 8 ||
        size.width > 20000 || size.height > 20000) {
        throw std::runtime_error("--sizes: '" + text + "' is none of 2, 5, 12, 48 (Mpixel) and no WxH from 8x8 on");
    }
    return size;
}

void PrintTable(const Options& options) {
    std::printf("| Engine | bits | size | threads | Mpixel/s | ns/pixel | R best | R 25 %% | runs | kept B/pixel |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|\n");
    for (const orvbench::Case& each : orvbench::AllCases()) {
        if (each.name.find(options.filter) == std::string::npos) {
            continue;
        }
        for (const std::string& name : options.sizes) {
            const orvbench::Size size = FindSize(name);
            const double pixels = static_cast<double>(size.width) * size.height;
            const FrameRun reference = orvbench::ReferenceRun(size.width, size.height);
            for (const int threads : options.threads) {
                const FrameRun engine = each.make(size.width, size.height, threads);
                orvbench::UseThreads(threads);
                const double before = Held();
                engine();
                const double kept = (Held() - before) / pixels;
                Times ofReference;
                Times ofEngine;
                Alternate(options, reference, engine, threads, &ofReference, &ofEngine);
                std::printf("| %s | %d | %dx%d | %d | %.0f | %.2f | %.3f | %.3f | %zu | %.2f |\n", each.name.c_str(),
                            each.bits, size.width, size.height, threads, pixels / ofEngine.Best() * 1e-6,
                            ofEngine.Best() / pixels * 1e9, ofReference.Best() / ofEngine.Best(),
                            ofReference.Quarter() / ofEngine.Quarter(), ofEngine.seconds.size(), kept);
                std::fflush(stdout);
            }
        }
    }
}

// Time of a 16-bit memcpy of a frame over that of a helper that makes or reads one.
void PrintHelpers(const Options& options) {
    std::printf("| Layout | size | memcpy / helper, best | 25 %% |\n|---|---|---|---|\n");
    for (const orvbench::Case& each : orvbench::HelperCases()) {
        for (const std::string& name : options.sizes) {
            const orvbench::Size size = FindSize(name);
            Times ofCopy;
            Times ofHelper;
            Alternate(options, orvbench::CopyReferenceRun(size.width, size.height),
                      each.make(size.width, size.height, 1), 1, &ofCopy, &ofHelper);
            std::printf("| %s | %dx%d | %.2f | %.2f |\n", each.name.c_str(), size.width, size.height,
                        ofCopy.Best() / ofHelper.Best(), ofCopy.Quarter() / ofHelper.Quarter());
        }
    }
}

// Microseconds of small frames, and what of them is no pixel's: four of the smaller frame have the pixels of the larger
// one, and three calls more.
void PrintSmall(const Options& options) {
    std::printf(
        "| Engine | bits | threads | 320x240, us | 640x480, us | beyond pixels, us |\n|---|---|---|---|---|---|\n");
    for (const orvbench::Case& each : orvbench::AllCases()) {
        if (each.name.find(options.filter) == std::string::npos) {
            continue;
        }
        for (const int threads : options.threads) {
            orvbench::UseThreads(threads);
            const FrameRun smaller = each.make(320, 240, threads);
            const FrameRun larger = each.make(640, 480, threads);
            Times ofSmaller;
            Times ofLarger;
            for (int i = 0; i < 10 * options.repetitions; ++i) {
                smaller();
                ofSmaller.seconds.push_back(Seconds(smaller));
                larger();
                ofLarger.seconds.push_back(Seconds(larger));
            }
            const double first = ofSmaller.Best() * 1e6;
            const double second = ofLarger.Best() * 1e6;
            std::printf("| %s | %d | %d | %.0f | %.0f | %.1f |\n", each.name.c_str(), each.bits, threads, first, second,
                        (4 * first - second) / 3);
            std::fflush(stdout);
        }
    }
}

// Time of the component's bilinear conversion over that of the bare call, in batches so that small frames can be timed.
void PrintOverhead(const Options& options) {
    std::printf(
        "\n| Component overhead, Bayer 0 at 8 bits | frames | time over bare cv::cvtColor, best | 25 %% "
        "|\n|---|---|---|---|\n");
    orvbench::UseThreads(1);
    const struct { int width, height, batch; } sizes[] = {{64, 48, 5000}, {320, 240, 500}, {2592, 1944, 1}};
    for (const auto& size : sizes) {
        const auto batch = [&size](const FrameRun& run) -> FrameRun {
            return [run, count = size.batch] {
                uint32_t status = 0;
                for (int i = 0; i < count; ++i) {
                    status |= run();
                }
                return status;
            };
        };
        const FrameRun bare = batch(orvbench::ReferenceRun(size.width, size.height));
        const FrameRun component = batch(orvbench::ComponentBilinearRun(size.width, size.height));
        Times ofBare;
        Times ofComponent;
        for (int i = 0; i < options.repetitions; ++i) {
            ofBare.seconds.push_back(Seconds(bare));
            ofComponent.seconds.push_back(Seconds(component));
        }
        std::printf("| %dx%d | %d | %.3f | %.3f |\n", size.width, size.height, size.batch * options.repetitions,
                    ofComponent.Best() / ofBare.Best(), ofComponent.Quarter() / ofBare.Quarter());
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Ratios R of every engine to OpenCV's bilinear Bayer conversion (8 bits, one thread, same size).",
                 "orv_bench_table");
    app.add_option("--sizes", options.sizes, "2, 5, 12, 48 Mpixel, or WxH, with commas")->delimiter(',');
    app.add_option("--threads", options.threads, "thread counts, with commas; 1,2,4,8,16 shows the scaling")
        ->delimiter(',')
        ->check(CLI::Range(1, 32));
    app.add_option("--filter", options.filter, "only names that hold this text, for example 'TrueSense 0'");
    app.add_option("--repetitions", options.repetitions, "runs of each row")
        ->check(CLI::Range(5, 100000))
        ->capture_default_str();
    app.add_option("--seconds", options.seconds, "longest time of one row; five runs are made in any case")
        ->capture_default_str();
    app.add_flag("--overhead", options.overhead, "only the cost of the component over the bare call");
    app.add_flag("--small", options.small, "only what a call takes beyond its pixels, from two small frames");
    app.add_flag("--helpers", options.helpers, "only packed layouts and depths, against a 16-bit memcpy");
#ifdef ORV_BENCH_LEVELS
    auto level = static_cast<int>(orv::BestSimdLevel());
    app.add_option("--level", level, "instruction set: 0 baseline, 1 AVX2, 2 AVX-512")->check(CLI::Range(0, level));
#endif
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 1;
    }
#ifdef ORV_BENCH_LEVELS
    orv::SetSimdLevel(static_cast<orv::SimdLevel>(level));
#endif
    try {
        if (options.helpers) {
            PrintHelpers(options);
            return 0;
        }
        if (options.small) {
            PrintSmall(options);
            return 0;
        }
        if (!options.overhead) {
            PrintTable(options);
        }
        if (options.overhead || options.filter.empty()) {
            PrintOverhead(options);
        }
    } catch (const std::exception& error) {
        std::cerr << "orv_bench_table: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
