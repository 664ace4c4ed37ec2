// What the tests of the kernels share.
#ifndef ORV_TESTS_KERNELS_H
#define ORV_TESTS_KERNELS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "pipeline/reference/ImageProcess.h"
#include "support/Noise.h"

namespace orvtest {

using Shorts = std::vector<short>;
using Ints = std::vector<int>;

struct Log {
    char text[4096] = {};
    LogText_t record = {text, 0};
    operator LogText_t*() { return &record; }
};

// Checked scratch of exactly `bytes` bytes, so that the address sanitizer sees a step over its end.
class Scratch {
public:
    explicit Scratch(size_t bytes) : memory_(bytes) {
        g_dynamicBuffer = g_bufFloor = memory_.data();
        g_bufCeil = memory_.data() + bytes;
    }
    ~Scratch() { g_dynamicBuffer = g_bufFloor = g_bufCeil = g_dynamicBuffer1 = g_dynamicBuffer2 = nullptr; }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

private:
    std::vector<unsigned char> memory_;
};

// A run of the driver with all memory of its own, in buffers of exactly the sizes it asks for.
struct DriverRun {
    std::vector<uint16_t> sensor;
    std::vector<uint8_t> rgb;
    std::vector<unsigned char> memory[7];
    char text[1024] = {};
    ImageProcessParam param = {};
    ImageProcessBuffers buffers = {};

    DriverRun(int w, int h) : sensor(static_cast<size_t>(w * h)), rgb(sensor.size() * 3, 0xA5) {
        param.sensorData = sensor.data();
        param.outputRgb = rgb.data();
        param.logText = text;
        param.width = w;
        param.height = h;
        param.cfaPattern = 1;
        param.redGain = param.greenGain = param.blueGain = param.panGain = param.globalGain = param.analogGain = 1;
        std::iota(param.ISOAnalogGain, param.ISOAnalogGain + 5, 1.0F);
        param.RR = param.GG = param.BB = 1;
        param.sharpenParam = 40;
        buffers.mode = 1;
        sum = Api_ImageProcess(&param, &buffers);
        const uint32_t sizes[7] = {buffers.imageBufferSize, buffers.rgbBufferSize, buffers.lowPanSize,
                                   buffers.planeRSize,      buffers.planeGSize,    buffers.planeBSize,
                                   buffers.fullPanSize};
        for (int i = 0; i < 7; ++i) {
            memory[i].assign(sizes[i], 0x5A);
        }
        buffers.imageBuffer = memory[0].data();
        buffers.rgbBuffer = memory[1].data();
        buffers.lowPan = memory[2].data();
        buffers.planeR = memory[3].data();
        buffers.planeG = memory[4].data();
        buffers.planeB = memory[5].data();
        buffers.fullPan = memory[6].data();
        buffers.mode = 0;
    }
    // In place: the record points at the samples.
    void FillWithNoise(uint64_t seed, uint32_t top) {
        const auto noise = NoiseSamples<uint16_t>(seed, sensor.size(), top);
        std::copy(noise.begin(), noise.end(), sensor.begin());
    }
    int32_t sum;
};

}  // namespace orvtest

#endif
