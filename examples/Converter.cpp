#include "Converter.h"

#include <algorithm>
#include <cstdio>

#include "Record.h"

namespace orvtool {

namespace {

std::string Describe(const std::string& what, uint32_t status) {
    char number[16];
    std::snprintf(number, sizeof(number), "0x%08X", status);
    return what + ": " + number + " (" + OrvStatusText(status) + ")";
}

// The calls of the component view take names that are not const.
char* Mutable(const std::string& text) { return const_cast<char*>(text.c_str()); }

uint32_t BgrWord(int bits) {
    switch (bits) {
    case 8: return OrvPixelBGR8;
    case 10: return OrvPixelBGR10;
    case 12: return OrvPixelBGR12;
    case 14: return OrvPixelBGR14;
    default: return OrvPixelBGR16;
    }
}

}  // namespace

LibraryError::LibraryError(const std::string& what, uint32_t status) : std::runtime_error(Describe(what, status)) {}

Frame::Frame(const SourceWord& sourceWord, int frameWidth, int frameHeight, const std::vector<uint16_t>& codes)
    : word(&sourceWord), width(frameWidth), height(frameHeight) {
    const int bytesPerSample = sourceWord.BytesPerSample();
    stride = width * bytesPerSample;
    bytes.resize(static_cast<size_t>(stride) * static_cast<size_t>(height));
    const int top = sourceWord.MaxSample();
    for (int y = 0; y < height; ++y) {
        const uint16_t* in = codes.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
        uint8_t* out = bytes.data() + static_cast<size_t>(y) * static_cast<size_t>(stride);
        for (int x = 0; x < width; ++x) {
            clipped += in[x] > top ? 1 : 0;
            const int code = std::min<int>(in[x], top);
            *out++ = static_cast<uint8_t>(code & 0xFF);
            if (bytesPerSample == 2) {
                *out++ = static_cast<uint8_t>(code >> 8);
            }
        }
    }
}

Converter::Converter(bool trueSense)
    : trueSense_(trueSense),
      bayer_(trueSense ? nullptr : OrvBayer_CreateComponent(), OrvBayer_DeleteComponent),
      truesense_(trueSense ? OrvTrueSense_CreateComponent() : nullptr, OrvTrueSense_DeleteComponent),
      component_(trueSense ? OrvTrueSense_GetComponent(truesense_.get()) : OrvBayer_GetComponent(bayer_.get())) {}

std::vector<std::string> Converter::Names() const {
    std::vector<std::string> names;
    for (int i = 0; i < component_->GetParamCount(); ++i) {
        char name[256];
        unsigned length = sizeof(name);
        if (component_->GetParamName(static_cast<unsigned>(i), name, &length) == 0) {
            names.emplace_back(name);
        }
    }
    return names;
}

void Converter::Set(const std::string& option, const std::string& name, const std::string& value) {
    const uint32_t status = component_->SetParamAsString(Mutable(name), Mutable(value));
    if (status == 0) {
        return;
    }
    std::string known;
    if ((status & 0xFFFFU) == OrvStatusNotFound) {
        known = "; known names:";
        for (const std::string& each : Names()) {
            known += " " + each;
        }
    }
    throw std::runtime_error(Describe(option + ": " + name + "=" + value, status) + known);
}

std::string Converter::Get(const std::string& name) const {
    char value[64];
    unsigned length = sizeof(value);
    const uint32_t status = component_->GetParamAsString(Mutable(name), value, &length, nullptr);
    if (status != 0) {
        throw LibraryError("reading " + name, status);
    }
    return value;
}

void Converter::Reset() {
    OrvBayer_ReleaseData(bayer_.get());
    OrvTrueSense_ReleaseData(truesense_.get());
}

uint32_t Converter::TryConvert(const Frame& frame, bool eightBits, ColourFrame* out) {
    const SourceWord& word = *frame.word;
    out->bits = word.bits;
    if (trueSense_ && word.bits > 8) {
        out->bits = eightBits ? 8 : Get("normalizationEnable") == "1" ? 16 : word.bits;
    }
    const bool byteSamples = out->bits == 8;
    out->bgr.create(frame.height, frame.width, byteSamples ? CV_8UC3 : CV_16UC3);
    _OrvImage source = MakeRecord(word.word, word.bits, frame.width, frame.height, frame.stride,
                                  const_cast<uint8_t*>(frame.bytes.data()));
    _OrvImage destination = MakeRecord(BgrWord(out->bits), out->bits, frame.width, frame.height,
                                       static_cast<int>(out->bgr.step[0]), out->bgr.data);
    if (trueSense_) {
        return OrvTrueSense_ConvertImage(truesense_.get(), &source, &destination);
    }
    // The adaptive engine keeps planes of one size.
    if (frame.width != lastWidth_ || frame.height != lastHeight_) {
        Reset();
        lastWidth_ = frame.width;
        lastHeight_ = frame.height;
    }
    // Rows without padding suit every algorithm but the adaptive one at 16 bits, which wants an even number of samples;
    // the edge-aware conversion of OpenCV 4.6 in turn reads padded rows wrongly.
    if (word.bits > 8 && frame.width % 2 != 0 && Get("BayerAlgType") == "1") {
        const size_t stride = static_cast<size_t>(frame.stride) + 2;
        padded_.resize(stride * static_cast<size_t>(frame.height));
        for (size_t y = 0; y < static_cast<size_t>(frame.height); ++y) {
            std::copy_n(frame.bytes.data() + y * (stride - 2), stride - 2, padded_.data() + y * stride);
        }
        source = MakeRecord(word.word, word.bits, frame.width, frame.height, static_cast<int>(stride), padded_.data());
    }
    return OrvBayer_ConvertImage(bayer_.get(), &source, &destination);
}

void Converter::Convert(const Frame& frame, bool eightBits, ColourFrame* out) {
    const uint32_t status = TryConvert(frame, eightBits, out);
    if (status != 0) {
        throw LibraryError("conversion with --alg " + Get(AlgorithmName()), status);
    }
}

}  // namespace orvtool
