// A production line's days in short: many cameras at once, and a long shift of one process.
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <opencv2/core/utility.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "checks/CheckNumbers.h"
#include "support/Components.h"

namespace {

using orvtest::FrameOf;
using orvtest::Image;

constexpr char kUsage[] =
    "usage: orv_soak cameras [FRAMES]  eight components on eight threads give what each gives alone; 10000 in all\n"
    "       orv_soak race [FRAMES]     the same without OpenCV's threads, which the thread sanitizer misreads; 500\n"
    "       orv_soak shift [FRAMES]    memory, threads and descriptors stay while all else changes; 100000\n";
constexpr int kTeam = 3;  // threads for TrueSense cameras, the most of a shift

constexpr struct {
    int bits;
    uint32_t bayer;  // four words follow one another
    OrvPixelType trueSense;
    uint32_t colour;  // the same with blue first follows
} kDepths[] = {{8, OrvPixelBayerGR8, OrvPixelTrueSense8, OrvPixelRGB8},
               {10, OrvPixelBayerGR10, OrvPixelTrueSense10, OrvPixelRGB10},
               {12, OrvPixelBayerGR12, OrvPixelTrueSense12, OrvPixelRGB12},
               {14, OrvPixelBayerGR14, OrvPixelTrueSense14, OrvPixelRGB14},
               {16, OrvPixelBayerGR16, OrvPixelTrueSense14, OrvPixelRGB16}};

// Frames of one camera, each another one. Settings change with every scene; the same for the same seed.
class Camera {
public:
    // Frames of up to `side` by `side` pixels of a TrueSense or a Bayer sensor, teams of `team` threads.
    Camera(bool trueSense, uint32_t side, int team, uint64_t seed)
        : trueSense_(trueSense), side_(side), team_(team), noise_(seed), change_(static_cast<uint32_t>(seed)) {}
    // For a shift: both mosaics by components and plain functions, a scene a frame, teams of up to kTeam threads. What
    // memory depends on comes again after kPeriod frames, so that what grows then is lost; parameters go on changing.
    explicit Camera(uint32_t side) : Camera(false, side, 0, 0) { shift_ = true; }

    // Converts one frame. Hash of the destination buffer.
    uint64_t Next() {
        if (shift_ && frame_ % kPeriod == 0) {
            noise_ = orvtest::Noise(change_ = 0);
        }
        if (shift_ || frame_ % kScene == 0) {
            Change();
        }
        FillFrame(*source_, orvtest::Content::Scene, frame_++, (1U << source_->record.bitDepth) - 1);
        result_->Refill();
        const uint32_t status = Convert();
        if (status != 0) {
            std::printf("a conversion failed: %s\n", OrvStatusText(status));
            std::exit(1);
        }
        return orvtest::HashBytes(result_->bytes.data(), result_->bytes.size());
    }

private:
    static constexpr uint64_t kPeriod = 250, kScene = 8;

    double Gain() { return 0.05 + values_.Below(1000) / 1500.0; }

    uint32_t Convert() {
        if (function_) {
            return trueSense_ ? TrueSenseToColor(&source_->record, &result_->record, &param_, algorithm_, oneShot_)
                              : BayerToColor(&source_->record, &result_->record, algorithm_);
        }
        return trueSense_ ? component_->Convert(*source_, *result_) : bayer_->Convert(*source_, *result_);
    }

    void Change() {
        trueSense_ = shift_ ? noise_.Below(2) == 0 : trueSense_;
        algorithm_ = static_cast<int>(change_++ % (trueSense_ ? 5 : 3));
        const auto& depth = kDepths[noise_.Below(5)];
        const int w = static_cast<int>(4 + noise_.Below(side_ - 3));
        const int h = static_cast<int>(4 + noise_.Below(side_ - 3));
        // Above 8 bits the adaptive algorithm takes rows of an even number of samples.
        source_.emplace(
            FrameOf(trueSense_ ? OrvPixelTrueSense(depth.trueSense, noise_.Below(16)) : depth.bayer + noise_.Below(4),
                    depth.bits, w, h, depth.bits == 8 ? 0 : w % 2 * 2));
        // Of TrueSense frames above 8 bits every word, but that the fifth algorithm takes none of 8 from 10.
        const uint32_t first = depth.bits == 10 ? 4 : 0;
        const uint32_t any = orvtest::kColourWords[first + noise_.Below(depth.bits == 8 ? 4 : 12 - first)];
        result_.emplace(FrameOf(trueSense_ ? any : depth.colour + noise_.Below(2), depth.bits, w, h));
        function_ = shift_ && noise_.Below(3) == 0;
        oneShot_ = noise_.Below(2) == 0;
        if (trueSense_) {
            ChangeTrueSense();
            return;
        }
        if (bayer_ == nullptr || noise_.Below(3) == 0) {
            bayer_ = std::make_unique<orvtest::BayerComponent>(algorithm_);
        }
        bayer_->Set("BayerAlgType", algorithm_);
        (*bayer_)->ReleaseData();  // the adaptive algorithm asks for it when sizes change
    }

    void ChangeTrueSense() {
        const long team = shift_ ? static_cast<long>(noise_.Below(kTeam + 1)) : team_;
        const uint32_t start = noise_.Below(4);
        if (component_ == nullptr || start == 0) {
            component_ = std::make_unique<orvtest::TrueSenseComponent>(algorithm_);
        } else if (start == 1) {
            (*component_)->ReleaseData();
        } else if (start == 2) {
            (*component_)->AllocData(&source_->record, &result_->record);
        }
        OrvComponent& view = *(*component_)->GetComponent();
        for (int i = 0; i < view.GetParamCount(); ++i) {
            char name[32];
            unsigned length = sizeof name;
            view.GetParamName(static_cast<unsigned>(i), name, &length);
            if (view.SetParamFloat(name, Gain()) != 0) {
                view.SetParamInt(name, static_cast<long>(noise_.Below(4)));  // flags refuse 2 and 3
            }
        }
        component_->Set("TrueSenseAlgType", algorithm_);
        component_->Set("threads_num", team);
        TrueSense_DefaultValues(&param_);
        param_.threads_num = team;
        param_.redGain = Gain();
    }

    bool trueSense_, shift_ = false, function_ = false, oneShot_ = false;
    uint32_t side_;
    int team_;
    orvtest::Noise noise_, values_{1};
    uint32_t change_;
    uint64_t frame_ = 0;
    int algorithm_ = 0;
    std::optional<Image> source_, result_;
    std::unique_ptr<orvtest::BayerComponent> bayer_;
    std::unique_ptr<orvtest::TrueSenseComponent> component_;
    tagTrueSenseParam param_{};
};

int Cameras(int frames) {
    constexpr int kCameras = 8;
    const auto run = [&](int camera, int threads) {
        const bool trueSense = camera % 2 == 0;
        const uint32_t side = 96 << camera / 2 % 3;  // the largest Bayer frames go to OpenCV's threads
        Camera one(trueSense, side, threads, static_cast<uint64_t>(camera));
        std::vector<uint64_t> hashes;
        for (int i = camera; i < frames; i += kCameras) {
            hashes.push_back(one.Next());
        }
        return hashes;
    };
    std::vector<uint64_t> alone[kCameras], together[kCameras];
    std::vector<std::thread> threads;
    for (int camera = 0; camera < kCameras; ++camera) {
        alone[camera] = run(camera, 1);
    }
    for (int camera = 0; camera < kCameras; ++camera) {
        threads.emplace_back([&, camera] { together[camera] = run(camera, kTeam); });
    }
    int wrong = 0;
    for (int camera = 0; camera < kCameras; ++camera) {
        threads[static_cast<size_t>(camera)].join();
        for (size_t i = 0; i < alone[camera].size(); ++i) {
            wrong += alone[camera][i] != together[camera][i] ? 1 : 0;
        }
    }
    std::printf("%d frames of %d cameras at once, TrueSense teams of %d: %d differ from those of each camera alone\n",
                frames, kCameras, kTeam, wrong);
    return wrong == 0 ? 0 : 1;
}

// The most so far, KiB.
long PeakResident() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line) && line.compare(0, 6, "VmHWM:") != 0) {
    }
    return std::atol(line.c_str() + 6);
}

// Entries of a folder of the process. Threads that have ended may be seen for a moment more.
int Count(const char* folder, int expected = 0) {
    int count = 0;
    for (int i = 0; i == 0 || (i < 1000 && count > expected && expected > 0); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(i > 0 ? 1 : 0));
        count = static_cast<int>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    return count;
}

int Shift(int frames) {
    constexpr int kWarm = 1000;
    constexpr long kSlack = 1024;
    constexpr char kThreads[] = "/proc/self/task", kDescriptors[] = "/proc/self/fd";
    const int threads = Count(kThreads), descriptors = Count(kDescriptors);
    long warm = 0;
    {
        Camera camera(96);
        for (int i = 1; i <= frames; ++i) {
            if (i % 50 == 0) {
                std::thread([&] { camera.Next(); }).join();  // what a thread keeps ends with it
            } else {
                camera.Next();
            }
            warm = i == std::min(kWarm, frames) ? PeakResident() : warm;
        }
    }
    const long peak = PeakResident();
    const int most = 2 * std::max(kTeam, omp_get_num_procs()) - 1;  // teams of two callers, where threads outlive one
    const int pool = Count(kThreads, most);
    omp_pause_resource_all(omp_pause_hard);  // ends OpenMP's pool, which is the process's
    const int left = Count(kThreads, threads), open = Count(kDescriptors);
    std::printf(
        "%d frames: resident set at most %ld KiB in the first %d, %ld KiB in all; threads: %d before, %d after, "
        "%d without OpenMP's pool; descriptors: %d before, %d after\n",
        frames, warm, kWarm, peak, threads, pool, left, descriptors, open);
    return peak - warm <= kSlack && pool <= most && left == threads && open == descriptors ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    const int usual = mode == "cameras" ? 10000 : mode == "race" ? 500 : mode == "shift" ? 100000 : 0;
    const int frames = argc > 2 && usual > 0 ? std::atoi(argv[2]) : usual;
    if (frames < 1) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (mode == "race") {
        cv::setNumThreads(1);
    }
    return mode == "shift" ? Shift(frames) : Cameras(frames);
}
