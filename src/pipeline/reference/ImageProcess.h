// The reference form of the pan-and-colour pipeline: its stages as plain kernels, and the driver that calls them.
//
// Everything here runs on the calling thread, on memory of the caller. Kernels return 0, or -1 after a message to the
// log.
//
// Sizes: a frame of w by h samples, both multiples of 4 inside the pipeline; N = w * h; half-size planes of
// qw = w / 2 by qh = h / 2, Q = qw * qh. Domains: L12 is a linear sample, 0 to 4095; G10 a 10-bit gamma code, 0 to
// 1023; 16.16 a G10 value in signed fixed point. Samples outside their domain are not caught.
#ifndef ORV_PIPELINE_REFERENCE_IMAGEPROCESS_H
#define ORV_PIPELINE_REFERENCE_IMAGEPROCESS_H

#include <cstdint>

// Where kernels append their messages: at text + length, unbounded.
struct LogText_t {
    char* text;
    uint32_t length;  // bytes written so far, without the terminating zero
};

// Scratch of the kernels, each thread's own. A kernel that borrows n bytes at g_dynamicBuffer fails unless
// g_dynamicBuffer + n lies within [g_bufFloor, g_bufCeil]. The two other addresses are not checked.
extern thread_local unsigned char* g_dynamicBuffer;
extern thread_local unsigned char* g_bufFloor;
extern thread_local unsigned char* g_bufCeil;
extern thread_local unsigned char* g_dynamicBuffer1;
extern thread_local unsigned char* g_dynamicBuffer2;

// Site codes of the mosaic, [row & 3][col & 3]: pan 3, red 5, green 7, blue 9 on even rows, one more on odd rows.
extern const int32_t pgprCFA[4][4];
extern const int32_t pbpgCFA[4][4];
extern const int32_t prpgCFA[4][4];
extern const int32_t pgpbCFA[4][4];
// Colours of the half-size mosaic of 2 by 2 cells, [row & 1][col & 1]: red 0, green 1, blue 2.
extern const int32_t grbgCFA[2][2];
extern const int32_t bggrCFA[2][2];
extern const int32_t rggbCFA[2][2];
extern const int32_t gbrgCFA[2][2];

// Settings of one run.
struct ImageProcessParam {
    uint16_t* sensorData;   // the frame, N samples
    uint8_t* outputRgb;     // the result, 3N bytes, R, G, B
    char* logText;          // text of the log, at least 1024 bytes
    int32_t width, height;  // w, h
    int32_t cfaPattern;     // 0 pgpr, 1 pbpg, 2 prpg, 3 pgpb
    int32_t bitDepth;       // for information
    int32_t monoEnable;     // 1: the colour differences count as zero
    int32_t darkFloor;      // subtracted from every sample
    float redGain, greenGain, blueGain, panGain;
    float globalGain;                          // applied above 1.0; also scales the signal axis of the noise model
    float analogGain;                          // selects the noise line
    float ISOAnalogGain[5];                    // analog gains of the noise lines, ascending
    float ISOPanSlope[5], ISOPanIntercept[5];  // variance = slope * L12 + intercept
    float ISOColorSlope[5], ISOColorIntercept[5];
    int32_t panRadius0, panRadius1, panRadius2;  // spacing per pass of the sigma filter; none: no pass
    float panSigma0, panSigma1, panSigma2;
    int32_t colorRadius0, colorRadius1, colorRadius2;
    float colorSigma0, colorSigma1, colorSigma2;
    float RR, RG, RB, GR, GG, GB, BR, BG, BB;  // colour matrix, row by row
    float sharpenParam, maxSharpen, highLumaNoise, lowLumaNoise;
    const int16_t* toneTable;  // 4096 8-bit tones over L12; null is replaced by Tonescale12
};

// Work memory of one run. Sizes are bytes.
// The order of the fields is the interface. NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct ImageProcessBuffers {
    int32_t mode;  // 1: fill in the sizes and do nothing else
    unsigned char* imageBuffer;
    uint32_t imageBufferSize;
    unsigned char* rgbBuffer;
    uint32_t rgbBufferSize;
    unsigned char* lowPan;
    uint32_t lowPanSize;
    unsigned char* planeR;
    uint32_t planeRSize;
    unsigned char* planeG;
    uint32_t planeGSize;
    unsigned char* planeB;
    uint32_t planeBSize;
    unsigned char* fullPan;
    uint32_t fullPanSize;
};

// Runs the pipeline: 0, or -1 from the first stage that fails, with the result unwritten. With `mode` 1 returns the sum
// of the sizes. A null second record gives -1.
int32_t Api_ImageProcess(ImageProcessParam* param, ImageProcessBuffers* buffers);

// Front end.

// Unsigned 16-bit samples at `src`, less the floor, limited to L12.
int Alg_SubtractDarkFloor(unsigned char* src, int w, int h, int darkFloor, short* dst, LogText_t* log);
// In place, in steps of 1/1024, limited to L12.
int ApplyGlobalGain(short* data, int count, float gain);
// Splits a frame by the site codes of `cfaPattern` into four half-size planes, each sample times the gain of its
// colour. An odd last row or column has no place there.
int Alg_WhiteBalance(short* frame, int w, int h, int cfaPattern, float redGain, float greenGain, float blueGain,
                     float panGain, short* panEven, short* panOdd, short* colorEven, short* colorOdd, LogText_t* log);
// hash = byte ^ (hash rotated right by 27), over contiguous rows.
unsigned calcHash(void* data, int rowBytes, int rows, unsigned seed);
// Dumps a region of a plane as text. `type`: 0 uint8, 1 uint16, 2 int16, 3 float, 4 three uint8, 5 int32. `stride` in
// elements, `height` that of the plane; the region must be narrower and lower than these. `x`, `y` are trusted.
int Alg_GetRegionData(char* name, void* data, int type, int x, int y, int regionWidth, int regionHeight, int stride,
                      int height, LogText_t* log);

// Filters, in place, reading the values from before the call. Positions without all their neighbours keep theirs.

// Clips each element into the range of its eight neighbours `spacing` away. `type` 2 int16, 5 int32, else nothing.
int Alg_ImpulseFilter(void* data, int type, int w, int h, int spacing, LogText_t* log);
// Convolution (kernel stored row by row, applied reversed) of odd width and height up to 3, truncated toward zero.
int Alg_Convolve2D(short* data, int w, int h, float* kernel, int kernelWidth, int kernelHeight, LogText_t* log);
// The same with `taps` (odd) taps along rows, direction 0, or columns, direction 1; else nothing.
int Alg_Convolve1D_Int32(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log);
int Alg_Convolve1D(int* data, int w, int h, float* kernel, int taps, int direction, LogText_t* log);

// Pan at every site. `panEven` and `panOdd` (L12) are cleaned of impulses in place; `fullPan` (w by h, G10) receives
// pan everywhere, `panAtEven` and `panAtOdd` (L12) the estimates at the colour sites of even and odd rows.
int Alg_InterpolatePan(short* panEven, short* panOdd, int w, int h, short* fullPan, short* panAtEven, short* panAtOdd,
                       LogText_t* log);
// Colour minus pan of each 2 by 2 cell (16.16), its pan (16.16) and their sum (G10). `lowGamma` may be `panAtOdd`.
int Alg_GenerateLow(short* fullPan, short* panAtEven, short* panAtOdd, short* colorEven, short* colorOdd, int w, int h,
                    int* lowPan, short* lowGamma, int* lowColorDiff, LogText_t* log);

// Noise cleaning of half-size 16.16 planes.

// The noise line at an analog gain, linear between the five rows, the end rows beyond them.
int Alg_CalculateNoiseParameter(float analogGain, float* ISOAnalogGain, float* slopes, float* intercepts, float* slope,
                                float* intercept, LogText_t* log);
int Alg_LowColorDiffClean(short* lowGamma, int* lowColorDiff, int qw, int qh, float globalGain, float redGain,
                          float greenGain, float blueGain, float analogGain, float* ISOAnalogGain, float* ISOColorSlope,
                          float* ISOColorIntercept, float colorSigma0, float colorSigma1, float colorSigma2,
                          int colorRadius0, int colorRadius1, int colorRadius2, LogText_t* log);
int Alg_LowPanClean(int* lowPan, int qw, int qh, float globalGain, float analogGain, float* ISOAnalogGain,
                    float* ISOPanSlope, float* ISOPanIntercept, float panSigma0, float panSigma1, float panSigma2,
                    int panRadius0, int panRadius1, int panRadius2, LogText_t* log);
// Noise thresholds in gamma codes per element: of `lowGamma` (G10), or of `reflPan` (16.16).
int Alg_ColorBuildGammaNoiseThreshold(short* lowGamma, int w, int h, float sigma, float globalGain, float slope,
                                      float intercept, unsigned short* thresholds, LogText_t* log);
int Alg_PanBuildGammaNoiseThreshold(int* reflPan, int w, int h, float sigma, float globalGain, float slope,
                                    float intercept, unsigned short* thresholds, LogText_t* log);
// Adds to each element the mean difference of those of its eight neighbours `spacing` away that lie within its
// threshold of `reference`.
int Alg_IterativeSigmaFilter(int* data, int* reference, int w, int h, int spacing, unsigned short* thresholds,
                             LogText_t* log);

// Back to full size, 2qw by 2qh, 16.16.
int Alg_LowPanUpSample(int* lowPan, int qw, int qh, int* panUp, LogText_t* log);
int Alg_LowColorDiffUpSample(int* lowColorDiff, int qw, int qh, int cfaPattern, int* planeR, int* planeG, int* planeB,
                             LogText_t* log);

// Pan plus difference, to linear, through the matrix and the tone table, to bytes R, G, B.
int Alg_ColorCorrection(int* planeR, int* planeG, int* planeB, int* panUp, int w, int h, float RR, float RG, float RB,
                        float GR, float GG, float GB, float BR, float BG, float BB, unsigned char* rgb,
                        short* toneTable, LogText_t* log);
// Gives pan detail back to `rgb`. `fullPan` and `panUp` become tones.
int Alg_Sharpness(unsigned char* rgb, short* fullPan, int* panUp, int w, int h, float sharpenParam, float maxSharpen,
                  float highLumaNoise, float lowLumaNoise, short* toneTable, LogText_t* log);

#endif
