// Headerless files of frames, one after the other.
#ifndef ORV_EXAMPLES_RAW_FILE_H
#define ORV_EXAMPLES_RAW_FILE_H

#include <cstdint>
#include <string>
#include <vector>

#include "FileAccess.h"
#include "Frame.h"
#include "OrvHelpers.h"

namespace orvtool {

// Where the samples stand.
struct RawLayout {
    int width = 0;
    int height = 0;
    int64_t offset = 0;  // bytes before the first frame
    int64_t stride = 0;  // bytes from row to row; 0: no padding
    bool bigEndian = false;
    int packing = OrvPackingNone;
};

class RawFile {
public:
    RawFile(const std::string& path, const SourceWord& word, const RawLayout& layout);

    // Frames in the file, where the last one may lack the padding of its last row, and the bytes behind them; -1 and 0
    // for a pipe.
    int64_t FrameCount() const { return frameCount_; }
    int64_t Remainder() const { return remainder_; }

    // Passes over the first frames.
    void Skip(int64_t frames);
    // The next frame; false at the end of the file, and where only a part of a frame is left behind another one.
    bool Read(Frame* frame);
    // True when a pipe goes on.
    bool HasMore();

private:
    const std::string path_;
    const SourceWord& word_;
    const RawLayout layout_;
    int rows_;  // of the unpacking: one long row where packed rows run on without padding
    int rowSamples_;
    int64_t rowBytes_;
    int64_t stride_;
    int64_t frameCount_ = -1;
    int64_t remainder_ = 0;
    int64_t framesRead_ = 0;
    File file_;
    std::vector<uint8_t> bytes_;

    int64_t FrameBytes() const { return stride_ * (rows_ - 1) + rowBytes_; }
    // Passes over `count` bytes; returns how many there were.
    int64_t Pass(int64_t count);
    void Unpack(uint16_t* codes) const;
    [[noreturn]] void FailShort(int64_t found) const;
};

}  // namespace orvtool

#endif
