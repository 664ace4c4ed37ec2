// What the engines with a 12-bit result do alike: the entries with their refusals, the geometry, the mosaic plane that
// Init fills, and the way of finished rows to the destination. An engine adds the reconstruction between the two.
#ifndef ORV_TRUESENSE_TRUESENSEENGINE_H
#define ORV_TRUESENSE_TRUESENSEENGINE_H

#include <cstdint>

#include "rows/AlignedBuffer.h"
#include "truesense/GridFrame.h"
#include "truesense/IDemosaicing.h"

namespace orv {

// Receives finished rows of the working plane, W samples per colour, in any order and from any worker. Rows of 32 bits
// are for sums that 16 bits do not hold.
class ColourRowSink {
public:
    virtual void Row(int y, const int16_t* red, const int16_t* green, const int16_t* blue) const = 0;
    virtual void Row(int y, const int32_t* red, const int32_t* green, const int32_t* blue) const = 0;

protected:
    ~ColourRowSink() = default;
};

// A frame between Init and Calculate.
struct EngineFrame {
    GridGeometry geometry;
    int16_t* mosaic = nullptr;     // H by W samples, shifted to 12 bits, in no way clamped; null where `bytes` has them
    uint8_t* bytes = nullptr;      // H by W samples of 8 bits, not shifted
    bool narrow = true;            // every sample of the mosaic lies in 0 to 4095
    tagTrueSenseParam param = {};  // of the caller or the engine's own; never without a tone table

    // The size of all teams of this frame; 0 for the process's default.
    int Threads() const { return param.threads_num > 0 ? static_cast<int>(param.threads_num) : 0; }
};

// T is the sample type of Init's source and destination. Of the parameters this class reads `threads_num`,
// `normalizationEnable`, the mirrors and `toneTable`.
template <class T>
class TrueSenseEngine : public IDemosaicing, public IDemConvertion<T> {
public:
    TrueSenseEngine(const TrueSenseEngine&) = delete;
    TrueSenseEngine& operator=(const TrueSenseEngine&) = delete;

    // Forgets the frame; the memory stays for the next Init.
    void CleanMemory() override { prepared_ = false; }
    bool IsThis(IDemosaicing* other) override { return this == other; }
    void SetOutputPixelType(bool alpha, bool bgr) override;

    // Init and InitRGB: 8 for null pixels, 7 for a grid above 15 or `bits` outside 8, 10, 12, 14, 16, 9 when a
    // dimension is negative, the plane is empty or memory ran out; tested in the order 8, 7 (grid), 9, 7 (bits). Memory
    // grows with the frames and stays.
    int Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
             unsigned char grid, tagTrueSenseParam* param) override;
    // Returns 7, and writes nothing, when `bits` has no output depth and no normalisation is asked for.
    int Calculate() override;
    int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, unsigned char* dst,
                int dstStride, unsigned char grid, tagTrueSenseParam* param) override;
    int CalculateRGB() override;

protected:
    enum class Flags { Low32Bits, Whole };     // what counts of `threads_num`, `normalizationEnable` and the mirrors
    enum class Matrix { OfEngine, OfOutput };  // who applies the colour matrix

    enum class Plane { OfWords, OfBytes };  // OfBytes: the engine takes frames of 8-bit samples as they are

    TrueSenseEngine(Flags flags, Matrix matrix, Plane plane = Plane::OfWords)
        : flags_(flags), matrix_(matrix), planeKind_(plane) {}

    // The parameters of an Init that brings none.
    virtual void Defaults(tagTrueSenseParam* param) const { TrueSense_DefaultValues(param); }
    // Memory for this frame, kept where it suffices. Called by every Init, before the mosaic is filled. False when it
    // ran out.
    virtual bool Reserve(const EngineFrame& frame) = 0;
    // Makes the rows from gridY to endY, any values with Matrix::OfOutput and of 12 bits else. May change the
    // mosaic. Returns 0, 1 or 9; but for 0 nothing must have reached the sink.
    virtual int Reconstruct(const EngineFrame& frame, const ColourRowSink& sink) = 0;

private:
    void TakeParameters(const tagTrueSenseParam* param);
    template <class Sample>
    int Load(const Sample* src, const _OrvRect& rect, int srcStride, int bits, unsigned char grid,
             const tagTrueSenseParam* param);
    template <class Sample>
    int Process(Sample* dst, int dstStride, int shift);

    const Flags flags_;
    const Matrix matrix_;
    const Plane planeKind_;
    T* dst_ = nullptr;
    unsigned char* dst8_ = nullptr;
    int dstStride_ = 0;  // samples
    int bits_ = 0;
    bool alpha_ = false, bgr_ = false;
    bool prepared_ = false;  // the frame below is complete
    EngineFrame frame_;
    AlignedBuffer plane_;  // the mosaic
};

extern template class TrueSenseEngine<unsigned char>;
extern template class TrueSenseEngine<unsigned short>;

}  // namespace orv

#endif
