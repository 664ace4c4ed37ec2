// The noise of a sensor, measured from two frames of one still scene.
#ifndef ORV_EXAMPLES_SENSOR_NOISE_H
#define ORV_EXAMPLES_SENSOR_NOISE_H

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "Frame.h"

namespace orvtool {

// Variance over the linear signal, both in 12-bit codes whatever the frame's depth: variance = slope * signal +
// intercept. The signal counts from the dark floor.
struct NoiseLine {
    struct Point {
        double signal;
        double variance;
        double count;  // pixels
    };
    std::vector<Point> points;
    double slope = 0;
    double intercept = 0;
};

struct SensorNoise {
    NoiseLine pan;
    NoiseLine colour;
};

// `black` is the code of no light at the frames' depth. What stays the same in both frames cancels out, whatever the
// scene; levels where samples clip are left out. Throws std::runtime_error for frames that cannot tell.
SensorNoise MeasureNoise(const Frame& first, const Frame& second, double black);

// Points and lines of both, CV_8UC3.
cv::Mat PlotNoise(const SensorNoise& noise);

}  // namespace orvtool

#endif
