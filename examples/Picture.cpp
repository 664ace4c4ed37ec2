#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>

namespace orvtool {

namespace {

const char* const kMatrixNames[9] = {"RR", "RG", "RB", "GR", "GG", "GB", "BR", "BG", "BB"};

// Value of channel 0 R, 1 G, 2 B of a pixel.
double Sample(const ColourFrame& frame, int x, int y, int channel) {
    const int at = x * 3 + 2 - channel;
    return frame.bgr.depth() == CV_8U ? frame.bgr.ptr<uint8_t>(y)[at] : frame.bgr.ptr<uint16_t>(y)[at];
}

double Decibels(double squares, double count, double top) {
    return squares == 0 ? INFINITY : 10 * std::log10(top * top * count / squares);
}

// Gains that make the means of pixels below the clipping point equal, the smallest gain being 1.
std::array<double, 3> GreyWorldGains(const ColourFrame& frame, double black) {
    std::array<double, 3> sum = {0, 0, 0};
    const double clipped = frame.Top() * 0.98;
    for (int y = 0; y < frame.bgr.rows; ++y) {
        for (int x = 0; x < frame.bgr.cols; ++x) {
            const double rgb[3] = {Sample(frame, x, y, 0), Sample(frame, x, y, 1), Sample(frame, x, y, 2)};
            if (std::max({rgb[0], rgb[1], rgb[2]}) < clipped) {
                for (int c = 0; c < 3; ++c) {
                    sum[static_cast<size_t>(c)] += std::max(0.0, rgb[c] - black);
                }
            }
        }
    }
    const double largest = *std::max_element(sum.begin(), sum.end());
    for (double& each : sum) {
        each = each > 0 ? largest / each : 1;
    }
    return sum;
}

}  // namespace

ToneCurve ToneCurve::Linear(double top) {
    ToneCurve curve;
    curve.values_.fill({0.0, top});
    return curve;
}

ToneCurve ToneCurve::Measure(Converter* converter, const SourceWord& word, bool eightBits) {
    // Blocks wide enough for the reach of every filter: the centre sees one level only.
    constexpr int kBlock = 32;
    // Engines work at 12 bits, so finer levels tell nothing new.
    const int levels = std::min(word.MaxSample() + 1, 4096);
    const int step = (word.MaxSample() + 1) / levels;
    const int perRow = static_cast<int>(std::lround(std::sqrt(levels)));
    const int side = perRow * kBlock;
    std::vector<uint16_t> codes(static_cast<size_t>(side) * static_cast<size_t>(side));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            codes[static_cast<size_t>(y) * static_cast<size_t>(side) + static_cast<size_t>(x)] =
                static_cast<uint16_t>(step * (y / kBlock * perRow + x / kBlock));
        }
    }
    const Frame frame(word, side, side, codes);

    const std::array<double, 9> before = ColourMatrix(*converter, true);
    const auto setMatrix = [&](const std::array<double, 9>& matrix) {
        for (size_t i = 0; i < 9; ++i) {
            char text[40];
            std::snprintf(text, sizeof(text), "%.17g", matrix[i]);
            converter->Set("colour matrix", kMatrixNames[i], text);
        }
    };
    setMatrix({1, 0, 0, 0, 1, 0, 0, 0, 1});
    ColourFrame out;
    const uint32_t status = converter->TryConvert(frame, eightBits, &out);
    setMatrix(before);
    if (status != 0) {
        throw LibraryError("measuring the tone curve", status);
    }

    ToneCurve curve;
    curve.lastLevel_ = static_cast<double>((levels - 1) * step) / word.MaxSample();
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < levels; ++i) {
            curve.values_[static_cast<size_t>(c)].push_back(
                Sample(out, i % perRow * kBlock + kBlock / 2, i / perRow * kBlock + kBlock / 2, c));
        }
    }
    return curve;
}

double ToneCurve::At(int channel, double level) const {
    const std::vector<double>& values = values_[static_cast<size_t>(channel)];
    const double last = static_cast<double>(values.size() - 1);
    const double at = std::clamp(level / lastLevel_, 0.0, 1.0) * last;
    const double below = std::min(std::floor(at), last - 1);
    const size_t i = static_cast<size_t>(below);
    return values[i] + (values[i + 1] - values[i]) * (at - below);
}

std::array<double, 9> ColourMatrix(const Converter& converter, bool trueSense) {
    std::array<double, 9> matrix = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    if (trueSense) {
        for (size_t i = 0; i < 9; ++i) {
            matrix[i] = std::stod(converter.Get(kMatrixNames[i]));
        }
    }
    return matrix;
}

SceneImage ExpectedResult(const SceneImage& truth, const std::array<double, 9>& matrix, const ToneCurve& curve) {
    SceneImage expected = truth;
    for (size_t i = 0; i + 2 < expected.rgb.size(); i += 3) {
        const float* in = truth.rgb.data() + i;
        for (size_t c = 0; c < 3; ++c) {
            const double linear = matrix[c * 3] * in[0] + matrix[c * 3 + 1] * in[1] + matrix[c * 3 + 2] * in[2];
            expected.rgb[i + c] = static_cast<float>(curve.At(static_cast<int>(c), linear));
        }
    }
    return expected;
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

cv::Mat Render(const ColourFrame& frame, const View& view, int bits) {
    std::array<double, 3> gains = view.gains;
    if (view.greyWorld) {
        const std::array<double, 3> balance = GreyWorldGains(frame, view.black);
        for (size_t c = 0; c < 3; ++c) {
            gains[c] *= balance[c];
        }
    }
    // Every step acts on one channel alone: one table per channel holds them all.
    const double top = bits == 8 ? 255 : 65535;
    std::array<std::vector<uint16_t>, 3> tables;
    for (size_t c = 0; c < 3; ++c) {
        tables[c].resize(size_t{1} << (frame.bgr.depth() == CV_8U ? 8 : 16));
        for (size_t code = 0; code < tables[c].size(); ++code) {
            const double range = std::max(1.0, frame.Top() - view.black);
            const double light = (static_cast<double>(code) - view.black) / range * gains[c] * view.exposure;
            const double shown = view.srgb ? LinearToSrgb(static_cast<float>(light)) : std::clamp(light, 0.0, 1.0);
            tables[c][code] = static_cast<uint16_t>(std::lround(shown * top));
        }
    }
    cv::Mat picture(frame.bgr.size(), bits == 8 ? CV_8UC3 : CV_16UC3);
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols * 3; ++x) {
            const size_t code =
                frame.bgr.depth() == CV_8U ? frame.bgr.ptr<uint8_t>(y)[x] : frame.bgr.ptr<uint16_t>(y)[x];
            const uint16_t shown = tables[static_cast<size_t>(2 - x % 3)][code];
            if (bits == 8) {
                picture.ptr<uint8_t>(y)[x] = static_cast<uint8_t>(shown);
            } else {
                picture.ptr<uint16_t>(y)[x] = shown;
            }
        }
    }
    return picture;
}

cv::Mat MakeSheet(const std::vector<std::vector<SheetColumn>>& rows, cv::Rect crop) {
    constexpr int kLabel = 28;
    constexpr int kGap = 8;
    constexpr int kWidth = 480;
    const cv::Size size = rows.front().front().picture.size();
    crop &= cv::Rect(cv::Point(), size);
    const auto scaledHeight = [](const cv::Size& from) {
        return std::max(1, static_cast<int>(std::lround(static_cast<double>(kWidth) * from.height / from.width)));
    };
    const int height = scaledHeight(size);
    const int cropHeight = scaledHeight(crop.size());
    const int rowHeight = kLabel + height + kGap + cropHeight;
    size_t widest = 0;
    for (const std::vector<SheetColumn>& row : rows) {
        widest = std::max(widest, row.size());
    }
    cv::Mat sheet(static_cast<int>(rows.size()) * rowHeight, static_cast<int>(widest) * (kWidth + kGap) - kGap, CV_8UC3,
                  cv::Scalar::all(40));
    for (size_t r = 0; r < rows.size(); ++r) {
        for (size_t i = 0; i < rows[r].size(); ++i) {
            const SheetColumn& column = rows[r][i];
            const int x = static_cast<int>(i) * (kWidth + kGap);
            const int y = static_cast<int>(r) * rowHeight;
            cv::putText(sheet, column.label, {x + 4, y + kLabel - 9}, cv::FONT_HERSHEY_SIMPLEX, 0.5,
                        cv::Scalar::all(255), 1, cv::LINE_AA);
            cv::Mat reduced = sheet(cv::Rect(x, y + kLabel, kWidth, height));
            cv::resize(column.picture, reduced, reduced.size(), 0, 0,
                       size.width > kWidth ? cv::INTER_AREA : cv::INTER_NEAREST);
            cv::Mat enlarged = sheet(cv::Rect(x, y + kLabel + height + kGap, kWidth, cropHeight));
            cv::resize(column.picture(crop), enlarged, enlarged.size(), 0, 0, cv::INTER_NEAREST);
        }
    }
    return sheet;
}

}  // namespace orvtool
