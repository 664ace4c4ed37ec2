// Frames of 2^31 result samples and more, where 32-bit products of sizes run over.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <opencv2/core/utility.hpp>

#include "OrvBayer.h"
#include "support/Noise.h"

namespace {

constexpr int kWidth = 1 << 15;
constexpr int kHeight = 21846;
constexpr int kEnd = 64;  // last rows with content

// Memory of so many bytes. With a `window`, all windows of the region are the same memory.
class Region {
public:
    Region(size_t bytes, size_t window = 0) : bytes_(bytes) {
        memory_ = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (window == 0 || memory_ == MAP_FAILED) {
            return;
        }
        const int file = memfd_create("window", 0);
        bool mapped = file >= 0 && ftruncate(file, static_cast<off_t>(window)) == 0;
        for (size_t at = 0; mapped && at < bytes_; at += window) {
            mapped = mmap(At(at), std::min(window, bytes_ - at), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file,
                          0) != MAP_FAILED;
        }
        close(file);
        good_ = mapped;
    }
    ~Region() { munmap(memory_, bytes_); }
    Region(const Region&) = delete;
    Region& operator=(const Region&) = delete;
    bool Good() const { return good_ && memory_ != MAP_FAILED; }
    unsigned char* At(size_t offset) { return static_cast<unsigned char*>(memory_) + offset; }

private:
    size_t bytes_;
    void* memory_;
    bool good_ = true;
};

class HugeFrame : public testing::TestWithParam<std::tuple<int, int>> {};

// The last rows equal those of a frame of these rows alone.
TEST_P(HugeFrame, ConvertsToTheLastRow) {
    const auto [algorithm, bytes] = GetParam();
    static_assert(3LL * kWidth * kHeight >= 1LL << 31, "below the bound");
    const size_t sourceRow = size_t{kWidth} * static_cast<size_t>(bytes);
    const size_t start = (kHeight - kEnd) * sourceRow;
    Region source(kHeight * sourceRow);
    Region result(kHeight * 3 * sourceRow, kEnd * 3 * sourceRow);
    Region expected(kEnd * 3 * sourceRow);
    if (!source.Good() || !result.Good() || !expected.Good()) {
        GTEST_SKIP() << "not enough address space";
    }
    orvtest::Noise noise(29);
    for (size_t i = 0; i < kEnd * sourceRow; ++i) {
        *source.At(start + i) = static_cast<unsigned char>(noise.Next());
    }
    const auto convert = [&, algorithm = algorithm, bytes = bytes](Region& to, size_t from, int height) {
        _OrvImage mosaic = {};
        mosaic.pixelType = bytes == 1 ? OrvPixelBayerGB8 : OrvPixelBayerGB16;
        mosaic.width = kWidth;
        mosaic.height = height;
        mosaic.stride = kWidth * bytes;
        mosaic.data = source.At(from);
        _OrvImage colour = mosaic;
        colour.pixelType = OrvPixelRGB8;
        colour.stride = 3 * kWidth * bytes;
        colour.data = to.At(0);
        return BayerToColor(&mosaic, &colour, algorithm);
    };
    cv::setNumThreads(1);  // rows in order, so that the last ones stay
    EXPECT_EQ(0U, convert(result, 0, kHeight));
    EXPECT_EQ(0U, convert(expected, start, kEnd));
    cv::setNumThreads(-1);
    // Without the row that has neighbours above in the one frame only.
    const size_t first = 3 * sourceRow;
    EXPECT_EQ(0, std::memcmp(result.At((kHeight - kEnd) * first + first), expected.At(first), (kEnd - 1) * first));
}

INSTANTIATE_TEST_SUITE_P(Bayer, HugeFrame, testing::Values(std::make_tuple(0, 1), std::make_tuple(2, 2)),
                         [](const auto& frame) {
                             return "Algorithm" + std::to_string(std::get<0>(frame.param)) + "Bytes" +
                                    std::to_string(std::get<1>(frame.param));
                         });

}  // namespace
