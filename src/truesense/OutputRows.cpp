#include "truesense/OutputRows.h"

#include "component/Simd.h"

namespace orv {

namespace {

// Two words per pixel: the first two samples side by side, `bits` apart, and the third above them when it fits.
template <bool Bytes>
ORV_ALWAYS_INLINE void StoreWords(const uint32_t* tones, int first, int second, int third, int x, uint32_t* words,
                                  uint32_t* thirds) {
    if (Bytes) {
        words[x] = tones[first] | tones[second] << 8 | tones[third] << 16;
    } else {
        words[x] = tones[first] | tones[second] << 16;
        thirds[x] = tones[third];
    }
}

template <bool Bytes>
ORV_ALWAYS_INLINE void ToneRowBody(const int16_t* first, const int16_t* second, const int16_t* third,
                                   const uint32_t* tones, int n, uint32_t* words, uint32_t* thirds) {
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        StoreWords<Bytes>(tones, Clamp(first[x], 0, 4095), Clamp(second[x], 0, 4095), Clamp(third[x], 0, 4095), x,
                          words, thirds);
    }
}
ORV_ROW_TEMPLATE((bool Bytes), (Bytes), ToneRow,
                 (const int16_t* first, const int16_t* second, const int16_t* third, const uint32_t* tones, int n,
                  uint32_t* words, uint32_t* thirds),
                 (first, second, third, tones, n, words, thirds))

ORV_ALWAYS_INLINE int MatrixValue(double r, double g, double b, double m0, double m1, double m2) {
    return TruncateClamped(Fma(b, m2, Fma(r, m0, g * m1)), 0.0, 4095.0);
}

// `m` has the rows of the matrix in the order of the destination's samples.
template <bool Bytes>
ORV_ALWAYS_INLINE void MatrixToneRowBody(const int16_t* red, const int16_t* green, const int16_t* blue, const double* m,
                                         const uint32_t* tones, int n, uint32_t* words, uint32_t* thirds) {
    const double m0 = m[0], m1 = m[1], m2 = m[2], m3 = m[3], m4 = m[4], m5 = m[5], m6 = m[6], m7 = m[7], m8 = m[8];
#pragma omp simd
    for (int x = 0; x < n; ++x) {
        const double r = red[x];
        const double g = green[x];
        const double b = blue[x];
        StoreWords<Bytes>(tones, MatrixValue(r, g, b, m0, m1, m2), MatrixValue(r, g, b, m3, m4, m5),
                          MatrixValue(r, g, b, m6, m7, m8), x, words, thirds);
    }
}
ORV_ROW_TEMPLATE((bool Bytes), (Bytes), MatrixToneRow,
                 (const int16_t* red, const int16_t* green, const int16_t* blue, const double* m, const uint32_t* tones,
                  int n, uint32_t* words, uint32_t* thirds),
                 (red, green, blue, m, tones, n, words, thirds))

// Samples of one pixel from its words.
ORV_ALWAYS_INLINE void StorePixel(const uint32_t* words, const uint32_t*, int x, uint8_t* out) {
    out[0] = static_cast<uint8_t>(words[x]);
    out[1] = static_cast<uint8_t>(words[x] >> 8);
    out[2] = static_cast<uint8_t>(words[x] >> 16);
}
ORV_ALWAYS_INLINE void StorePixel(const uint32_t* words, const uint32_t* thirds, int x, uint16_t* out) {
    out[0] = static_cast<uint16_t>(words[x]);
    out[1] = static_cast<uint16_t>(words[x] >> 16);
    out[2] = static_cast<uint16_t>(thirds[x]);
}

template <class T>
ORV_ALWAYS_INLINE void StoreRowBody(const uint32_t* words, const uint32_t* thirds, ptrdiff_t step, int n, T* out) {
    for (int x = 0; x < n; ++x) {
        StorePixel(words, thirds, x, out + x * step);
    }
}
ORV_ROW_TEMPLATE((class T), (T), StoreRow,
                 (const uint32_t* words, const uint32_t* thirds, ptrdiff_t step, int n, T* out),
                 (words, thirds, step, n, out))

}  // namespace

int OutputShift(int bits, bool normalize, bool* ok) {
    const int inputShift = InputShift(bits, ok);
    *ok = *ok || normalize;
    return normalize ? 4 : -inputShift;
}

void OutputTable::Fill(const int16_t* toneTable, int shift, bool byteSamples) {
    const uint32_t mask = byteSamples ? 0xFFU : 0xFFFFU;
    for (int v = 0; v < 4096; ++v) {
        const uint32_t bits = shift < 0 ? static_cast<uint32_t>(toneTable[v] >> -shift)
                                        : static_cast<uint32_t>(static_cast<uint16_t>(toneTable[v])) << shift;
        entries[v] = bits & mask;
    }
}

bool IsIdentity(const double (&matrix)[9]) {
    for (int i = 0; i < 9; ++i) {
        if (matrix[i] != (i % 4 == 0 ? 1.0 : 0.0)) {
            return false;
        }
    }
    return true;
}

template <class T>
void OutputRows<T>::Write(int y, const int16_t* red, const int16_t* green, const int16_t* blue, int n,
                          uint32_t* scratch) const {
    constexpr bool bytes = sizeof(T) == 1;
    uint32_t* words = scratch;
    uint32_t* thirds = scratch + n;
    if (matrix == nullptr) {
        ToneRow<bytes>(bgr ? blue : red, green, bgr ? red : blue, table->entries, n, words, thirds);
    } else {
        double ordered[9];
        for (int i = 0; i < 9; ++i) {
            ordered[i] = matrix[bgr ? (2 - i / 3) * 3 + i % 3 : i];
        }
        MatrixToneRow<bytes>(red, green, blue, ordered, table->entries, n, words, thirds);
    }
    StoreRow<T>(words, thirds, walk.columnStep, n, dst + walk.rowStart + y * walk.rowStep + walk.columnStart);
}

template struct OutputRows<unsigned char>;
template struct OutputRows<unsigned short>;

}  // namespace orv
