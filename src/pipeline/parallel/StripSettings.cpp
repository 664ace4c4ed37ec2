#include "pipeline/parallel/Forms.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

#include "truesense/Params.h"

namespace orv {

namespace {

// Three radii and sigmas of the record, in order.
struct PassList {
    long radius[3];
    float sigma[3];
};

// `spacing` is that of a radius of 1, `unit` what a gamma code is worth in the plane before the first pass. Real is the
// precision in which the ends of a noise step are rounded.
template <class Real>
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
            pass.filled = false;
            continue;
        }
        const float numbers[] = {sigma, gain, line.slope, line.intercept};
        std::array<uint32_t, 4> source;
        std::memcpy(source.data(), numbers, sizeof(numbers));
        if (pass.filled && pass.source == source) {
            continue;
        }
        pass.filled = true;
        pass.source = source;
        uint16_t table[1024];
        BuildThresholdTable<Real>(sigma, gain, line, table);
        std::transform(table, table + 1024, pass.limit, [unit](int step) { return static_cast<int16_t>(step * unit); });
    }
}

// Twice the radius stays on one colour of the half-size mosaic.
constexpr int kColorSpacing = 2, kPanSpacing = 1;
// Pan is the sum of four codes at first.
constexpr int kColorUnit = 1, kPanUnit = 4;

// Once switches, front end and matrix are set.
template <class Form>
void FillTables(StripSettings* settings) {
    std::copy(Linear12toGamma10Table, Linear12toGamma10Table + 4096, settings->gamma);
    const FrontEnd frontEnd = settings->frontEnd;
    for (int site = 0; site < kSites && !frontEnd.IsPlain(); ++site) {
        for (int v = 0; v < 4096; ++v) {
            settings->balanced[site][v] = Form::Balanced(frontEnd, static_cast<int16_t>(v), frontEnd.factor[site]);
        }
    }
    std::copy(Gamma10toLinear12Table, Gamma10toLinear12Table + 1024, settings->linear);
    if (settings->mono) {
        settings->color.count = 0;
    }
}

}  // namespace

bool FrontEnd::IsPlain() const {
    return !hasFloor && globalGain == 1.0 && std::all_of(factor, factor + kSites, [](double f) { return f == 1.0; });
}

void KodakLikeSettings::Fill(const tagTrueSenseParam& param, int qw, int qh) {
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
    FillPasses<float>(colorList, kColorSpacing, kColorUnit, gain, line, qw, qh, &color);
    FillPasses<float>(panList, kPanSpacing, kPanUnit, gain, line, qw, qh, &pan);
    FillTables<ParallelForm>(this);

    const ColourMatrix<float> colours(param);
    std::copy(std::begin(colours.factor), std::end(colours.factor), matrix);
    std::copy(Gamma10toLinear12Table, Gamma10toLinear12Table + 1024, linear16);
    maxSharpen = static_cast<float>(param.maxSharpen);
    if (sharpen) {
        sharpening.Fill(param.sharpenParam, param.highLumaNoise, param.lowLumaNoise);
        // A threshold of exactly 1 sharpens nothing, as if no edge could reach it.
        std::replace(std::begin(sharpening.threshold), std::end(sharpening.threshold), 1.0F,
                     std::numeric_limits<float>::infinity());
    }
}

bool KodakSettings::Takes(const ImageProcessParam& param) {
    const int16_t* tones = param.toneTable;
    return tones == nullptr || std::all_of(Gamma10toLinear12, Gamma10toLinear12 + 1024, [tones](int32_t linear) {
               return tones[linear] >= 0 && tones[linear] <= 255;
           });
}

void KodakSettings::Fill(const ImageProcessParam& param, int qw, int qh) {
    impulse = sharpen = true;
    mono = param.monoEnable == 1;

    frontEnd.hasFloor = param.darkFloor != 0;
    frontEnd.darkFloor = param.darkFloor;
    frontEnd.globalGain = static_cast<double>(param.globalGain > 1.0F ? param.globalGain : 1.0F);
    frontEnd.factor[kPanSite] = static_cast<double>(param.panGain);
    frontEnd.factor[kRedSite] = static_cast<double>(param.redGain);
    frontEnd.factor[kGreenSite] = static_cast<double>(param.greenGain);
    frontEnd.factor[kBlueSite] = static_cast<double>(param.blueGain);

    const float balance = (param.redGain + param.greenGain + param.blueGain) / 3.0F;
    const PassList colorList = {
        {param.colorRadius0, param.colorRadius1, param.colorRadius2},
        {balance * param.colorSigma0, balance * param.colorSigma1, balance * param.colorSigma2}};
    const PassList panList = {{param.panRadius0, param.panRadius1, param.panRadius2},
                              {param.panSigma0, param.panSigma1, param.panSigma2}};
    const auto lineOf = [&](const float* slopes, const float* intercepts) {
        return NoiseLineAt(param.analogGain, param.ISOAnalogGain, slopes, intercepts);
    };
    FillPasses<double>(colorList, kColorSpacing, kColorUnit, param.globalGain,
                       lineOf(param.ISOColorSlope, param.ISOColorIntercept), qw, qh, &color);
    FillPasses<double>(panList, kPanSpacing, kPanUnit, param.globalGain,
                       lineOf(param.ISOPanSlope, param.ISOPanIntercept), qw, qh, &pan);
    FillTables<ReferenceForm>(this);

    const float rows[9] = {param.RR, param.RG, param.RB, param.GR, param.GG, param.GB, param.BR, param.BG, param.BB};
    std::copy(std::begin(rows), std::end(rows), matrix);
    maxSharpen = param.maxSharpen;
    const int16_t* tones = param.toneTable != nullptr ? param.toneTable : Tonescale12;
    for (int code = 0; code < 1024; ++code) {
        toneOfCode[code] = tones[Gamma10toLinear12[code]];
    }
    for (int v = 0; v < 4096; ++v) {
        tone[v] = static_cast<int16_t>(tones[v] & 0xFF);
        toneOfPan[v] = static_cast<uint8_t>(toneOfCode[gamma[v]]);
    }
    sharpening.Fill(param.sharpenParam, param.highLumaNoise, param.lowLumaNoise);
}

}  // namespace orv
