// Every engine, its peers and the helpers under Google Benchmark: megapixels per second by depth, size and threads.
#include <benchmark/benchmark.h>

#include "Cases.h"

namespace {

void Measure(benchmark::State& state, const orvbench::Case& each, const orvbench::Size& size, int threads) {
    orvbench::UseThreads(threads);
    const orvbench::FrameRun run = each.make(size.width, size.height, threads);
    run();  // the planes of an engine come with its first frame
    for (auto _ : state) {
        if (run() != 0) {
            state.SkipWithError("the conversion failed");
            break;
        }
    }
    const double megapixels = 1e-6 * size.width * size.height;
    state.counters["Mpixel/s"] =
        benchmark::Counter(megapixels * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    std::vector<orvbench::Case> cases = orvbench::AllCases();
    for (const orvbench::Case& each : orvbench::HelperCases()) {
        cases.push_back(each);
    }
    for (const orvbench::Case& each : cases) {
        for (int size = 0; size < 3; ++size) {
            for (const int threads : {1, 2}) {
                const std::string name = each.name + "/bits:" + std::to_string(each.bits) +
                                         "/Mpixel:" + orvbench::kSizes[size].name +
                                         "/threads:" + std::to_string(threads);
                benchmark::RegisterBenchmark(name.c_str(),
                                             [&each, size, threads](benchmark::State& state) {
                                                 Measure(state, each, orvbench::kSizes[size], threads);
                                             })
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
