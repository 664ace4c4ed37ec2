#include "View.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "Scene.h"

namespace orvtool {

namespace {

// Calls `visit(x, y)` with the first pixel of every whole 4 by 4 cell of the box.
template <class Visit>
void ForEachCell(cv::Rect box, const Visit& visit) {
    for (int y = box.y; y + 4 <= box.y + box.height; y += 4) {
        for (int x = box.x; x + 4 <= box.x + box.width; x += 4) {
            visit(x, y);
        }
    }
}

int CodeAt(const Frame& frame, int x, int y) {
    return frame.codes[static_cast<size_t>(y) * static_cast<size_t>(frame.width) + static_cast<size_t>(x)];
}

}  // namespace

double EstimateBlack(const Frame& frame) {
    std::vector<int> sums;
    ForEachCell(cv::Rect(0, 0, frame.width, frame.height), [&](int x, int y) {
        int sum = 0;
        for (int i = 0; i < 16; ++i) {
            sum += CodeAt(frame, x + i % 4, y + i / 4);
        }
        sums.push_back(sum);
    });
    if (sums.empty()) {
        throw std::runtime_error("the frame is too small for an estimate of its black level");
    }
    const auto at = sums.begin() + static_cast<ptrdiff_t>(sums.size() / 1000);
    std::nth_element(sums.begin(), at, sums.end());
    return *at / 16.0;
}

std::array<double, 3> GreyGains(const Frame& frame, double black, cv::Rect box) {
    const int clipped = frame.word.MaxSample() * 98 / 100;
    std::array<double, 3> sum = {0, 0, 0};
    std::array<double, 3> count = {0, 0, 0};
    ForEachCell(box, [&](int x, int y) {
        for (int i = 0; i < 16; ++i) {
            if (CodeAt(frame, x + i % 4, y + i / 4) >= clipped) {
                return;
            }
        }
        for (int i = 0; i < 16; ++i) {
            const size_t channel = std::string("RGB").find(OrvWord_Site(frame.word.word, x + i % 4, y + i / 4));
            if (channel < 3) {
                sum[channel] += CodeAt(frame, x + i % 4, y + i / 4) - black;
                count[channel] += 1;
            }
        }
    });
    for (size_t c = 0; c < 3; ++c) {
        sum[c] /= std::max(1.0, count[c]);
        if (sum[c] <= 0) {
            throw std::runtime_error("no white balance can be found: every cell is clipped, or no brighter than black");
        }
    }
    const double largest = *std::max_element(sum.begin(), sum.end());
    return {largest / sum[0], largest / sum[1], largest / sum[2]};
}

cv::Mat Render(const ColourFrame& frame, const View& view, int bits) {
    const bool bytes = frame.bgr.depth() == CV_8U;
    const double range = std::max(1.0, frame.Top() - view.black);
    // Light of a code by channel, and the shown value of light in steps of 1/65535. Clipped samples become white: light
    // ends at 1 before the matrix.
    std::array<std::vector<float>, 3> light;
    for (size_t c = 0; c < 3; ++c) {
        for (int code = 0; code < (bytes ? 256 : 65536); ++code) {
            light[c].push_back(
                static_cast<float>(std::min(1.0, (code - view.black) / range * view.gains[c]) * view.exposure));
        }
    }
    std::vector<uint16_t> shown;
    for (int i = 0; i < 65536; ++i) {
        const float value = static_cast<float>(i) / 65535.0F;
        shown.push_back(static_cast<uint16_t>(
            std::lround((view.srgb ? LinearToSrgb(value) : value) * (bits == 8 ? 255.0F : 65535.0F))));
    }
    cv::Mat picture(frame.bgr.size(), bits == 8 ? CV_8UC3 : CV_16UC3);
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols * 3; x += 3) {
            double rgb[3];
            for (int c = 0; c < 3; ++c) {
                const int at = x + 2 - c;
                rgb[c] = light[static_cast<size_t>(c)]
                              [bytes ? frame.bgr.ptr<uint8_t>(y)[at] : frame.bgr.ptr<uint16_t>(y)[at]];
            }
            for (int c = 0; c < 3; ++c) {
                const double* row = view.matrix.data() + c * 3;
                const double value = std::clamp(row[0] * rgb[0] + row[1] * rgb[1] + row[2] * rgb[2], 0.0, 1.0);
                const uint16_t code = shown[static_cast<size_t>(std::lround(value * 65535))];
                if (bits == 8) {
                    picture.ptr<uint8_t>(y)[x + 2 - c] = static_cast<uint8_t>(code);
                } else {
                    picture.ptr<uint16_t>(y)[x + 2 - c] = code;
                }
            }
        }
    }
    return picture;
}

void BalanceBeforeConversion(View* view, Frame* frame) {
    double gains[2][2];
    for (int i = 0; i < 4; ++i) {
        gains[i / 2][i % 2] = view->gains[std::string("RGB").find(OrvWord_Site(frame->word.word, i % 2, i / 2))];
    }
    size_t at = 0;
    for (int y = 0; y < frame->height; ++y) {
        for (int x = 0; x < frame->width; ++x, ++at) {
            const double code = view->black + (frame->codes[at] - view->black) * gains[y % 2][x % 2];
            frame->codes[at] =
                static_cast<uint16_t>(std::lround(std::clamp(code, 0.0, static_cast<double>(frame->word.MaxSample()))));
        }
    }
    view->gains = {1, 1, 1};
}

void ApplyBeforeConversion(const View& view, Frame* frame, Converter* converter) {
    const int black = static_cast<int>(std::lround(view.black));
    std::transform(frame->codes.begin(), frame->codes.end(), frame->codes.begin(),
                   [black](uint16_t code) { return static_cast<uint16_t>(std::max(0, code - black)); });
    const double top = frame->word.MaxSample();
    Matrix matrix = view.matrix;
    for (size_t i = 0; i < 9; ++i) {
        matrix[i] *= view.gains[i % 3] * view.exposure * top / std::max(1.0, top - view.black);
    }
    converter->SetColourMatrix(matrix);
}

}  // namespace orvtool
