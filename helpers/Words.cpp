#include "Words.h"

#include <strings.h>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace orv::helpers {
namespace {

struct NamedWord {
    uint32_t word;
    const char* name;
};

#define ORV_BAYER(bits)                                                                 \
    {OrvPixelBayerGR##bits, "BayerGR" #bits}, {OrvPixelBayerRG##bits, "BayerRG" #bits}, \
        {OrvPixelBayerGB##bits, "BayerGB" #bits}, {                                     \
        OrvPixelBayerBG##bits, "BayerBG" #bits                                          \
    }
#define ORV_GRID(bits, grid) \
    { OrvPixelTrueSense(OrvPixelTrueSense##bits, grid), "TrueSense" #bits "g" #grid }
#define ORV_TRUESENSE(bits)                                                                                           \
    ORV_GRID(bits, 0), ORV_GRID(bits, 1), ORV_GRID(bits, 2), ORV_GRID(bits, 3), ORV_GRID(bits, 4), ORV_GRID(bits, 5), \
        ORV_GRID(bits, 6), ORV_GRID(bits, 7), ORV_GRID(bits, 8), ORV_GRID(bits, 9), ORV_GRID(bits, 10),               \
        ORV_GRID(bits, 11), ORV_GRID(bits, 12), ORV_GRID(bits, 13), ORV_GRID(bits, 14), ORV_GRID(bits, 15)
#define ORV_COLOUR(name) \
    { OrvPixel##name, #name }

constexpr NamedWord kWords[] = {
    ORV_BAYER(8),      ORV_BAYER(10),     ORV_BAYER(12),     ORV_BAYER(14),     ORV_BAYER(16),     ORV_TRUESENSE(8),
    ORV_TRUESENSE(10), ORV_TRUESENSE(12), ORV_TRUESENSE(14), ORV_COLOUR(RGB8),  ORV_COLOUR(BGR8),  ORV_COLOUR(RGBA8),
    ORV_COLOUR(BGRA8), ORV_COLOUR(RGB10), ORV_COLOUR(BGR10), ORV_COLOUR(RGB12), ORV_COLOUR(BGR12), ORV_COLOUR(RGB14),
    ORV_COLOUR(BGR14), ORV_COLOUR(RGB16), ORV_COLOUR(BGR16),
};
constexpr int kWordCount = sizeof(kWords) / sizeof(kWords[0]);
static_assert(kWordCount == 96, "20 Bayer, 64 TrueSense and 12 colour words");

#undef ORV_BAYER
#undef ORV_GRID
#undef ORV_TRUESENSE
#undef ORV_COLOUR

const NamedWord* Find(uint32_t word) {
    for (const NamedWord& each : kWords) {
        if (each.word == word) {
            return &each;
        }
    }
    return nullptr;
}

// First words by depth: 8, 10, 12, 14 and 16 bits.
constexpr uint32_t kFirstBayer[] = {OrvPixelBayerGR8, OrvPixelBayerGR10, OrvPixelBayerGR12, OrvPixelBayerGR14,
                                    OrvPixelBayerGR16};
constexpr OrvPixelType kFirstTrueSense[] = {OrvPixelTrueSense8, OrvPixelTrueSense10, OrvPixelTrueSense12,
                                            OrvPixelTrueSense14};

// 0 for 8 bits to 4 for 16; -1 for other depths.
int DepthIndex(int bits) { return bits >= 8 && bits <= 16 && bits % 2 == 0 ? (bits - 8) / 2 : -1; }

// Bayer words of a depth stand in the order GR, RG, GB, BG, whose phases are 1, 0, 2, 3.
int OrderOfPhase(int phase) { return phase < 2 ? phase ^ 1 : phase; }

// 0 for other depths.
uint32_t BayerWord(int phase, int bits) {
    const int depth = DepthIndex(bits);
    return depth < 0 ? 0 : kFirstBayer[depth] + static_cast<uint32_t>(OrderOfPhase(phase));
}

// Grid codes of the mosaics that cameras have names for.
struct NamedGrid {
    const char* name;
    int grid;
};
constexpr NamedGrid kNamedGrids[] = {{"scf1wbwg", 0}, {"scf1wgwb", 2}, {"scf1wgwr", 8}, {"scf1wrwg", 10}};

// Reads a name piece by piece; case does not matter.
class Reader {
public:
    explicit Reader(const char* text) : at_(text) {}

    bool Skip(const char* piece) {
        const size_t length = std::strlen(piece);
        if (strncasecmp(at_, piece, length) != 0) {
            return false;
        }
        at_ += length;
        return true;
    }
    // One or two digits; -1 where there are none.
    int Number() {
        int number = -1;
        for (int digits = 0; digits < 2 && *at_ >= '0' && *at_ <= '9'; ++digits, ++at_) {
            number = (number < 0 ? 0 : number) * 10 + (*at_ - '0');
        }
        return number;
    }
    bool AtEnd() const { return *at_ == '\0'; }

private:
    const char* at_;
};

struct Format {
    uint32_t word = 0;
    int packing = OrvPackingNone;
};

// The end of a name: nothing, "p" or "packed". `p` is the packing that p means at 10 bits; the one at 12 bits follows
// it.
bool ReadPacking(Reader& reader, int bits, int p, int* packing) {
    *packing = OrvPackingNone;
    if (reader.AtEnd()) {
        return true;
    }
    if (bits != 10 && bits != 12) {
        return false;
    }
    if (reader.Skip("packed")) {
        *packing = bits == 10 ? OrvPacking10Packed : OrvPacking12Packed;
    } else if (reader.Skip("p")) {
        *packing = p + (bits == 12 ? 1 : 0);
    }
    return reader.AtEnd();
}

Format ReadBayer(Reader reader) {
    static const struct {
        const char* letters;
        const char* cell;
        int pattern;
    } kPatterns[] = {{"gr", "grbg", OrvPatternGR},
                     {"rg", "rggb", OrvPatternRG},
                     {"bg", "bggr", OrvPatternBG},
                     {"gb", "gbrg", OrvPatternGB}};
    const bool byLetters = reader.Skip("bayer");
    const bool v4l2 = !byLetters && reader.Skip("s");
    for (const auto& each : kPatterns) {
        if (!reader.Skip(byLetters ? each.letters : each.cell)) {
            continue;
        }
        const bool ends = reader.AtEnd();
        const int bits = ends && !byLetters && !v4l2 ? 8 : reader.Number();
        if (bits > 8 && !byLetters && !v4l2 && reader.Skip("le") && !reader.AtEnd()) {
            return {};
        }
        Format format;
        format.word = OrvWord_Bayer(each.pattern, bits);
        return ReadPacking(reader, bits, v4l2 ? OrvPackingRaw10 : OrvPacking10p, &format.packing) ? format : Format{};
    }
    return {};
}

Format ReadTrueSense(Reader reader) {
    int grid = -1;
    for (const NamedGrid& each : kNamedGrids) {
        if (reader.Skip(each.name)) {
            grid = each.grid;
            break;
        }
    }
    const bool byNumber = grid < 0;
    if (byNumber && !reader.Skip("truesense")) {
        return {};
    }
    const int bits = reader.Number();
    if (byNumber && reader.Skip("g")) {
        grid = reader.Number();
    }
    Format format;
    format.word = OrvWord_TrueSense(grid, bits);
    return ReadPacking(reader, bits, OrvPacking10p, &format.packing) ? format : Format{};
}

Format ReadColour(Reader reader) {
    for (const char* name : {"rgba", "bgra", "rgb", "bgr"}) {
        if (reader.Skip(name)) {
            const int bits = reader.AtEnd() ? 8 : reader.Number();
            const uint32_t word = OrvWord_Colour(name[0] == 'b', static_cast<int>(std::strlen(name)), bits);
            return reader.AtEnd() ? Format{word, OrvPackingNone} : Format{};
        }
    }
    return {};
}

Format ReadNumber(const char* text) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(text, &end, 16);
    if (*end != '\0' || number > 0xFFFFFFFFUL) {
        return {};
    }
    Format format;
    format.word = static_cast<uint32_t>(number);
    if (Find(format.word) == nullptr) {
        format.word = OrvPfnc_ToWord(static_cast<uint32_t>(number), &format.packing);
    }
    return format;
}

Format ReadName(const char* name) {
    if (strncasecmp(name, "0x", 2) == 0) {
        return ReadNumber(name);
    }
    for (Format (*read)(Reader) : {ReadBayer, ReadTrueSense, ReadColour}) {
        const Format format = read(Reader(name));
        if (format.word != 0) {
            return format;
        }
    }
    return {};
}

}  // namespace

Mosaic MosaicOf(uint32_t word) {
    if (Find(word) == nullptr) {
        return Mosaic::None;
    }
    switch (word >> 24) {
    case 3: return Mosaic::Bayer;
    case 4: return Mosaic::TrueSense;
    default: return Mosaic::None;
    }
}

int BayerPhase(uint32_t word) {
    // The four words of a depth begin at a multiple of 4, plus 1.
    return OrderOfPhase(static_cast<int>((word - 1U) & 3U));  // its own inverse
}

}  // namespace orv::helpers

using namespace orv::helpers;

int OrvHelpers_Version(void) { return ORV_VERSION; }

const char* OrvHelpers_VersionText(void) { return ORV_VERSION_TEXT; }

const char* OrvHelpers_StatusText(uint32_t status) { return OrvStatusText(status); }

int OrvWord_Count(void) { return kWordCount; }

uint32_t OrvWord_At(int index) { return index >= 0 && index < kWordCount ? kWords[index].word : 0; }

uint32_t OrvWord_FromName(const char* name, int* packing) {
    const Format format = name == nullptr ? Format{} : ReadName(name);
    if (format.word == 0 || (packing == nullptr && format.packing != OrvPackingNone)) {
        return 0;
    }
    if (packing != nullptr) {
        *packing = format.packing;
    }
    return format.word;
}

const char* OrvWord_Name(uint32_t word) {
    const NamedWord* found = Find(word);
    return found == nullptr ? nullptr : found->name;
}

int OrvWord_Bits(uint32_t word) {
    return Find(word) == nullptr ? 0 : 6 + 2 * static_cast<int>((word >> 8) & 0xFFU);  // depth code 1 is 8 bits
}

int OrvWord_Channels(uint32_t word) {
    return Find(word) == nullptr ? 0 : static_cast<int>((word >> 16) & 0xFFU) / (8 * BytesPerSample(word));
}

int64_t OrvWord_RowBytes(uint32_t word, int packing, int64_t width) {
    if (Find(word) == nullptr || width < 0 || width > kMaxCount) {
        return -1;
    }
    if (packing == OrvPackingNone) {
        return width * OrvWord_Channels(word) * BytesPerSample(word);
    }
    return MosaicOf(word) != Mosaic::None && OrvPacking_Bits(packing) == OrvWord_Bits(word)
               ? OrvPacking_RowBytes(packing, width)
               : -1;
}

int OrvWord_Pattern(uint32_t word) {
    static const int kPatternOfPhase[] = {OrvPatternRG, OrvPatternGR, OrvPatternGB, OrvPatternBG};
    return MosaicOf(word) == Mosaic::Bayer ? kPatternOfPhase[BayerPhase(word)] : -1;
}

int OrvWord_Grid(uint32_t word) {
    if (MosaicOf(word) != Mosaic::TrueSense) {
        return -1;
    }
    // Bits 1 and 2 of the place in the run of 16 words, which begins at 1, change places.
    const uint32_t place = (word - 1U) & 15U;
    return static_cast<int>((place & 9U) | ((place & 2U) << 1) | ((place & 4U) >> 1));
}

uint32_t OrvWord_Bayer(int pattern, int bits) {
    static const int kPhaseOfPattern[] = {1, 0, 3, 2};
    return pattern < 0 || pattern > 3 ? 0 : BayerWord(kPhaseOfPattern[pattern], bits);
}

uint32_t OrvWord_TrueSense(int grid, int bits) {
    const int depth = DepthIndex(bits);
    return grid < 0 || grid > 15 || depth < 0 || depth > 3
               ? 0
               : OrvPixelTrueSense(kFirstTrueSense[depth], static_cast<unsigned>(grid));
}

uint32_t OrvWord_Colour(bool blueFirst, int channels, int bits) {
    const int depth = DepthIndex(bits);
    if (depth < 0) {
        return 0;
    }
    // Red and blue first stand in turn.
    static const uint32_t kThree[] = {OrvPixelRGB8, OrvPixelRGB10, OrvPixelRGB12, OrvPixelRGB14, OrvPixelRGB16};
    if (channels == 3) {
        return kThree[depth] + (blueFirst ? 1 : 0);
    }
    return channels == 4 && bits == 8 ? OrvPixelRGBA8 + (blueFirst ? 1 : 0) : 0;
}

char OrvWord_Site(uint32_t word, int64_t x, int64_t y) {
    switch (MosaicOf(word)) {
    case Mosaic::Bayer: {
        const int phase = BayerPhase(word);
        return "RGGB"[((x ^ phase) & 1) | (((y ^ (phase >> 1)) & 1) << 1)];
    }
    case Mosaic::TrueSense: {
        static const char kCell[4][5] = {"PBPG", "BPGP", "PGPR", "GPRP"};
        const int grid = OrvWord_Grid(word);
        return kCell[((y & 3) + (grid >> 2)) & 3][((x & 3) + (grid & 3)) & 3];
    }
    default: return 0;
    }
}

uint32_t OrvWord_AfterCrop(uint32_t word, int64_t x, int64_t y) {
    if (x < 0 || y < 0) {
        return 0;
    }
    const int bits = OrvWord_Bits(word);
    switch (MosaicOf(word)) {
    case Mosaic::Bayer: return BayerWord(BayerPhase(word) ^ static_cast<int>((x & 1) | ((y & 1) << 1)), bits);
    case Mosaic::TrueSense: {
        const int grid = OrvWord_Grid(word);
        const int column = (grid + static_cast<int>(x & 3)) & 3;
        const int row = ((grid >> 2) + static_cast<int>(y & 3)) & 3;
        return OrvWord_TrueSense(row << 2 | column, bits);
    }
    default: return 0;
    }
}

uint32_t OrvWord_AfterMirror(uint32_t word, bool horizontal, bool vertical, int64_t width, int64_t height) {
    if (width < 1 || height < 1 || (MosaicOf(word) == Mosaic::TrueSense && horizontal != vertical)) {
        return 0;
    }
    // What stood last in its axis stands first. The Bayer cell is its own mirror image about any site; the TrueSense
    // cell, turned by half about any pan site, is itself two columns and two rows further on.
    int64_t x = horizontal ? width - 1 : 0;
    int64_t y = vertical ? height - 1 : 0;
    if (MosaicOf(word) == Mosaic::TrueSense && horizontal) {
        const int grid = OrvWord_Grid(word);
        const int64_t column = (2 - (grid & 3) - (width & 3)) & 3;
        const int64_t row = (2 - (grid >> 2) - (height & 3)) & 3;
        return OrvWord_TrueSense(static_cast<int>(row << 2 | column), OrvWord_Bits(word));
    }
    return OrvWord_AfterCrop(word, x, y);
}
