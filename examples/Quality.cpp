#include "Quality.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orvtool {

namespace {

// Value of channel 0 R, 1 G, 2 B of a pixel.
double Sample(const ColourFrame& frame, int x, int y, int channel) {
    const int at = x * 3 + 2 - channel;
    return frame.bgr.depth() == CV_8U ? frame.bgr.ptr<uint8_t>(y)[at] : frame.bgr.ptr<uint16_t>(y)[at];
}

double Decibels(double squares, double count, double top) {
    return squares == 0 ? INFINITY : 10 * std::log10(top * top * count / squares);
}

// From a linear grey level to the values an engine gives for it, per channel.
struct ToneCurve {
    std::array<std::vector<double>, 3> values;  // equally spaced levels from 0 to `lastLevel`
    double lastLevel = 1;

    // `level` 0 to 1, clamped.
    double At(size_t channel, double level) const {
        const std::vector<double>& of = values[channel];
        const double last = static_cast<double>(of.size() - 1);
        const double at = std::clamp(level / lastLevel, 0.0, 1.0) * last;
        const double below = std::min(std::floor(at), last - 1);
        const size_t i = static_cast<size_t>(below);
        return of[i] + (of[i + 1] - of[i]) * (at - below);
    }
};

ToneCurve MeasureCurve(const SourceWord& word, bool eightBits, Converter* converter) {
    // Blocks wide enough for the reach of every filter: the centre sees one level only.
    constexpr int kBlock = 32;
    // Engines work at 12 bits, so finer levels tell nothing new.
    const int levels = std::min(word.MaxSample() + 1, 4096);
    const int step = (word.MaxSample() + 1) / levels;
    const int perRow = static_cast<int>(std::lround(std::sqrt(levels)));
    const int side = perRow * kBlock;
    Frame frame = {word, side, side, std::vector<uint16_t>(static_cast<size_t>(side) * static_cast<size_t>(side))};
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            frame.codes[static_cast<size_t>(y) * static_cast<size_t>(side) + static_cast<size_t>(x)] =
                static_cast<uint16_t>(step * (y / kBlock * perRow + x / kBlock));
        }
    }

    const Matrix before = converter->ColourMatrix();
    converter->SetColourMatrix(kIdentity);
    ColourFrame out;
    const uint32_t status = converter->TryConvert(frame, eightBits, &out);
    converter->SetColourMatrix(before);
    if (status != 0) {
        throw LibraryError("measuring the tone curve", status);
    }

    ToneCurve curve;
    curve.lastLevel = static_cast<double>((levels - 1) * step) / word.MaxSample();
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < levels; ++i) {
            curve.values[static_cast<size_t>(c)].push_back(
                Sample(out, i % perRow * kBlock + kBlock / 2, i / perRow * kBlock + kBlock / 2, c));
        }
    }
    return curve;
}

}  // namespace

SceneImage ExpectedResult(const SceneImage& truth, const SourceWord& word, bool eightBits, int bits,
                          Converter* converter) {
    ToneCurve curve;
    if (word.trueSense) {
        curve = MeasureCurve(word, eightBits, converter);
    } else {
        curve.values.fill({0.0, static_cast<double>((1 << bits) - 1)});
    }
    const Matrix matrix = converter->ColourMatrix();
    SceneImage expected = truth;
    for (size_t i = 0; i + 2 < expected.rgb.size(); i += 3) {
        const float* in = truth.rgb.data() + i;
        for (size_t c = 0; c < 3; ++c) {
            const double linear = matrix[c * 3] * in[0] + matrix[c * 3 + 1] * in[1] + matrix[c * 3 + 2] * in[2];
            expected.rgb[i + c] = static_cast<float>(curve.At(c, linear));
        }
    }
    return expected;
}

ColourFrame TruthFrame(const SceneImage& expected, int bits) {
    cv::Mat rgb(expected.height, expected.width, CV_32FC3, const_cast<float*>(expected.rgb.data()));
    cv::Mat bgr(rgb.size(), rgb.type());
    const int swapped[] = {0, 2, 1, 1, 2, 0};
    cv::mixChannels(&rgb, 1, &bgr, 1, swapped, 3);
    ColourFrame truth;
    truth.bits = bits;
    bgr.convertTo(truth.bgr, bits == 8 ? CV_8U : CV_16U);
    return truth;
}

std::string Psnr::Text() const {
    char text[96];
    std::snprintf(text, sizeof(text), "PSNR %.2f dB (R %.2f, G %.2f, B %.2f)", all, channel[0], channel[1], channel[2]);
    return text;
}

Psnr Compare(const ColourFrame& frame, const SceneImage& expected) {
    double squares[3] = {0, 0, 0};
    for (int y = 0; y < expected.height; ++y) {
        for (int x = 0; x < expected.width; ++x) {
            for (int c = 0; c < 3; ++c) {
                const double error = Sample(frame, x, y, c) - static_cast<double>(expected.At(x, y)[c]);
                squares[c] += error * error;
            }
        }
    }
    const double count = static_cast<double>(expected.width) * expected.height;
    Psnr psnr;
    psnr.all = Decibels(squares[0] + squares[1] + squares[2], 3 * count, frame.Top());
    for (int c = 0; c < 3; ++c) {
        psnr.channel[c] = Decibels(squares[c], count, frame.Top());
    }
    return psnr;
}

}  // namespace orvtool
