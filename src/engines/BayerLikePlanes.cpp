#include "engines/BayerLikePlanes.h"

#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "component/PixelTypes.h"
#include "rows/Bands.h"

namespace orv {

bool BayerLikePlanes::Create(int16_t* mosaic, int W, int H, int workers) {
    const struct {
        cv::Mat* plane;
        int rows, columns, type;
    } planes[] = {{&mosaic_, H, W, CV_16SC1},
                  {&low_, H / 2, W / 2, CV_16SC1},
                  {&lowDiff_, H / 2, W / 2, CV_16SC3},
                  {&fullDiff_, H, W, CV_16SC3},
                  {&rows_, 3 * workers, W, CV_32SC1}};
    const auto cut = [&planes](uchar* memory) {
        size_t bytes = 0;
        for (const auto& each : planes) {
            if (memory != nullptr) {
                *each.plane = cv::Mat(each.rows, each.columns, each.type, memory + bytes);
            }
            bytes += static_cast<size_t>(each.rows) * static_cast<size_t>(each.columns) * CV_ELEM_SIZE(each.type);
            bytes = (bytes + 63) / 64 * 64;
        }
        return bytes;
    };
    if (!memory_.Reserve(cut(nullptr))) {
        return false;
    }
    cut(static_cast<uchar*>(memory_.Data()));
    pan_ = cv::Mat(H, W, CV_16SC1, mosaic);
    return true;
}

int BayerLikePlanes::Reconstruct(int16_t* mosaic, int W, int H, int workers, const ColourRowSink& sink) {
    if (!Create(mosaic, W, H, workers)) {
        return kCodeNoMemory;
    }
    try {
        ForEachBand(H, workers, [this](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                CompleteRow(y);
            }
            for (int y = y0; y < y1; y += 2) {
                FillBlocks(y);
                AverageBlocks(y);
            }
        });
        // Inside a loop of OpenCV its functions run on the calling thread: its pool has a size of its own and does not
        // survive a fork.
        cv::parallel_for_(cv::Range(0, 1), [this](const cv::Range&) { Widen(); });
    } catch (const cv::Exception&) {
        return kCodeOpenCv;
    }
    ForEachBandWithWorker(H, workers, [&](int worker, int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            Finish(sink, worker, y);
        }
    });
    return kCodeOk;
}

// Pan at a colour site. Only pan sites are read, which no band writes.
int16_t BayerLikePlanes::PanAt(int y, int x) const {
    const bool rim = y == 0 || y == pan_.rows - 1 || x == 0 || x == pan_.cols - 1;
    const int left = pan_.at<int16_t>(y, x == 0 ? 1 : x - 1);
    const int right = pan_.at<int16_t>(y, x == pan_.cols - 1 ? x - 1 : x + 1);
    const int up = pan_.at<int16_t>(y == 0 ? 1 : y - 1, x);
    const int down = pan_.at<int16_t>(y == pan_.rows - 1 ? y - 1 : y + 1, x);
    if (rim) {
        return static_cast<int16_t>((left + right + up + down) >> 2);
    }
    const bool across = std::abs(right - left) < std::abs(down - up);
    return static_cast<int16_t>((across ? left + right : up + down) >> 1);
}

void BayerLikePlanes::CompleteRow(int y) {
    for (int x = 1 - (y & 1); x < pan_.cols; x += 2) {
        int16_t& site = pan_.at<int16_t>(y, x);
        mosaic_.at<int16_t>(y, x) = site;
        site = PanAt(y, x);
    }
}

// Colours at the pan sites of rows `y` and `y` + 1, each from its block, then all differences.
void BayerLikePlanes::FillBlocks(int y) {
    const int16_t* const pan[2] = {pan_.ptr<int16_t>(y), pan_.ptr<int16_t>(y + 1)};
    int16_t* const colour[2] = {mosaic_.ptr<int16_t>(y), mosaic_.ptr<int16_t>(y + 1)};
    for (int x = 0; x < pan_.cols; x += 2) {
        const int mean = (pan[0][x + 1] - colour[0][x + 1] + pan[1][x] - colour[1][x]) >> 1;
        colour[0][x] = static_cast<int16_t>(pan[0][x] - mean);
        colour[1][x + 1] = static_cast<int16_t>(pan[1][x + 1] - mean);
    }
    for (int row = 0; row < 2; ++row) {
        for (int x = 0; x < pan_.cols; ++x) {
            colour[row][x] = cv::saturate_cast<int16_t>(colour[row][x] - pan[row][x]);
        }
    }
}

void BayerLikePlanes::AverageBlocks(int y) {
    const int16_t* const upper = mosaic_.ptr<int16_t>(y);
    const int16_t* const lower = mosaic_.ptr<int16_t>(y + 1);
    int16_t* const low = low_.ptr<int16_t>(y / 2);
    for (int x = 0; x < low_.cols; ++x) {
        // Red is averaged one column to the left of its block, half over green.
        const int column = 2 * x - (x & (y >> 1) & 1);
        low[x] = static_cast<int16_t>((upper[column] + upper[column + 1] + lower[column] + lower[column + 1]) >> 2);
    }
}

// The Bayer conversion takes unsigned samples.
void BayerLikePlanes::Widen() {
    double least = 0;
    cv::minMaxIdx(low_, &least, nullptr);
    const double offset = static_cast<int16_t>(least);
    cv::subtract(low_, cv::Scalar(offset), low_);
    const cv::Mat bayer(low_.rows, low_.cols, CV_16UC1, low_.data, low_.step[0]);
    cv::Mat colours(low_.rows, low_.cols, CV_16UC3, lowDiff_.data, lowDiff_.step[0]);
    cv::cvtColor(bayer, colours, cv::COLOR_BayerBG2BGR, 0);
    cv::add(lowDiff_, cv::Scalar(offset, offset, offset, 0), lowDiff_);
    cv::resize(lowDiff_, fullDiff_, fullDiff_.size(), 0.0, 0.0, cv::INTER_LINEAR);
}

void BayerLikePlanes::Finish(const ColourRowSink& sink, int worker, int y) {
    int32_t* colours[3];
    for (int channel = 0; channel < 3; ++channel) {
        colours[channel] = rows_.ptr<int32_t>(3 * worker + channel);
    }
    const int16_t* pan = pan_.ptr<int16_t>(y);
    const int16_t* diff = fullDiff_.ptr<int16_t>(y);
    for (int x = 0; x < pan_.cols; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
            colours[channel][x] = diff[3 * x + channel] + pan[x];
        }
    }
    sink.Row(y, colours[0], colours[1], colours[2]);
}

}  // namespace orv
