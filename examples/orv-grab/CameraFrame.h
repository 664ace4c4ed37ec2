// A frame as a camera sends it, to 8-bit colour.
#ifndef ORV_EXAMPLES_CAMERA_FRAME_H
#define ORV_EXAMPLES_CAMERA_FRAME_H

#include <OrvBayer.h>
#include <OrvTrueSense.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

namespace orvgrab {

// Pixels of the camera's, valid as long as its buffer.
struct CameraFrame {
    uint32_t pixelFormat = 0;  // number of the Pixel Format Naming Convention
    int width = 0;
    int height = 0;
    int rowPadding = 0;  // bytes behind each row
    const void* data = nullptr;
    size_t bytes = 0;
};

// Whether frames of that pixel format have a mosaic that the library knows.
bool IsMosaic(uint32_t pixelFormat);

// Converts frames of one camera. One thread at a time; memory stays from frame to frame.
class ColourConverter {
public:
    // `algorithm` as `BayerAlgType` or `TrueSenseAlgType`, `threads` as `threads_num` (TrueSense).
    ColourConverter(int algorithm, int threads);

    // Blue first, CV_8UC3, until the next call. Throws std::runtime_error for a frame that is no mosaic or shorter than
    // its size says, and for what the library refuses.
    const cv::Mat& Convert(const CameraFrame& frame);

private:
    // The frame's samples in rows that the library reads.
    _OrvImage Unpacked(const CameraFrame& frame);
    void ConvertBayer(const _OrvImage& source, const _OrvImage& destination);
    void ConvertTrueSense(const _OrvImage& source, _OrvImage* destination);

    int algorithm_;
    int threads_;
    std::unique_ptr<OrvBayer, void (*)(OrvBayer*)> bayer_{nullptr, OrvBayer_DeleteComponent};
    std::unique_ptr<OrvTrueSense, void (*)(OrvTrueSense*)> trueSense_{nullptr, OrvTrueSense_DeleteComponent};
    cv::Size lastSize_;
    std::vector<uint16_t> samples_;
    std::vector<unsigned char> scratch_;
    cv::Mat colour_;
};

}  // namespace orvgrab

#endif
