// An application that knows the installed library only.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "OrvBayer.h"
#include "OrvTrueSense.h"

int main() {
    const int width = 16;
    const int height = 12;
    std::vector<uint8_t> mosaic(width * height, 80);
    std::vector<uint8_t> colour(width * height * 3, 0);

    _OrvImage source = {};
    source.pixelType = OrvPixelBayerRG8;
    source.bitDepth = 8;
    source.width = width;
    source.height = height;
    source.stride = width;
    source.imageSize = width * height;
    source.data = mosaic.data();
    _OrvImage destination = source;
    destination.pixelType = OrvPixelRGB8;
    destination.stride = width * 3;
    destination.data = colour.data();

    OrvBayer* bayer = OrvBayer_CreateComponent();
    uint32_t status = OrvSetParam(*OrvBayer_GetComponent(bayer), "BayerAlgType", 2);
    if (status == 0) {
        status = OrvBayer_ConvertImage(bayer, &source, &destination);
    }
    OrvBayer::DeleteComponent(bayer);
    std::printf("%08x %s %d\n", status, OrvStatusText(status), colour[3 * (width * 6 + 8)]);
    return status == 0 && colour[3 * (width * 6 + 8)] == 80 ? 0 : 1;
}
