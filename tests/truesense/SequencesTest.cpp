// Frames one after another through one component or one direct function: each comes out as if it were the first.
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "OrvTrueSense.h"
#include "support/Image.h"
#include "support/Noise.h"
#include "truesense/Engines.h"
#include "truesense/Params.h"

namespace {

using orvtest::Image;
using orvtest::Noise;

constexpr uint32_t kByteWords[] = {OrvPixelRGB8, OrvPixelBGR8, OrvPixelRGBA8, OrvPixelBGRA8};
constexpr uint32_t kWideWords[] = {OrvPixelRGB10, OrvPixelRGB12, OrvPixelRGB14, OrvPixelRGB16,
                                   OrvPixelBGR10, OrvPixelBGR12, OrvPixelBGR14, OrvPixelBGR16};

struct Depth {
    int bits;
    OrvPixelType firstWord;
};
constexpr Depth kDepths[] = {
    {8, OrvPixelTrueSense8}, {10, OrvPixelTrueSense10}, {12, OrvPixelTrueSense12}, {14, OrvPixelTrueSense14}};

// A frame of random size, place in the cell, depth and destination.
struct Frame {
    long algorithm;
    std::unique_ptr<Image> source, result, expected;

    explicit Frame(Noise* noise) {
        algorithm = static_cast<long>(noise->Below(orv::kAlgorithmCount));
        const int width = 1 + static_cast<int>(noise->Below(40));
        const int height = 1 + static_cast<int>(noise->Below(40));
        const Depth depth = kDepths[noise->Below(4)];
        const bool bytes = depth.bits == 8;
        const bool toBytes = bytes || noise->Below(2) == 0;
        const uint32_t word = toBytes ? kByteWords[noise->Below(4)] : kWideWords[noise->Below(8)];
        const int stride = width * (bytes ? 1 : 2) + 2 * static_cast<int>(noise->Below(3));
        const int channels = orv::OutputLayoutOf(word).alpha ? 4 : 3;
        const int resultStride = width * channels * (toBytes ? 1 : 2) + 2 * static_cast<int>(noise->Below(3));
        source = std::make_unique<Image>(OrvPixelTrueSense(depth.firstWord, noise->Below(16)), depth.bits, width,
                                         height, stride);
        for (size_t i = 0; i < source->bytes.size(); ++i) {
            const bool high = !bytes && i % 2 == 1;
            source->bytes[i] = static_cast<uint8_t>(noise->Next() & (high ? (1U << (depth.bits - 8)) - 1 : 255U));
        }
        result = std::make_unique<Image>(word, toBytes ? 8 : depth.bits, width, height, resultStride);
        expected = std::make_unique<Image>(word, toBytes ? 8 : depth.bits, width, height, resultStride);
    }
};

// Engine 4 alone refuses 10 bits to 8.
bool Refused(const Frame& frame) {
    return frame.algorithm == 4 && frame.source->record.bitDepth == 10 && frame.result->record.bitDepth == 8;
}

// Random settings that reach the state engines keep.
void Shuffle(Noise* noise, OrvComponent* settings) {
    for (const char* name : {"impulseFilterEnable", "sharpnessEnable", "monoEnable", "horMirrored", "verMirrored",
                             "normalizationEnable", "panRadius1", "threads_num"}) {
        ASSERT_EQ(OrvSetParam(*settings, name, static_cast<int>(noise->Below(2))), 0U);
    }
    ASSERT_EQ(OrvSetParam(*settings, "redGain", 1.0 + noise->Below(3) / 4.0), 0U);
    ASSERT_EQ(OrvSetParam(*settings, "GR", noise->Below(2) == 0 ? 0.0 : -0.125), 0U);
}

TEST(TrueSenseSequences, ComponentLikeFreshComponents) {
    Noise noise(21);
    const std::unique_ptr<OrvTrueSense> kept(OrvTrueSense_CreateComponent());
    for (int i = 0; i < 300; ++i) {
        Frame frame(&noise);
        SCOPED_TRACE(i);
        const std::unique_ptr<OrvTrueSense> fresh(OrvTrueSense_CreateComponent());
        const uint64_t seed = noise.Next();
        for (OrvTrueSense* component : {kept.get(), fresh.get()}) {
            Noise same(seed);
            Shuffle(&same, component->GetComponent());
            ASSERT_EQ(OrvSetParam(*component->GetComponent(), "TrueSenseAlgType", frame.algorithm), 0U);
        }
        const uint32_t status = Refused(frame) ? 0x80060007U : 0U;
        ASSERT_EQ(status, fresh->ConvertImage(&frame.source->record, &frame.expected->record));
        ASSERT_EQ(status, kept->ConvertImage(&frame.source->record, &frame.result->record));
        ASSERT_EQ(frame.expected->bytes, frame.result->bytes) << "algorithm " << frame.algorithm;
    }
}

// What a fresh engine makes of the frame.
template <class T>
uint32_t ConvertFresh(const Frame& frame, tagTrueSenseParam* param) {
    const std::unique_ptr<IDemConvertion<T>> engine(orv::kTrueSenseEngines.Find<T>(frame.algorithm)->make());
    const _OrvImage& from = frame.source->record;
    const _OrvImage& to = frame.expected->record;
    const _OrvRect rect = {0, 0, from.width, from.height};
    const _OrvSize size = {from.width, from.height};
    const orv::OutputLayout layout = orv::OutputLayoutOf(to.pixelType);
    engine->SetOutputPixelType(layout.alpha, layout.bgr);
    const unsigned char grid = static_cast<unsigned char>(PixelTypeToTruesenseGrid(from.pixelType));
    int code = 0;
    if (sizeof(T) == 1 || !layout.bytes) {
        code = engine->Init(static_cast<T*>(from.data), rect, size, from.stride, from.bitDepth,
                            static_cast<T*>(to.data), to.stride, grid, param);
        code = code == 0 ? engine->Calculate() : code;
    } else {
        code = engine->InitRGB(static_cast<unsigned short*>(from.data), rect, size, from.stride, from.bitDepth,
                               static_cast<unsigned char*>(to.data), to.stride, grid, param);
        code = code == 0 ? engine->CalculateRGB() : code;
    }
    return code == 0 ? 0U : 0x80060000U | static_cast<uint32_t>(code);
}

TEST(TrueSenseSequences, FunctionsLikeFreshEngines) {
    Noise noise(22);
    for (int i = 0; i < 400; ++i) {
        Frame frame(&noise);
        SCOPED_TRACE(i);
        tagTrueSenseParam param;
        TrueSense_DefaultValues(&param);
        param.impulseFilterEnable = noise.Below(2);
        param.normalizationEnable = noise.Below(2);
        tagTrueSenseParam* settings = noise.Below(4) == 0 ? nullptr : &param;
        const bool byteSource = frame.source->record.bitDepth == 8;
        tagTrueSenseParam expectedParam = param;
        expectedParam.normalizationEnable = byteSource ? 0 : param.normalizationEnable;
        tagTrueSenseParam* expectedSettings = settings == nullptr ? nullptr : &expectedParam;
        const uint32_t expected = byteSource ? ConvertFresh<unsigned char>(frame, expectedSettings)
                                             : ConvertFresh<unsigned short>(frame, expectedSettings);
        ASSERT_EQ(expected, TrueSenseToColor(&frame.source->record, &frame.result->record, settings,
                                             static_cast<int>(frame.algorithm), noise.Below(3) == 0));
        ASSERT_EQ(frame.expected->bytes, frame.result->bytes) << "algorithm " << frame.algorithm;
        if (settings != nullptr) {
            EXPECT_EQ(expectedParam.normalizationEnable, param.normalizationEnable);
        }
    }
}

TEST(TrueSenseDirect, BareBuffers) {
    // Four channels of 16 bits, which no word asks for: the fourth stays; and a region off the frame's corner.
    Noise noise(23);
    const int side = 16;
    Image source(OrvPixelTrueSense12, 12, side, side, side * 2);
    for (int i = 0; i < side * side; ++i) {
        source.Row<uint16_t>(0)[i] = static_cast<uint16_t>(noise.Below(4096));
    }
    const _OrvRect rect = {4, 8, 8, 8};
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    Image three(OrvPixelRGB12, 12, 8, 8, 8 * 6);
    Image four(OrvPixelRGB12, 12, 8, 8, 8 * 8);
    Image reversed(OrvPixelBGR12, 12, 8, 8, 8 * 8);
    for (const bool oneShot : {false, true}) {
        ASSERT_EQ(0U, TrueSenseToRGB_16u_C1C3R(source.Row<uint16_t>(0), rect, {side, side}, side * 2, 12,
                                               three.Row<uint16_t>(0), 8 * 6, 5, &param, 0, oneShot));
        ASSERT_EQ(0U, TrueSenseToRGB_16u_C1C4R(source.Row<uint16_t>(0), rect, {side, side}, side * 2, 12,
                                               four.Row<uint16_t>(0), 8 * 8, 5, &param, 0, oneShot));
        ASSERT_EQ(0U, TrueSenseToBGR_16u_C1C4R(source.Row<uint16_t>(0), rect, {side, side}, side * 2, 12,
                                               reversed.Row<uint16_t>(0), 8 * 8, 5, &param, 0, oneShot));
        for (int i = 0; i < 8 * 8; ++i) {
            for (int c = 0; c < 3; ++c) {
                ASSERT_EQ(three.Row<uint16_t>(0)[3 * i + c], four.Row<uint16_t>(0)[4 * i + c]);
                ASSERT_EQ(three.Row<uint16_t>(0)[3 * i + c], reversed.Row<uint16_t>(0)[4 * i + 2 - c]);
            }
            ASSERT_EQ(0xA5A5, four.Row<uint16_t>(0)[4 * i + 3]);
        }
    }
}

// The status, and nothing written but the flag that the functions of 8 bits clear before all else.
TEST(TrueSenseDirect, Refusals) {
    Image source(OrvPixelTrueSense8, 8, 8, 8, 8);
    Image wide(OrvPixelTrueSense10, 10, 8, 8, 16);
    Image result(OrvPixelRGB8, 8, 8, 8, 24);
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    const auto convert = [&](const uint8_t* from, _OrvRect rect, int bits, int grid, int algorithm) {
        param.normalizationEnable = 1;
        const uint32_t status = TrueSenseToBGR_8u_C1C3R(from, rect, {8, 8}, 8, bits, result.Data(), 24,
                                                        static_cast<unsigned char>(grid), &param, algorithm, false);
        EXPECT_EQ(0, param.normalizationEnable);
        return status;
    };
    const _OrvRect whole = {0, 0, 8, 8};
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 0, 5));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 0, -1));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 8, 16, 0));
    EXPECT_EQ(0x80060007U, convert(source.Data(), whole, 9, 0, 4));
    EXPECT_EQ(0x80060008U, convert(nullptr, whole, 8, 0, 0));
    EXPECT_EQ(0x80060009U, convert(source.Data(), {0, 0, -1, 8}, 8, 0, 0));
    // With the grid the plane would be wider than an int counts.
    EXPECT_EQ(0x80060009U, convert(source.Data(), {0, 0, std::numeric_limits<int>::max(), 1}, 8, 3, 1));

    EXPECT_EQ(0x80060007U, TrueSenseToColor(nullptr, &result.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, nullptr, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, &source.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&result.record, &result.record, &param, 0, false));
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&wide.record, &result.record, &param, 4, false));
    result.record.pixelType = OrvPixelRGB10;
    EXPECT_EQ(0x80060007U, TrueSenseToColor(&source.record, &result.record, &param, 0, false));
    EXPECT_TRUE(result.Untouched());

    // Algorithm 0 takes any `bits` for 8, and the engine works on after a failure.
    EXPECT_EQ(0U, convert(source.Data(), whole, 9, 0, 0));
    EXPECT_TRUE(result.OutsideUntouched(24));
    EXPECT_FALSE(result.Untouched());
}

}  // namespace
