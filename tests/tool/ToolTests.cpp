// Runs the program as a user does and looks at its exit code, its words and its files.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <set>

namespace {

namespace fs = std::filesystem;

struct Result {
    int code = -1;
    std::string text;  // standard output and error

    double NumberAfter(const std::string& words) const {
        const size_t at = text.find(words);
        return at == std::string::npos ? -1 : std::stod(text.substr(at + words.size()));
    }
};

Result RunTool(const std::string& arguments) {
    Result result;
    std::FILE* pipe = popen((std::string(ORV_CONVERT) + " " + arguments + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return result;
    }
    char buffer[4096];
    size_t count = 0;
    while ((count = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
        result.text.append(buffer, count);
    }
    const int status = pclose(pipe);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

class Tool : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "orv_toolXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }
    std::set<std::string> Files() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    fs::path folder_;
};

// A flat colour behind R G / G B, as bytes; 16-bit samples with the given byte first.
std::string FlatBayer(int width, int height, int r, int g, int b, int bytesPerSample, bool bigEndian,
                      int rowPadding = 0) {
    std::string bytes;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int code = x % 2 != y % 2 ? g : (y % 2 == 0 ? r : b);
            const char low = static_cast<char>(code & 0xFF);
            const char high = static_cast<char>(code >> 8);
            if (bytesPerSample == 1) {
                bytes += low;
            } else {
                bytes += bigEndian ? high : low;
                bytes += bigEndian ? low : high;
            }
        }
        bytes.append(static_cast<size_t>(rowPadding), '\x7E');
    }
    return bytes;
}

// True when every pixel of the PNG is (b, g, r).
testing::AssertionResult IsFlat(const std::string& path, int depth, int width, int height, int r, int g, int b) {
    const cv::Mat picture = cv::imread(path, cv::IMREAD_UNCHANGED);
    if (picture.type() != CV_MAKETYPE(depth, 3) || picture.cols != width || picture.rows != height) {
        return testing::AssertionFailure() << path << ": type " << picture.type() << ", size " << picture.size();
    }
    cv::Mat wide;
    picture.convertTo(wide, CV_32SC3);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const cv::Vec3i pixel = wide.at<cv::Vec3i>(y, x);
            if (pixel != cv::Vec3i(b, g, r)) {
                return testing::AssertionFailure() << "pixel " << x << "," << y << " is " << pixel;
            }
        }
    }
    return testing::AssertionSuccess();
}

struct Quality {
    const char* arguments;
    double decibels;  // no result may be worse
};

class SceneQuality : public testing::TestWithParam<Quality> {};

TEST_P(SceneQuality, IsAboveTheFloor) {
    const Result result = RunTool(std::string("--size 600x400 ") + GetParam().arguments);
    ASSERT_EQ(result.code, 0) << result.text;
    EXPECT_GT(result.NumberAfter("PSNR "), GetParam().decibels) << result.text;
    // A channel in the wrong place is far below this.
    for (const char* channel : {"(R ", ", G ", ", B "}) {
        EXPECT_GT(result.NumberAfter(channel), GetParam().decibels - 3) << result.text;
    }
}

INSTANTIATE_TEST_SUITE_P(Bayer, SceneQuality,
                         testing::Values(Quality{"-w BayerRG8 -a 0", 22}, Quality{"-w BayerGR8 -a 1", 26},
                                         Quality{"-w BayerGB8 -a 2", 22}, Quality{"-w BayerBG10 -a 0", 22},
                                         Quality{"-w BayerGR12 -a 2", 22}, Quality{"-w BayerGB14 -a 1", 25},
                                         Quality{"-w BayerBG16 -a 2", 22}));

INSTANTIATE_TEST_SUITE_P(TrueSense, SceneQuality,
                         testing::Values(Quality{"-w TrueSense8g2", 23}, Quality{"-w TrueSense10g13", 23},
                                         Quality{"-w TrueSense12g7 --bits 8", 23}, Quality{"-w TrueSense14g8", 23},
                                         Quality{"-w TrueSense12g4 -s normalizationEnable=1", 23},
                                         Quality{"-w TrueSense8g2 -a 1", 22.5},
                                         Quality{"-w TrueSense12g5 -a 1 -s impulseFilterEnable=1", 22.5},
                                         Quality{"-w TrueSense8g3 -a 2", 19}, Quality{"-w TrueSense12g9 -a 2", 19},
                                         Quality{"-w TrueSense8g2 -a 3", 19},
                                         Quality{"-w TrueSense12g5 -a 3 -s sharpnessEnable=1", 19},
                                         Quality{"-w TrueSense8g10 -a 4", 22}, Quality{"-w TrueSense12g5 -a 4", 22}));

// A flat colour comes back from every position of the cell, but for the frame's corners.
TEST_F(Tool, EveryGridCodeKeepsAFlatColour) {
    cv::imwrite(Path("p.png"), cv::Mat(48, 64, CV_8UC3, cv::Scalar(70, 150, 200)));
    for (int grid = 0; grid < 16; ++grid) {
        const Result result = RunTool("-w TrueSense12g" + std::to_string(grid) + " " + Path("p.png"));
        EXPECT_GT(result.NumberAfter("PSNR "), 40) << grid << ": " << result.text;
    }
}

TEST_F(Tool, RawAndPgmGiveTheSamePictureWithRedInItsPlace) {
    const std::string raw = Write("a.raw", "12345" + FlatBayer(10, 6, 200, 100, 50, 1, false, 3));
    const std::string pgm = Write("a.pgm", "P5\n# a comment\n10 6\n255\n" + FlatBayer(10, 6, 200, 100, 50, 1, false));
    Result result = RunTool("-w BayerRG8 --size 10x6 --stride 13 --offset 5 -o " + Path("raw.png") + " " + raw);
    EXPECT_EQ(result.code, 0) << result.text;
    result = RunTool("-w 0x0308010E -a 2 -o " + Path("pgm.png") + " " + pgm);
    EXPECT_EQ(result.code, 0) << result.text;
    EXPECT_TRUE(IsFlat(Path("raw.png"), CV_8U, 10, 6, 200, 100, 50));
    EXPECT_TRUE(IsFlat(Path("pgm.png"), CV_8U, 10, 6, 200, 100, 50));
}

TEST_F(Tool, SixteenBitFilesKeepTheirByteOrderAndScale) {
    const std::string little = Write("le.raw", FlatBayer(9, 6, 0x0A12, 0x0304, 0x00F0, 2, false));
    const std::string big = Write("be.bin", FlatBayer(9, 6, 0x0A12, 0x0304, 0x00F0, 2, true));
    const std::string pgm = Write("be.pgm", "P5 9 6 4095\n" + FlatBayer(9, 6, 0x0A12, 0x0304, 0x00F0, 2, true));
    const std::string common = "--raw-values -w BayerRG12 ";
    EXPECT_EQ(RunTool(common + "--size 9x6 -a 0 -o " + Path("1.png") + " " + little).code, 0);
    EXPECT_EQ(RunTool(common + "--size 9x6 --big-endian -a 2 -o " + Path("2.png") + " --raw " + big).code, 0);
    EXPECT_EQ(RunTool(common + "-o " + Path("3.png") + " " + pgm).code, 0);
    for (const char* name : {"1.png", "2.png", "3.png"}) {
        EXPECT_TRUE(IsFlat(Path(name), CV_16U, 9, 6, 0x0A12, 0x0304, 0x00F0)) << name;
    }
    EXPECT_EQ(RunTool("-w BayerRG12 -o " + Path("4.png") + " " + pgm).code, 0);
    const auto scaled = [](int code) { return static_cast<int>(std::lround(code * 65535.0 / 4095)); };
    EXPECT_TRUE(IsFlat(Path("4.png"), CV_16U, 9, 6, scaled(0x0A12), scaled(0x0304), scaled(0x00F0)));
    // Samples above the depth are clipped, and said so.
    const Result clipped = RunTool("-w BayerRG10 --raw-values -o " + Path("5.png") + " " + pgm);
    EXPECT_NE(clipped.text.find("15 samples above 1023 clipped"), std::string::npos) << clipped.text;
    EXPECT_TRUE(IsFlat(Path("5.png"), CV_16U, 9, 6, 1023, 0x0304, 0x00F0));
}

TEST_F(Tool, ViewTakesBlackAndBalanceAway) {
    const std::string pgm = Write("a.pgm", "P5 8 8 255\n" + FlatBayer(8, 8, 112, 62, 37, 1, false));
    const Result result = RunTool("-w BayerRG8 --view --black 12 --bits 8 -o " + Path("v.png") + " " + pgm);
    ASSERT_EQ(result.code, 0) << result.text;
    // 100/243 of full scale in every channel is 172 on the sRGB curve.
    EXPECT_TRUE(IsFlat(Path("v.png"), CV_8U, 8, 8, 172, 172, 172));
}

TEST_F(Tool, NoiseIsSeededAndLowersTheQuality) {
    const std::string common = "--size 120x90 -w BayerRG12 ";
    const std::string noisy = common + "--shot-noise 0.02 --read-noise 0.05 --seed ";
    const Result clean = RunTool(common);
    const Result first = RunTool(noisy + "1");
    EXPECT_LT(first.NumberAfter("PSNR "), clean.NumberAfter("PSNR ") - 0.2);
    EXPECT_EQ(first.text, RunTool(noisy + "1").text);
    EXPECT_NE(first.text, RunTool(noisy + "2").text);
}

TEST_F(Tool, SampledPictureComesBack) {
    const cv::Mat picture(40, 60, CV_8UC3, cv::Scalar(40, 120, 220));
    cv::imwrite(Path("p.png"), picture);
    const Result result = RunTool("-w BayerGB16 -o " + Path("out.png") + " --view --bits 8 " + Path("p.png"));
    EXPECT_GT(result.NumberAfter("PSNR "), 80) << result.text;
    EXPECT_TRUE(IsFlat(Path("out.png"), CV_8U, 60, 40, 220, 120, 40));
}

TEST_F(Tool, SeveralInputsGoToAFolderWithoutProgressInAPipe) {
    const std::string frame = "P5 8 8 255\n" + FlatBayer(8, 8, 9, 8, 7, 1, false);
    const std::string inputs = Write("a.pgm", frame) + " " + Write("b.pgm", frame) + " ";
    const Result result = RunTool("-w BayerRG8 -o " + folder_.string() + " " + inputs);
    EXPECT_EQ(result.code, 0) << result.text;
    EXPECT_EQ(result.text.find('\r'), std::string::npos);
    EXPECT_EQ(Files(), (std::set<std::string>{"a.pgm", "a.png", "b.pgm", "b.png"}));
    fs::create_directory(folder_ / "c");
    const Result clash = RunTool("-w BayerRG8 -o " + folder_.string() + " " + inputs + Write("c/a.pgm", frame));
    EXPECT_EQ(clash.code, 1);
    EXPECT_NE(clash.text.find("two inputs"), std::string::npos) << clash.text;
}

TEST_F(Tool, SheetHasBothFamiliesWithAColumnPerAlgorithmAndTheTruth) {
    const Result result = RunTool("--size 240x180 --crop 10,20,60x45 --sheet " + Path("s.png"));
    ASSERT_EQ(result.code, 0) << result.text;
    const cv::Mat sheet = cv::imread(Path("s.png"));
    EXPECT_EQ(sheet.cols, 6 * 480 + 5 * 8) << result.text;
    EXPECT_EQ(sheet.rows, 2 * (28 + 360 + 8 + 360));
    EXPECT_EQ(Files(), (std::set<std::string>{"s.png"}));
}

TEST(ToolOutput, TimesAndParameters) {
    const Result times = RunTool("--size 64x48 --repeat 9");
    EXPECT_GT(times.NumberAfter("best "), 0);
    EXPECT_GE(times.NumberAfter("median "), times.NumberAfter("best "));
    for (const char* algorithm : {"0", "1", "2"}) {
        const std::string common = std::string("--size 64x48 -a ") + algorithm;
        EXPECT_EQ(RunTool(common).NumberAfter("PSNR "), RunTool(common + " --repeat 4").NumberAfter("PSNR ")) << common;
    }
    const std::string list = RunTool("--list-parameters").text;
    EXPECT_EQ(std::count(list.begin(), list.end(), '='), 2 + 66) << list;
    EXPECT_NE(list.find("ISOAnalogGain_0=11.04\n"), std::string::npos);
}

// A failed rename leaves neither the picture nor its temporary file.
TEST_F(Tool, FailedWriteLeavesNothing) {
    fs::create_directory(folder_ / "x.png");
    const Result result = RunTool("--size 32x32 -o " + Path("x.png"));
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.text.find("x.png"), std::string::npos) << result.text;
    EXPECT_EQ(Files(), std::set<std::string>{"x.png"});
    EXPECT_TRUE(fs::is_empty(folder_ / "x.png"));
}

struct Mistake {
    const char* arguments;  // %s stands for the folder
    std::vector<const char*> words;
};

class ToolMistakes : public Tool, public testing::WithParamInterface<Mistake> {};

TEST_P(ToolMistakes, EndsWithOneAndNamesTheOption) {
    Write("short.raw", std::string(63, 'x'));
    Write("cut.pgm", "P5 8 8 255\n" + std::string(63, 'x'));
    Write("head.pgm", "P5 8 -8 255\n" + std::string(64, 'x'));
    Write("huge.pgm", "P5 99999999999 8 255\n" + std::string(64, 'x'));
    Write("text.png", "no picture");
    std::string whole;
    {
        std::vector<uint8_t> bytes;
        cv::imencode(".png", cv::Mat(64, 64, CV_8UC1, cv::Scalar(9)), bytes);
        whole.assign(bytes.begin(), bytes.end() - 20);
    }
    Write("cut.png", whole);
    const std::set<std::string> before = Files();
    std::string arguments = GetParam().arguments;
    for (size_t at = 0; (at = arguments.find("%s")) != std::string::npos;) {
        arguments.replace(at, 2, folder_.string());
    }
    const Result result = RunTool(arguments);
    EXPECT_EQ(result.code, 1) << result.text;
    for (const char* word : GetParam().words) {
        EXPECT_NE(result.text.find(word), std::string::npos) << word << " is not in: " << result.text;
    }
    EXPECT_EQ(Files(), before);
}

INSTANTIATE_TEST_SUITE_P(
    All, ToolMistakes,
    testing::Values(
        Mistake{"-w BayerXX8 -o %s/o.png", {"--word", "BayerXX8", "BayerGR8", "TrueSense14g15"}},
        Mistake{"-w 0x03100319", {"--word", "0x03100319"}},
        Mistake{"--set nothing=1", {"--set", "nothing", "0x8001000A", "unknown parameter name", "BayerAlgType"}},
        Mistake{"--set NoRealloc=2", {"--set", "NoRealloc=2", "0x8001000C", "out of range"}},
        Mistake{"--set NoRealloc", {"--set", "name=value"}}, Mistake{"-a 7", {"--alg", "0x8001000C"}},
        Mistake{"-w TrueSense8g0 -a 5 -o %s/o.png", {"--alg 5", "0x80060007", "bad argument"}},
        Mistake{"--bits 12", {"--bits"}}, Mistake{"--nonsense", {"--nonsense"}}, Mistake{"--size 0x5", {"--size"}},
        Mistake{"--size 5", {"--size"}}, Mistake{"--pan 1,2", {"--pan"}}, Mistake{"--black 3", {"--black", "--view"}},
        Mistake{"--view --wb 1,x,1 -o %s/o.png", {"--wb"}}, Mistake{"-o %s/o.jpg", {"-o", "o.jpg", ".png"}},
        Mistake{"--sheet %s/o.tif", {"--sheet"}}, Mistake{"-o %s/missing/o.png", {"missing/o.png"}},
        Mistake{"--sheet %s/o.png --crop 5000,0,9x9", {"--crop"}}, Mistake{"%s/short.raw --size 8x8", {"--word"}},
        Mistake{"-w BayerRG8 %s/short.raw", {"--size", "short.raw"}},
        Mistake{"-w BayerRG8 --size 8x8 %s/short.raw -o %s/o.png", {"short.raw", "too short", "63"}},
        Mistake{"-w BayerRG8 --size 7x9 --offset 1 %s/short.raw", {"too short"}},
        Mistake{"-w BayerRG8 --size 7x9 --offset 9223372036854775807 %s/short.raw", {"too short"}},
        Mistake{"-w BayerRG8 --size 7x9 --stride 9223372036854775807 %s/short.raw", {"too short"}},
        Mistake{"-w BayerRG8 --size 7x9 --stride 6 %s/short.raw", {"stride of 6"}},
        Mistake{"-w BayerRG12 --size 7x9 %s/short.raw", {"too short"}},
        Mistake{"-w BayerRG8 %s/cut.pgm", {"too short"}}, Mistake{"-w BayerRG8 %s/head.pgm", {"head.pgm", "header"}},
        Mistake{"-w BayerRG8 %s/huge.pgm", {"huge.pgm"}}, Mistake{"-w BayerRG8 %s/text.png", {"text.png"}},
        Mistake{"-w BayerRG8 %s/cut.png", {"cut.png"}},
        Mistake{"-w BayerRG8 %s/none.pgm", {"none.pgm", "No such file"}},
        Mistake{"-w BayerRG8 %s", {"not a regular file"}},
        Mistake{"-w BayerRG8 --as picture %s/cut.pgm", {"too short"}}));

}  // namespace
