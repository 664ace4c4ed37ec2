/* An application in C99: records, words, status texts and functions, components as opaque pointers, parameters and
 * packed frames by the helpers. */
#include <stdio.h>
#include <string.h>

#include "OrvBayer.h"
#include "OrvHelpers.h"
#include "OrvTrueSense.h"

enum { kWidth = 12, kHeight = 8, kLevel = 80 };

static unsigned char g_mosaic[kWidth * kHeight];
static unsigned char g_colour[kWidth * kHeight * 3];

static int Check(const char* what, uint32_t status) {
    if (status != 0) {
        printf("%s: %s\n", what, OrvStatusText(status));
    }
    return status != 0;
}

int main(void) {
    int failures = 0;
    _OrvImage source, destination;
    memset(g_mosaic, kLevel, sizeof(g_mosaic));
    failures += Check("source", OrvFrame_Make(&source, OrvPixelBayerRG8, kWidth, kHeight, 0, g_mosaic));
    failures += Check("destination", OrvFrame_Make(&destination, OrvPixelBGR8, kWidth, kHeight, 0, g_colour));
    OrvBayer* bayer = OrvBayer_CreateComponent();
    failures += Check("parameter", OrvParam_SetInteger(OrvBayer_GetComponent(bayer), "BayerAlgType", 2));
    failures += Check("Bayer", OrvBayer_ConvertImage(bayer, &source, &destination));
    failures += g_colour[kWidth * kHeight] != kLevel;
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

    const unsigned char packed[] = {0xAB, 0xCD, 0xEF};
    uint16_t samples[2] = {0, 0};
    failures += Check("12p", OrvPacking_Unpack(OrvPacking12p, packed, 3, 3, 2, 1, samples, sizeof(samples), 4));
    failures += samples[0] != 0xDAB || samples[1] != 0xEFC;
    failures += OrvHelpers_Version() != ORV_VERSION;
    return failures;
}
