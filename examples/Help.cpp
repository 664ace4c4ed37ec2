#include "Help.h"

#include <sstream>

namespace orvtool {

const char kDescription[] =
    R"(Converts Bayer and TrueSense mosaic frames to colour pictures.

  orv-convert -w BayerRG12 --size 1920x1080 --view -o out.png frame.raw
  orv-convert -w RGGB8 --view -o pictures/ 'frame{0001..0100}.pgm'
  camera | orv-convert -w BayerGB12p --size 640x480 --frames all -o - - | player
  orv-convert -w TrueSense12g5 -a 4 --sheet sheet.png

Inputs are headerless raw files (.raw, .bin or --raw), PGM, PNG or TIFF mosaics, or colour pictures. Without an input the tool renders a scene of its own.)";

const char kFooter[] =
    R"(Why is my picture dark and green?
A sensor's samples are proportional to light, and green sites see most of it. Screens expect the sRGB curve and equal channels on grey. Bayer results are linear as the samples are, so written as they are they look dark and green: --view subtracts --black, balances white (--wb), applies --matrix and the sRGB curve. TrueSense results have a tone curve already; with --view black level, balance and matrix act before that curve. For real frames --view takes the frame's mean for grey; name a grey part of it by --wb X,Y,WxH if that is wrong. A grey veil that stays is the black level: try --black auto.

Names of --word
Bayer: BayerRG12, RGGB12, rggb12le, SRGGB12 name the top-left cell (RG: R G / G B; GR, GB, BG alike) and the depth, 8, 10, 12, 14 or 16; BayerRG12p, RGGB12Packed, SRGGB12P a packed layout too. TrueSense: TrueSense12g5 names depth (8, 10, 12, 14) and grid code (0 to 15: column + 4 * row of the frame's first pixel in the cell); SCF1WBWG12, SCF1WGWB12, SCF1WGWR12 and SCF1WRWG12 are grid codes 0, 2, 8 and 10. Numbers (0x03100316, or PFNC's 0x01100011) are taken too.

Simulation
The scene, or a colour picture, is seen as by a sensor: the sRGB curve is undone, blocks are averaged (--shrink), one filter per pixel is picked (pan is --pan of R, G and B: no infrared, no crosstalk), noise is added, and samples are rounded to the word's depth. The truth is known then, and the PSNR is printed. Bayer results are compared with the linear truth. For TrueSense the truth goes through the colour matrix and the engine's tone curve first, which is measured with a staircase of flat grey blocks. Simulated frames have sRGB primaries, so the colour matrix starts as the identity for them. Noise and clipping count as errors.)";

namespace {

constexpr size_t kColumns = 80;
constexpr size_t kOptionColumn = 26;

class HelpFormatter : public CLI::Formatter {
public:
    std::string make_description(const CLI::App* app) const override { return Wrap(app->get_description(), 0, 0); }
    std::string make_footer(const CLI::App* app) const override { return "\n" + Wrap(app->get_footer(), 0, 0); }
    std::string make_usage(const CLI::App*, std::string) const override {
        return "\nUsage: orv-convert [options] [inputs]\n";
    }
    std::string make_group(std::string group, bool positional, std::vector<const CLI::Option*> all) const override {
        const std::string text = CLI::Formatter::make_group(group, positional, all);
        return positional ? text + "\n" : text.substr(1);
    }
    std::string make_option(const CLI::Option* option, bool positional) const override {
        std::string out = "  " + (positional ? option->get_name(true) : option->get_name(false, true));
        if (option->get_type_size() != 0 && !positional) {
            out += " " + option->get_type_name();
        }
        size_t column = out.size();
        if (column + 2 > kOptionColumn) {
            out += "\n" + std::string(kOptionColumn, ' ');
        } else {
            out += std::string(kOptionColumn - column, ' ');
        }
        return out + Wrap(option->get_description(), kOptionColumn, kOptionColumn);
    }
};

}  // namespace

std::string Wrap(const std::string& text, size_t column, size_t indent) {
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line); column = 0) {
        if (line.empty() || line[0] == ' ') {
            out += line + "\n";
            continue;
        }
        if (column == 0) {
            out += std::string(indent, ' ');
            column = indent;
        }
        std::istringstream words(line);
        bool first = true;
        for (std::string word; words >> word; first = false) {
            if (!first && column + 1 + word.size() > kColumns) {
                out += "\n" + std::string(indent, ' ');
                column = indent;
            } else if (!first) {
                out += " ";
                ++column;
            }
            out += word;
            column += word.size();
        }
        out += "\n";
    }
    return out;
}

std::shared_ptr<CLI::Formatter> MakeHelpFormatter() { return std::make_shared<HelpFormatter>(); }

}  // namespace orvtool
