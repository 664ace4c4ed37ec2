// Packed rows against the layouts written bit by bit.
#include <gtest/gtest.h>

#include <vector>

#include "OrvHelpers.h"
#include "support/Levels.h"
#include "support/Noise.h"

namespace {

// Where bit `bit` of sample `x` stands: the byte of its row, times 8, plus the bit in it.
int PlaceOf(int packing, int x, int bit) {
    const auto pair = [&](int high, int low, int lowBits) {
        return bit >= lowBits ? 8 * high + bit - lowBits : low + bit;
    };
    const int at = 3 * (x / 2);
    switch (packing) {
    case OrvPacking10p: return 10 * x + bit;
    case OrvPacking12p: return 12 * x + bit;
    case OrvPacking10Packed: return pair(at + 2 * (x % 2), 8 * (at + 1) + 4 * (x % 2), 2);
    case OrvPacking12Packed: return pair(at + 2 * (x % 2), 8 * (at + 1) + 4 * (x % 2), 4);
    case OrvPackingRaw10: return pair(5 * (x / 4) + x % 4, 8 * (5 * (x / 4) + 4) + 2 * (x % 4), 2);
    default: return pair(at + x % 2, 8 * (at + 2) + 4 * (x % 2), 4);
    }
}

int64_t RowBytesOf(int packing, int width) {
    switch (packing) {
    case OrvPacking10p: return (10 * width + 7) / 8;
    case OrvPacking12p: return (12 * width + 7) / 8;
    case OrvPackingRaw10: return 5 * ((width + 3) / 4);
    case OrvPackingRaw12: return 3 * ((width + 1) / 2);
    default: return 3 * (width / 2) + 2 * (width & 1);
    }
}

// Up to the last byte of the rows, which the address sanitizer watches.
void UnpackRowsOfEveryWidth(int packing) {
    const int bits = OrvPacking_Bits(packing);
    constexpr int kRows = 3;
    constexpr uint16_t kGuard = 0xA5A5;
    orvtest::AtEveryLevel([&] {
        for (int width = 0; width <= 70; ++width) {
            SCOPED_TRACE(width);
            const int64_t rowBytes = RowBytesOf(packing, width);
            ASSERT_EQ(rowBytes, OrvPacking_RowBytes(packing, width));
            const int64_t stride = rowBytes + width % 4;
            const int outSamples = width + width % 3;
            const size_t bytes = width == 0 ? 0 : static_cast<size_t>(2 * stride + rowBytes);
            const std::vector<uint8_t> source = orvtest::NoiseSamples<uint8_t>(11, bytes, 255);
            std::vector<uint16_t> expected(static_cast<size_t>(kRows * outSamples), kGuard);
            std::vector<uint16_t> got = expected;
            for (int y = 0; y < kRows; ++y) {
                for (int x = 0; x < width; ++x) {
                    int sample = 0;
                    for (int bit = 0; bit < bits; ++bit) {
                        const int place = PlaceOf(packing, x, bit);
                        sample |= ((source[static_cast<size_t>(y * stride + place / 8)] >> (place % 8)) & 1) << bit;
                    }
                    expected[static_cast<size_t>(y * outSamples + x)] = static_cast<uint16_t>(sample);
                }
            }
            const size_t outBytes = width == 0 ? 0 : static_cast<size_t>(2 * (2 * outSamples + width));
            ASSERT_EQ(0U, OrvPacking_Unpack(packing, source.data(), bytes, stride, width, kRows, got.data(), outBytes,
                                            2 * outSamples));
            ASSERT_EQ(expected, got);
            if (width == 0) {
                continue;
            }
            const struct {
                uint32_t status;
                size_t bytes;
                int64_t stride;
                size_t outBytes;
                int64_t outStride;
            } bad[] = {{0x80070006, bytes - 1, stride, outBytes, 2 * outSamples},
                       {0x80070006, bytes, stride, outBytes - 1, 2 * outSamples},
                       {0x80070007, bytes, rowBytes - 1, outBytes, 2 * outSamples},
                       {0x80070007, bytes, stride, outBytes, 2 * width - 2},
                       {0x80070007, bytes, stride, outBytes, 2 * outSamples + 1}};
            for (const auto& each : bad) {  // writes nothing
                EXPECT_EQ(each.status, OrvPacking_Unpack(packing, source.data(), each.bytes, each.stride, width, kRows,
                                                         got.data(), each.outBytes, each.outStride));
            }
            EXPECT_EQ(expected, got);
        }
    });
}

TEST(Unpack, RowsOfEveryLayoutAndWidth) {
    for (int packing = OrvPacking10p; packing <= OrvPackingRaw12; ++packing) {
        SCOPED_TRACE(OrvPacking_Name(packing));
        UnpackRowsOfEveryWidth(packing);
    }
}

TEST(Unpack, RefusesWhatIsNoFrame) {
    uint8_t in[8] = {};
    uint16_t out[4] = {7, 7, 7, 7};
    for (const int packing : {-1, 0, 7}) {
        EXPECT_EQ(0x80070007, OrvPacking_Unpack(packing, in, 8, 8, 4, 1, out, 8, 8));
        EXPECT_EQ(-1, OrvPacking_RowBytes(packing, 4));
    }
    EXPECT_EQ(0x80070007, OrvPacking_Unpack(OrvPacking10p, nullptr, 8, 8, 4, 1, out, 8, 8));
    EXPECT_EQ(0x80070007, OrvPacking_Unpack(OrvPacking10p, in, 8, 8, 4, 1, nullptr, 8, 8));
    EXPECT_EQ(0x80070007, OrvPacking_Unpack(OrvPacking10p, in, 8, 8, -4, 1, out, 8, 8));
    EXPECT_EQ(0x80070007, OrvPacking_Unpack(OrvPacking10p, in, 8, 8, 4, -1, out, 8, 8));
    EXPECT_EQ(0x80070006, OrvPacking_Unpack(OrvPacking10p, in, 8, INT64_MAX, 4, INT64_MAX, out, 8, 8));
    EXPECT_EQ(0U, OrvPacking_Unpack(OrvPacking10p, nullptr, 0, 8, 4, 0, nullptr, 0, 8));
    EXPECT_EQ((std::vector<uint16_t>{7, 7, 7, 7}), std::vector<uint16_t>(out, out + 4));
}

}  // namespace
