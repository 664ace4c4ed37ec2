#include "ReadImage.h"

#include <algorithm>
#include <opencv2/imgcodecs.hpp>

#include "FileAccess.h"

namespace orvtool {

namespace {

constexpr int64_t kMaxImageFile = int64_t{1} << 31;

std::vector<uint8_t> ReadAll(const std::string& path) {
    const File file = OpenToRead(path);
    std::vector<uint8_t> bytes;
    size_t got = 0;
    do {
        const size_t before = bytes.size();
        bytes.resize(before + (size_t{1} << 20));
        got = std::fread(bytes.data() + before, 1, bytes.size() - before, file.get());
        bytes.resize(before + got);
    } while (got > 0 && static_cast<int64_t>(bytes.size()) < kMaxImageFile);
    if (std::ferror(file.get()) != 0 || got > 0) {
        FailFile(path, "could not be read to its end");
    }
    return bytes;
}

// The next number of a PGM header, or -1; skips blanks and comments.
int64_t HeaderNumber(const std::vector<uint8_t>& bytes, size_t* at) {
    const auto isBlank = [](uint8_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (*at < bytes.size() && (isBlank(bytes[*at]) || bytes[*at] == '#')) {
        if (bytes[*at] == '#') {
            while (*at < bytes.size() && bytes[*at] != '\n') {
                ++*at;
            }
        } else {
            ++*at;
        }
    }
    int64_t number = -1;
    while (*at < bytes.size() && bytes[*at] >= '0' && bytes[*at] <= '9' && number < 1000000) {
        number = std::max<int64_t>(number, 0) * 10 + (bytes[*at] - '0');
        ++*at;
    }
    return number;
}

ImageFile ReadPgm(const std::string& path, const std::vector<uint8_t>& bytes) {
    size_t at = 2;
    const int64_t width = HeaderNumber(bytes, &at);
    const int64_t height = HeaderNumber(bytes, &at);
    const int64_t top = HeaderNumber(bytes, &at);
    ++at;  // one blank ends the header
    if (width < 1 || height < 1 || top < 1 || top > 65535) {
        FailFile(path, "the PGM header is broken");
    }
    CheckSize(path, width, height);
    const size_t pixels = static_cast<size_t>(width * height);
    const size_t perSample = top < 256 ? 1 : 2;
    if (bytes.size() < at || bytes.size() - at < pixels * perSample) {
        FailFile(path, "the file is too short: " + std::to_string(bytes.size() - std::min(at, bytes.size())) +
                           " bytes of samples, " + std::to_string(pixels * perSample) + " are wanted");
    }
    ImageFile file;
    file.width = static_cast<int>(width);
    file.height = static_cast<int>(height);
    file.bits = top < 256 ? 8 : 16;
    file.codes.resize(pixels);
    const uint8_t* in = bytes.data() + at;
    for (uint16_t& code : file.codes) {
        code = perSample == 1 ? in[0] : static_cast<uint16_t>(in[0] << 8 | in[1]);
        in += perSample;
    }
    return file;
}

// True when a JPEG has its end marker; the decoder fills a cut picture with grey instead of failing.
bool JpegIsWhole(const std::vector<uint8_t>& bytes) {
    const uint8_t end[2] = {0xFF, 0xD9};
    return std::search(bytes.begin() + 2, bytes.end(), end, end + 2) != bytes.end();
}

bool ChannelsEqual(const cv::Mat& picture) {
    std::vector<cv::Mat> channels;
    cv::split(picture, channels);
    return cv::norm(channels[0], channels[1], cv::NORM_INF) == 0 &&
           cv::norm(channels[0], channels[2], cv::NORM_INF) == 0;
}

std::vector<uint16_t> FirstChannel(const cv::Mat& picture) {
    std::vector<uint16_t> codes;
    codes.reserve(picture.total());
    const int step = picture.channels();
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x) {
            codes.push_back(picture.depth() == CV_8U ? picture.ptr<uint8_t>(y)[x * step]
                                                     : picture.ptr<uint16_t>(y)[x * step]);
        }
    }
    return codes;
}

SceneImage Linearise(const cv::Mat& picture) {
    cv::Mat scaled;
    picture.convertTo(scaled, CV_MAKETYPE(CV_32F, picture.channels()),
                      picture.depth() == CV_8U ? 1.0 / 255 : 1.0 / 65535);
    SceneImage linear;
    linear.width = picture.cols;
    linear.height = picture.rows;
    linear.rgb.reserve(picture.total() * 3);
    const int channels = picture.channels();
    for (int y = 0; y < picture.rows; ++y) {
        const float* row = scaled.ptr<float>(y);
        for (int x = 0; x < picture.cols; ++x, row += channels) {
            for (int c = 2; c >= 0; --c) {
                linear.rgb.push_back(SrgbToLinear(channels >= 3 ? row[c] : row[0]));
            }
        }
    }
    return linear;
}

cv::Mat Decode(const std::string& path, const std::vector<uint8_t>& bytes) {
    if (bytes.size() > 2 && bytes[0] == 0xFF && bytes[1] == 0xD8 && !JpegIsWhole(bytes)) {
        FailFile(path, "the JPEG file is cut short");
    }
    cv::Mat picture;
    try {
        if (!bytes.empty()) {
            picture = cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
        }
    } catch (const cv::Exception& exception) {
        FailFile(path, "could not be decoded: " + exception.err);
    }
    if (picture.empty()) {
        FailFile(path, "no picture that can be read, or cut short; headerless frames need --raw and --size");
    }
    if ((picture.depth() != CV_8U && picture.depth() != CV_16U) || picture.channels() == 2) {
        FailFile(path, "only pictures of 8 or 16 bits with 1, 3 or 4 channels are supported");
    }
    CheckSize(path, picture.cols, picture.rows);
    return picture;
}

}  // namespace

ImageFile ReadImage(const std::string& path) {
    const std::vector<uint8_t> bytes = ReadAll(path);
    if (bytes.size() > 2 && bytes[0] == 'P' && bytes[1] == '5') {
        return ReadPgm(path, bytes);
    }
    const cv::Mat picture = Decode(path, bytes);
    ImageFile file;
    file.width = picture.cols;
    file.height = picture.rows;
    file.bits = picture.depth() == CV_8U ? 8 : 16;
    if (picture.channels() < 3 || ChannelsEqual(picture)) {
        file.codes = FirstChannel(picture);
    }
    file.picture = Linearise(picture);
    return file;
}

}  // namespace orvtool
