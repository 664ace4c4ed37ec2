// Pixel words under the numbers and names of cameras, V4L2, OpenCV and GStreamer.
#include <cstring>

#include "Words.h"

using namespace orv::helpers;

namespace {

// A format of elsewhere: its number and, where it has one, its name.
struct Format {
    uint32_t number;
    const char* name;
    uint32_t word;
    int packing;
};

// The four patterns of one depth, `step` apart from the number of GR on, in the order of the naming convention.
#define ORV_PLAIN(bits, gr, packing, suffix)                                  \
    {gr, "BayerGR" #bits suffix, OrvPixelBayerGR##bits, packing},             \
        {(gr) + 1, "BayerRG" #bits suffix, OrvPixelBayerRG##bits, packing},   \
        {(gr) + 2, "BayerGB" #bits suffix, OrvPixelBayerGB##bits, packing}, { \
        (gr) + 3, "BayerBG" #bits suffix, OrvPixelBayerBG##bits, packing      \
    }
#define ORV_STRING(bits, bg)                                                           \
    {bg, "BayerBG" #bits "p", OrvPixelBayerBG##bits, OrvPacking##bits##p},             \
        {(bg) + 2, "BayerGB" #bits "p", OrvPixelBayerGB##bits, OrvPacking##bits##p},   \
        {(bg) + 4, "BayerGR" #bits "p", OrvPixelBayerGR##bits, OrvPacking##bits##p}, { \
        (bg) + 6, "BayerRG" #bits "p", OrvPixelBayerRG##bits, OrvPacking##bits##p      \
    }
#define ORV_SPARSE(name, grid, nth)                                                                          \
    {0x01080067 + 7 * (nth), name "8", OrvPixelTrueSense(OrvPixelTrueSense8, grid), OrvPackingNone},         \
        {0x01100068 + 7 * (nth), name "10", OrvPixelTrueSense(OrvPixelTrueSense10, grid), OrvPackingNone},   \
        {0x010A0069 + 7 * (nth), name "10p", OrvPixelTrueSense(OrvPixelTrueSense10, grid), OrvPacking10p},   \
        {0x0110006A + 7 * (nth), name "12", OrvPixelTrueSense(OrvPixelTrueSense12, grid), OrvPackingNone},   \
        {0x010C006B + 7 * (nth), name "12p", OrvPixelTrueSense(OrvPixelTrueSense12, grid), OrvPacking12p}, { \
        0x0110006C + 7 * (nth), name "14", OrvPixelTrueSense(OrvPixelTrueSense14, grid), OrvPackingNone      \
    }

constexpr Format kPfnc[] = {
    ORV_PLAIN(8, 0x01080008, OrvPackingNone, ""),
    ORV_PLAIN(10, 0x0110000C, OrvPackingNone, ""),
    ORV_PLAIN(12, 0x01100010, OrvPackingNone, ""),
    ORV_PLAIN(14, 0x01100109, OrvPackingNone, ""),
    ORV_PLAIN(16, 0x0110002E, OrvPackingNone, ""),
    ORV_PLAIN(10, 0x010C0026, OrvPacking10Packed, "Packed"),
    ORV_PLAIN(12, 0x010C002A, OrvPacking12Packed, "Packed"),
    ORV_STRING(10, 0x010A0052),
    ORV_STRING(12, 0x010C0053),
    ORV_SPARSE("SCF1WBWG", 0, 0),
    ORV_SPARSE("SCF1WGWB", 2, 1),
    ORV_SPARSE("SCF1WGWR", 8, 2),
    ORV_SPARSE("SCF1WRWG", 10, 3),
    {0x02180014, "RGB8", OrvPixelRGB8, OrvPackingNone},
    {0x02180015, "BGR8", OrvPixelBGR8, OrvPackingNone},
    {0x02200016, "RGBa8", OrvPixelRGBA8, OrvPackingNone},
    {0x02200017, "BGRa8", OrvPixelBGRA8, OrvPackingNone},
    {0x02300018, "RGB10", OrvPixelRGB10, OrvPackingNone},
    {0x02300019, "BGR10", OrvPixelBGR10, OrvPackingNone},
    {0x0230001A, "RGB12", OrvPixelRGB12, OrvPackingNone},
    {0x0230001B, "BGR12", OrvPixelBGR12, OrvPackingNone},
    {0x0230005E, "RGB14", OrvPixelRGB14, OrvPackingNone},
    {0x0230004A, "BGR14", OrvPixelBGR14, OrvPackingNone},
    {0x02300033, "RGB16", OrvPixelRGB16, OrvPackingNone},
    {0x0230004B, "BGR16", OrvPixelBGR16, OrvPackingNone},
};

#undef ORV_PLAIN
#undef ORV_STRING
#undef ORV_SPARSE

constexpr uint32_t FourCc(const char (&code)[5]) {
    return static_cast<uint32_t>(code[0]) | static_cast<uint32_t>(code[1]) << 8 | static_cast<uint32_t>(code[2]) << 16 |
           static_cast<uint32_t>(code[3]) << 24;
}
#define ORV_FOURCC(bits, gr, rg, gb, bg, packing)                                                                 \
    {FourCc(gr), nullptr, OrvPixelBayerGR##bits, packing}, {FourCc(rg), nullptr, OrvPixelBayerRG##bits, packing}, \
        {FourCc(gb), nullptr, OrvPixelBayerGB##bits, packing}, {                                                  \
        FourCc(bg), nullptr, OrvPixelBayerBG##bits, packing                                                       \
    }

constexpr Format kV4l2[] = {
    ORV_FOURCC(8, "GRBG", "RGGB", "GBRG", "BA81", OrvPackingNone),
    ORV_FOURCC(10, "BA10", "RG10", "GB10", "BG10", OrvPackingNone),
    ORV_FOURCC(12, "BA12", "RG12", "GB12", "BG12", OrvPackingNone),
    ORV_FOURCC(14, "GR14", "RG14", "GB14", "BG14", OrvPackingNone),
    ORV_FOURCC(16, "GR16", "RG16", "GB16", "BYR2", OrvPackingNone),
    ORV_FOURCC(10, "pgAA", "pRAA", "pGAA", "pBAA", OrvPackingRaw10),
    ORV_FOURCC(12, "pgCC", "pRCC", "pGCC", "pBCC", OrvPackingRaw12),
    {FourCc("RGB3"), nullptr, OrvPixelRGB8, OrvPackingNone},
    {FourCc("BGR3"), nullptr, OrvPixelBGR8, OrvPackingNone},
    {FourCc("AB24"), nullptr, OrvPixelRGBA8, OrvPackingNone},
    {FourCc("AR24"), nullptr, OrvPixelBGRA8, OrvPackingNone},
};

#undef ORV_FOURCC

template <size_t N>
uint32_t NumberOf(const Format (&formats)[N], uint32_t word, int packing) {
    for (const Format& each : formats) {
        if (each.word == word && each.packing == packing) {
            return each.number;
        }
    }
    return 0;
}

template <size_t N>
uint32_t WordOf(const Format (&formats)[N], uint32_t number, int* packing) {
    for (const Format& each : formats) {
        if (each.number == number && (packing != nullptr || each.packing == OrvPackingNone)) {
            if (packing != nullptr) {
                *packing = each.packing;
            }
            return each.word;
        }
    }
    return 0;
}

// OpenCV's plain codes to blue first, from COLOR_BayerBG2BGR on; by BayerPhase: RG, GR, GB, BG. Red first is the code
// with blue and red exchanged, two further on in the ring of four; the edge-aware ones follow 89 later.
constexpr int kOpenCvFirst = 46;
constexpr int kOpenCvEdgeAware = 89;
constexpr int kOpenCvOfPhase[] = {0, 1, 3, 2};

#define ORV_BAYER_FORMATS(caps)                                                              \
    {caps "rggb", caps "rggb10le", caps "rggb12le", caps "rggb14le", caps "rggb16le"},       \
        {caps "grbg", caps "grbg10le", caps "grbg12le", caps "grbg14le", caps "grbg16le"},   \
        {caps "gbrg", caps "gbrg10le", caps "gbrg12le", caps "gbrg14le", caps "gbrg16le"}, { \
        caps "bggr", caps "bggr10le", caps "bggr12le", caps "bggr14le", caps "bggr16le"      \
    }

}  // namespace

uint32_t OrvPfnc_FromWord(uint32_t word, int packing) { return NumberOf(kPfnc, word, packing); }

uint32_t OrvPfnc_ToWord(uint32_t pfnc, int* packing) { return WordOf(kPfnc, pfnc, packing); }

const char* OrvPfnc_Name(uint32_t pfnc) {
    for (const Format& each : kPfnc) {
        if (each.number == pfnc) {
            return each.name;
        }
    }
    return nullptr;
}

uint32_t OrvPfnc_FromName(const char* name) {
    for (const Format& each : kPfnc) {
        if (name != nullptr && std::strcmp(each.name, name) == 0) {
            return each.number;
        }
    }
    return 0;
}

uint32_t OrvV4l2_FromWord(uint32_t word, int packing) { return NumberOf(kV4l2, word, packing); }

uint32_t OrvV4l2_ToWord(uint32_t fourcc, int* packing) { return WordOf(kV4l2, fourcc, packing); }

int OrvOpenCv_FromWord(uint32_t word, bool blueFirst, bool edgeAware) {
    if (MosaicOf(word) != Mosaic::Bayer) {
        return -1;
    }
    const int place = (kOpenCvOfPhase[BayerPhase(word)] + (blueFirst ? 0 : 2)) & 3;
    return kOpenCvFirst + place + (edgeAware ? kOpenCvEdgeAware : 0);
}

const char* OrvOpenCv_Name(uint32_t word, bool blueFirst, bool edgeAware) {
    static const char* const kNames[4][4] = {
        {"COLOR_BayerBG2BGR", "COLOR_BayerBG2RGB", "COLOR_BayerBG2BGR_EA", "COLOR_BayerBG2RGB_EA"},
        {"COLOR_BayerGB2BGR", "COLOR_BayerGB2RGB", "COLOR_BayerGB2BGR_EA", "COLOR_BayerGB2RGB_EA"},
        {"COLOR_BayerGR2BGR", "COLOR_BayerGR2RGB", "COLOR_BayerGR2BGR_EA", "COLOR_BayerGR2RGB_EA"},
        {"COLOR_BayerRG2BGR", "COLOR_BayerRG2RGB", "COLOR_BayerRG2BGR_EA", "COLOR_BayerRG2RGB_EA"}};
    return MosaicOf(word) == Mosaic::Bayer ? kNames[BayerPhase(word)][(blueFirst ? 0 : 1) + (edgeAware ? 2 : 0)]
                                           : nullptr;
}

uint32_t OrvOpenCv_ToWord(int code, int bits, bool blueFirst, bool* edgeAware) {
    const bool isEdgeAware = code >= kOpenCvFirst + kOpenCvEdgeAware;
    for (int pattern = 0; pattern < 4; ++pattern) {
        const uint32_t word = OrvWord_Bayer(pattern, bits);
        if (word != 0 && OrvOpenCv_FromWord(word, blueFirst, isEdgeAware) == code) {
            if (edgeAware != nullptr) {
                *edgeAware = isEdgeAware;
            }
            return word;
        }
    }
    return 0;
}

const char* OrvGst_Caps(uint32_t word) {
    static const char* const kBayer[4][5] = {ORV_BAYER_FORMATS("video/x-bayer, format=(string)")};
    switch (MosaicOf(word)) {
    case Mosaic::Bayer: return kBayer[BayerPhase(word)][(OrvWord_Bits(word) - 8) / 2];
    case Mosaic::TrueSense:
        return OrvWord_Bits(word) == 8 ? "video/x-raw, format=(string)GRAY8" : "video/x-raw, format=(string)GRAY16_LE";
    case Mosaic::None: break;
    }
    switch (word) {
    case OrvPixelRGB8: return "video/x-raw, format=(string)RGB";
    case OrvPixelBGR8: return "video/x-raw, format=(string)BGR";
    case OrvPixelRGBA8: return "video/x-raw, format=(string)RGBA";
    case OrvPixelBGRA8: return "video/x-raw, format=(string)BGRA";
    default: return nullptr;
    }
}

const char* OrvGst_Format(uint32_t word) {
    const char* caps = OrvGst_Caps(word);
    return caps == nullptr ? nullptr : std::strchr(caps, ')') + 1;
}
