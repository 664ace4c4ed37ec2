// Names and numbers of pixel words, and what crops and mirrors make of mosaics.
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <set>
#include <string>
#include <vector>

#include "OrvHelpers.h"
#include "bayer/OrvBayerImp.h"
#include "truesense/Params.h"

namespace {

std::vector<uint32_t> Words() {
    std::vector<uint32_t> words;
    for (int i = 0; i < OrvWord_Count(); ++i) {
        words.push_back(OrvWord_At(i));
    }
    return words;
}

uint32_t Named(const std::string& name) { return OrvWord_FromName(name.c_str(), nullptr); }

TEST(Words, NamesAndFieldsLeadBackToTheWord) {
    const std::vector<uint32_t> words = Words();
    EXPECT_EQ(96U, std::set<uint32_t>(words.begin(), words.end()).size());
    for (const uint32_t word : words) {
        SCOPED_TRACE(OrvWord_Name(word));
        int packing = -1;
        EXPECT_EQ(word, OrvWord_FromName(OrvWord_Name(word), &packing));
        EXPECT_EQ(OrvPackingNone, packing);
        const int bits = OrvWord_Bits(word);
        const int channels = OrvWord_Channels(word);
        switch (word >> 24) {
        case 2: EXPECT_EQ(word, OrvWord_Colour(std::string(OrvWord_Name(word))[0] == 'B', channels, bits)); break;
        case 3: EXPECT_EQ(word, OrvWord_Bayer(OrvWord_Pattern(word), bits)); break;
        default:
            EXPECT_EQ(word, OrvWord_TrueSense(OrvWord_Grid(word), bits));
            EXPECT_EQ(PixelTypeToTruesenseGrid(word), OrvWord_Grid(word));
        }
        EXPECT_EQ(static_cast<int64_t>(word >> 16 & 0xFF) * 5 / 8, OrvWord_RowBytes(word, OrvPackingNone, 5));
        for (int packed = OrvPacking10p; packed <= OrvPackingRaw12; ++packed) {
            const bool fits = channels == 1 && OrvPacking_Bits(packed) == bits;
            EXPECT_EQ(fits ? OrvPacking_RowBytes(packed, 5) : -1, OrvWord_RowBytes(word, packed, 5));
        }
    }
    EXPECT_EQ(std::string("BayerRG12"), OrvWord_Name(0x03100316));
    EXPECT_EQ(std::string("TrueSense12g4"), OrvWord_Name(0x04100353));
}

TEST(Words, EverydayNames) {
    struct Names {
        const char *name, *known;
    };
    const Names all[] = {{"RGGB12", "BayerRG12"},
                         {"rggb12le", "BayerRG12"},
                         {"rggb", "BayerRG8"},
                         {"bayergb16", "BayerGB16"},
                         {"GRBG12packed", "BayerGR12Packed"},
                         {"BGGR10p", "BayerBG10p"},
                         {"SRGGB10", "BayerRG10"},
                         {"SCF1WGWR12", "TrueSense12g8"},
                         {"truesense8G15", "TrueSense8g15"},
                         {"rgb", "RGB8"},
                         {"BGRA", "BGRA8"},
                         {"0x03100316", "BayerRG12"},
                         {"0x010C002B", "BayerRG12Packed"}};
    for (const auto& [name, known] : all) {
        int packing = -1, expected = -1;
        EXPECT_EQ(OrvWord_FromName(known, &expected), OrvWord_FromName(name, &packing)) << name;
        EXPECT_EQ(expected, packing) << name;
        EXPECT_EQ(expected == OrvPackingNone ? Named(known) : 0U, Named(name)) << name;
    }
    for (const char* name :
         {"",         "Bayer",   "BayerRG", "BayerRG9",    "BayerRG8p",      "BayerRG14p",         "BayerRG12px",
          "rggb12be", "rggb8le", "RGGBA",   "TrueSense12", "TrueSense12g16", "TrueSense16g0",      "SCF1WWWW8",
          "RGBA16",   "RGB9",    "S",       "0x",          "0x03100319",     "0xFFFFFFFFFFFFFFFFF"}) {
        int packing = 9;
        EXPECT_EQ(0U, OrvWord_FromName(name, &packing)) << name;
        EXPECT_EQ(9, packing) << name;
    }
}

// As the naming convention numbers them.
TEST(Words, PfncNumbersBothWays) {
    const struct {
        const char* name;
        uint32_t number;
    } known[] = {{"BayerRG8", 0x01080009},    {"BayerRG10", 0x0110000D},       {"BayerRG12", 0x01100011},
                 {"BayerRG14", 0x0110010A},   {"BayerRG16", 0x0110002F},       {"BayerRG10p", 0x010A0058},
                 {"BayerRG12p", 0x010C0059},  {"BayerRG10Packed", 0x010C0027}, {"BayerRG12Packed", 0x010C002B},
                 {"BayerGR12", 0x01100010},   {"BayerBG12", 0x01100013},       {"BayerBG10p", 0x010A0052},
                 {"BayerGB12p", 0x010C0055},  {"BayerGR12p", 0x010C0057},      {"SCF1WBWG8", 0x01080067},
                 {"SCF1WBWG12p", 0x010C006B}, {"SCF1WGWB10", 0x0110006F},      {"SCF1WGWR10p", 0x010A0077},
                 {"SCF1WRWG14", 0x01100081}};
    for (const auto& each : known) {
        int packing = -1;
        const uint32_t word = OrvWord_FromName(each.name, &packing);
        EXPECT_EQ(each.number, OrvPfnc_FromWord(word, packing)) << each.name;
        EXPECT_EQ(each.number, OrvPfnc_FromName(each.name));
        EXPECT_STREQ(each.name, OrvPfnc_Name(each.number));
    }
    std::set<uint32_t> numbers;
    for (const uint32_t word : Words()) {
        for (int packing = 0; packing < 7; ++packing) {
            const uint32_t number = OrvPfnc_FromWord(word, packing);
            int back = -1;
            EXPECT_EQ(number == 0 ? 0U : word, OrvPfnc_ToWord(number, &back));
            EXPECT_EQ(number == 0 ? -1 : packing, back);
            EXPECT_EQ(number, OrvPfnc_FromName(OrvPfnc_Name(number)));
            numbers.insert(number);
        }
    }
    EXPECT_EQ(1U + 72U, numbers.size());
    EXPECT_EQ(0U, OrvPfnc_ToWord(0x010C002B, nullptr));
    EXPECT_EQ(0U, OrvPfnc_FromName("bayerrg8"));
}

TEST(Words, CodesOfV4l2OpenCvAndGStreamer) {
#define ORV_CODE(name) \
    { #name, V4L2_PIX_FMT_##name }
#define ORV_CODES(depth) ORV_CODE(SGRBG##depth), ORV_CODE(SRGGB##depth), ORV_CODE(SGBRG##depth), ORV_CODE(SBGGR##depth)
    const struct {
        const char* name;
        uint32_t fourcc;
    } known[] = {ORV_CODES(8),
                 ORV_CODES(10),
                 ORV_CODES(12),
                 ORV_CODES(14),
                 ORV_CODES(16),
                 ORV_CODES(10P),
                 ORV_CODES(12P),
                 {"RGB8", V4L2_PIX_FMT_RGB24},
                 {"BGR8", V4L2_PIX_FMT_BGR24},
                 {"RGBA8", V4L2_PIX_FMT_RGBA32},
                 {"BGRA8", V4L2_PIX_FMT_ABGR32}};
    for (const auto& each : known) {
        int packing = -1;
        const uint32_t word = OrvWord_FromName(each.name, &packing);
        EXPECT_EQ(each.fourcc, OrvV4l2_FromWord(word, packing)) << each.name;
        int back = -1;
        EXPECT_EQ(word, OrvV4l2_ToWord(each.fourcc, &back)) << each.name;
        EXPECT_EQ(packing, back);
    }
    EXPECT_EQ(0U, OrvV4l2_FromWord(OrvPixelBayerRG12, OrvPacking12p));
    EXPECT_EQ(0U, OrvV4l2_ToWord(V4L2_PIX_FMT_SRGGB12P, nullptr));

    for (const uint32_t word : Words()) {
        SCOPED_TRACE(OrvWord_Name(word));
        for (const bool blueFirst : {false, true}) {
            for (const bool edgeAware : {false, true}) {
                const int code = PixelTypeToBayerType(word, edgeAware ? 2 : 0, blueFirst);
                EXPECT_EQ(code, OrvOpenCv_FromWord(word, blueFirst, edgeAware));
                bool isEdgeAware = !edgeAware;
                const uint32_t back = OrvOpenCv_ToWord(code, OrvWord_Bits(word), blueFirst, &isEdgeAware);
                EXPECT_EQ(code < 0 ? 0U : word, back);
                EXPECT_EQ(edgeAware != (code < 0), isEdgeAware);
            }
        }
        const char* format = OrvGst_Format(word);
        EXPECT_EQ(word >> 24 == 2 && OrvWord_Bits(word) > 8, format == nullptr);
        if (format != nullptr && word >> 24 != 4) {
            EXPECT_EQ(word, Named(format));
        }
    }
    EXPECT_STREQ("COLOR_BayerBG2RGB", OrvOpenCv_Name(OrvPixelBayerRG8, false, false));
    EXPECT_STREQ("COLOR_BayerGR2BGR_EA", OrvOpenCv_Name(OrvPixelBayerGB12, true, true));
    EXPECT_STREQ("video/x-bayer, format=(string)bggr14le", OrvGst_Caps(OrvPixelBayerBG14));
    EXPECT_STREQ("video/x-raw, format=(string)GRAY16_LE", OrvGst_Caps(OrvPixelTrueSense12));
}

// A mosaic of `word`, cut or mirrored by moving its samples.
template <class Source>
bool IsMosaicOf(uint32_t word, const Source& source) {
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            if (OrvWord_Site(word, x, y) != source(x, y)) {
                return false;
            }
        }
    }
    return true;
}

TEST(Words, MosaicsAfterCropAndMirror) {
    EXPECT_TRUE(IsMosaicOf(OrvPixelBayerGB8, [](int x, int y) { return "GBRG"[(y & 1) * 2 + (x & 1)]; }));
    EXPECT_TRUE(IsMosaicOf(OrvPixelTrueSense8, [](int x, int y) { return "PBPGBPGPPGPRGPRP"[(y & 3) * 4 + (x & 3)]; }));
    for (const uint32_t word : Words()) {
        SCOPED_TRACE(OrvWord_Name(word));
        const int bits = OrvWord_Bits(word);
        const bool trueSense = OrvWord_Grid(word) >= 0;
        if (!trueSense && OrvWord_Pattern(word) < 0) {
            EXPECT_EQ(0, OrvWord_Site(word, 0, 0));
            EXPECT_EQ(0U, OrvWord_AfterCrop(word, 0, 0));
            EXPECT_EQ(0U, OrvWord_AfterMirror(word, true, true, 8, 8));
            continue;
        }
        for (int i = 0; i < 16; ++i) {
            const int a = i % 4 + 8;
            const int b = i / 4 + 8;
            const uint32_t cropped = OrvWord_AfterCrop(word, a, b);
            EXPECT_EQ(bits, OrvWord_Bits(cropped));
            EXPECT_TRUE(IsMosaicOf(cropped, [&](int x, int y) { return OrvWord_Site(word, x + a, y + b); }));
            for (int mirrors = 0; mirrors < 4; ++mirrors) {
                const auto mirrored = [&](int x, int y) {
                    return OrvWord_Site(word, (mirrors & 1) != 0 ? a - 1 - x : x, (mirrors & 2) != 0 ? b - 1 - y : y);
                };
                const uint32_t after = OrvWord_AfterMirror(word, (mirrors & 1) != 0, (mirrors & 2) != 0, a, b);
                if (trueSense && (mirrors == 1 || mirrors == 2)) {
                    EXPECT_EQ(0U, after);
                    for (const uint32_t other : Words()) {
                        EXPECT_FALSE(IsMosaicOf(other, mirrored));
                    }
                } else {
                    EXPECT_EQ(bits, OrvWord_Bits(after));
                    EXPECT_TRUE(IsMosaicOf(after, mirrored)) << a << " by " << b << ", mirrors " << mirrors;
                }
            }
        }
    }
    EXPECT_EQ(0U, OrvWord_AfterCrop(OrvPixelBayerRG8, -1, 0));
    EXPECT_EQ(0U, OrvWord_AfterMirror(OrvPixelBayerRG8, true, false, 0, 4));
}

TEST(Words, UnknownWordsHaveNothing) {
    for (const uint32_t word : {0U, 0x03100319U, 0x04100361U, 0x0218017DU, 0xFFFFFFFFU}) {
        EXPECT_TRUE(OrvWord_Name(word) == nullptr && OrvOpenCv_Name(word, false, false) == nullptr &&
                    OrvGst_Format(word) == nullptr);
        EXPECT_TRUE(OrvWord_Bits(word) == 0 && OrvWord_Channels(word) == 0);
        EXPECT_TRUE(OrvWord_RowBytes(word, OrvPackingNone, 4) == -1 && OrvWord_Pattern(word) == -1 &&
                    OrvWord_Grid(word) == -1 && OrvOpenCv_FromWord(word, false, false) == -1);
    }
    EXPECT_EQ(0U, OrvWord_FromName(nullptr, nullptr));
    EXPECT_EQ(0U, OrvWord_At(-1));
    EXPECT_EQ(0U, OrvWord_At(96));
    EXPECT_EQ(0U, OrvWord_Bayer(4, 8));
    EXPECT_EQ(0U, OrvWord_TrueSense(0, 16));
    EXPECT_EQ(-1, OrvWord_RowBytes(OrvPixelBayerRG8, OrvPackingNone, -1));
    EXPECT_EQ(nullptr, OrvPacking_Name(7));
    EXPECT_EQ(-1, OrvPacking_FromName("14p"));
    EXPECT_EQ(OrvPackingRaw12, OrvPacking_FromName("raw12"));
}

}  // namespace
