#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <opencv2/imgcodecs.hpp>

#include "CameraFrame.h"
#include "OrvHelpers.h"

namespace {

namespace fs = std::filesystem;
using namespace orvgrab;

constexpr uint32_t kBayerRG12 = 0x01100011, kBayerRG12p = 0x010C0059, kSparse10 = 0x01100068, kSparse10p = 0x010A0069;

std::string Bytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// In a folder of its own. `text` receives what it prints.
bool Grab(const std::string& arguments, std::string* text) {
    const std::string command = std::string(ORV_GRAB) + " " + arguments + " >text 2>&1";
    const int status = std::system(command.c_str());
    *text = Bytes("text");
    return status == 0;
}

class GrabTool : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "orv_grabXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
        before_ = fs::current_path();
        fs::current_path(folder_);
    }
    void TearDown() override {
        fs::current_path(before_);
        fs::remove_all(folder_);
    }
    fs::path folder_, before_;
};

TEST_F(GrabTool, ConvertsTheFramesOfItsCameraBehindAllPatterns) {
    const char* const patterns[] = {"GR", "RG", "BG", "GB"};  // as OrvBayer.h numbers them
    for (unsigned char number = 0; number < 4; ++number) {
        std::string text;
        ASSERT_TRUE(Grab(
            std::string("-c fake -n 3 --rate 100 -a 2 -o last.png --raw last.raw -f Bayer") + patterns[number] + "8",
            &text))
            << text;
        EXPECT_NE(text.find("3 converted"), std::string::npos) << text;
        const std::string raw = Bytes("last.raw");
        const cv::Mat picture = cv::imread("last.png", cv::IMREAD_UNCHANGED);
        ASSERT_EQ(raw.size(), picture.total());
        cv::Mat expected(picture.size(), CV_8UC3);
        const auto* samples = reinterpret_cast<const unsigned char*>(raw.data());
        ASSERT_EQ(BayerToBGR_8u_C1C3R(samples, {0, 0, picture.cols, picture.rows}, {picture.cols, picture.rows},
                                      picture.cols, 8, expected.data, 3 * picture.cols, number, 2),
                  0U);
        EXPECT_EQ(cv::norm(picture, expected, cv::NORM_INF), 0);
    }
}

TEST_F(GrabTool, SaysWhatIsThereInstead) {
    const std::pair<const char*, const char*> mistakes[] = {
        {"-c fake -f BayerRG12 -o x.png", "it has BayerBG8, BayerGB8, BayerGR8, BayerRG8"},
        {"-c fake -f Mono8 -o x.png", "no mosaic format 'Mono8'"},
        {"-c fake -o x.jpg", "must end in .png"},
        {"-c nothing -o x.png", "no camera 'nothing'"},
        {"-c fake -a 4 -n 1 -o x.png", "Bayer algorithms go from 0 to 2"},
    };
    for (const auto& [arguments, words] : mistakes) {
        std::string text;
        EXPECT_FALSE(Grab(arguments, &text)) << arguments;
        EXPECT_NE(text.find(words), std::string::npos) << arguments << ": " << text;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 1);  // the text
}

TEST(CameraFrame, PackedFramesGiveThePicturesOfPlainOnes) {
    const struct {
        uint32_t plain, packed;
        int packing;
    } formats[] = {{kBayerRG12, kBayerRG12p, OrvPacking12p}, {kSparse10, kSparse10p, OrvPacking10p}};
    constexpr size_t kSamples = 37 * 21;  // rows of 12p that end within a byte
    for (const auto& format : formats) {
        std::vector<unsigned char> packed(static_cast<size_t>(OrvPacking_RowBytes(format.packing, kSamples)));
        for (size_t i = 0; i < packed.size(); ++i) {
            packed[i] = static_cast<unsigned char>(i * i * 2654435761U >> 8);
        }
        std::vector<uint16_t> samples(kSamples);
        ASSERT_EQ(OrvPacking_Unpack(format.packing, packed.data(), packed.size(), static_cast<int64_t>(packed.size()),
                                    kSamples, 1, samples.data(), 2 * kSamples, 2 * kSamples),
                  0U);
        for (int algorithm = 0; algorithm <= 2; ++algorithm) {
            ColourConverter converter(algorithm, 1);
            CameraFrame frame;
            frame.width = 37;
            frame.height = 21;
            frame.pixelFormat = format.plain;
            frame.data = samples.data();
            frame.bytes = 2 * kSamples;
            const cv::Mat expected = converter.Convert(frame).clone();
            EXPECT_GT(cv::norm(expected), 0);
            frame.pixelFormat = format.packed;
            frame.data = packed.data();
            frame.bytes = packed.size();
            EXPECT_EQ(cv::norm(converter.Convert(frame), expected, cv::NORM_INF), 0);
            frame.bytes -= 1;
            EXPECT_THROW(converter.Convert(frame), std::runtime_error);
        }
    }
}

}  // namespace
