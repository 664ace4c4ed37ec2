// Every engine over the whole plane at once, on one thread and the lowest instruction-set level, against strips of any
// height, in any order, on any team, at every level.
#include <gtest/gtest.h>

#include <memory>

#include "rows/Bands.h"
#include "rows/Simd.h"
#include "support/DriverScope.h"
#include "support/Noise.h"
#include "truesense/Engines.h"

namespace {

constexpr int kWhole = 1 << 20;  // rows of a band that no plane reaches

struct Driver {
    int threads = 1, bandRows = kWhole, order = 0;
    orv::SimdLevel level = orv::SimdLevel::Baseline;

    void Apply() const {
        orv::SetBandRows(bandRows);
        orv::SetBandOrder(order);
        orv::SetSimdLevel(level);
    }
};

class Drivers : public testing::TestWithParam<long> {
    const orvtest::DriverScope restore_;
};

struct Job {
    _OrvRect rect;
    unsigned char grid;
    std::vector<unsigned short> source;
    tagTrueSenseParam param;
};

// `top` bounds the samples of 12 bits: above 4095 they have stray high bits.
Job RandomJob(orvtest::Noise* noise, int width, int height, uint32_t top) {
    Job job;
    job.rect = {0, 0, width, height};
    job.grid = static_cast<unsigned char>(noise->Below(16));
    job.source = orvtest::NoiseSamples<unsigned short>(noise->Next(), static_cast<size_t>(width * height), top);
    TrueSense_DefaultValues(&job.param);
    tagTrueSenseParam& p = job.param;
    for (long* flag : {&p.impulseFilterEnable, &p.sharpnessEnable, &p.monoEnable, &p.horMirrored}) {
        *flag = noise->Below(3) != 0 ? 1 : 0;
    }
    const long radii[] = {0, 1, 3, 17, 1000, -2};
    for (long* radius : {&p.panRadius0, &p.panRadius1, &p.colorRadius0, &p.colorRadius2}) {
        *radius = radii[noise->Below(6)];
    }
    p.panSigma1 = p.colorSigma2 = 3.0;
    p.analogGain = noise->Below(40);
    p.darkFloor = noise->Below(2) * 40;
    p.redGain = noise->Below(2) == 0 ? 1.0 : 1.31;
    p.greenGain = p.blueGain = noise->Below(2) == 0 ? 1.0 : 0.7;
    p.panGain = noise->Below(2) == 0 ? 1.0 : 0.9;
    p.globalGain = noise->Below(2) == 0 ? 1.0 : 1.2;
    if (noise->Below(2) == 0) {
        p.RR = p.GG = p.BB = 1.0;
        p.RG = p.RB = p.GR = p.GB = p.BR = p.BG = 0.0;
    }
    return job;
}

std::vector<unsigned short> Convert(long algorithm, Job job, const Driver& driver) {
    driver.Apply();
    job.param.threads_num = driver.threads;
    std::vector<unsigned short> result(job.source.size() * 3, 0x5A5A);
    const std::unique_ptr<IDemConvertion<unsigned short>> engine(
        orv::kTrueSenseEngines.Find<unsigned short>(algorithm)->make());
    engine->SetOutputPixelType(false, false);
    const int width = job.rect.width;
    EXPECT_EQ(0, engine->Init(job.source.data(), job.rect, {width, job.rect.height}, 2 * width, 12, result.data(),
                              6 * width, job.grid, &job.param));
    EXPECT_EQ(0, engine->Calculate());
    return result;
}

TEST_P(Drivers, SameBits) {
    orvtest::Noise noise(static_cast<uint64_t>(GetParam()) + 31);
    const struct { int width, height; } sizes[] = {{3, 2}, {8, 8}, {17, 41}, {70, 66}, {150, 131}};
    for (const auto& size : sizes) {
        for (const uint32_t top : {4095U, 65535U}) {
            for (int i = 0; i < 4; ++i) {
                const Job job = RandomJob(&noise, size.width, size.height, top);
                const auto whole = Convert(GetParam(), job, {});
                for (int level = 0; level <= static_cast<int>(orv::BestSimdLevel()); ++level) {
                    Driver driver;
                    driver.level = static_cast<orv::SimdLevel>(level);
                    driver.threads = 1 + static_cast<int>(noise.Below(5));
                    driver.bandRows = 4 + 4 * static_cast<int>(noise.Below(5));
                    driver.order = static_cast<int>(noise.Below(50));
                    ASSERT_EQ(whole, Convert(GetParam(), job, driver))
                        << size.width << " by " << size.height << ", frame " << i << ", samples to " << top
                        << ", level " << level << ", " << driver.threads << " threads, bands of " << driver.bandRows;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(TrueSense, Drivers, testing::Range(0L, static_cast<long>(orv::kAlgorithmCount)));

}  // namespace
