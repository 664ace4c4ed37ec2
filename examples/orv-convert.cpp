// orv-convert: mosaic frames to colour pictures, and what the algorithms make of a scene with known truth.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "Console.h"
#include "Converter.h"
#include "Help.h"
#include "Jobs.h"
#include "Options.h"
#include "Quality.h"
#include "SensorNoise.h"
#include "Sheet.h"
#include "View.h"
#include "WritePicture.h"

namespace {

using namespace orvtool;

// A component with everything set that stands in the options, for frames of one kind.
struct Configured {
    Converter converter;
    Matrix matrix;  // before the view

    // Simulated frames start from the identity matrix.
    Configured(const Options& options, bool trueSense, bool simulated) : converter(trueSense), matrix(kIdentity) {
        if (trueSense && simulated && !options.keepMatrix) {
            converter.SetColourMatrix(kIdentity);
        }
        converter.SetAlgorithm(options.algorithm);
        if (options.threads > 0) {
            cv::setNumThreads(options.threads);
            if (trueSense) {
                converter.Set("--threads", "threads_num", std::to_string(options.threads));
            }
        }
        for (const auto& setting : options.settings) {
            converter.Set("--set", setting.first, setting.second);
        }
        matrix = converter.ColourMatrix();
    }
};

// The view that the options ask for, as the frame has it.
View MakeView(const Options& options, const Job& job, const Matrix& matrix, bool display, const Console& console) {
    const bool trueSense = job.frame.word.trueSense;
    View view;
    view.srgb = (options.view || display) && options.srgb && !trueSense;
    view.matrix = trueSense ? matrix : kIdentity;
    if (!options.view) {
        return view;
    }
    view.black = options.black.value_or(0);
    if (options.estimateBlack) {
        view.black = EstimateBlack(job.frame);
        console.Result(Format("%s: black level %.1f (estimated)", job.name.c_str(), view.black));
    }
    view.exposure = options.exposure;
    view.matrix = options.matrix.value_or(view.matrix);
    Balance balance;
    balance.kind = job.truth ? Balance::kNone : Balance::kGreyWorld;
    balance = options.balance.value_or(balance);
    view.gains = balance.gains;
    if (balance.kind == Balance::kGreyWorld || balance.kind == Balance::kGreyBox) {
        const cv::Rect whole(0, 0, job.frame.width, job.frame.height);
        view.gains = GreyGains(job.frame, view.black,
                               balance.kind == Balance::kGreyWorld ? whole : Inside("--wb", balance.box, job.frame));
        console.Result(
            Format("%s: white balance %.4f,%.4f,%.4f", job.name.c_str(), view.gains[0], view.gains[1], view.gains[2]));
    }
    return view;
}

// What a view does before a conversion, and what is left for afterwards. TrueSense results have a tone curve: all of
// their view is applied to the mosaic and the colour matrix. Bayer frames are balanced, but where their colours are
// compared with the truth.
View Prepare(View view, Job* job, Converter* converter) {
    if (!job->frame.word.trueSense) {
        if (!job->truth) {
            BalanceBeforeConversion(&view, &job->frame);
        }
        return view;
    }
    ApplyBeforeConversion(view, &job->frame, converter);
    return {};
}

Psnr Judge(const Job& job, bool eightBits, const ColourFrame& result, Converter* converter) {
    return Compare(result, ExpectedResult(*job.truth, job.frame.word, eightBits, result.bits, converter));
}

void ConvertJob(const Options& options, Job job, const std::string& output, const Console& console,
                Configured* configured) {
    Converter& converter = configured->converter;
    const SourceWord& word = job.frame.word;
    const View view = Prepare(MakeView(options, job, configured->matrix, false, console), &job, &converter);
    const bool eightBits = options.bits == 8 && word.bits > 8 && (word.trueSense || options.rawValues);
    // What is judged and written is the first conversion, as without --repeat.
    ColourFrame result;
    ColourFrame again;
    std::vector<double> milliseconds;
    converter.Reset();
    for (int i = 0; i < options.repeat; ++i) {
        const auto start = std::chrono::steady_clock::now();
        converter.Convert(job.frame, eightBits, i == 0 ? &result : &again);
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::string line = Format("%s: %dx%d %s, %s %d, %d-bit colour", job.name.c_str(), job.frame.width, job.frame.height,
                              word.name.c_str(), converter.AlgorithmName(), converter.Algorithm(), result.bits);
    if (options.repeat > 1) {
        std::sort(milliseconds.begin(), milliseconds.end());
        const double median = milliseconds[milliseconds.size() / 2];
        line += Format("; best %.3f ms, median %.3f ms per frame, %.1f frames per second", milliseconds.front(), median,
                       1000 / median);
    }
    console.Result(line);
    if (job.truth) {
        console.Result(job.name + ": " + Judge(job, eightBits, result, &converter).Text());
    }
    if (!output.empty()) {
        const int bits = options.bits != 0 ? options.bits : word.bits == 8 && !options.view ? 8 : 16;
        WritePicture(output, options.rawValues ? result.bgr : Render(result, view, bits));
    }
}

// All algorithms of the frame's family: the truth where it is known, then a column for each.
std::vector<SheetColumn> SheetRow(const Options& options, Job job, const Console& console, Configured* configured) {
    Converter& converter = configured->converter;
    const View view = Prepare(MakeView(options, job, configured->matrix, true, console), &job, &converter);
    std::vector<SheetColumn> columns;
    for (int algorithm = 0; algorithm < converter.AlgorithmCount(); ++algorithm) {
        converter.SetAlgorithm(algorithm);
        converter.Reset();
        const bool eightBits = options.bits == 8 && job.frame.word.trueSense && job.frame.word.bits > 8;
        ColourFrame frame;
        const uint32_t status = converter.TryConvert(job.frame, eightBits, &frame);
        if (status != 0) {
            console.Result(
                Format("--sheet: algorithm %d left out: 0x%08X (%s)", algorithm, status, OrvStatusText(status)));
            continue;
        }
        std::string label = Format("%s %d", job.frame.word.trueSense ? "TrueSense" : "Bayer", algorithm);
        if (job.truth) {
            const SceneImage expected = ExpectedResult(*job.truth, job.frame.word, eightBits, frame.bits, &converter);
            const Psnr psnr = Compare(frame, expected);
            console.Result(label + ": " + psnr.Text());
            label += Format(", %.2f dB", psnr.all);
            if (columns.empty()) {
                columns.push_back({"truth", Render(TruthFrame(expected, frame.bits), view, 8)});
            }
        }
        columns.push_back({label, Render(frame, view, 8)});
    }
    if (columns.empty()) {
        throw std::runtime_error("--sheet: the library refused the frame with every algorithm");
    }
    return columns;
}

// A frame with known truth is simulated for the other family too.
void WriteSheet(const Options& options, const Job& job, const Console& console) {
    cv::Rect crop(job.frame.width * 3 / 8, job.frame.height * 3 / 8, 120, 90);
    crop = Inside("--crop", options.crop.empty() ? crop : ParseBox("--crop", options.crop), job.frame);
    const SourceWord& word = job.frame.word;
    Configured own(options, word.trueSense, job.truth.has_value());
    std::vector<std::vector<SheetColumn>> rows = {SheetRow(options, job, console, &own)};
    if (job.truth) {
        Options plain = options;  // the settings are those of one family
        plain.settings.clear();
        plain.algorithm = 0;
        const SourceWord otherWord(word.trueSense ? OrvWord_Bayer(OrvPatternRG, word.bits)
                                                  : OrvWord_TrueSense(0, std::min(word.bits, 14)));
        Configured other(plain, otherWord.trueSense, true);
        rows.push_back(SheetRow(plain, Simulate(plain, otherWord, job.name, *job.truth), console, &other));
    }
    WritePicture(options.sheet, MakeSheet(rows, crop, options.sheetWidth));
}

// Remarks on what the algorithm in force takes no notice of.
void RemarkUnread(const Options& options, const Console& console) {
    Configured configured(options, options.word.trueSense, false);
    const Converter& converter = configured.converter;
    for (const auto& setting : options.settings) {
        if (options.sheet.empty() && !converter.Reads(setting.first)) {
            console.Remark(Format("--set %s: %s %d does not read it", setting.first.c_str(), converter.AlgorithmName(),
                                  converter.Algorithm()));
        }
    }
    if (options.threads > 1 && !options.word.trueSense && converter.Algorithm() == 1) {
        console.Remark("--threads: BayerAlgType 1 converts on one thread");
    }
}

std::string OutputFor(const Options& options, const Job& job) {
    namespace fs = std::filesystem;
    if (options.output.empty() || options.output == "-") {
        return options.output;
    }
    if (fs::is_directory(options.output)) {
        return (fs::path(options.output) / (job.stem + "." + (options.format.empty() ? "png" : options.format)))
            .string();
    }
    if (!options.allFrames) {
        return options.output;
    }
    // The number stands behind the name of the input.
    fs::path path(options.output);
    const std::string number = job.stem.substr(job.stem.rfind('-'));
    return path.replace_filename(path.stem().string() + number + path.extension().string()).string();
}

// Converts every frame of one input; `done` counts them.
void ConvertInput(const Options& options, const Input* input, const Console& console, int64_t* done) {
    JobReader reader(options, input, console);
    std::optional<Configured> configured;
    for (Job job; reader.Next(&job);) {
        if (!configured) {
            configured.emplace(options, options.word.trueSense, job.truth.has_value());
        }
        if (!options.mosaic.empty()) {
            cv::Mat codes(job.frame.height, job.frame.width, CV_16UC1, job.frame.codes.data());
            cv::Mat written = codes;
            if (options.word.bits == 8) {
                codes.convertTo(written, CV_8U);
            }
            WritePicture(options.mosaic, written);
        }
        ConvertJob(options, job, OutputFor(options, job), console, &*configured);
        if (!options.sheet.empty()) {
            WriteSheet(options, job, console);
        }
        console.Progress(++*done);
    }
}

// Frames to come; 0 where a pipe cannot tell.
int64_t CountFrames(const Options& options) {
    return options.allFrames ? 0 : static_cast<int64_t>(std::max<size_t>(1, options.inputs.size()));
}

int ConvertAll(const Options& options) {
    const Console console(CountFrames(options), options.output == "-");
    RemarkUnread(options, console);
    if (options.output.empty() && options.sheet.empty() && options.mosaic.empty()) {
        console.Remark("no picture is written without -o");
    }
    int64_t done = 0;
    if (options.inputs.empty()) {
        ConvertInput(options, nullptr, console, &done);
        return 0;
    }
    size_t failed = 0;
    for (const Input& input : options.inputs) {
        try {
            ConvertInput(options, &input, console, &done);
        } catch (const std::exception& error) {
            ++failed;
            console.Remark(error.what());
        }
    }
    if (failed > 0 && options.inputs.size() > 1) {
        console.Remark(Format("%zu of %zu inputs failed", failed, options.inputs.size()));
    }
    return failed > 0 ? 1 : 0;
}

// Root of the mean square of half the difference of two frames, as a share of the frames' top: their noise.
double NoiseOfPair(const ColourFrame& first, const ColourFrame& second) {
    return cv::norm(first.bgr, second.bgr, cv::NORM_L2) / std::sqrt(2.0 * static_cast<double>(first.bgr.total()) * 3) /
           first.Top();
}

// What the lines do to the noise of a pair of frames, and to the distance from the truth.
void ReportCleaning(const Options& options, const Job (&jobs)[2],
                    const std::vector<std::pair<std::string, std::string>>& lines, const Console& console) {
    for (const int algorithm : {3, 4}) {
        double noise[2] = {0, 0};
        std::string psnr;
        for (const bool measured : {false, true}) {
            Configured configured(options, true, jobs[0].truth.has_value());
            Converter& converter = configured.converter;
            converter.SetAlgorithm(algorithm);
            converter.Set("dark floor", lines[0].first, lines[0].second);
            for (size_t i = 1; measured && i < lines.size(); ++i) {
                converter.Set("noise line", lines[i].first, lines[i].second);
            }
            ColourFrame results[2];
            converter.Convert(jobs[0].frame, false, &results[0]);
            converter.Convert(jobs[1].frame, false, &results[1]);
            noise[measured ? 1 : 0] = NoiseOfPair(results[0], results[1]);
            if (jobs[0].truth) {
                psnr += Format(", PSNR %.2f dB %s", Judge(jobs[0], false, results[0], &converter).all,
                               measured ? "with them" : "without the lines");
            }
        }
        console.Remark(Format("TrueSenseAlgType %d: the lines take %.2f dB from the noise%s", algorithm,
                              20 * std::log10(noise[0] / noise[1]), psnr.c_str()));
    }
}

int MeasureNoise(const Options& options) {
    const Console console(1, false);
    Job jobs[2];
    for (size_t i = 0; i < 2; ++i) {
        Options simulation = options;
        simulation.noise.seed += i;
        JobReader reader(simulation, options.inputs.empty() ? nullptr : &options.inputs[i], console);
        if (!reader.Next(&jobs[i])) {
            throw std::runtime_error("--measure-noise: two frames are wanted");
        }
    }
    double black = options.black.value_or(0);
    if (!options.black && !jobs[0].truth) {
        black = EstimateBlack(jobs[0].frame);
        console.Remark(
            Format("dark floor %.1f, estimated from the darkest part of the frame; --black where the camera's "
                   "is known",
                   black));
    }
    const SensorNoise noise = orvtool::MeasureNoise(jobs[0].frame, jobs[1].frame, black);
    // At the default analogGain of 1 the first line of the model holds.
    const double scale = std::ldexp(1.0, 12 - options.word.bits);
    const std::vector<std::pair<std::string, std::string>> lines = {
        {"darkFloor", Format("%.0f", black * scale)},
        {"analogGain", "1"},
        {"ISOPanSlope_0", Format("%.6g", noise.pan.slope)},
        {"ISOPanIntercept_0", Format("%.6g", noise.pan.intercept)},
        {"ISOColorSlope_0", Format("%.6g", noise.colour.slope)},
        {"ISOColorIntercept_0", Format("%.6g", noise.colour.intercept)}};
    for (const auto& line : lines) {
        console.Result("--set " + line.first + "=" + line.second);
    }
    ReportCleaning(options, jobs, lines, console);
    if (!options.output.empty()) {
        WritePicture(options.output, PlotNoise(noise));
    }
    return 0;
}

void ListParameters(int family, const char* name) {
    std::printf("%s:\n", name);
    for (int i = 0; i < OrvParam_InfoCount(family); ++i) {
        const OrvParamInfo& info = *OrvParam_InfoAt(family, i);
        std::string readers;
        for (int algorithm = 0; algorithm < 5; ++algorithm) {
            if ((info.algorithms >> algorithm & 1U) != 0) {
                readers += (readers.empty() ? "" : ", ") + std::to_string(algorithm);
            }
        }
        const std::string range = std::string(info.range) + (*info.unit == '\0' ? "" : ", ") + info.unit;
        std::printf("  %s=%s\n%s%s", info.name, info.standardText, Wrap(info.meaning, 0, 6).c_str(),
                    Wrap(range + "; read by algorithm " + (readers.empty() ? "none" : readers), 0, 6).c_str());
    }
}

int Run(const Options& options) {
    if (options.listParameters) {
        if (!options.wordGiven || !options.word.trueSense) {
            ListParameters(OrvFamilyBayer, "Bayer");
        }
        if (!options.wordGiven || options.word.trueSense) {
            ListParameters(OrvFamilyTrueSense, "TrueSense");
        }
        return 0;
    }
    if (options.nothingLeft) {
        std::printf("no input is left for this part\n");
        return 0;
    }
    return options.measureNoise ? MeasureNoise(options) : ConvertAll(options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        int exitCode = 0;
        const std::optional<Options> options = ParseOptions(argc, argv, &exitCode);
        if (options) {
            exitCode = Run(*options);
        }
        if (std::fflush(stdout) != 0) {
            throw std::runtime_error("standard output could not be written");
        }
        return exitCode;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orv-convert: %s\n", error.what());
    }
    return 1;
}
