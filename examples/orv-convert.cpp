// orv-convert: mosaic frames to colour pictures, and what the algorithms make of a scene with known truth.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>

#include "Converter.h"
#include "Files.h"
#include "Mosaic.h"
#include "Picture.h"
#include "Scene.h"

namespace {

using namespace orvtool;

const char* const kHelp =
    "Converts Bayer and TrueSense mosaic frames to colour.\n\n"
    "Inputs are headerless raw files (.raw, .bin or --raw), PGM or PNG mosaics, or colour pictures. A colour picture "
    "is "
    "simulated as a sensor would see it: the sRGB curve is undone, blocks are averaged if --shrink says so, one filter "
    "per pixel is picked by the mosaic of "
    "--word "
    "(pan as the sum --pan of R, G, B, so without infrared, out-of-band light or crosstalk), noise is added when asked "
    "for, "
    "and samples are rounded to the word's depth. Without an input the tool renders a scene of its own in linear light "
    "and "
    "does the same.\n\n"
    "With a known truth (scene or picture) the PSNR is printed. Bayer results are linear and are compared with the "
    "linear "
    "truth at the word's depth. TrueSense results carry the engine's tone curve: that curve is measured with a "
    "staircase of "
    "flat grey blocks, and the truth goes through the colour matrix and the same curve before it is compared. "
    "Simulated "
    "frames have sRGB primaries, so the colour matrix starts as the identity for them (--keep-matrix: as the default). "
    "Noise "
    "and clipping count as errors; gains set by --set do so in part.\n\n"
    "Results are scaled to the full 8 or 16 bits of the PNG unless --raw-values is given. Without -o nothing is "
    "written.";

struct Options {
    std::vector<std::string> inputs;
    std::vector<std::string> rawInputs;
    std::string output;
    std::string word;
    std::string size;
    int64_t stride = 0;
    int64_t offset = 0;
    bool bigEndian = false;
    std::string as = "auto";
    std::string pan = "0.25,0.5,0.25";
    int shrink = 1;
    NoiseModel noise;
    int algorithm = 0;
    std::vector<std::string> settings;
    bool keepMatrix = false;
    int threads = 0;
    int repeat = 1;
    int bits = 0;
    bool rawValues = false;
    bool view = false;
    double black = 0;
    std::string balance;
    double exposure = 1;
    std::string curve = "srgb";
    std::string sheet;
    std::string crop;
    bool listParameters = false;
};

[[noreturn]] void Fail(const std::string& text) { throw std::runtime_error(text); }

// Exactly `count` numbers with `separator` between them.
std::vector<double> Numbers(const std::string& option, const std::string& text, const std::string& separators,
                            size_t count) {
    std::vector<double> numbers;
    const char* at = text.c_str();
    while (numbers.size() < count) {
        char* end = nullptr;
        numbers.push_back(std::strtod(at, &end));
        const bool last = numbers.size() == count;
        if (end == at || !std::isfinite(numbers.back()) ||
            (last ? *end != '\0' : *end != separators[numbers.size() - 1])) {
            std::string message = option;
            message.append(": '").append(text).append("' is not of the form ").append(std::to_string(count));
            message.append(" numbers with '").append(separators).append("' between them");
            Fail(message);
        }
        at = end + 1;
    }
    return numbers;
}

cv::Size ParseSize(const std::string& text) {
    const std::vector<double> numbers = Numbers("--size", text, "x", 2);
    for (const double number : numbers) {
        if (number != std::floor(number) || number < 1 || number > 16000) {
            Fail("--size: '" + text + "': width and height must be whole numbers from 1 to 16000");
        }
    }
    return {static_cast<int>(numbers[0]), static_cast<int>(numbers[1])};
}

const SourceWord& ParseWord(const std::string& text) {
    if (const SourceWord* word = FindSourceWord(text)) {
        return *word;
    }
    std::string known;
    for (const SourceWord& word : SourceWords()) {
        known += " " + word.name;
    }
    Fail("--word: '" + text + "' is no known source word; known:" + known);
}

// A bar on standard error while several frames are converted, on a terminal only.
class Progress {
public:
    explicit Progress(size_t all) : all_(all), shown_(all > 1 && isatty(STDERR_FILENO) != 0) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(size_t done) const {
        if (shown_) {
            constexpr size_t kWidth = 40;
            const size_t filled = kWidth * done / all_;
            std::fprintf(stderr, "\r[%s%s] %zu of %zu", std::string(filled, '#').c_str(),
                         std::string(kWidth - filled, ' ').c_str(), done, all_);
        }
    }
    // Makes room for other words on the terminal.
    void Clear() const {
        if (shown_) {
            std::fputs("\r\033[K", stderr);
        }
    }

private:
    size_t all_;
    bool shown_;
};

// A frame ready for conversion, with the truth it was made of, if known.
struct Job {
    std::string name;
    std::optional<Frame> frame;
    std::optional<SceneImage> truth;
};

Job Simulate(const Options& options, const SourceWord& word, const std::string& name, SceneImage truth) {
    const std::vector<double> pan = Numbers("--pan", options.pan, ",,", 3);
    const PanWeights weights = {static_cast<float>(pan[0]), static_cast<float>(pan[1]), static_cast<float>(pan[2])};
    std::vector<float> samples = SampleMosaic(truth, word, weights);
    AddNoise(&samples, options.noise);
    Job job;
    job.name = name;
    job.frame.emplace(word, truth.width, truth.height, Quantise(samples, word.bits));
    job.truth = std::move(truth);
    return job;
}

Job Load(const Options& options, const SourceWord& word, const std::string& path, bool raw) {
    RawSamples mosaic;
    if (raw) {
        if (options.size.empty()) {
            Fail("--size is needed for the raw file " + path);
        }
        const cv::Size size = ParseSize(options.size);
        RawLayout layout;
        layout.width = size.width;
        layout.height = size.height;
        layout.offset = options.offset;
        layout.stride = options.stride;
        layout.bytesPerSample = word.BytesPerSample();
        layout.bigEndian = options.bigEndian;
        mosaic = ReadRaw(path, layout);
    } else {
        ImageFile file = ReadImage(path);
        const bool isMosaic = !file.mosaic.samples.empty();
        if (options.as == "mosaic" && !isMosaic) {
            Fail("--as mosaic: the channels of " + path + " differ, so it is a colour picture");
        }
        if (options.as == "picture" && file.picture.rgb.empty()) {
            Fail("--as picture: " + path + " is a PGM mosaic");
        }
        if (options.as == "picture" || !isMosaic) {
            return Simulate(options, word, path, Shrink(file.picture, options.shrink));
        }
        mosaic = std::move(file.mosaic);
    }
    Job job;
    job.name = path;
    job.frame.emplace(word, mosaic.width, mosaic.height, mosaic.samples);
    if (job.frame->clipped > 0) {
        std::fprintf(stderr, "%s: %zu samples above %d clipped to the depth of %s\n", path.c_str(), job.frame->clipped,
                     word.MaxSample(), word.name.c_str());
    }
    return job;
}

View MakeView(const Options& options, const SourceWord& word, bool simulated, bool display) {
    View view;
    if (word.trueSense) {
        return view;  // the tone curve of the engine is made for viewing
    }
    view.srgb = (options.view || display) && options.curve == "srgb";
    if (options.view) {
        view.black = options.black;
        view.exposure = options.exposure;
        const std::string balance = options.balance.empty() ? (simulated ? "none" : "grey") : options.balance;
        view.greyWorld = balance == "grey";
        if (balance != "grey" && balance != "none") {
            const std::vector<double> gains = Numbers("--wb", balance, ",,", 3);
            view.gains = {gains[0], gains[1], gains[2]};
        }
    }
    return view;
}

// Sets everything that stands in the options; a frame with known truth starts from the identity matrix.
void Configure(const Options& options, bool trueSense, bool simulated, Converter* converter) {
    if (trueSense && simulated && !options.keepMatrix) {
        const char* const names[9] = {"RR", "RG", "RB", "GR", "GG", "GB", "BR", "BG", "BB"};
        for (int i = 0; i < 9; ++i) {
            converter->Set("identity matrix", names[i], i % 4 == 0 ? "1" : "0");
        }
    }
    converter->SetAlgorithm(options.algorithm);
    if (options.threads > 0) {
        cv::setNumThreads(options.threads);
        if (trueSense) {
            converter->Set("--threads", "threads_num", std::to_string(options.threads));
        }
    }
    for (const std::string& setting : options.settings) {
        const size_t equals = setting.find('=');
        if (equals == std::string::npos || equals == 0) {
            Fail("--set: '" + setting + "' is not of the form name=value");
        }
        converter->Set("--set", setting.substr(0, equals), setting.substr(equals + 1));
    }
}

SceneImage Expected(const Job& job, bool eightBits, const ColourFrame& frame, Converter* converter) {
    const SourceWord& word = *job.frame->word;
    const ToneCurve curve =
        word.trueSense ? ToneCurve::Measure(converter, word, eightBits) : ToneCurve::Linear(frame.Top());
    return ExpectedResult(*job.truth, ColourMatrix(*converter, word.trueSense), curve);
}

void ConvertJob(const Options& options, const Job& job, bool eightBits, const Progress& progress, Converter* converter,
                const std::string& output) {
    const SourceWord& word = *job.frame->word;
    // What is judged and written is the first conversion, as without --repeat.
    ColourFrame result;
    ColourFrame again;
    std::vector<double> milliseconds;
    converter->Reset();
    for (int i = 0; i < options.repeat; ++i) {
        const auto start = std::chrono::steady_clock::now();
        converter->Convert(*job.frame, eightBits, i == 0 ? &result : &again);
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    progress.Clear();
    std::printf("%s: %dx%d %s, %s %s, %d-bit colour", job.name.c_str(), job.frame->width, job.frame->height,
                word.name.c_str(), converter->AlgorithmName(), converter->Get(converter->AlgorithmName()).c_str(),
                result.bits);
    if (options.repeat > 1) {
        std::sort(milliseconds.begin(), milliseconds.end());
        const double median = milliseconds[milliseconds.size() / 2];
        std::printf("; best %.3f ms, median %.3f ms per frame, %.1f frames per second", milliseconds.front(), median,
                    1000 / median);
    }
    std::printf("\n");
    if (job.truth) {
        const Psnr psnr = Compare(result, Expected(job, eightBits, result, converter));
        std::printf("%s: %s\n", job.name.c_str(), psnr.Text().c_str());
    }
    if (!output.empty()) {
        if (options.rawValues) {
            WritePng(output, result.bgr);
        } else {
            const int bits = options.bits != 0 ? options.bits : word.bits == 8 && !options.view ? 8 : 16;
            WritePng(output, Render(result, MakeView(options, word, job.truth.has_value(), false), bits));
        }
    }
}

cv::Rect ParseCrop(const std::string& text, const Frame& frame) {
    cv::Rect crop(frame.width * 3 / 8, frame.height * 3 / 8, std::min(120, frame.width), std::min(90, frame.height));
    if (!text.empty()) {
        const std::vector<double> numbers = Numbers("--crop", text, ",,x", 4);
        crop = cv::Rect(
            static_cast<int>(std::clamp(numbers[0], 0.0, 1e6)), static_cast<int>(std::clamp(numbers[1], 0.0, 1e6)),
            static_cast<int>(std::clamp(numbers[2], 0.0, 1e6)), static_cast<int>(std::clamp(numbers[3], 0.0, 1e6)));
    }
    crop &= cv::Rect(0, 0, frame.width, frame.height);
    if (crop.empty()) {
        Fail("--crop: '" + text + "' lies outside the frame");
    }
    return crop;
}

// The truth of a simulated frame, as a conversion without error would give it.
ColourFrame TruthFrame(const SceneImage& expected, const ColourFrame& like) {
    ColourFrame truth;
    truth.bits = like.bits;
    cv::Mat rgb(expected.height, expected.width, CV_32FC3, const_cast<float*>(expected.rgb.data()));
    cv::Mat bgr;
    const int swapped[] = {0, 2, 1, 1, 2, 0};
    bgr.create(rgb.size(), rgb.type());
    cv::mixChannels(&rgb, 1, &bgr, 1, swapped, 3);
    bgr.convertTo(truth.bgr, like.bgr.type());
    return truth;
}

// All algorithms that the library offers for the frame: the truth where it is known, then a column for each.
std::vector<SheetColumn> SheetRow(const Options& options, const Job& job, bool eightBits, Converter* converter) {
    const SourceWord& word = *job.frame->word;
    const View view = MakeView(options, word, job.truth.has_value(), true);
    std::vector<SheetColumn> columns;
    for (int algorithm = 0; algorithm < converter->AlgorithmCount(); ++algorithm) {
        converter->SetAlgorithm(algorithm);
        converter->Reset();
        ColourFrame frame;
        const uint32_t status = converter->TryConvert(*job.frame, eightBits, &frame);
        if (status != 0) {
            std::printf("--sheet: algorithm %d left out: 0x%08X (%s)\n", algorithm, status, OrvStatusText(status));
            continue;
        }
        std::string label = std::string(converter->AlgorithmName()) + " " + std::to_string(algorithm);
        if (job.truth) {
            const SceneImage expected = Expected(job, eightBits, frame, converter);
            const std::string psnr = Compare(frame, expected).Text();
            std::printf("%s: %s\n", label.c_str(), psnr.c_str());
            label += ", " + psnr.substr(0, psnr.find(" ("));
            if (columns.empty()) {
                columns.push_back({"truth", Render(TruthFrame(expected, frame), view, 8)});
            }
        }
        columns.push_back({label, Render(frame, view, 8)});
    }
    if (columns.empty()) {
        Fail("--sheet: the library refused the frame with every algorithm");
    }
    return columns;
}

// The other mosaic at the nearest depth, for a look at both families.
const SourceWord& OtherFamily(const SourceWord& word) {
    return ParseWord(word.trueSense ? "BayerRG" + std::to_string(word.bits)
                                    : "TrueSense" + std::to_string(std::min(word.bits, 14)) + "g0");
}

// A frame with known truth is simulated for the other family too.
void WriteSheet(const Options& options, const Job& job, bool eightBits, Converter* converter) {
    const cv::Rect crop = ParseCrop(options.crop, *job.frame);
    std::vector<std::vector<SheetColumn>> rows = {SheetRow(options, job, eightBits, converter)};
    if (job.truth) {
        Options plain = options;  // the settings are those of one family
        plain.settings.clear();
        plain.algorithm = 0;
        const Job other = Simulate(plain, OtherFamily(*job.frame->word), job.name, *job.truth);
        Converter otherConverter(other.frame->word->trueSense);
        Configure(plain, other.frame->word->trueSense, true, &otherConverter);
        rows.push_back(SheetRow(plain, other, eightBits, &otherConverter));
    }
    WritePng(options.sheet, MakeSheet(rows, crop));
}

void ListParameters(bool trueSense) {
    const Converter converter(trueSense);
    std::printf("%s:\n", trueSense ? "TrueSense" : "Bayer");
    for (const std::string& name : converter.Names()) {
        std::printf("  %s=%s\n", name.c_str(), converter.Get(name).c_str());
    }
}

// The picture each input goes to; empty names when nothing is to be written.
std::vector<std::string> OutputNames(const Options& options, const std::vector<std::string>& inputs) {
    std::vector<std::string> names(std::max<size_t>(1, inputs.size()), options.output);
    if (inputs.size() < 2 || options.output.empty()) {
        if (!options.output.empty() && !HasExtension(options.output, ".png")) {
            Fail("-o: '" + options.output + "' must end in .png");
        }
        return names;
    }
    if (!std::filesystem::is_directory(options.output)) {
        Fail("-o: '" + options.output + "' must be a folder when there are several inputs");
    }
    std::set<std::string> seen;
    for (size_t i = 0; i < inputs.size(); ++i) {
        names[i] = (std::filesystem::path(options.output) / std::filesystem::path(inputs[i]).stem()).string() + ".png";
        if (!seen.insert(names[i]).second) {
            Fail("-o: two inputs would be written to " + names[i]);
        }
    }
    return names;
}

void Run(const Options& options) {
    if (options.listParameters) {
        const SourceWord* word = options.word.empty() ? nullptr : &ParseWord(options.word);
        if (word == nullptr || !word->trueSense) {
            ListParameters(false);
        }
        if (word == nullptr || word->trueSense) {
            ListParameters(true);
        }
        return;
    }
    std::vector<std::string> inputs = options.rawInputs;
    inputs.insert(inputs.end(), options.inputs.begin(), options.inputs.end());
    if (options.word.empty() && !inputs.empty()) {
        Fail("--word is needed to read " + inputs.front());
    }
    const SourceWord& word = ParseWord(options.word.empty() ? "BayerRG12" : options.word);
    if (!options.sheet.empty() && inputs.size() > 1) {
        Fail("--sheet: only one input at a time");
    }
    if (!options.sheet.empty() && !HasExtension(options.sheet, ".png")) {
        Fail("--sheet: '" + options.sheet + "' must end in .png");
    }
    const bool eightBits = options.bits == 8;
    const std::vector<std::string> outputs = OutputNames(options, inputs);
    std::optional<Converter> converter;
    bool converterSimulates = false;
    const Progress progress(outputs.size());
    for (size_t i = 0; i < outputs.size(); ++i) {
        progress.Show(i);
        Job job;
        if (inputs.empty()) {
            const cv::Size size = ParseSize(options.size.empty() ? "1024x768" : options.size);
            job = Simulate(options, word, "scene", RenderScene(size.width, size.height));
        } else {
            const bool raw =
                i < options.rawInputs.size() || HasExtension(inputs[i], ".raw") || HasExtension(inputs[i], ".bin");
            job = Load(options, word, inputs[i], raw);
        }
        if (!converter || converterSimulates != job.truth.has_value()) {
            converterSimulates = job.truth.has_value();
            converter.emplace(word.trueSense);
            Configure(options, word.trueSense, converterSimulates, &*converter);
        }
        ConvertJob(options, job, eightBits, progress, &*converter, outputs[i]);
        if (!options.sheet.empty()) {
            WriteSheet(options, job, eightBits, &*converter);
        }
    }
}

int ParseAndRun(int argc, char** argv) {
    Options options;
    CLI::App app(kHelp, "orv-convert");
    app.add_option("inputs", options.inputs, "raw files (.raw, .bin), PGM or PNG mosaics, colour pictures");
    app.add_option("--raw", options.rawInputs, "a headerless raw file, whatever its name (repeatable)")
        ->allow_extra_args(false);
    app.add_option("-o,--output", options.output, "PNG to write; a folder when there are several inputs");
    app.add_option(
        "-w,--word", options.word,
        "mosaic and depth: BayerRG12, TrueSense12g5 (grid code 5), or a word as 0xNUMBER; the scene's default is "
        "BayerRG12");
    app.add_option("--size", options.size, "WxH of raw files, or of the scene (1024x768)");
    app.add_option("--stride", options.stride, "bytes from row to row of raw files; 0: no padding")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--offset", options.offset, "bytes before the first sample of raw files")
        ->check(CLI::NonNegativeNumber);
    app.add_flag("--big-endian", options.bigEndian, "16-bit raw samples have the high byte first");
    app.add_option("--as", options.as, "auto: three different channels make a picture, all else is a mosaic")
        ->check(CLI::IsMember({"auto", "mosaic", "picture"}))
        ->capture_default_str();
    app.add_option("--pan", options.pan, "weights R,G,B of simulated panchromatic samples")->capture_default_str();
    app.add_option("--shrink", options.shrink,
                   "colour pictures: average blocks of N by N linear pixels first, which removes traces of their own "
                   "demosaicing and compression")
        ->check(CLI::Range(1, 64));
    app.add_option("--shot-noise", options.noise.shotGain,
                   "simulated noise: variance per unit of signal, 1 / full well electrons (0.0001: 10000 electrons)")
        ->check(CLI::Range(0.0, 1.0));
    app.add_option("--read-noise", options.noise.readNoise,
                   "simulated noise: standard deviation as a share of full scale")
        ->check(CLI::Range(0.0, 1.0));
    app.add_option("--seed", options.noise.seed, "seed of the simulated noise")->capture_default_str();
    app.add_option("-a,--alg", options.algorithm, "BayerAlgType or TrueSenseAlgType")->capture_default_str();
    app.add_option("-s,--set", options.settings, "name=value: a parameter of the component (repeatable)")
        ->allow_extra_args(false);
    app.add_flag("--keep-matrix", options.keepMatrix,
                 "simulated TrueSense frames: leave the default colour matrix in force");
    app.add_flag("--list-parameters", options.listParameters, "list the parameters with their defaults and end");
    app.add_option("-t,--threads", options.threads, "threads of a conversion; 0: the process's default")
        ->check(CLI::Range(0, 32));
    app.add_option("-n,--repeat", options.repeat, "convert N times and print times")->check(CLI::Range(1, 1000000));
    app.add_option(
           "--bits", options.bits,
           "8 or 16: bits of the PNG; deeper TrueSense frames are converted to 8-bit colour by the library itself")
        ->check(CLI::IsMember({8, 16}));
    auto* rawValues =
        app.add_flag("--raw-values", options.rawValues, "write the library's values unscaled (10 bits stay 10 bits)");
    auto* view =
        app.add_flag("--view", options.view,
                     "Bayer, written picture only: subtract --black, balance white, apply the sRGB curve. TrueSense "
                     "results have their tone curve already and are written as they are");
    rawValues->excludes(view);
    app.add_option("--black", options.black, "with --view: black level in codes of the word")->needs(view);
    app.add_option("--wb", options.balance,
                   "with --view: grey (grey world, default for real frames), none, or gains R,G,B")
        ->needs(view);
    app.add_option("--exposure", options.exposure, "with --view: factor")->needs(view)->check(CLI::PositiveNumber);
    app.add_option("--curve", options.curve,
                   "of --view and --sheet for Bayer: srgb, or none for frames that have a curve already")
        ->check(CLI::IsMember({"srgb", "none"}))
        ->capture_default_str();
    app.add_option("--sheet", options.sheet,
                   "PNG with all algorithms side by side, and an enlarged crop; of both families for the scene and for "
                   "colour pictures");
    app.add_option("--crop", options.crop, "X,Y,WxH of the crop of --sheet");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 1;
    }
    Run(options);
    if (std::fflush(stdout) != 0) {
        Fail("standard output could not be written");
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return ParseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orv-convert: %s\n", error.what());
    }
    return 1;
}
