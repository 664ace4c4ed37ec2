#include <OrvHelpers.h>
#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Element.h"
#include "support/Components.h"
#include "support/Frames.h"

namespace {

using orvtest::Image;
using Bytes = std::vector<unsigned char>;
constexpr int kHeight = 65;  // of bands, the last one short

// The element between two loose ends.
class Stream {
public:
    explicit Stream(const std::string& element)
        : harness_(gst_harness_new_parse(element.c_str()), gst_harness_teardown) {
        GstElement* added = gst_harness_find_element(harness_.get(), "orvdemosaic");
        gst_element_set_bus(added, bus_.get());
        gst_object_unref(added);
    }
    void SetCaps(const std::string& source, int width, const std::string& picture) {
        const std::string size =
            ",width=" + std::to_string(width) + ",height=" + std::to_string(kHeight) + ",framerate=30/1";
        gst_harness_set_sink_caps_str(harness_.get(), ("video/x-raw,format=" + picture + size).c_str());
        gst_harness_set_src_caps_str(harness_.get(), (source + size).c_str());
    }
    GstFlowReturn Push(const Bytes& frame, int metaOffset = 0, int metaStride = 0) {
        GstBuffer* buffer = gst_buffer_new_memdup(frame.data(), frame.size());
        if (metaStride != 0) {
            gsize offsets[4] = {static_cast<gsize>(metaOffset)};
            gint strides[4] = {metaStride};
            gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED, 16, kHeight, 1,
                                           offsets, strides);
        }
        return gst_harness_push(harness_.get(), buffer);
    }
    Bytes Pull() {
        GstBuffer* buffer = gst_harness_try_pull(harness_.get());
        Bytes bytes(buffer == nullptr ? 0 : gst_buffer_get_size(buffer));
        if (buffer != nullptr) {
            gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
            gst_buffer_unref(buffer);
        }
        return bytes;
    }
    // Of the first error on the bus.
    std::string Error() {
        GstMessage* message = gst_bus_pop_filtered(bus_.get(), GST_MESSAGE_ERROR);
        if (message == nullptr) {
            return "";
        }
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const std::string text = error->message;
        g_error_free(error);
        gst_message_unref(message);
        return text;
    }

private:
    std::unique_ptr<GstHarness, void (*)(GstHarness*)> harness_;
    std::unique_ptr<GstBus, void (*)(gpointer)> bus_{gst_bus_new(), gst_object_unref};
};

int PaddedToFour(int bytes) { return (bytes + 3) / 4 * 4; }

Image FrameOf(uint32_t word, int width, bool padded, uint64_t seed) {
    const int bits = OrvWord_Bits(word), row = (bits > 8 ? 2 : 1) * width;
    Image frame = orvtest::FrameOf(word, bits, width, kHeight, padded ? PaddedToFour(row) - row : 0);
    FillFrame(frame, orvtest::Content::Noise, seed, (1U << bits) - 1);
    return frame;
}
Bytes BytesOf(Image& frame) { return {frame.Data(), frame.Data() + frame.record.imageSize}; }
std::string CapsOf(const Image& frame) { return OrvGst_Caps(frame.record.pixelType); }

// The picture of a format with rows as raw video has them, by the library and its helpers.
Bytes Expected(const Image& frame, const std::string& format, int algorithm) {
    const _OrvImage& source = frame.record;
    const bool bayer = OrvWord_Pattern(source.pixelType) >= 0, wide = format == "RGBA64_LE";
    const int bits = source.bitDepth, width = source.width;
    // TrueSense engines make 8 bits themselves, and no 16.
    const int made = !wide ? 8 : bayer ? 16 : bits;
    Bytes colour(static_cast<size_t>(6 * width * kHeight));
    _OrvImage result;
    OrvFrame_Make(&result, OrvWord_Colour(format[0] == 'B', 3, made), width, kHeight, 0, colour.data());
    if (bayer) {
        const orvtest::BayerComponent component(algorithm);
        Bytes scratch(static_cast<size_t>(OrvFrame_ConvertBayerBytes(&source, &result, algorithm)));
        EXPECT_EQ(OrvFrame_ConvertBayer(component.Get(), &source, &result, scratch.data(), scratch.size()), 0U);
    } else {
        const orvtest::TrueSenseComponent component(algorithm);
        EXPECT_EQ(component->ConvertImage(&source, &result), 0U);
        auto* const words = static_cast<uint16_t*>(result.data);
        EXPECT_EQ(wide ? OrvRows_To16(words, result.stride, words, result.stride, 3 * width, kHeight, bits) : 0, 0U);
    }
    const int sample = wide ? 2 : 1, pixel = (format.size() == 3 ? 3 : 4) * sample;
    const int stride = PaddedToFour(width * pixel);
    Bytes picture(static_cast<size_t>(stride * kHeight));
    for (int i = 0; i < width * kHeight; ++i) {
        unsigned char* to = &picture[static_cast<size_t>(i / width * stride + i % width * pixel)];
        std::memset(to, 255, static_cast<size_t>(pixel));
        std::memcpy(to, &colour[static_cast<size_t>(3 * sample * i)], static_cast<size_t>(3 * sample));
    }
    return picture;
}

// A picture with the padding of its rows made 0.
Bytes WithoutPadding(Bytes picture, int rowBytes) {
    const size_t stride = picture.size() / kHeight;
    for (size_t i = 0; i < picture.size(); ++i) {
        picture[i] = i % stride < static_cast<size_t>(rowBytes) ? picture[i] : 0;
    }
    return picture;
}

void ExpectPicture(Stream* stream, const Image& frame, const std::string& format, int algorithm) {
    const int rowBytes = frame.record.width * (format == "RGBA64_LE" ? 8 : format.size() == 3 ? 3 : 4);
    EXPECT_EQ(WithoutPadding(stream->Pull(), rowBytes), Expected(frame, format, algorithm))
        << CapsOf(frame) << ' ' << format << ' ' << algorithm << ", stride " << frame.record.stride << ": "
        << stream->Error();
}

const char* const kFormats[] = {"RGB", "BGR", "RGBx", "BGRx", "RGBA", "BGRA", "RGBA64_LE"};

TEST(Element, BayerFramesGiveThePicturesOfTheLibraryInEveryFormat) {
    for (int i = 0; i < OrvWord_Count() && OrvWord_Pattern(OrvWord_At(i)) >= 0; ++i) {
        const uint32_t word = OrvWord_At(i);
        for (const std::string format : kFormats) {
            if (OrvWord_Bits(word) == 8 && format == "RGBA64_LE") {
                continue;
            }
            const int algorithm = i % 3;
            Stream stream("orvdemosaic algorithm=" + std::to_string(algorithm));
            for (const bool padded : {false, true}) {
                // The second frame as if it were the first one, and the next caps in mid-stream.
                const int width = padded ? 15 : 13;
                stream.SetCaps(OrvGst_Caps(word), width, format);
                for (const uint64_t seed : {1U, 2U}) {
                    Image frame = FrameOf(word, width, padded, seed);
                    ASSERT_EQ(stream.Push(BytesOf(frame)), GST_FLOW_OK) << stream.Error();
                    ExpectPicture(&stream, frame, format, algorithm);
                }
            }
        }
    }
}

TEST(Element, TrueSenseFramesTravelInGrey) {
    for (int bits = 8; bits <= 14; bits += 2) {
        for (const std::string format : {"BGR", "RGBx", "RGBA64_LE"}) {
            if (bits == 8 && format == "RGBA64_LE") {
                continue;
            }
            Image frame = FrameOf(OrvWord_TrueSense(6, bits), 17, bits != 10, 3);
            Stream stream("orvdemosaic mosaic=truesense grid=6 algorithm=1 threads=1" +
                          (bits > 8 ? " bits=" + std::to_string(bits) : ""));
            stream.SetCaps(CapsOf(frame), frame.record.width, format);
            ASSERT_EQ(stream.Push(BytesOf(frame)), GST_FLOW_OK) << stream.Error();
            ExpectPicture(&stream, frame, format, 1);
        }
    }
}

TEST(Element, RowsAreWhereTheVideoMetaSays) {
    Image frame = FrameOf(OrvPixelBayerRG12, 16, false, 4);
    Bytes upsideDown(34 * kHeight + 8);
    for (int y = 0; y < kHeight; ++y) {
        std::memcpy(&upsideDown[static_cast<size_t>(8 + (kHeight - 1 - y) * 34)], frame.Row<uint8_t>(y), 32);
    }
    Stream stream("orvdemosaic");
    stream.SetCaps(CapsOf(frame), frame.record.width, "RGB");
    ASSERT_EQ(stream.Push(upsideDown, 8 + 34 * (kHeight - 1), -34), GST_FLOW_OK) << stream.Error();
    ExpectPicture(&stream, frame, "RGB", 0);
    EXPECT_EQ(stream.Push(upsideDown, 8 + 34 * (kHeight - 1), 34), GST_FLOW_ERROR);
    EXPECT_NE(stream.Error().find("video meta"), std::string::npos);
}

TEST(Element, WhatDoesNotFitStopsTheStreamWithARemedy) {
    Image bayer = FrameOf(OrvPixelBayerRG8, 16, false, 5), grey = FrameOf(OrvWord_TrueSense(0, 10), 16, false, 5);
    const struct {
        const char* element;
        Image& frame;
        size_t missing;
        const char* remedy;
    } mistakes[] = {
        {"orvdemosaic", bayer, 1, "the caps' size"},
        {"orvdemosaic", grey, 0, "set mosaic=truesense"},
        {"orvdemosaic algorithm=3", bayer, 0, "set 0 (bilinear)"},
        {"orvdemosaic mosaic=truesense bits=10 algorithm=4", grey, 0, "take RGBA64_LE"},
        {"orvdemosaic mosaic=truesense parameters=redGain=1,redGan=2", grey, 0, "'redGan=2': unknown parameter name"},
        {"orvdemosaic mosaic=truesense parameters=monoEnable=7", grey, 0, "it takes 0 or 1"},
        {"orvdemosaic mosaic=truesense parameters=threads_num=1", grey, 0, "set the property threads"},
    };
    for (const auto& mistake : mistakes) {
        Stream stream(mistake.element);
        stream.SetCaps(CapsOf(mistake.frame), 16, "RGB");
        Bytes frame = BytesOf(mistake.frame);
        frame.resize(frame.size() - mistake.missing);
        EXPECT_EQ(stream.Push(frame), GST_FLOW_ERROR) << mistake.element;
        const std::string error = stream.Error();
        EXPECT_NE(error.find(mistake.remedy), std::string::npos) << mistake.element << ": " << error;
    }
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    gst_init(&argc, &argv);
    gst_element_register(nullptr, "orvdemosaic", GST_RANK_NONE, orv_demosaic_get_type());
    return RUN_ALL_TESTS();
}
