#include "Converter.h"

#include <algorithm>
#include <cstdio>

#include "OrvHelpers.h"

namespace orvtool {

namespace {

const char* const kMatrixNames[9] = {"RR", "RG", "RB", "GR", "GG", "GB", "BR", "BG", "BB"};

std::string Describe(const std::string& what, uint32_t status) {
    char number[16];
    std::snprintf(number, sizeof(number), "0x%08X", status);
    return what + ": " + number + " (" + OrvStatusText(status) + ")";
}

// The calls of the component view take names that are not const.
char* Mutable(const std::string& text) { return const_cast<char*>(text.c_str()); }

}  // namespace

LibraryError::LibraryError(const std::string& what, uint32_t status) : std::runtime_error(Describe(what, status)) {}

Converter::Converter(bool trueSense)
    : trueSense_(trueSense),
      bayer_(trueSense ? nullptr : OrvBayer_CreateComponent(), OrvBayer_DeleteComponent),
      truesense_(trueSense ? OrvTrueSense_CreateComponent() : nullptr, OrvTrueSense_DeleteComponent),
      component_(trueSense ? OrvTrueSense_GetComponent(truesense_.get()) : OrvBayer_GetComponent(bayer_.get())) {}

void Converter::Set(const std::string& option, const std::string& name, const std::string& value) {
    const uint32_t status = component_->SetParamAsString(Mutable(name), Mutable(value));
    if (status == 0) {
        return;
    }
    const OrvParamInfo* info = OrvParam_Info(Family(), name.c_str());
    throw std::runtime_error(
        Describe(option + ": " + name + "=" + value, status) +
        (info == nullptr ? "; --list-parameters shows the names" : std::string("; it takes ") + info->range));
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

void Converter::SetAlgorithm(int algorithm) {
    if (algorithm < 0 || algorithm >= AlgorithmCount()) {
        throw std::runtime_error("--alg: " + std::to_string(algorithm) + " is no " + AlgorithmName() +
                                 ", which are 0 to " + std::to_string(AlgorithmCount() - 1));
    }
    Set("--alg", AlgorithmName(), std::to_string(algorithm));
}

bool Converter::Reads(const std::string& name) const {
    const OrvParamInfo* info = OrvParam_Info(Family(), name.c_str());
    return info != nullptr && (info->algorithms >> Algorithm() & 1U) != 0;
}

Matrix Converter::ColourMatrix() const {
    Matrix matrix = kIdentity;
    for (size_t i = 0; trueSense_ && i < 9; ++i) {
        matrix[i] = std::stod(Get(kMatrixNames[i]));
    }
    return matrix;
}

void Converter::SetColourMatrix(const Matrix& matrix) {
    for (size_t i = 0; i < 9; ++i) {
        char text[40];
        std::snprintf(text, sizeof(text), "%.17g", matrix[i]);
        Set("colour matrix", kMatrixNames[i], text);
    }
}

void Converter::Reset() {
    OrvBayer_ReleaseData(bayer_.get());
    OrvTrueSense_ReleaseData(truesense_.get());
}

uint32_t Converter::TryConvert(const Frame& frame, bool eightBits, ColourFrame* out) {
    const SourceWord& word = frame.word;
    out->bits = eightBits ? 8 : word.bits;
    if (trueSense_ && out->bits > 8 && Get("normalizationEnable") == "1") {
        out->bits = 16;
    }
    out->bgr.create(frame.height, frame.width, out->bits == 8 ? CV_8UC3 : CV_16UC3);
    void* pixels = const_cast<uint16_t*>(frame.codes.data());
    if (word.bits == 8) {
        bytes_.resize(frame.codes.size());
        OrvRows_To8(frame.codes.data(), 2 * frame.width, bytes_.data(), frame.width, frame.width, frame.height, 8);
        pixels = bytes_.data();
    }
    _OrvImage source;
    _OrvImage destination;
    uint32_t status = OrvFrame_Make(&source, word.word, frame.width, frame.height, 0, pixels);
    if (status == 0) {
        status = OrvFrame_Make(&destination, OrvWord_Colour(true, 3, out->bits), frame.width, frame.height, 0,
                               out->bgr.data);
    }
    if (status != 0 || trueSense_) {
        return status != 0 ? status : OrvTrueSense_ConvertImage(truesense_.get(), &source, &destination);
    }
    // The adaptive engine keeps planes of one size.
    if (frame.width != lastWidth_ || frame.height != lastHeight_) {
        Reset();
        lastWidth_ = frame.width;
        lastHeight_ = frame.height;
    }
    scratch_.resize(
        static_cast<size_t>(std::max<int64_t>(0, OrvFrame_ConvertBayerBytes(&source, &destination, Algorithm()))));
    return OrvFrame_ConvertBayer(bayer_.get(), &source, &destination, scratch_.data(), scratch_.size());
}

void Converter::Convert(const Frame& frame, bool eightBits, ColourFrame* out) {
    const uint32_t status = TryConvert(frame, eightBits, out);
    if (status != 0) {
        throw LibraryError("conversion with --alg " + Get(AlgorithmName()), status);
    }
}

}  // namespace orvtool
