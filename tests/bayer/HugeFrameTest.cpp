// Frames of 2^31 result samples and more, where 32-bit products of sizes run over.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <opencv2/core/utility.hpp>
#include <vector>

#include "OrvBayer.h"
#include "support/Noise.h"

namespace {

constexpr int kWidth = 1 << 15;
constexpr int kHeight = 21846;
constexpr int kEnd = 64;  // rows of content, again and again

// The rows of a frame, each the same memory as that kEnd rows above.
class Region {
public:
    explicit Region(size_t rowBytes) : bytes_(kHeight * rowBytes) {
        memory_ = mmap(nullptr, bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        const size_t window = kEnd * rowBytes;
        const int file = memfd_create("window", 0);
        good_ = memory_ != MAP_FAILED && file >= 0 && ftruncate(file, static_cast<off_t>(window)) == 0;
        for (size_t at = 0; good_ && at < bytes_; at += window) {
            good_ = mmap(At(at), std::min(window, bytes_ - at), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file,
                         0) != MAP_FAILED;
        }
        close(file);
    }
    ~Region() { munmap(memory_, bytes_); }
    Region(const Region&) = delete;
    Region& operator=(const Region&) = delete;
    bool Good() const { return good_; }
    unsigned char* At(size_t offset) { return static_cast<unsigned char*>(memory_) + offset; }

private:
    size_t bytes_;
    void* memory_;
    bool good_;
};

// The last rows equal those of a frame of these rows alone.
void ConvertToTheLastRow(int algorithm, int bytes) {
    static_assert(3LL * kWidth * kHeight >= 1LL << 31, "below the bound");
    const size_t sourceRow = size_t{kWidth} * static_cast<size_t>(bytes);
    Region source(sourceRow);
    Region result(3 * sourceRow);
    if (!source.Good() || !result.Good()) {
        GTEST_SKIP() << "not enough address space";
    }
    orvtest::Noise noise(29);
    std::generate_n(source.At(0), kEnd * sourceRow, [&] { return static_cast<unsigned char>(noise.Next()); });
    std::vector<unsigned char> expected(kEnd * 3 * sourceRow);
    const auto convert = [&](unsigned char* to, int firstRow) {
        _OrvImage mosaic = {};
        mosaic.pixelType = bytes == 1 ? OrvPixelBayerGB8 : OrvPixelBayerGB16;
        mosaic.width = kWidth;
        mosaic.height = kHeight - firstRow;
        mosaic.stride = kWidth * bytes;
        mosaic.data = source.At(static_cast<size_t>(firstRow) * sourceRow);
        _OrvImage colour = mosaic;
        colour.pixelType = OrvPixelRGB8;
        colour.stride = 3 * kWidth * bytes;
        colour.data = to;
        return BayerToColor(&mosaic, &colour, algorithm);
    };
    cv::setNumThreads(1);  // rows in order, so that the last ones stay
    EXPECT_EQ(0U, convert(result.At(0), 0));
    EXPECT_EQ(0U, convert(expected.data(), kHeight - kEnd));
    cv::setNumThreads(-1);
    // Without the row that has neighbours above in the one frame only.
    const size_t first = 3 * sourceRow;
    EXPECT_EQ(0, std::memcmp(result.At((kHeight - kEnd) * first + first), expected.data() + first, (kEnd - 1) * first));
}

TEST(HugeFrame, BytesConvertToTheLastRow) { ConvertToTheLastRow(0, 1); }
TEST(HugeFrame, WordsConvertToTheLastRow) { ConvertToTheLastRow(2, 2); }

}  // namespace
