#include "pipeline/parallel/TrueSenseKodak.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <vector>

#include "support/DriverScope.h"
#include "support/Kernels.h"
#include "support/Levels.h"
#include "support/Noise.h"

namespace {

using Samples = std::vector<unsigned short>;

// A packed frame of 16-bit samples.
struct Job {
    int w, h, bits, grid;
    Samples source = {};
    tagTrueSenseParam param = {};
};

Samples Convert(Job job) {
    TrueSenseKodak<unsigned short> engine;
    engine.SetOutputPixelType(false, false);
    Samples result(job.source.size() * 3);
    EXPECT_EQ(engine.Init(job.source.data(), {0, 0, job.w, job.h}, {job.w, job.h}, 2 * job.w, job.bits, result.data(),
                          6 * job.w, static_cast<unsigned char>(job.grid), &job.param),
              0);
    EXPECT_EQ(engine.Calculate(), 0);
    return result;
}

constexpr double kInf = std::numeric_limits<double>::infinity(), kNan = std::numeric_limits<double>::quiet_NaN();

template <class T, size_t Count>
T OneOf(orvtest::Noise* noise, const T (&values)[Count]) {
    return values[noise->Below(static_cast<uint32_t>(Count))];
}

// Anything that a record can hold, mostly near the defaults.
void Scramble(orvtest::Noise* noise, tagTrueSenseParam* p) {
    const auto rarely = [noise] { return noise->Below(6) == 0; };
    const long radii[] = {0, 1, 1, 2, 3, 4, 5, 17, 1024, -3, 1L << 31, (1L << 32) + 2};
    for (long* radius :
         {&p->panRadius0, &p->panRadius1, &p->panRadius2, &p->colorRadius0, &p->colorRadius1, &p->colorRadius2}) {
        *radius = OneOf(noise, radii);
    }
    const long floors[] = {0, 40, 4095, -1, -5000, 1L << 31, (1L << 31) + 7, 1L << 32, -(1L << 31)};
    p->darkFloor = rarely() ? OneOf(noise, floors) : 0;
    const long switches[] = {0, 1, 2, (1L << 32) + 1};
    p->monoEnable = rarely() ? OneOf(noise, switches) : 0;
    const double gains[] = {1.0, 1.0, 0.7, 1.3, 3.99, 0.0, -1.0, kNan, kInf, 1e300};
    for (double* gain : {&p->redGain, &p->greenGain, &p->blueGain, &p->panGain, &p->globalGain}) {
        *gain = rarely() ? OneOf(noise, gains) : 1.0 + 0.01 * noise->Below(60);
    }
    const double sigmas[] = {0.0, 0.5, 2.0, 2.0, 7.0, 1000.0, -1.0, kNan, kInf, -1e300};
    for (double* sigma : {&p->panSigma0, &p->panSigma1, &p->colorSigma0, &p->colorSigma1, &p->colorSigma2}) {
        *sigma = OneOf(noise, sigmas);
    }
    p->analogGain = 40.0 * noise->Below(100) / 100;
    const double values[] = {0.0, 1.0, -3.0, 12.5, kNan, kInf, -kInf, 1e300, 1e-300};
    for (double* wild : {&p->RR, &p->BG, &p->maxSharpen, &p->lowLumaNoise, &p->ISOPanSlope_1}) {
        *wild = rarely() && rarely() ? OneOf(noise, values) : *wild;
    }
}

// A frame by the kernels: the whole of the engine's definition.
Samples ByKernels(const Job& job) {
    const orv::GridGeometry g = orv::GridGeometry::Make({0, 0, job.w, job.h}, static_cast<unsigned char>(job.grid));
    orvtest::DriverRun run(g.W, g.H);
    const tagTrueSenseParam& p = job.param;
    const auto walk = orv::RegionWalk::Make(0, 0, job.w, job.h, job.w, 1, false, false);
    orv::ReadMosaic(job.source.data(), walk, 12 - job.bits, g, reinterpret_cast<int16_t*>(run.sensor.data()), g.W, 1);
    orv::NarrowParameters(p, &run.param);
    EXPECT_EQ(0, Api_ImageProcess(&run.param, &run.buffers));
    Samples result;
    for (int y = 0; y < job.h; ++y) {
        const auto row = run.rgb.begin() + 3 * ((g.gridY + y) * g.W + g.gridX);
        std::transform(row, row + 3 * job.w, std::back_inserter(result),
                       [&](uint8_t v) { return static_cast<unsigned short>(v << (job.bits - 8)); });
    }
    return result;
}

// Wild parameters, stray samples, odd, tiny and wide frames, tone tables that strips do not take.
TEST(TrueSenseKodak, StripsGiveTheBytesOfTheKernels) {
    const orvtest::DriverScope restore;
    orvtest::Noise noise(77);
    Samples strange(4096);
    std::generate(strange.begin(), strange.end(), [&] { return static_cast<unsigned short>(noise.Below(65536)); });
    for (int round = 0; round < 120; ++round) {
        const auto size = [&] { return 1 + static_cast<int>(noise.Below(noise.Below(4) == 0 ? 12 : 90)); };
        const int depths[] = {12, 12, 12, 10, 16};
        Job job = {round % 15 == 0 ? 1200 + size() : size(), size(), OneOf(&noise, depths),
                   static_cast<int>(noise.Below(16))};
        job.source = orvtest::NoiseSamples<unsigned short>(noise.Next(), static_cast<size_t>(job.w * job.h),
                                                           (1U << job.bits) - 1);
        TrueSense_DefaultValues(&job.param);
        if (noise.Below(3) != 0) {  // scenes, which stay below the limits of the noise filters
            const uint32_t base = noise.Below(3000), contrast = 1 + noise.Below(900);
            for (auto& v : job.source) {
                v = static_cast<unsigned short>((base + v % contrast) << (job.bits == 16 ? 4 : 0));
            }
        }
        if (noise.Below(8) == 0) {
            job.source[noise.Below(static_cast<uint32_t>(job.source.size()))] = 65535;
        }
        Scramble(&noise, &job.param);
        if (noise.Below(20) == 0) {
            job.param.toneTable = reinterpret_cast<const int16_t*>(strange.data());
        }
        orv::SetSimdLevel(static_cast<orv::SimdLevel>(noise.Below(orv::kSimdLevels)));
        const auto expected = ByKernels(job);
        orvtest::AtEveryLevel([&] {
            orv::SetBandRows(static_cast<int>(4 * noise.Below(6)));
            orv::SetBandOrder(static_cast<int>(noise.Below(50)));
            job.param.threads_num = 1 + noise.Below(5);
            ASSERT_EQ(expected, Convert(job)) << "frame " << round << ", " << job.w << " by " << job.h;
        });
    }
}

}  // namespace
