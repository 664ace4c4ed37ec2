#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "Help.h"
#include "WritePicture.h"

namespace orvtool {

namespace {

[[noreturn]] void Fail(const std::string& text) { throw std::runtime_error(text); }

// Exactly `count` numbers with `separators` between them.
std::vector<double> Numbers(const std::string& option, const std::string& text, const std::string& separators,
                            const std::string& form) {
    std::vector<double> numbers;
    const char* at = text.c_str();
    while (numbers.size() <= separators.size()) {
        char* end = nullptr;
        numbers.push_back(std::strtod(at, &end));
        const bool last = numbers.size() > separators.size();
        if (end == at || !std::isfinite(numbers.back()) ||
            (last ? *end != '\0' : *end != separators[numbers.size() - 1])) {
            Fail(std::string(option).append(": '").append(text).append("' is not ").append(form));
        }
        at = end + 1;
    }
    return numbers;
}

int ToWhole(const std::string& option, const std::string& text, double number, double least) {
    if (number != std::floor(number) || number < least || number > 65500) {
        Fail(option + ": '" + text + "': whole numbers from " + std::to_string(static_cast<int>(least)) +
             " to 65500 are wanted");
    }
    return static_cast<int>(number);
}

cv::Size ParseSize(const std::string& text) {
    const std::vector<double> numbers = Numbers("--size", text, "x", "WIDTHxHEIGHT, for example 1920x1080");
    return {ToWhole("--size", text, numbers[0], 1), ToWhole("--size", text, numbers[1], 1)};
}

SourceWord ParseWord(const std::string& text, int* packing) {
    const uint32_t word = OrvWord_FromName(text.c_str(), packing);
    if (OrvWord_Pattern(word) < 0 && OrvWord_Grid(word) < 0) {
        Fail("--word: '" + text +
             "' is no mosaic; for example BayerRG12 or RGGB12 (cell GRBG, RGGB, GBRG or BGGR; 8, 10, 12, 14 or 16 "
             "bits), TrueSense12g5 (8, 10, 12 or 14 bits; grid code 0 to 15)");
    }
    return SourceWord(word);
}

Balance ParseBalance(const std::string& text) {
    Balance balance;
    if (text == "grey" || text == "none") {
        balance.kind = text == "grey" ? Balance::kGreyWorld : Balance::kNone;
    } else {
        const std::string form =
            "grey, none, gains R,G,B such as 1.9,1,1.6, or a grey box X,Y,WxH such as 100,80,32x32";
        const bool box = std::count(text.begin(), text.end(), 'x') == 1 && text.back() != 'x';
        const std::vector<double> numbers = Numbers("--wb", text, box ? ",,x" : ",,", form);
        balance.kind = box ? Balance::kGreyBox : Balance::kGains;
        if (box) {
            balance.box = ParseBox("--wb", text);
        } else {
            std::copy(numbers.begin(), numbers.end(), balance.gains.begin());
        }
    }
    return balance;
}

// Numbered names: frame{0001..0100}.raw, with the zeros of the first number.
void ExpandRange(const std::string& name, std::vector<std::string>* names) {
    const size_t open = name.find('{');
    const size_t dots = name.find("..", open == std::string::npos ? name.size() : open);
    const size_t close = name.find('}', dots == std::string::npos ? name.size() : dots);
    if (close == std::string::npos) {
        names->push_back(name);
        return;
    }
    const std::string from = name.substr(open + 1, dots - open - 1);
    const std::string to = name.substr(dots + 2, close - dots - 2);
    const auto isNumber = [](const std::string& text) {
        return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
    };
    if (!isNumber(from) || !isNumber(to) || std::stol(from) > std::stol(to) ||
        std::stol(to) - std::stol(from) > 9999999) {
        Fail("'" + name + "': a range is written {first..last}, for example frame{0001..0100}.raw");
    }
    for (long number = std::stol(from); number <= std::stol(to); ++number) {
        std::string digits = std::to_string(number);
        digits.insert(0, from.size() > digits.size() ? from.size() - digits.size() : 0, '0');
        ExpandRange(name.substr(0, open) + digits + name.substr(close + 1), names);
    }
}

// Leaves the part I of N parts of the list.
void TakePart(const std::string& text, std::vector<Input>* inputs) {
    const std::vector<double> numbers = Numbers("--part", text, "/", "PART/PARTS, for example 2/8");
    const int part = ToWhole("--part", text, numbers[0], 1);
    const int parts = ToWhole("--part", text, numbers[1], 1);
    if (part > parts) {
        Fail("--part: '" + text + "': the parts of " + std::to_string(parts) + " are 1 to " + std::to_string(parts));
    }
    const auto at = [&](int i) { return inputs->begin() + static_cast<ptrdiff_t>(inputs->size()) * i / parts; };
    *inputs = std::vector<Input>(at(part - 1), at(part));
}

// What stands in the command line and takes no form of its own there.
struct Texts {
    std::vector<std::string> inputs, rawInputs, settings;
    std::string word, size, packing, frames, part, pan, black, balance, matrix, curve = "srgb";
};

void Declare(CLI::App* app, Options* options, Texts* texts) {
    const auto atLeast = [](double least, bool equal) {
        return CLI::Validator(
            [=](std::string& text) {
                char* end = nullptr;
                const double value = std::strtod(text.c_str(), &end);
                const bool good = *end == '\0' && std::isfinite(value) && (equal ? value >= least : value > least);
                return good ? std::string()
                            : "must be " + std::string(equal ? "at least " : "above ") +
                                  std::to_string(static_cast<int>(least));
            },
            "");
    };
    const auto range = [](int from, int to) { return CLI::Range(from, to).description(""); };
    app->option_defaults()->group("Input");
    app->add_option("inputs", texts->inputs,
                    "Files, '-' for standard input (raw with --size), numbered ranges such as 'frame{0001..0100}.raw'");
    app->add_option("-w,--word", texts->word, "Mosaic and depth, for example BayerRG12; the scene's default")
        ->type_name("WORD");
    app->add_option("--raw", texts->rawInputs, "A headerless file, whatever its name (repeatable)")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app->add_option("--size", texts->size, "Of raw files, or of the scene (1024x768)")->type_name("WxH");
    app->add_option("--packing", texts->packing, "Layout of raw samples: 10p, 12p, 10Packed, 12Packed, RAW10, RAW12")
        ->type_name("NAME");
    app->add_option("--stride", options->layout.stride, "From row to row of raw files; 0: no padding")
        ->type_name("BYTES")
        ->check(range(0, INT32_MAX));
    app->add_option("--offset", options->layout.offset, "Before the first frame of raw files")
        ->type_name("BYTES")
        ->check(atLeast(0, true));
    app->add_flag("--big-endian", options->layout.bigEndian, "16-bit raw samples have the high byte first");
    auto* frame = app->add_option("--frame", options->frame, "The frame of a raw file, from 0 on")
                      ->type_name("N")
                      ->check(atLeast(0, true));
    app->add_option("--frames", texts->frames, "Every frame of raw files")
        ->type_name("all")
        ->check(CLI::IsMember({"all"}).description(""))
        ->excludes(frame);
    app->add_option("--as", options->as, "mosaic or picture; else three different channels make a picture")
        ->type_name("KIND")
        ->check(CLI::IsMember({"mosaic", "picture"}).description(""));
    app->add_option("--part", texts->part, "One of N equal parts of the inputs, for job schedulers")->type_name("I/N");

    app->option_defaults()->group("Conversion");
    app->add_option("-a,--alg", options->algorithm, "BayerAlgType (0 to 2) or TrueSenseAlgType (0 to 4)")
        ->type_name("N");
    app->add_option("-s,--set", texts->settings, "A parameter of the component (repeatable)")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    app->add_option("-t,--threads", options->threads, "Of a conversion; 0: the process's default")
        ->type_name("N")
        ->check(range(0, 32));
    app->add_option("-n,--repeat", options->repeat, "Convert N times and print times")
        ->type_name("N")
        ->check(range(1, 1000000));
    app->add_flag("--list-parameters", options->listParameters, "Print the parameters of --word's family and end");

    app->option_defaults()->group("Output");
    app->add_option("-o,--output", options->output,
                    "PNG, TIFF or PPM by its extension; a folder; '-' for PPM on standard output")
        ->type_name("FILE");
    app->add_option("--format", options->format, "Of pictures in a folder: png, tif or ppm")
        ->type_name("EXT")
        ->check(CLI::IsMember({"png", "tif", "ppm"}).description(""));
    app->add_option("--bits", options->bits,
                    "8 or 16 bits per channel. Deeper TrueSense frames are converted to 8 bits by the library itself")
        ->type_name("N")
        ->check(CLI::IsMember({8, 16}).description(""));
    auto* rawValues =
        app->add_flag("--raw-values", options->rawValues,
                      "The library's values as they are (10 bits stay 10 bits), not scaled to full range");

    app->option_defaults()->group("View");
    auto* view = app->add_flag("--view", options->view, "Make it fit to look at: see below");
    rawValues->excludes(view);
    app->add_option("--black", texts->black, "Black level in codes of the word; auto: estimated from the frame")
        ->type_name("CODE");
    app->add_option(
           "--wb", texts->balance,
           "White balance, before the conversion: grey (the frame's mean is grey; default of real frames), none, gains "
           "R,G,B, or a grey box X,Y,WxH")
        ->type_name("BALANCE")
        ->needs(view);
    app->add_option("--matrix", texts->matrix,
                    "Colour matrix after the balance, row by row: nine numbers with commas; for TrueSense in place of "
                    "RR to BB")
        ->type_name("RR,...,BB")
        ->needs(view);
    app->add_option("--exposure", options->exposure, "Factor on light")
        ->type_name("X")
        ->needs(view)
        ->check(atLeast(0, false));
    app->add_option("--curve", texts->curve, "Of Bayer: srgb, or none for frames that have a curve already")
        ->type_name("CURVE")
        ->check(CLI::IsMember({"srgb", "none"}).description(""));

    app->option_defaults()->group("Comparison");
    auto* sheet = app->add_option("--sheet", options->sheet,
                                  "All algorithms side by side, each with an enlarged crop; both families for the "
                                  "scene and for colour pictures")
                      ->type_name("FILE");
    app->add_option("--crop", options->crop, "Of the sheet")->type_name("X,Y,WxH")->needs(sheet);
    app->add_option("--sheet-width", options->sheetWidth, "Pixels of a column of the sheet (480)")
        ->type_name("N")
        ->needs(sheet)
        ->check(range(64, 2000));

    app->option_defaults()->group("Simulation (scene and colour pictures)");
    app->add_option("--scene", options->scene,
                    "The scene: patterns (default), or leaves, which has the statistics of photographs")
        ->type_name("NAME")
        ->check(CLI::IsMember({"patterns", "leaves"}).description(""));
    app->add_option("--pan", texts->pan, "Weights of panchromatic samples (0.25,0.5,0.25)")->type_name("R,G,B");
    app->add_option("--shrink", options->shrink,
                    "Average blocks of N by N pixels of a picture first: removes traces of its own demosaicing")
        ->type_name("N")
        ->check(range(1, 64));
    app->add_option("--shot-noise", options->noise.shotGain,
                    "Variance per unit of signal: 1 / full well electrons (0.0001: 10000 electrons)")
        ->type_name("X")
        ->check(CLI::Range(0.0, 1.0).description(""));
    app->add_option("--read-noise", options->noise.readNoise, "Standard deviation as a share of full scale")
        ->type_name("X")
        ->check(CLI::Range(0.0, 1.0).description(""));
    app->add_option("--seed", options->noise.seed, "Of the noise (1)")->type_name("N");
    app->add_option("--mosaic", options->mosaic, "Write the mosaic too: PGM, PNG or TIFF")->type_name("FILE");
    app->add_flag("--keep-matrix", options->keepMatrix, "Leave TrueSense's default colour matrix in force");

    app->option_defaults()->group("Noise");
    app->add_flag("--measure-noise", options->measureNoise,
                  "From two frames of one still scene at one exposure (or the noisy scene): the noise lines of a "
                  "TrueSense sensor as --set options for algorithms 3 and 4, on standard output; -o writes a plot. "
                  "--black tells the dark floor, else it is estimated");
}

// Options that would change nothing.
void RefuseIdle(const CLI::App& app, const Options& options) {
    const bool trueSense = options.word.trueSense;
    const bool scene = options.inputs.empty() && !options.nothingLeft;
    const auto all = [&](const auto& test) {
        return !options.inputs.empty() && std::all_of(options.inputs.begin(), options.inputs.end(), test);
    };
    const bool noRaw = !scene && !options.nothingLeft && all([](const Input& input) { return !input.raw; });
    const bool onlyRaw = all([](const Input& input) { return input.raw; });
    const char* const tellsItself = "is for headerless raw files; PGM and PNG files tell theirs themselves";
    const char* const simulates = "is for the scene and for colour pictures";
    const struct {
        const char* option;
        bool idle;
        const char* reason;
    } rules[] = {
        {"--size", noRaw, tellsItself},
        {"--stride", noRaw || scene, tellsItself},
        {"--offset", noRaw || scene, tellsItself},
        {"--packing", noRaw || scene, tellsItself},
        {"--word", options.layout.packing != OrvPackingNone && (noRaw || scene),
         "names a packed layout, which only headerless raw files have"},
        {"--big-endian", noRaw || scene, tellsItself},
        {"--big-endian", options.word.bits == 8 || options.layout.packing != OrvPackingNone,
         "is for samples in two bytes each"},
        {"--frame", noRaw || scene, "is for headerless raw files"},
        {"--frames", noRaw || scene, "is for headerless raw files"},
        {"--as", onlyRaw || scene, "is for PNG, TIFF and other picture files"},
        {"--part", scene, "needs inputs"},
        {"--scene", !scene, "is for frames of the tool's own, without an input"},
        {"--format", options.output.empty() || !std::filesystem::is_directory(options.output),
         "is for pictures in a folder; a single file has it in its name"},
        {"--pan", onlyRaw || !trueSense, "is for simulated TrueSense frames"},
        {"--keep-matrix", onlyRaw || !trueSense, "is for simulated TrueSense frames"},
        {"--shrink", onlyRaw || scene, "is for colour pictures"},
        {"--shot-noise", onlyRaw, simulates},
        {"--read-noise", onlyRaw, simulates},
        {"--mosaic", onlyRaw, simulates},
        {"--seed", options.noise.shotGain == 0 && options.noise.readNoise == 0,
         "does nothing without --shot-noise or --read-noise"},
        {"--curve", trueSense || (!options.view && options.sheet.empty()),
         "is for --view and --sheet of Bayer frames; TrueSense results have their curve from the library"},
        {"--raw-values", options.output.empty(), "is for the picture of -o"},
        {"--black", !options.view && !options.measureNoise, "does nothing without --view or --measure-noise"},
        {"--repeat", options.measureNoise, "is for conversions"},
        {"--alg", options.measureNoise, "does nothing: algorithms 3 and 4 are judged"},
    };
    for (const auto& rule : rules) {
        if (rule.idle && app.count(rule.option) > 0) {
            Fail(std::string(rule.option) + " " + rule.reason);
        }
    }
}

void Interpret(const Texts& texts, Options* options) {
    std::vector<std::string> missing;
    const auto add = [&](const std::vector<std::string>& names, bool raw) {
        std::vector<std::string> expanded;
        for (const std::string& name : names) {
            ExpandRange(name, &expanded);
        }
        for (const std::string& name : expanded) {
            options->inputs.push_back({name, raw || (name == "-" && !texts.size.empty()) ||
                                                 HasExtension(name, ".raw") || HasExtension(name, ".bin")});
        }
    };
    add(texts.rawInputs, true);
    add(texts.inputs, false);
    const auto raw =
        std::find_if(options->inputs.begin(), options->inputs.end(), [](const Input& input) { return input.raw; });
    std::string needed = texts.word.empty() && !options->inputs.empty() ? "--word (for example BayerRG12)" : "";
    if (texts.size.empty() && raw != options->inputs.end()) {
        needed += std::string(needed.empty() ? "" : " and ") + "--size (for example 1920x1080)";
    }
    if (!needed.empty() && !options->listParameters) {
        Fail(needed + " must tell what " + (raw == options->inputs.end() ? options->inputs.front() : *raw).path +
             " is");
    }
    if (std::count_if(options->inputs.begin(), options->inputs.end(),
                      [](const Input& input) { return input.path == "-"; }) > 1) {
        Fail("-: standard input can be read once only");
    }
    if (!texts.word.empty()) {
        options->word = ParseWord(texts.word, &options->layout.packing);
        options->wordGiven = true;
    }
    if (!texts.packing.empty()) {
        const int packing = OrvPacking_FromName(texts.packing.c_str());
        if (packing <= OrvPackingNone || OrvPacking_Bits(packing) != options->word.bits) {
            Fail("--packing: '" + texts.packing + "' is none for " + options->word.name +
                 "; there are 10p, 10Packed and RAW10 for 10 bits, 12p, 12Packed and RAW12 for 12 bits");
        }
        options->layout.packing = packing;
    }
    options->size = ParseSize(texts.size.empty() ? "1024x768" : texts.size);
    options->layout.width = options->size.width;
    options->layout.height = options->size.height;
    options->allFrames = !texts.frames.empty();
    for (const std::string& setting : texts.settings) {
        const size_t equals = setting.find('=');
        if (equals == std::string::npos || equals == 0) {
            Fail("--set: '" + setting + "' is not of the form name=value");
        }
        options->settings.emplace_back(setting.substr(0, equals), setting.substr(equals + 1));
    }
    if (!texts.pan.empty()) {
        const std::vector<double> pan = Numbers("--pan", texts.pan, ",,", "R,G,B, for example 0.3,0.5,0.2");
        options->pan = {static_cast<float>(pan[0]), static_cast<float>(pan[1]), static_cast<float>(pan[2])};
    }
    options->estimateBlack = texts.black == "auto";
    if (!texts.black.empty() && !options->estimateBlack) {
        options->black = Numbers("--black", texts.black, "", "a code of the word such as 64, or auto")[0];
        if (*options->black < 0 || *options->black >= options->word.MaxSample()) {
            Fail("--black: '" + texts.black + "': codes of " + options->word.name + " are 0 to " +
                 std::to_string(options->word.MaxSample()));
        }
    }
    if (!texts.balance.empty()) {
        options->balance = ParseBalance(texts.balance);
    }
    if (!texts.matrix.empty()) {
        const std::vector<double> numbers =
            Numbers("--matrix", texts.matrix, ",,,,,,,,", "nine numbers with commas, for example 1,0,0,0,1,0,0,0,1");
        options->matrix.emplace();
        std::copy(numbers.begin(), numbers.end(), options->matrix->begin());
    }
    options->srgb = texts.curve == "srgb";
    if (!options->crop.empty()) {
        ParseBox("--crop", options->crop);
    }
    options->several = options->inputs.size() > 1;
    if (!texts.part.empty()) {
        TakePart(texts.part, &options->inputs);
        options->nothingLeft = options->inputs.empty();
    }
}

// Parameters that a component would refuse, and names that cannot be written.
void CheckAhead(const Options& options) {
    Converter converter(options.word.trueSense);
    converter.SetAlgorithm(options.algorithm);
    for (const auto& setting : options.settings) {
        converter.Set("--set", setting.first, setting.second);
    }
    if (options.measureNoise && (!options.word.trueSense || (options.inputs.size() != 2 && !options.inputs.empty()))) {
        Fail(
            "--measure-noise: the noise lines are parameters of TrueSense algorithms; a TrueSense --word and two "
            "frames (or none, for the scene) are wanted");
    }
    if (!options.sheet.empty()) {
        if (options.several) {
            Fail("--sheet: only one input at a time");
        }
        CheckWritable("--sheet", options.sheet);
    }
    if (!options.mosaic.empty()) {
        if (options.several) {
            Fail("--mosaic: only one input at a time");
        }
        CheckWritable("--mosaic", options.mosaic, false);
    }
    if (options.output.empty()) {
        return;
    }
    if (std::filesystem::is_directory(options.output)) {
        std::set<std::string> stems;
        for (const Input& input : options.inputs) {
            if (!stems.insert(std::filesystem::path(input.path).stem().string()).second) {
                Fail("-o: two inputs would be written to " + std::filesystem::path(input.path).stem().string());
            }
        }
        CheckWritable("-o", (std::filesystem::path(options.output) / "x.png").string());
    } else if (options.several && options.output != "-" && !options.measureNoise) {
        Fail("-o: '" + options.output + "' must be a folder, or -, when there are several inputs");
    } else {
        CheckWritable("-o", options.output);
    }
}

}  // namespace

cv::Rect ParseBox(const std::string& option, const std::string& text) {
    const std::vector<double> numbers = Numbers(option, text, ",,x", "a box X,Y,WxH, for example 100,80,32x32");
    return cv::Rect(ToWhole(option, text, numbers[0], 0), ToWhole(option, text, numbers[1], 0),
                    ToWhole(option, text, numbers[2], 1), ToWhole(option, text, numbers[3], 1));
}

cv::Rect Inside(const std::string& option, cv::Rect box, const Frame& frame) {
    box &= cv::Rect(0, 0, frame.width, frame.height);
    if (box.empty()) {
        Fail(option + ": the box lies outside the frame of " + std::to_string(frame.width) + "x" +
             std::to_string(frame.height));
    }
    return box;
}

std::optional<Options> ParseOptions(int argc, char** argv, int* exitCode) {
    Options options;
    Texts texts;
    CLI::App app(kDescription, "orv-convert");
    app.footer(kFooter);
    app.formatter(MakeHelpFormatter());
    app.set_help_flag("-h,--help", "Print this help and end")->group("General");
    app.set_version_flag("--version", std::string("orv-convert ") + OrvHelpers_VersionText(),
                         "Print the version and end")
        ->group("General");
    Declare(&app, &options, &texts);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        *exitCode = app.exit(error) == 0 ? 0 : 1;
        return std::nullopt;
    }
    Interpret(texts, &options);
    if (!options.listParameters) {
        RefuseIdle(app, options);
        CheckAhead(options);
    }
    return options;
}

}  // namespace orvtool
