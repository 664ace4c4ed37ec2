#include "CameraFrame.h"

#include <OrvHelpers.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace orvgrab {

namespace {

constexpr int kAdaptive = 1;  // `BayerAlgType`
constexpr int kEdgeAware = 2;

void Check(const char* action, uint32_t status) {
    if (status != 0) {
        char number[16];
        std::snprintf(number, sizeof(number), "0x%08X", status);
        throw std::runtime_error(std::string(action) + ": " + number + " (" + OrvStatusText(status) + ")");
    }
}

std::string FormatName(uint32_t pixelFormat) {
    if (const char* name = OrvPfnc_Name(pixelFormat)) {
        return name;
    }
    char number[16];
    std::snprintf(number, sizeof(number), "0x%08X", pixelFormat);
    return number;
}

}  // namespace

bool IsMosaic(uint32_t pixelFormat) {
    int packing = OrvPackingNone;
    return OrvWord_Site(OrvPfnc_ToWord(pixelFormat, &packing), 0, 0) != 0;
}

ColourConverter::ColourConverter(int algorithm, int threads) : algorithm_(algorithm), threads_(threads) {}

const cv::Mat& ColourConverter::Convert(const CameraFrame& frame) {
    const _OrvImage source = Unpacked(frame);
    colour_.create(frame.height, frame.width, CV_8UC3);
    _OrvImage destination;
    Check("the picture's size", OrvFrame_Make(&destination, OrvPixelBGR8, frame.width, frame.height, 0, colour_.data));
    if (OrvWord_Pattern(source.pixelType) >= 0) {
        ConvertBayer(source, destination);
    } else {
        ConvertTrueSense(source, &destination);
    }
    return colour_;
}

_OrvImage ColourConverter::Unpacked(const CameraFrame& frame) {
    int packing = OrvPackingNone;
    const uint32_t word = OrvPfnc_ToWord(frame.pixelFormat, &packing);
    if (OrvWord_Site(word, 0, 0) == 0) {
        throw std::runtime_error("pixel format " + FormatName(frame.pixelFormat) + " is no Bayer or TrueSense mosaic");
    }
    // Rows of the formats 10p and 12p run on where nothing pads them, also within a byte.
    const bool runsOn = (packing == OrvPacking10p || packing == OrvPacking12p) && frame.rowPadding == 0;
    const int64_t width = runsOn ? int64_t{frame.width} * frame.height : frame.width;
    const int64_t height = runsOn ? 1 : frame.height;
    const int64_t rowBytes = OrvWord_RowBytes(word, packing, width);
    const int64_t stride = rowBytes + frame.rowPadding;
    const int64_t needed = (height - 1) * stride + rowBytes;
    if (frame.bytes < static_cast<size_t>(needed)) {
        throw std::runtime_error("the camera sent " + std::to_string(frame.bytes) + " bytes, a frame of " +
                                 std::to_string(frame.width) + " by " + std::to_string(frame.height) + " in " +
                                 FormatName(frame.pixelFormat) + " has " + std::to_string(needed));
    }
    _OrvImage source;
    if (packing == OrvPackingNone) {
        Check("the frame's size", OrvFrame_Make(&source, word, frame.width, frame.height, static_cast<int>(stride),
                                                const_cast<void*>(frame.data)));
        return source;
    }
    samples_.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    Check("unpacking", OrvPacking_Unpack(packing, frame.data, frame.bytes, stride, width, height, samples_.data(),
                                         2 * samples_.size(), 2 * width));
    Check("the frame's size", OrvFrame_Make(&source, word, frame.width, frame.height, 0, samples_.data()));
    return source;
}

void ColourConverter::ConvertBayer(const _OrvImage& source, const _OrvImage& destination) {
    if (algorithm_ > kEdgeAware) {
        throw std::runtime_error("Bayer algorithms go from 0 to 2");
    }
    if (!bayer_) {
        bayer_.reset(OrvBayer_CreateComponent());
        Check("BayerAlgType", OrvParam_SetInteger(OrvBayer_GetComponent(bayer_.get()), "BayerAlgType", algorithm_));
    }
    // The adaptive engine has planes of one size, and above 8 bits would let one frame show in the next.
    const cv::Size size(source.width, source.height);
    if (algorithm_ == kAdaptive && (size != lastSize_ || source.bitDepth > 8)) {
        OrvBayer_ReleaseData(bayer_.get());
        lastSize_ = size;
    }
    const int64_t bytes = OrvFrame_ConvertBayerBytes(&source, &destination, algorithm_);
    scratch_.resize(static_cast<size_t>(std::max<int64_t>(bytes, 0)));
    Check("conversion", OrvFrame_ConvertBayer(bayer_.get(), &source, &destination, scratch_.data(), scratch_.size()));
}

void ColourConverter::ConvertTrueSense(const _OrvImage& source, _OrvImage* destination) {
    if (!trueSense_) {
        trueSense_.reset(OrvTrueSense_CreateComponent());
        OrvComponent* parameters = OrvTrueSense_GetComponent(trueSense_.get());
        Check("TrueSenseAlgType", OrvParam_SetInteger(parameters, "TrueSenseAlgType", algorithm_));
        Check("threads_num", OrvParam_SetInteger(parameters, "threads_num", threads_));
    }
    Check("conversion", OrvTrueSense_ConvertImage(trueSense_.get(), &source, destination));
}

}  // namespace orvgrab
