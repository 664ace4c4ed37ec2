// A raw file of 12-bit samples behind an RGGB mosaic (16-bit little-endian storage, no padding) to a PPM picture,
// through a conversion component: the form for streams, since it keeps its memory and parameters from frame to frame.
//
//     component FRAME.raw WIDTH HEIGHT COLOUR.ppm
#include <OrvBayer.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: component FRAME.raw WIDTH HEIGHT COLOUR.ppm\n");
        return 1;
    }
    const int width = std::atoi(argv[2]), height = std::atoi(argv[3]);
    std::ifstream file(argv[1], std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (width < 1 || height < 1 ||
        bytes.size() != size_t{2} * static_cast<size_t>(width) * static_cast<size_t>(height)) {
        std::fprintf(stderr, "%s: %zu bytes are no frame of %d by %d samples\n", argv[1], bytes.size(), width, height);
        return 1;
    }
    std::vector<uint16_t> colour(bytes.size() / 2 * 3);

    const std::unique_ptr<OrvBayer, void (*)(OrvBayer*)> bayer(OrvBayer_CreateComponent(), OrvBayer_DeleteComponent);
    OrvSetParam(*OrvBayer_GetComponent(bayer.get()), "BayerAlgType", 2);  // edge-aware

    _OrvImage source = {}, destination = {};
    source.pixelType = OrvPixelBayerRG12;
    source.bitDepth = 12;
    source.width = width;
    source.height = height;
    source.stride = 2 * width;  // bytes from row to row
    source.imageSize = source.stride * height;
    source.data = bytes.data();
    destination = source;
    destination.pixelType = OrvPixelRGB12;
    destination.stride = 6 * width;
    destination.imageSize = destination.stride * height;
    destination.data = colour.data();
    const uint32_t status = OrvBayer_ConvertImage(bayer.get(), &source, &destination);  // once per frame
    if (status != 0) {
        std::fprintf(stderr, "conversion: 0x%08X, %s\n", status, OrvStatusText(status));
        return 1;
    }

    std::ofstream picture(argv[4], std::ios::binary);
    picture << "P6\n" << width << " " << height << "\n4095\n";  // samples of a PPM have the high byte first
    for (const uint16_t sample : colour) {
        picture.put(static_cast<char>(sample >> 8)).put(static_cast<char>(sample & 0xFF));
    }
    return picture.flush() ? 0 : 1;
}
