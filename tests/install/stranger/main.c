/* An application in C99: records, words, status texts and functions, components as opaque pointers. */
#include <stdio.h>
#include <string.h>

#include "OrvBayer.h"
#include "OrvTrueSense.h"

enum { kWidth = 12, kHeight = 8, kLevel = 80 };

static unsigned char g_mosaic[kWidth * kHeight];
static unsigned char g_colour[kWidth * kHeight * 3];

static _OrvImage Record(uint32_t word, int channels, void* data) {
    _OrvImage image = {0};
    image.size = sizeof(image);
    image.version = 0x20000;
    image.pixelType = word;
    image.bitDepth = 8;
    image.width = kWidth;
    image.height = kHeight;
    image.stride = kWidth * channels;
    image.imageSize = kHeight * image.stride;
    image.data = data;
    return image;
}

static int Check(const char* what, uint32_t status) {
    if (status != 0) {
        printf("%s: %s\n", what, OrvStatusText(status));
    }
    return status != 0;
}

int main(void) {
    int failures = 0;
    memset(g_mosaic, kLevel, sizeof(g_mosaic));
    _OrvImage source = Record(OrvPixelBayerRG8, 1, g_mosaic);
    _OrvImage destination = Record(OrvPixelBGR8, 3, g_colour);
    OrvBayer* bayer = OrvBayer_CreateComponent();
    failures += Check("Bayer", OrvBayer_ConvertImage(bayer, &source, &destination));
    failures += OrvBayer_GetComponent(bayer) == NULL || g_colour[kWidth * kHeight] != kLevel;
    OrvBayer_DeleteComponent(bayer);

    source.pixelType = OrvPixelTrueSense(OrvPixelTrueSense8, 5);
    OrvTrueSense* trueSense = OrvTrueSense_CreateComponent();
    failures += Check("TrueSense", OrvTrueSense_ConvertImage(trueSense, &source, &destination));
    OrvTrueSense_DeleteComponent(trueSense);

    tagTrueSenseParam param;
    failures += Check("defaults", TrueSense_DefaultValues(&param));
    param.monoEnable = 1;
    failures += Check("plain call", TrueSenseToColor(&source, &destination, &param, 4, true));
    failures += OrvBayer_ConvertImage(NULL, &source, &destination) != 0x80050007u;
    return failures;
}
