// Frames whose rows lie so far apart that 32-bit offsets run over.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>

#include "OrvBayer.h"
#include "support/Frames.h"

namespace {

constexpr int kWidth = 46, kHeight = 7;
constexpr int kStride = 1 << 29;
static_assert((kHeight - 1LL) * kStride >= 1LL << 31, "below the bound");

// The rows of the frame at that distance; pages that none touches take no memory.
class FarRows {
public:
    explicit FarRows(const orvtest::Image& image) : record_(image.record) {
        memory_ = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        record_.stride = kStride;
        record_.data = memory_;
    }
    ~FarRows() { munmap(memory_, kBytes); }
    FarRows(const FarRows&) = delete;
    FarRows& operator=(const FarRows&) = delete;
    bool Good() const { return memory_ != MAP_FAILED; }
    unsigned char* Row(int y) { return static_cast<unsigned char*>(memory_) + ptrdiff_t{y} * kStride; }
    _OrvImage* Record() { return &record_; }

private:
    static constexpr size_t kBytes = size_t{kHeight} * kStride;
    _OrvImage record_;
    void* memory_;
};

TEST(HugeFrame, ConvertsToTheLastRow) {
    for (const int algorithm : {0, 2}) {
        for (const int bits : {8, 16}) {
            orvtest::Image mosaic =
                orvtest::FrameOf(bits == 8 ? OrvPixelBayerGB8 : OrvPixelBayerGB16, bits, kWidth, kHeight);
            FillFrame(mosaic, orvtest::Content::Noise, 29, (1U << bits) - 1);
            orvtest::Image expected = orvtest::FrameOf(bits == 8 ? OrvPixelRGB8 : OrvPixelRGB16, bits, kWidth, kHeight);
            FarRows source(mosaic), result(expected);
            if (!source.Good() || !result.Good()) {
                GTEST_SKIP() << "not enough address space";
            }
            for (int y = 0; y < kHeight; ++y) {
                std::memcpy(source.Row(y), mosaic.Row<uint8_t>(y), static_cast<size_t>(mosaic.record.stride));
            }
            EXPECT_EQ(0U, BayerToColor(&mosaic.record, &expected.record, algorithm));
            EXPECT_EQ(0U, BayerToColor(source.Record(), result.Record(), algorithm));
            for (int y = 0; y < kHeight; ++y) {
                EXPECT_EQ(0, std::memcmp(result.Row(y), expected.Row<uint8_t>(y),
                                         static_cast<size_t>(expected.record.stride)))
                    << algorithm << ", " << bits << " bits, row " << y;
            }
        }
    }
}

}  // namespace
