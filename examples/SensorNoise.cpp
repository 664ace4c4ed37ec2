#include "SensorNoise.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "Console.h"
#include "OrvHelpers.h"

namespace orvtool {

namespace {

// Pixels whose surroundings have one brightness. Sorting them by their own samples would sort the noise too; sorted by
// others, whatever stands there, their mean signal and mean variance lie on the sensor's line.
struct Level {
    double count = 0;
    double sum = 0;         // of the means of both samples
    double difference = 0;  // of them
    double square = 0;
    double clipped = 0;  // pixels, not in the sums
};

constexpr int kLevels = 128;
constexpr double kFewest = 100;     // pixels of a level that counts
constexpr double kClipped = 0.005;  // largest share of clipped pixels

// The line through points whose variances are themselves uncertain in proportion to their size.
void Fit(NoiseLine* line) {
    if (line->points.size() < 8) {
        throw std::runtime_error(
            "--measure-noise: too few grey levels without clipping; the scene should reach from dark "
            "to bright");
    }
    for (int pass = 0; pass < 10; ++pass) {
        double w = 0, x = 0, y = 0, xx = 0, xy = 0;
        for (const NoiseLine::Point& point : line->points) {
            const double fitted = pass == 0 ? point.variance : line->slope * point.signal + line->intercept;
            const double deviation = std::max(fitted, 1e-3);
            const double weight = point.count / (deviation * deviation);
            w += weight;
            x += weight * point.signal;
            y += weight * point.variance;
            xx += weight * point.signal * point.signal;
            xy += weight * point.signal * point.variance;
        }
        const double spread = w * xx - x * x;
        if (spread <= 1e-9 * w * xx) {
            throw std::runtime_error("--measure-noise: the frames hold one grey level only");
        }
        line->slope = (w * xy - x * y) / spread;
        line->intercept = (y - line->slope * x) / w;
    }
}

NoiseLine LineOf(const std::vector<Level>& levels, double black, double scale) {
    NoiseLine line;
    for (const Level& level : levels) {
        if (level.count >= kFewest && level.clipped <= kClipped * level.count) {
            const double mean = level.difference / level.count;
            line.points.push_back({(level.sum / level.count - black) * scale,
                                   (level.square / level.count - mean * mean) / 2 * scale * scale, level.count});
        }
    }
    Fit(&line);
    return line;
}

}  // namespace

SensorNoise MeasureNoise(const Frame& first, const Frame& second, double black) {
    if (first.width != second.width || first.height != second.height) {
        throw std::runtime_error("--measure-noise: the two frames differ in size");
    }
    const int top = first.word.MaxSample();
    const ptrdiff_t width = first.width;
    std::vector<Level> pan(kLevels);
    std::vector<Level> colour(kLevels);
    // Four pixels away in either direction stands a site of the same kind.
    const ptrdiff_t around[] = {-4, 4, -4 * width, 4 * width};
    for (ptrdiff_t y = 4; y < first.height - 4; ++y) {
        for (ptrdiff_t x = 4; x < width - 4; ++x) {
            const uint16_t* a = first.codes.data() + y * width + x;
            const uint16_t* b = second.codes.data() + y * width + x;
            int nearby = 0;
            for (const ptrdiff_t offset : around) {
                nearby += a[offset] + b[offset];
            }
            const bool isPan = OrvWord_Site(first.word.word, x, y) == 'P';
            Level& level =
                (isPan ? pan : colour)[static_cast<size_t>(nearby) * (kLevels - 1) / static_cast<size_t>(8 * top)];
            if (std::min(*a, *b) == 0 || std::max(*a, *b) == top) {
                level.clipped += 1;
                continue;
            }
            level.count += 1;
            level.sum += (*a + *b) / 2.0;
            level.difference += *a - *b;
            level.square += static_cast<double>(*a - *b) * (*a - *b);
        }
    }
    const double scale = 4096.0 / (top + 1);
    return {LineOf(pan, black, scale), LineOf(colour, black, scale)};
}

cv::Mat PlotNoise(const SensorNoise& noise) {
    constexpr int kWidth = 800, kHeight = 560, kLeft = 80, kBottom = 60, kTop = 40, kRight = 40;
    cv::Mat plot(kHeight, kWidth, CV_8UC3, cv::Scalar::all(255));
    const struct {
        const NoiseLine& line;
        const char* name;
        cv::Scalar ink;
    } curves[] = {{noise.pan, "pan", {60, 60, 60}}, {noise.colour, "colour", {40, 90, 220}}};
    const double right = 4096;
    double largest = 0;
    for (const auto& curve : curves) {
        largest = std::max(largest, 1.1 * (curve.line.slope * right + curve.line.intercept));
    }
    // Steps of one, two or five times a power of ten.
    double step = 0.001;
    for (int i = 0; 5 * step < largest; ++i) {
        step *= i % 3 == 1 ? 2.5 : 2;
    }
    const int steps = std::max(1, static_cast<int>(std::ceil(largest / step)));
    const double up = steps * step;
    const auto at = [&](double signal, double variance) {
        return cv::Point(kLeft + static_cast<int>(std::lround((kWidth - kLeft - kRight) * signal / right)),
                         kHeight - kBottom - static_cast<int>(std::lround((kHeight - kBottom - kTop) * variance / up)));
    };
    const auto text = [&](const std::string& words, cv::Point where, const cv::Scalar& ink) {
        cv::putText(plot, words, where, cv::FONT_HERSHEY_SIMPLEX, 0.5, ink, 1, cv::LINE_AA);
    };
    const cv::Scalar grey = cv::Scalar::all(210);
    const cv::Scalar black = cv::Scalar::all(0);
    for (int i = 0; i <= 4; ++i) {
        cv::line(plot, at(right * i / 4, 0), at(right * i / 4, up), grey);
        text(Format("%.0f", right * i / 4), at(right * i / 4, 0) + cv::Point(-15, 20), black);
    }
    for (int i = 0; i <= steps; ++i) {
        cv::line(plot, at(0, step * i), at(right, step * i), grey);
        text(Format("%6g", step * i), at(0, step * i) + cv::Point(-70, 5), black);
    }
    text("signal, 12-bit codes above the dark floor", at(right * 0.28, 0) + cv::Point(0, 45), black);
    text("variance", {8, 20}, black);
    int row = 0;
    for (const auto& curve : curves) {
        for (const NoiseLine::Point& point : curve.line.points) {
            cv::circle(plot, at(point.signal, point.variance), 2, curve.ink, cv::FILLED, cv::LINE_AA);
        }
        cv::line(plot, at(0, curve.line.intercept), at(right, curve.line.slope * right + curve.line.intercept),
                 curve.ink, 1, cv::LINE_AA);
        text(Format("%s: %.4g * signal %+.4g", curve.name, curve.line.slope, curve.line.intercept),
             {kLeft + 15, kTop + 20 + 22 * row++}, curve.ink);
    }
    return plot;
}

}  // namespace orvtool
