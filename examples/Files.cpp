#include "Files.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>

namespace orvtool {

namespace {

// Larger frames are refused before memory is asked for: the bytes of a 16-bit colour result must fit the signed 32 bits
// of a record's imageSize.
constexpr int kMaxSide = 65500;
constexpr int64_t kMaxPixels = int64_t{1} << 28;
constexpr int64_t kMaxImageFile = int64_t{1} << 31;

[[noreturn]] void Fail(const std::string& path, const std::string& what) {
    throw std::runtime_error(path + ": " + what);
}

void CheckSize(const std::string& path, int64_t width, int64_t height) {
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide || width * height > kMaxPixels) {
        Fail(path, "a size of " + std::to_string(width) + "x" + std::to_string(height) + " is not supported");
    }
}

// At most `limit` bytes from `offset` on; fewer where the file ends before.
std::vector<uint8_t> ReadBytes(const std::string& path, int64_t offset, int64_t limit) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        Fail(path, error ? error.message() : "not a regular file");
    }
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        Fail(path, std::strerror(errno));
    }
    const int64_t size = std::clamp<int64_t>(static_cast<int64_t>(file.tellg()) - offset, 0, limit);
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    file.seekg(offset);
    file.read(reinterpret_cast<char*>(bytes.data()), size);
    if (size > 0 && file.gcount() != size) {
        Fail(path, "could not be read to its end");
    }
    return bytes;
}

RawSamples Unpack(const std::string& path, const std::vector<uint8_t>& bytes, const RawLayout& layout) {
    CheckSize(path, layout.width, layout.height);
    const int64_t rowBytes = int64_t{layout.width} * layout.bytesPerSample;
    const int64_t stride = layout.stride == 0 ? rowBytes : layout.stride;
    const int64_t size = static_cast<int64_t>(bytes.size());
    if (stride < rowBytes) {
        Fail(path,
             "a stride of " + std::to_string(stride) + " bytes is shorter than a row of " + std::to_string(rowBytes));
    }
    // Compared by division: the products could overflow for absurd numbers.
    if (layout.offset < 0 || layout.offset > size || size - layout.offset < rowBytes ||
        (size - layout.offset - rowBytes) / stride < layout.height - 1) {
        Fail(path, "the file is too short: " + std::to_string(size - std::min(size, layout.offset)) +
                       " bytes where the frame should be, " + std::to_string(layout.width) + "x" +
                       std::to_string(layout.height) + " samples of " + std::to_string(layout.bytesPerSample) +
                       " bytes with a row stride of " + std::to_string(stride) + " are wanted");
    }
    RawSamples raw;
    raw.width = layout.width;
    raw.height = layout.height;
    raw.samples.resize(static_cast<size_t>(layout.width) * static_cast<size_t>(layout.height));
    uint16_t* out = raw.samples.data();
    const size_t high = layout.bigEndian ? 0 : 1;
    for (int y = 0; y < layout.height; ++y) {
        const uint8_t* in = bytes.data() + layout.offset + y * stride;
        for (int x = 0; x < layout.width; ++x, in += layout.bytesPerSample) {
            *out++ = layout.bytesPerSample == 1 ? in[0] : static_cast<uint16_t>(in[high] << 8 | in[1 - high]);
        }
    }
    return raw;
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

RawSamples ReadPgm(const std::string& path, const std::vector<uint8_t>& bytes) {
    size_t at = 2;
    RawLayout layout;
    const int64_t width = HeaderNumber(bytes, &at);
    const int64_t height = HeaderNumber(bytes, &at);
    const int64_t top = HeaderNumber(bytes, &at);
    if (top < 1 || top > 65535) {
        Fail(path, "the PGM header is broken");
    }
    CheckSize(path, width, height);
    layout.width = static_cast<int>(width);
    layout.height = static_cast<int>(height);
    layout.bytesPerSample = top < 256 ? 1 : 2;
    layout.bigEndian = true;
    layout.offset = static_cast<int64_t>(at) + 1;  // one blank ends the header
    return Unpack(path, bytes, layout);
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

RawSamples FirstChannel(const cv::Mat& picture) {
    RawSamples raw;
    raw.width = picture.cols;
    raw.height = picture.rows;
    raw.samples.reserve(picture.total());
    const int step = picture.channels();
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x) {
            raw.samples.push_back(picture.depth() == CV_8U ? picture.ptr<uint8_t>(y)[x * step]
                                                           : picture.ptr<uint16_t>(y)[x * step]);
        }
    }
    return raw;
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

}  // namespace

bool HasExtension(const std::string& path, const char* extension) {
    const size_t length = std::strlen(extension);
    return path.size() > length && strcasecmp(path.c_str() + path.size() - length, extension) == 0;
}

RawSamples ReadRaw(const std::string& path, const RawLayout& layout) {
    CheckSize(path, layout.width, layout.height);
    // A stride past any real one is kept from overflowing here; Unpack then finds the file too short for it.
    const int64_t rowBytes = int64_t{layout.width} * layout.bytesPerSample;
    const int64_t stride = std::clamp<int64_t>(layout.stride, rowBytes, int64_t{1} << 32);
    RawLayout fromStart = layout;
    fromStart.offset = 0;
    return Unpack(path, ReadBytes(path, std::max<int64_t>(0, layout.offset), stride * (layout.height - 1) + rowBytes),
                  fromStart);
}

ImageFile ReadImage(const std::string& path) {
    const std::vector<uint8_t> bytes = ReadBytes(path, 0, kMaxImageFile);
    ImageFile file;
    if (bytes.size() > 2 && bytes[0] == 'P' && bytes[1] == '5') {
        file.mosaic = ReadPgm(path, bytes);
        return file;
    }
    if (bytes.size() > 2 && bytes[0] == 0xFF && bytes[1] == 0xD8 && !JpegIsWhole(bytes)) {
        Fail(path, "the JPEG file is cut short");
    }
    cv::Mat picture;
    try {
        if (!bytes.empty()) {
            picture = cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
        }
    } catch (const cv::Exception& exception) {
        Fail(path, "could not be decoded: " + exception.err);
    }
    if (picture.empty()) {
        Fail(path, "no picture that can be read, or cut short");
    }
    if ((picture.depth() != CV_8U && picture.depth() != CV_16U) || picture.channels() == 2) {
        Fail(path, "only pictures of 8 or 16 bits with 1, 3 or 4 channels are supported");
    }
    CheckSize(path, picture.cols, picture.rows);
    file.colour = picture.channels() >= 3;
    if (!file.colour || ChannelsEqual(picture)) {
        file.mosaic = FirstChannel(picture);
    }
    file.picture = Linearise(picture);
    return file;
}

void WritePng(const std::string& path, const cv::Mat& picture) {
    if (!HasExtension(path, ".png")) {
        Fail(path, "the name of a written picture must end in .png");
    }
    std::vector<uint8_t> bytes;
    if (!cv::imencode(".png", picture, bytes, {cv::IMWRITE_PNG_COMPRESSION, 3})) {
        Fail(path, "could not be encoded");
    }
    const std::string temporary = path + ".part" + std::to_string(getpid());
    std::FILE* file = std::fopen(temporary.c_str(), "wbx");
    if (file == nullptr) {
        Fail(path, std::strerror(errno));
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        std::remove(temporary.c_str());
        Fail(path, std::strerror(error));
    }
}

}  // namespace orvtool
