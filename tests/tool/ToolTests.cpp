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
    bool Says(const std::string& words) const { return text.find(words) != std::string::npos; }
};

Result Shell(const std::string& commands) {
    Result result;
    std::FILE* pipe = popen(("{ " + commands + "; } 2>&1").c_str(), "r");
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

Result RunTool(const std::string& arguments) { return Shell(ORV_CONVERT " " + arguments); }

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

// A flat colour behind R G / G B: samples of so many bits as a string of bits, lowest first.
std::string FlatBayer(int width, int height, cv::Vec3i rgb, int bits, const std::string& padding = "") {
    std::string bytes;
    int pending = 0, count = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            pending |= (x % 2 != y % 2 ? rgb[1] : rgb[y % 2 == 0 ? 0 : 2]) << count;
            for (count += bits; count >= 8; count -= 8) {
                bytes += static_cast<char>(pending & 0xFF);
                pending >>= 8;
            }
        }
        bytes += padding;
    }
    return bytes;
}
std::string BigEndian(std::string words) {
    for (size_t i = 0; i < words.size(); i += 2) {
        std::swap(words[i], words[i + 1]);
    }
    return words;
}

// True when every pixel of the picture is `rgb`.
testing::AssertionResult IsFlat(const std::string& path, int depth, int width, int height, cv::Vec3i rgb) {
    const cv::Mat picture = cv::imread(path, cv::IMREAD_UNCHANGED);
    if (picture.type() != CV_MAKETYPE(depth, 3) || picture.cols != width || picture.rows != height) {
        return testing::AssertionFailure() << path << ": type " << picture.type() << ", size " << picture.size();
    }
    cv::Mat wide;
    picture.convertTo(wide, CV_32SC3);
    for (auto pixel = wide.begin<cv::Vec3i>(); pixel != wide.end<cv::Vec3i>(); ++pixel) {
        if (*pixel != cv::Vec3i(rgb[2], rgb[1], rgb[0])) {
            return testing::AssertionFailure() << "pixel " << pixel.pos() << " is " << *pixel;
        }
    }
    return testing::AssertionSuccess();
}

struct Quality {
    const char* arguments;
    double decibels;  // no result may be worse
};

void PrintTo(const Quality& quality, std::ostream* out) { *out << quality.arguments; }

class SceneQuality : public testing::TestWithParam<Quality> {};

TEST_P(SceneQuality, IsAboveTheFloor) {
    const Result result = RunTool(std::string("--size 599x400 -w ") + GetParam().arguments);
    ASSERT_EQ(result.code, 0) << result.text;
    EXPECT_GT(result.NumberAfter("PSNR "), GetParam().decibels) << result.text;
    // A channel in the wrong place is far below this.
    for (const char* channel : {"(R ", ", G ", ", B "}) {
        EXPECT_GT(result.NumberAfter(channel), GetParam().decibels - 3) << result.text;
    }
}

INSTANTIATE_TEST_SUITE_P(All, SceneQuality,
                         testing::Values(Quality{"RGGB8 -a 0", 22}, Quality{"BayerGR8 -a 1", 26},
                                         Quality{"gbrg10le -a 2", 22}, Quality{"SBGGR14 -a 1", 25},
                                         Quality{"BayerBG16 -a 2", 22}, Quality{"TrueSense8g2", 23},
                                         Quality{"TrueSense10g13 --bits 8", 23},
                                         Quality{"SCF1WGWB12 -s normalizationEnable=1", 23},
                                         Quality{"TrueSense14g3 -a 1", 22.5}, Quality{"TrueSense12g9 -a 2", 19},
                                         Quality{"TrueSense12g5 -a 3 -s sharpnessEnable=1", 19},
                                         Quality{"TrueSense8g10 -a 4", 22}, Quality{"RGGB12 --scene leaves -a 1", 37}));

TEST_F(Tool, AFrameIsTheSameHoweverItComesAndGoes) {
    const cv::Vec3i rgb(0xA12, 0x304, 0x0F0);
    const int width = 9, height = 6;
    const std::string common = "-w BayerRG12 --raw-values ", size = "--size 9x6 ";
    const std::string little = Write("le.raw", "12345" + FlatBayer(width, height, rgb, 16, "678"));
    const std::string big = Write("be.x", BigEndian(FlatBayer(width, height, rgb, 16)));
    const std::string pgm =
        Write("be.pgm", "P5\n# a comment\n9 6 4095\n" + BigEndian(FlatBayer(width, height, rgb, 16)));
    const std::string packed = Write("p.bin", FlatBayer(width, height, rgb, 12));
    const std::string runs[] = {size + "--stride 21 --offset 5 -a 2 -o 1.png " + little,
                                size + "--big-endian -o 2.tif --raw " + big,
                                "-o 3.ppm " + pgm,
                                size + "--packing 12p -o 4.png " + packed,
                                size + "--packing 12p -o - - < " + packed + " > 5.ppm",
                                "-o - - < " + pgm + " > 6.ppm"};
    for (const std::string& run : runs) {
        const Result result = Shell("cd " + folder_.string() + " && " ORV_CONVERT " " + common + run);
        EXPECT_EQ(result.code, 0) << run << ": " << result.text;
    }
    for (const char* name : {"1.png", "2.tif", "3.ppm", "4.png", "5.ppm", "6.ppm"}) {
        EXPECT_TRUE(IsFlat(Path(name), CV_16U, width, height, rgb)) << name;
    }
    // Scaled to the full range, cut to 8 bits, clipped to a depth.
    EXPECT_EQ(RunTool("-w BayerRG12 -o " + Path("7.png") + " " + pgm).code, 0);
    const auto scaled = [](int code) { return static_cast<int>(std::lround(code * 65535.0 / 4095)); };
    EXPECT_TRUE(IsFlat(Path("7.png"), CV_16U, width, height, {scaled(rgb[0]), scaled(rgb[1]), scaled(rgb[2])}));
    EXPECT_EQ(RunTool(common + "--bits 8 -o " + Path("8.png") + " " + pgm).code, 0);
    EXPECT_TRUE(IsFlat(Path("8.png"), CV_8U, width, height, {0xA1, 0x30, 0x0F}));
    const Result clipped = RunTool("-w BayerRG10 --raw-values -o " + Path("9.png") + " " + pgm);
    EXPECT_TRUE(clipped.Says("15 samples above 1023 clipped")) << clipped.text;
    EXPECT_TRUE(IsFlat(Path("9.png"), CV_16U, width, height, {1023, rgb[1], rgb[2]}));
}

TEST_F(Tool, NothingInAFileIsDroppedInSilence) {
    const auto frame = [](int level) { return FlatBayer(8, 6, {level, level, level}, 8); };
    const std::string file = Write("f.raw", frame(10) + frame(20) + frame(30) + "end");
    const std::string common = "-w BayerRG8 --size 8x6 ";
    Result result = RunTool(common + file);
    EXPECT_TRUE(result.code == 0 && result.Says("3 whole frames") && result.Says("3 bytes at its end") &&
                result.Says("no picture is written"))
        << result.text;
    EXPECT_EQ(RunTool(common + "--frame 2 -o " + Path("2.png") + " " + file).code, 0);
    EXPECT_TRUE(IsFlat(Path("2.png"), CV_8U, 8, 6, {30, 30, 30}));
    result = RunTool(common + "--frame 3 " + file);
    EXPECT_TRUE(result.code == 1 && result.Says("no frame 3; the last one is 2")) << result.text;
    EXPECT_EQ(RunTool(common + "--frames all -o " + Path("a.png") + " - < " + file).code, 0);
    EXPECT_TRUE(IsFlat(Path("a-0001.png"), CV_8U, 8, 6, {20, 20, 20}));
    EXPECT_EQ(Files(), (std::set<std::string>{"2.png", "a-0000.png", "a-0001.png", "a-0002.png", "f.raw"}));
    EXPECT_TRUE(Shell("cat " + file + " | " ORV_CONVERT " " + common + "-").Says("goes on behind its first frame"));
    result = RunTool("-w TrueSense8g0 --size 16x16 -s redGain=2 -a 0");
    EXPECT_TRUE(result.code == 0 && result.Says("redGain: TrueSenseAlgType 0 does not read it")) << result.text;
}

TEST_F(Tool, AViewIsGreyWhereTheLightIs) {
    const std::string pgm = Write("a.pgm", "P5 16 16 255\n" + FlatBayer(16, 16, {112, 62, 37}, 8));
    // 100/243 of full scale in every channel is 172 on the sRGB curve.
    for (const char* balance : {"grey", "4,4,8x8", "1,2,4"}) {
        const Result result = RunTool("-w BayerRG8 --view --black 12 --bits 8 --wb " + std::string(balance) + " -o " +
                                      Path("v.png") + " " + pgm);
        ASSERT_EQ(result.code, 0) << result.text;
        EXPECT_TRUE(IsFlat(Path("v.png"), CV_8U, 16, 16, {172, 172, 172})) << balance;
    }
    EXPECT_NEAR(RunTool("-w BayerRG8 --view --black auto " + pgm).NumberAfter("black level "), 68.25, 0.1);
    EXPECT_EQ(RunTool("-w BayerRG8 --view --wb none --curve none --matrix 0,0,1,0,1,0,1,0,0 --bits 8 -o " +
                      Path("m.png") + " " + pgm)
                  .code,
              0);
    EXPECT_TRUE(IsFlat(Path("m.png"), CV_8U, 16, 16, {37, 62, 112}));
    // Behind the other mosaic the view acts before the engine's tone curve. Light of equal gains on every site again.
    cv::imwrite(Path("p.png"), cv::Mat(32, 32, CV_8UC3, cv::Scalar(70, 150, 200)));
    EXPECT_EQ(RunTool("-w TrueSense12g7 --mosaic " + Path("m.pgm") + " " + Path("p.png")).code, 0);
    const Result result = RunTool("-w TrueSense12g7 --view --matrix 1,0,0,0,1,0,0,0,1 --bits 8 -o " + Path("t.png") +
                                  " " + Path("m.pgm"));
    const cv::Vec3b centre = cv::imread(Path("t.png")).at<cv::Vec3b>(16, 16);
    EXPECT_TRUE(centre[0] > 100 && centre[0] == centre[1] && centre[1] == centre[2]) << centre << result.text;
}

// Truth: 4095 times the variance per unit of signal; the read noise in codes, squared, and a twelfth of rounding.
TEST_F(Tool, NoiseOfASensorIsFoundWithinFivePerCent) {
    const Result lines =
        RunTool("--measure-noise -w TrueSense12g5 --shot-noise 0.001 --read-noise 0.006 -o " + Path("plot.png"));
    ASSERT_EQ(lines.code, 0) << lines.text;
    const double slope = 4.095, intercept = 24.57 * 24.57 + 1 / 12.0;
    for (const std::string kind : {"Pan", "Color"}) {
        EXPECT_NEAR(lines.NumberAfter("ISO" + kind + "Slope_0="), slope, 0.05 * slope) << lines.text;
        EXPECT_NEAR(lines.NumberAfter("ISO" + kind + "Intercept_0="), intercept, 0.05 * intercept) << lines.text;
    }
    EXPECT_GT(lines.NumberAfter("TrueSenseAlgType 3: the lines take "), 3) << lines.text;
    EXPECT_GT(lines.NumberAfter("TrueSenseAlgType 4: the lines take "), 0.1) << lines.text;
    EXPECT_FALSE(cv::imread(Path("plot.png")).empty());
    // The same from files, and what is printed is taken back.
    const std::string noisy = "--size 640x480 -w TrueSense12g5 --shot-noise 0.001 --read-noise 0.006 --seed ";
    EXPECT_EQ(RunTool(noisy + "1 --mosaic " + Path("1.pgm")).code, 0);
    EXPECT_EQ(RunTool(noisy + "2 --mosaic " + Path("2.pgm")).code, 0);
    const Result again =
        RunTool("-w TrueSense12g5 --size 64x64 -a 3 $(" ORV_CONVERT " --measure-noise -w TrueSense12g5 --black 0 " +
                Path("[12].pgm") + ")");
    EXPECT_EQ(again.code, 0) << again.text;
}

TEST_F(Tool, OneBadInputDoesNotStopTheOthers) {
    const std::string frame = "P5 8 8 255\n" + FlatBayer(8, 8, {9, 8, 7}, 8);
    Write("a08.pgm", frame), Write("a09.pgm", "P5 8 8 255\n?"), Write("a10.pgm", frame);
    fs::create_directory(folder_ / "out");
    const std::string common = "-w BayerRG8 -o " + Path("out") + " '" + Path("a{08..10}.pgm") + "' ";
    const Result result = RunTool(common);
    EXPECT_TRUE(result.code == 1 && result.Says("a09.pgm") && result.Says("1 of 3 inputs failed")) << result.text;
    EXPECT_EQ(result.text.find('\r'), std::string::npos);
    EXPECT_TRUE(fs::exists(Path("out/a08.png")) && fs::exists(Path("out/a10.png")));
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("out")), {}), 2);
    // The parts of a list make up the whole.
    std::string parts;
    for (const char* part : {"1/4", "2/4", "3/4", "4/4"}) {
        parts += RunTool(common + "--format tif --part " + part).text;
    }
    for (const char* name : {"a08.pgm: 8x8", "a09.pgm: the file is too short", "a10.pgm: 8x8"}) {
        EXPECT_EQ(parts.find(name), parts.rfind(name)) << parts;
        EXPECT_NE(parts.find(name), std::string::npos) << parts;
    }
    EXPECT_TRUE(fs::exists(Path("out/a10.tif")));
}

TEST_F(Tool, APictureIsShrunkSampledAndComesBack) {
    cv::Mat picture(40, 60, CV_8UC3, cv::Scalar(40, 120, 220));
    const Result flat = RunTool("-w BayerGB16 -o " + Path("out.png") + " --view --bits 8 " +
                                (cv::imwrite(Path("p.png"), picture), Path("p.png")));
    EXPECT_GT(flat.NumberAfter("PSNR "), 80) << flat.text;
    EXPECT_TRUE(IsFlat(Path("out.png"), CV_8U, 60, 40, {220, 120, 40}));
    for (int x = 0; x < 60; x += 2) {
        picture.col(x).setTo(cv::Scalar::all(0));
    }
    cv::imwrite(Path("p.png"), picture);
    const Result shrunk = RunTool("-w BayerGB16 --shrink 2 " + Path("p.png"));
    EXPECT_TRUE(shrunk.Says(" 30x20 ")) << shrunk.text;
    EXPECT_GT(shrunk.NumberAfter("PSNR "), 80) << shrunk.text;
}

TEST_F(Tool, SheetHasBothFamiliesWithAColumnPerAlgorithmAndTheTruth) {
    const Result result = RunTool("--size 240x180 --crop 10,20,60x45 --sheet " + Path("s.png"));
    ASSERT_EQ(result.code, 0) << result.text;
    const cv::Mat sheet = cv::imread(Path("s.png"));
    EXPECT_EQ(sheet.cols, 6 * 480 + 5 * 8) << result.text;
    EXPECT_EQ(sheet.rows, 2 * (28 + 360 + 8 + 360));
    EXPECT_EQ(Files(), (std::set<std::string>{"s.png"}));
}

TEST(ToolOutput, HelpTimesAndParameters) {
    const Result times = RunTool("--size 64x48 --repeat 9 -a 1");
    EXPECT_GT(times.NumberAfter("best "), 0);
    EXPECT_GE(times.NumberAfter("median "), times.NumberAfter("best "));
    EXPECT_EQ(times.NumberAfter("PSNR "), RunTool("--size 64x48 -a 1").NumberAfter("PSNR "));
    const std::string list = RunTool("--list-parameters").text;
    EXPECT_EQ(std::count(list.begin(), list.end(), '='), 2 + 66) << list;
    EXPECT_NE(list.find("ISOAnalogGain_0=11.04\n"), std::string::npos);
    std::istringstream help(RunTool("--help").text);
    for (std::string line; std::getline(help, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
    EXPECT_EQ(RunTool("--version").text.compare(0, 12, "orv-convert "), 0);
}

// A disk that is full leaves neither half a picture nor a temporary file.
TEST_F(Tool, FailedWriteLeavesNothing) {
    const Result result = Shell("trap '' XFSZ; ulimit -f 1; " ORV_CONVERT " --size 64x64 -o " + Path("x.png"));
    EXPECT_TRUE(result.code == 1 && result.Says("x.png: File too large")) << result.text;
    EXPECT_EQ(Files(), std::set<std::string>{});
    EXPECT_EQ(RunTool("--size 32x32 -o - > /dev/full").code, 1);
}

struct Mistake {
    const char* arguments;  // %s stands for the folder
    std::vector<const char*> words;
};

void PrintTo(const Mistake& mistake, std::ostream* out) { *out << mistake.arguments; }

class ToolMistakes : public Tool, public testing::WithParamInterface<Mistake> {};

TEST_P(ToolMistakes, EndsWithOneAndNamesCauseAndRemedy) {
    Write("short.raw", std::string(63, 'x'));
    Write("cut.pgm", "P5 8 8 255\n" + std::string(63, 'x'));
    Write("head.pgm", "P5 8 -8 255\n" + std::string(64, 'x'));
    Write("huge.pgm", "P5 999999 8 255\n" + std::string(64, 'x'));
    Write("text.png", "no picture");
    fs::create_directory(Path("d.png"));
    const std::set<std::string> before = Files();
    std::string arguments = GetParam().arguments;
    for (size_t at = 0; (at = arguments.find("%s")) != std::string::npos;) {
        arguments.replace(at, 2, folder_.string());
    }
    const Result result = RunTool(arguments);
    EXPECT_EQ(result.code, 1) << result.text;
    for (const char* word : GetParam().words) {
        EXPECT_TRUE(result.Says(word)) << word << " is not in: " << result.text;
    }
    EXPECT_EQ(Files(), before);
}

INSTANTIATE_TEST_SUITE_P(
    All, ToolMistakes,
    testing::Values(
        Mistake{"-w BayerXX8 -o %s/o.png", {"--word", "BayerXX8", "RGGB12", "TrueSense12g5"}},
        Mistake{"%s/short.raw", {"--word", "--size", "1920x1080", "short.raw"}},
        Mistake{"--set nothing=1 -o %s/o.png", {"nothing", "0x8001000A", "--list-parameters"}},
        Mistake{"--set NoRealloc=2", {"NoRealloc=2", "0x8001000C", "0 or 1"}},
        Mistake{"--set NoRealloc", {"--set", "name=value"}}, Mistake{"-a 7", {"--alg", "BayerAlgType", "0 to 2"}},
        Mistake{"--bits 12", {"--bits"}}, Mistake{"--offset -1", {"--offset", "at least 0"}},
        Mistake{"--size 5x0", {"--size", "1 to 65500"}}, Mistake{"--size 5", {"--size", "1920x1080"}},
        Mistake{"--view --wb 1,x,1 -o %s/o.png", {"--wb", "1.9,1,1.6", "100,80,32x32"}},
        Mistake{"-w BayerRG8 --view --wb 9,9,2x2 --raw %s/short.raw --size 7x9", {"--wb", "outside", "7x9"}},
        Mistake{"--black 3", {"--black", "--view"}}, Mistake{"--seed 3", {"--seed", "--shot-noise"}},
        Mistake{"--size 8x8 -w BayerRG8 %s/cut.pgm", {"--size", "headerless"}}, Mistake{"--crop 1,2,3x4", {"--sheet"}},
        Mistake{"-w RGGB12p", {"packed"}}, Mistake{"-w RGGB12 --packing 10p --size 8x8 %s/short.raw", {"12p", "RAW12"}},
        Mistake{"-o %s/o.jpg", {"-o", "o.jpg", ".png"}}, Mistake{"-o %s/missing/o.png", {"missing/o.png"}},
        Mistake{"--sheet %s/d.png", {"--sheet", "d.png"}}, Mistake{"--part 3/2 -w RGGB8 %s/cut.pgm", {"--part", "2"}},
        Mistake{"-w BayerRG8 '%s/f{3..1}.pgm'", {"{0001..0100}"}},
        Mistake{"--sheet %s/o.png --crop 5000,0,9x9", {"--crop", "1024x768"}},
        Mistake{"-w BayerRG8 -o %s/o.png %s/cut.pgm %s/head.pgm", {"-o", "folder"}},
        Mistake{"--measure-noise -w BayerRG12", {"--measure-noise", "TrueSense"}},
        Mistake{"-w BayerRG8 --size 8x8 %s/short.raw -o %s/o.png", {"short.raw", "too short", "63", "64"}},
        Mistake{"-w BayerRG12 --size 7x9 %s/short.raw", {"too short", "word of 8 bits"}},
        Mistake{"-w BayerRG8 --size 7x9 --offset 9223372036854775807 %s/short.raw", {"too short"}},
        Mistake{"-w BayerRG8 --size 7x9 --stride 6 %s/short.raw", {"stride of 6"}},
        Mistake{"--scene leaves -w BayerRG8 %s/cut.pgm", {"--scene", "without an input"}},
        Mistake{"-w BayerRG12 %s/cut.pgm", {"too short"}}, Mistake{"-w BayerRG8 %s/head.pgm", {"head.pgm", "header"}},
        Mistake{"-w BayerRG8 %s/huge.pgm", {"huge.pgm", "not supported"}},
        Mistake{"-w BayerRG8 %s/text.png", {"text.png", "--raw"}},
        Mistake{"-w BayerRG8 %s/none.pgm", {"none.pgm", "No such file"}},
        Mistake{"-w BayerRG8 --raw %s --size 4x4", {"neither a regular file nor a pipe"}}));

}  // namespace
