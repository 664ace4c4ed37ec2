// A conversion component of the library as the tool holds it: parameters by name, a frame in, a colour frame out.
#ifndef ORV_EXAMPLES_CONVERTER_H
#define ORV_EXAMPLES_CONVERTER_H

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Mosaic.h"
#include "OrvBayer.h"
#include "OrvTrueSense.h"

namespace orvtool {

// A call of the library failed. The text holds the status word and its meaning.
class LibraryError : public std::runtime_error {
public:
    LibraryError(const std::string& what, uint32_t status);
};

// One frame behind a mosaic, rows without padding.
struct Frame {
    const SourceWord* word = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;  // bytes
    std::vector<uint8_t> bytes;

    // Codes above the word's depth are clipped; `clipped` counts them.
    Frame(const SourceWord& sourceWord, int frameWidth, int frameHeight, const std::vector<uint16_t>& codes);
    size_t clipped = 0;
};

// A colour frame, blue first, CV_8UC3 or CV_16UC3, with `bits` significant bits.
struct ColourFrame {
    cv::Mat bgr;
    int bits = 0;

    double Top() const { return static_cast<double>((1 << bits) - 1); }
};

class Converter {
public:
    explicit Converter(bool trueSense);

    // Throws LibraryError; for an unknown name its text lists the known ones. `option` names the origin of the value.
    void Set(const std::string& option, const std::string& name, const std::string& value);
    std::string Get(const std::string& name) const;
    std::vector<std::string> Names() const;

    void SetAlgorithm(int algorithm) { Set("--alg", AlgorithmName(), std::to_string(algorithm)); }
    const char* AlgorithmName() const { return trueSense_ ? "TrueSenseAlgType" : "BayerAlgType"; }
    // Algorithm numbers of the family.
    int AlgorithmCount() const { return trueSense_ ? 5 : 3; }

    // Forgets all earlier frames: an adaptive 16-bit engine lets one frame show in the next.
    void Reset();

    // Converts; `eightBits` asks a TrueSense component for 8-bit colour from deeper frames (Bayer ignores it). `out`
    // keeps its memory from frame to frame. Throws LibraryError.
    void Convert(const Frame& frame, bool eightBits, ColourFrame* out);
    // The status of the same call in place of an exception.
    uint32_t TryConvert(const Frame& frame, bool eightBits, ColourFrame* out);

private:
    bool trueSense_;
    std::unique_ptr<OrvBayer, void (*)(OrvBayer*)> bayer_;
    std::unique_ptr<OrvTrueSense, void (*)(OrvTrueSense*)> truesense_;
    OrvComponent* component_;
    std::vector<uint8_t> padded_;
    int lastWidth_ = 0;
    int lastHeight_ = 0;
};

}  // namespace orvtool

#endif
