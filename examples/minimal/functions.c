/* A raw file of 12-bit samples behind an RGGB mosaic (16-bit little-endian storage, no padding) to a PPM picture,
   through a plain function: nothing to create, nothing kept between calls.

       functions FRAME.raw WIDTH HEIGHT COLOUR.ppm */
#include <OrvBayer.h>
#include <stdio.h>
#include <stdlib.h>

static int Fail(const char* file, const char* reason) {
    fprintf(stderr, "functions: %s: %s\n", file, reason);
    return 1;
}

int main(int argc, char** argv) {
    if (argc != 5) {
        return Fail("usage", "functions FRAME.raw WIDTH HEIGHT COLOUR.ppm");
    }
    const int width = atoi(argv[2]), height = atoi(argv[3]);
    if (width < 1 || height < 1) {
        return Fail(argv[1], "width and height must be whole numbers above 0");
    }
    const size_t samples = (size_t)width * (size_t)height;
    unsigned short* frame = malloc(samples * sizeof *frame);
    unsigned short* colour = malloc(samples * 3 * sizeof *colour);
    FILE* file = fopen(argv[1], "rb");
    if (frame == NULL || colour == NULL) {
        return Fail(argv[1], "no memory for the frame");
    }
    if (file == NULL || fread(frame, sizeof *frame, samples, file) != samples || fgetc(file) != EOF) {
        return Fail(argv[1], "cannot be read as one frame of this size");
    }
    fclose(file);

    const _OrvSize size = {width, height};
    const _OrvRect rect = {0, 0, width, height};
    const unsigned char rggb = 1;
    const int edgeAware = 2;
    const uint32_t status = BayerToRGB_16u_C1C3R(frame, rect, size, 2 * width, 12, colour, 6 * width, rggb, edgeAware);
    if (status != 0) {
        return Fail(argv[1], OrvStatusText(status));
    }

    file = fopen(argv[4], "wb");
    if (file == NULL) {
        return Fail(argv[4], "cannot be written");
    }
    fprintf(file, "P6\n%d %d\n4095\n", width, height);
    for (size_t i = 0; i < 3 * samples; ++i) { /* samples of a PPM have the high byte first */
        fputc(colour[i] >> 8, file);
        fputc(colour[i] & 0xFF, file);
    }
    free(frame);
    free(colour);
    return fclose(file) == 0 ? 0 : Fail(argv[4], "cannot be written");
}
