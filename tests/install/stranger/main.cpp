// An application that knows the installed library only, and calls every function of it on flat frames.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "OrvBayer.h"
#include "OrvTrueSense.h"

namespace {

const int kSide = 16;  // frames of kSide by kSide samples
const uint8_t kLevel = 80;
int g_calls = 0, g_failures = 0;

void Check(const char* name, bool good) {
    ++g_calls;
    if (!good) {
        ++g_failures;
        std::printf("%s failed\n", name);
    }
}

template <class T>
std::vector<T> Flat(int bits) {
    return std::vector<T>(kSide * kSide, static_cast<T>(kLevel << (bits - 8)));
}

template <class T>
_OrvImage Record(std::vector<T>* pixels, uint32_t word, int bits) {
    _OrvImage image = _OrvImage();
    image.size = sizeof(image);
    image.version = 0x20000;
    image.pixelType = word;
    image.bitDepth = bits;
    image.width = image.height = kSide;
    image.imageSize = static_cast<int>(pixels->size() * sizeof(T));
    image.stride = image.imageSize / kSide;
    image.data = pixels->data();
    return image;
}

// Of a pixel in the middle of a converted frame of `channels` samples a pixel.
template <class T>
T Middle(const std::vector<T>& pixels, int channels) {
    return pixels[static_cast<size_t>((kSide / 2 * kSide + kSide / 2) * channels)];
}

template <class From, class To>
void BayerFunction(const char* name,
                   uint32_t (*convert)(From const*, _OrvRect, _OrvSize, int, int, To*, int, unsigned char, int),
                   int bits) {
    const std::vector<From> source = Flat<From>(bits);
    std::vector<To> result(kSide * kSide * 4, 0);
    const _OrvRect rect = {0, 0, kSide, kSide};
    const _OrvSize size = {kSide, kSide};
    const uint32_t status = convert(source.data(), rect, size, kSide * static_cast<int>(sizeof(From)), bits,
                                    result.data(), kSide * 4 * static_cast<int>(sizeof(To)), 1, 1);
    Check(name, status == 0 && result[4 * kSide * (kSide / 2)] == (kLevel << (sizeof(To) == 1 ? 0 : bits - 8)));
}

template <class From, class To>
void TrueSenseFunction(const char* name,
                       uint32_t (*convert)(From const*, _OrvRect, _OrvSize, int, int, To*, int, unsigned char,
                                           tagTrueSenseParam*, int, bool),
                       int bits, int channels, tagTrueSenseParam* param) {
    const std::vector<From> source = Flat<From>(bits);
    std::vector<To> result(kSide * kSide * 4, 0);
    const _OrvRect rect = {0, 0, kSide, kSide};
    const _OrvSize size = {kSide, kSide};
    bool good = true;
    for (int algorithm = 0; algorithm < 5; ++algorithm) {
        const uint32_t status =
            convert(source.data(), rect, size, kSide * static_cast<int>(sizeof(From)), bits, result.data(),
                    kSide * channels * static_cast<int>(sizeof(To)), 0, param, algorithm, algorithm % 2 == 0);
        good = good && status == 0 && Middle(result, channels) != 0;
    }
    Check(name, good);
}

#define BAYER(name, bits) BayerFunction(#name, name, bits)
#define TRUESENSE(name, bits, channels) TrueSenseFunction(#name, name, bits, channels, &param)

}  // namespace

int main() {
    std::vector<uint8_t> mosaic = Flat<uint8_t>(8);
    std::vector<uint8_t> colour(kSide * kSide * 3, 0);
    _OrvImage source = Record(&mosaic, OrvPixelBayerRG8, 8);
    _OrvImage destination = Record(&colour, OrvPixelRGB8, 8);

    OrvBayer* bayer = OrvBayer_CreateComponent();
    Check("OrvBayer_CreateComponent", bayer != nullptr);
    OrvComponent* settings = OrvBayer_GetComponent(bayer);
    Check("OrvBayer_GetComponent", settings != nullptr && OrvSetParam(*settings, "BayerAlgType", 2) == 0);
    Check("OrvBayer_AllocData", OrvBayer_AllocData(bayer, &source, &destination) == 0);
    Check("OrvBayer_ConvertImage",
          OrvBayer_ConvertImage(bayer, &source, &destination) == 0 && Middle(colour, 3) == kLevel);
    OrvBayer_ReleaseData(bayer);
    Check("OrvBayer_ReleaseData", OrvBayer_ConvertImage(bayer, &source, &destination) == 0);
    OrvBayer_DeleteComponent(bayer);
    Check("OrvBayer_DeleteComponent", true);
    bayer = OrvBayer::CreateComponent();
    Check("OrvBayer::CreateComponent", bayer != nullptr);
    OrvBayer::DeleteComponent(bayer);
    Check("OrvBayer::DeleteComponent", true);
    Check("BayerToColor", BayerToColor(&source, &destination, 0) == 0 && Middle(colour, 3) == kLevel);
    BAYER(BayerToRGB_8u_C1C3R, 8);
    BAYER(BayerToBGR_8u_C1C3R, 8);
    BAYER(BayerToRGB_8u_C1C4R, 8);
    BAYER(BayerToBGR_8u_C1C4R, 8);
    BAYER(BayerToRGB_16u_C1C3R, 12);
    BAYER(BayerToBGR_16u_C1C3R, 12);
    BAYER(BayerToRGB_16u_C1C4R, 12);
    BAYER(BayerToBGR_16u_C1C4R, 12);
    BAYER(BayerToRGB_16u8u_C1C3R, 12);
    BAYER(BayerToBGR_16u8u_C1C3R, 12);
    BAYER(BayerToRGB_16u8u_C1C4R, 12);
    BAYER(BayerToBGR_16u8u_C1C4R, 12);

    source.pixelType = OrvPixelTrueSense(OrvPixelTrueSense8, 5);
    OrvTrueSense* trueSense = OrvTrueSense_CreateComponent();
    Check("OrvTrueSense_CreateComponent", trueSense != nullptr);
    settings = OrvTrueSense_GetComponent(trueSense);
    Check("OrvTrueSense_GetComponent", settings != nullptr && OrvSetParam(*settings, "TrueSenseAlgType", 1) == 0);
    Check("OrvTrueSense_AllocData", OrvTrueSense_AllocData(trueSense, &source, &destination) == 0);
    colour.assign(colour.size(), 0);
    Check("OrvTrueSense_ConvertImage",
          OrvTrueSense_ConvertImage(trueSense, &source, &destination) == 0 && Middle(colour, 3) != 0);
    OrvTrueSense_ReleaseData(trueSense);
    Check("OrvTrueSense_ReleaseData", OrvTrueSense_ConvertImage(trueSense, &source, &destination) == 0);
    OrvTrueSense_DeleteComponent(trueSense);
    Check("OrvTrueSense_DeleteComponent", true);
    trueSense = OrvTrueSense::CreateComponent();
    Check("OrvTrueSense::CreateComponent", trueSense != nullptr);
    OrvTrueSense::DeleteComponent(trueSense);
    Check("OrvTrueSense::DeleteComponent", true);
    tagTrueSenseParam param;
    Check("TrueSense_DefaultValues", TrueSense_DefaultValues(&param) == 0 && param.redGain == 1.0);
    colour.assign(colour.size(), 0);
    Check("TrueSenseToColor", TrueSenseToColor(&source, &destination, &param, 2, true) == 0 && Middle(colour, 3) != 0);
    TRUESENSE(TrueSenseToRGB_8u_C1C3R, 8, 3);
    TRUESENSE(TrueSenseToBGR_8u_C1C3R, 8, 3);
    TRUESENSE(TrueSenseToRGB_8u_C1C4R, 8, 4);
    TRUESENSE(TrueSenseToBGR_8u_C1C4R, 8, 4);
    TRUESENSE(TrueSenseToRGB_16u_C1C3R, 12, 3);
    TRUESENSE(TrueSenseToBGR_16u_C1C3R, 12, 3);
    TRUESENSE(TrueSenseToRGB_16u_C1C4R, 12, 4);
    TRUESENSE(TrueSenseToBGR_16u_C1C4R, 12, 4);
    TRUESENSE(TrueSenseToRGB_16u8u_C1C3R, 12, 3);
    TRUESENSE(TrueSenseToBGR_16u8u_C1C3R, 12, 3);
    TRUESENSE(TrueSenseToRGB_16u8u_C1C4R, 12, 4);
    TRUESENSE(TrueSenseToBGR_16u8u_C1C4R, 12, 4);

    std::printf("%d functions, %d failures\n", g_calls, g_failures);
    return g_failures == 0 && g_calls == 43 ? 0 : 1;
}
