#include "RawFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

namespace orvtool {

RawFile::RawFile(const std::string& path, const SourceWord& word, const RawLayout& layout)
    : path_(path),
      word_(word),
      layout_(layout),
      rows_(layout.height),
      rowSamples_(layout.width),
      file_(nullptr, nullptr) {
    CheckSize(path, layout.width, layout.height);
    // PFNC's p formats go on from row to row without padding.
    if (layout.stride == 0 && (layout.packing == OrvPacking10p || layout.packing == OrvPacking12p)) {
        rows_ = 1;
        rowSamples_ = layout.width * layout.height;
    }
    rowBytes_ = OrvWord_RowBytes(word.word, layout.packing, rowSamples_);
    if (rowBytes_ < 0) {
        FailFile(path, std::string("packing ") + OrvPacking_Name(layout.packing) + " does not fit " + word.name);
    }
    stride_ = layout.stride == 0 ? rowBytes_ : layout.stride;
    if (stride_ < rowBytes_) {
        FailFile(path, "a stride of " + std::to_string(stride_) + " bytes is shorter than a row of " +
                           std::to_string(rowBytes_));
    }
    file_ = OpenToRead(path);
    struct stat status = {};
    if (fstat(fileno(file_.get()), &status) == 0 && S_ISREG(status.st_mode)) {
        const int64_t bytes = std::max<int64_t>(0, status.st_size - layout.offset);
        if (bytes < FrameBytes()) {
            FailShort(bytes);
        }
        frameCount_ = 1 + (bytes - FrameBytes()) / (stride_ * rows_);
        remainder_ = std::max<int64_t>(0, bytes - frameCount_ * stride_ * rows_);
    }
    if (Pass(layout.offset) != layout.offset) {
        FailShort(0);
    }
}

void RawFile::FailShort(int64_t found) const {
    std::string text = "the file is too short: " + std::to_string(found) + " bytes where a frame should be, " +
                       std::to_string(FrameBytes()) + " are wanted (" + std::to_string(layout_.width) + "x" +
                       std::to_string(layout_.height) + ", " + word_.name + ", row stride " + std::to_string(stride_) +
                       ")";
    const int64_t pixels = int64_t{layout_.width} * layout_.height;
    if (word_.bits > 8 && layout_.packing == OrvPackingNone && found == pixels) {
        text += "; it has one byte per sample: use a word of 8 bits";
    } else if (word_.bits > 8 && layout_.packing == OrvPackingNone &&
               (found == pixels * word_.bits / 8 || found == pixels * 3 / 2)) {
        text += "; that is the size of packed samples: see --packing";
    }
    FailFile(path_, text);
}

int64_t RawFile::Pass(int64_t count) {
    if (frameCount_ >= 0) {
        return fseeko(file_.get(), count, SEEK_CUR) == 0 ? count : 0;
    }
    std::vector<uint8_t> passed(1 << 16);
    int64_t done = 0;
    while (done < count) {
        const size_t step = static_cast<size_t>(std::min<int64_t>(count - done, 1 << 16));
        const size_t got = std::fread(passed.data(), 1, step, file_.get());
        if (got == 0) {
            break;
        }
        done += static_cast<int64_t>(got);
    }
    return done;
}

void RawFile::Skip(int64_t frames) {
    const int64_t frameStep = stride_ * rows_;
    bool there = frameCount_ < 0 || frames < frameCount_;
    for (; there && framesRead_ < frames; ++framesRead_) {
        there = Pass(frameStep) == frameStep;
    }
    if (!there) {
        FailFile(path_, "there is no frame " + std::to_string(frames) +
                            (frameCount_ >= 0 ? "; the last one is " + std::to_string(frameCount_ - 1) : ""));
    }
}

bool RawFile::Read(Frame* frame) {
    if (frameCount_ >= 0 && framesRead_ >= frameCount_) {
        return false;
    }
    const int64_t wanted = framesRead_ + 1 == frameCount_ ? FrameBytes() : stride_ * rows_;
    bytes_.resize(static_cast<size_t>(wanted));
    const auto got = static_cast<int64_t>(std::fread(bytes_.data(), 1, bytes_.size(), file_.get()));
    if (got < FrameBytes()) {
        if (framesRead_ == 0 || frameCount_ >= 0) {
            FailShort(got);
        }
        remainder_ = got;
        return false;
    }
    ++framesRead_;
    frame->word = word_;
    frame->width = layout_.width;
    frame->height = layout_.height;
    frame->codes.resize(static_cast<size_t>(layout_.width) * static_cast<size_t>(layout_.height));
    Unpack(frame->codes.data());
    return true;
}

void RawFile::Unpack(uint16_t* codes) const {
    if (layout_.packing != OrvPackingNone) {
        OrvPacking_Unpack(layout_.packing, bytes_.data(), bytes_.size(), stride_, rowSamples_, rows_, codes,
                          int64_t{2} * rowSamples_ * rows_, int64_t{2} * rowSamples_);
        return;
    }
    const int high = layout_.bigEndian ? 0 : 1;
    for (int y = 0; y < rows_; ++y) {
        const uint8_t* in = bytes_.data() + y * stride_;
        for (int x = 0; x < rowSamples_; ++x, ++codes) {
            *codes = word_.bits == 8 ? in[x] : static_cast<uint16_t>(in[2 * x + high] << 8 | in[2 * x + 1 - high]);
        }
    }
}

bool RawFile::HasMore() {
    if (frameCount_ >= 0) {
        return false;
    }
    const int next = std::getc(file_.get());
    return next != EOF && std::ungetc(next, file_.get()) != EOF;
}

}  // namespace orvtool
