#include "pipeline/parallel/KodakLikeSettings.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "truesense/Params.h"

namespace orv {

namespace {

ORV_ALWAYS_INLINE int16_t Balanced(const FrontEnd& frontEnd, int32_t v, double factor) {
    const uint32_t overFloor = static_cast<uint32_t>(v) - static_cast<uint32_t>(frontEnd.darkFloor);
    v = frontEnd.hasFloor ? Clamp(static_cast<int32_t>(overFloor), 0, 4095) : v;
    // Steps of 1/1024, bounded before the shift.
    const double gain = frontEnd.globalGain;
    v = gain != 1.0 ? TruncateClamped(static_cast<double>(v * 1024) * gain, 0.0, 4194303.0) >> 10 : v;
    v = factor != 1.0 ? TruncateClamped(Fma(factor, static_cast<double>(v), 0.5), 0.0, 4095.0) : v;
    return static_cast<int16_t>(v);
}

ORV_ALWAYS_INLINE void BalanceLanesBody(const FrontEnd& frontEnd, double even, double odd, const int16_t* samples,
                                        int n, int16_t* balanced) {
    const FrontEnd steps = frontEnd;
    for (int x = 0; x < n; ++x) {
        balanced[x] = Balanced(steps, samples[x], (x & 1) == 0 ? even : odd);
    }
}
ORV_ROW_FUNCTION(BalanceLanes,
                 (const FrontEnd& frontEnd, double even, double odd, const int16_t* samples, int n, int16_t* balanced),
                 (frontEnd, even, odd, samples, n, balanced))

// Three radii and sigmas of the record, in order.
struct PassList {
    long radius[3];
    float sigma[3];
};

// `spacing` is that of a radius of 1, `unit` what a gamma code is worth in the plane before the first pass.
void FillPasses(const PassList& list, int spacing, int unit, float gain, NoiseLine line, int qw, int qh,
                SigmaPasses* passes) {
    passes->count = 0;
    const int last = (std::min(qw, qh) - 1) / 2;  // the widest spacing that leaves an interior
    float sigma = 0.0F;
    for (int k = 0; k < 3; ++k) {
        if (list.radius[k] <= 0 || list.radius[k] > last / spacing) {
            continue;
        }
        SigmaPass& pass = passes->pass[passes->count];
        pass.spacing = static_cast<int>(list.radius[k]) * spacing;
        pass.limitsOfLast = passes->count > 0 && list.sigma[k] == sigma;
        sigma = list.sigma[k];
        ++passes->count;
        if (pass.limitsOfLast) {
            std::copy(std::begin((&pass)[-1].limit), std::end((&pass)[-1].limit), pass.limit);
            continue;
        }
        uint16_t table[1024];
        BuildThresholdTable<float>(sigma, gain, line, table);
        std::transform(table, table + 1024, pass.limit, [unit](int step) { return static_cast<int16_t>(step * unit); });
    }
}

}  // namespace

bool FrontEnd::IsPlain() const {
    return !hasFloor && globalGain == 1.0 && std::all_of(factor, factor + kSites, [](double f) { return f == 1.0; });
}

void BalanceRow(const FrontEnd& frontEnd, double even, double odd, const int16_t* samples, int n, int16_t* balanced) {
    BalanceLanes(frontEnd, even, odd, samples, n, balanced);
}

void KodakLikeSettings::Fill(const tagTrueSenseParam& param, int qw, int qh, SigmaPasses* color, SigmaPasses* pan) {
    impulse = param.impulseFilterEnable == 1;
    sharpen = param.sharpnessEnable == 1;
    mono = param.monoEnable == 1;

    frontEnd.hasFloor = param.darkFloor != 0;
    frontEnd.darkFloor = static_cast<int32_t>(param.darkFloor);
    frontEnd.globalGain = param.globalGain;
    frontEnd.factor[kPanSite] = param.panGain;
    frontEnd.factor[kRedSite] = param.redGain;
    frontEnd.factor[kGreenSite] = param.greenGain;
    frontEnd.factor[kBlueSite] = param.blueGain;
    int16_t samples[4096];
    for (int v = 0; v < 4096; ++v) {
        samples[v] = static_cast<int16_t>(v);
        gamma[v] = static_cast<int16_t>(Linear12toGamma10Table[v]);
    }
    if (!frontEnd.IsPlain()) {
        for (int site = 0; site < kSites; ++site) {
            BalanceRow(frontEnd, frontEnd.factor[site], frontEnd.factor[site], samples, 4096, balanced[site]);
        }
    }
    for (int code = 0; code < 1024; ++code) {
        linear[code] = static_cast<float>(Gamma10toLinear12Table[code]);
        linear16[code] = static_cast<int16_t>(Gamma10toLinear12Table[code]);
    }

    // Unlike the reference form, pan too is cleaned by the colour line.
    const NoiseModel noise(param);
    const NoiseLine line = NoiseLineAt(param.analogGain, noise.gains, noise.colorSlopes, noise.colorIntercepts);
    const auto gain = static_cast<float>(param.globalGain);
    const float balance = ((static_cast<float>(param.redGain) + static_cast<float>(param.greenGain)) +
                           static_cast<float>(param.blueGain)) /
                          3.0F;
    const PassList colorList = {
        {param.colorRadius0, param.colorRadius1, param.colorRadius2},
        {balance * static_cast<float>(param.colorSigma0), balance * static_cast<float>(param.colorSigma1),
         balance * static_cast<float>(param.colorSigma2)}};
    const PassList panList = {{param.panRadius0, param.panRadius1, param.panRadius2},
                              {static_cast<float>(param.panSigma0), static_cast<float>(param.panSigma1),
                               static_cast<float>(param.panSigma2)}};
    // Twice the radius stays on one colour of the half-size mosaic. Pan is the sum of four codes at first.
    FillPasses(colorList, 2, 1, gain, line, qw, qh, color);
    FillPasses(panList, 1, 4, gain, line, qw, qh, pan);

    const ColourMatrix<float> colours(param);
    std::copy(std::begin(colours.factor), std::end(colours.factor), matrix);
    maxSharpen = static_cast<float>(param.maxSharpen);
    sharpening.Fill(param.sharpenParam, param.highLumaNoise, param.lowLumaNoise);
    // A threshold of exactly 1 sharpens nothing, as if no edge could reach it.
    std::replace(std::begin(sharpening.threshold), std::end(sharpening.threshold), 1.0F,
                 std::numeric_limits<float>::infinity());
}

}  // namespace orv
