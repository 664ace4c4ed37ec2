// A conversion component of the library as the tool holds it: parameters by name, a frame in, a colour frame out.
#ifndef ORV_EXAMPLES_CONVERTER_H
#define ORV_EXAMPLES_CONVERTER_H

#include <array>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Frame.h"
#include "OrvBayer.h"
#include "OrvHelpers.h"
#include "OrvTrueSense.h"

namespace orvtool {

// A call of the library failed. The text holds the status word and its meaning.
class LibraryError : public std::runtime_error {
public:
    LibraryError(const std::string& what, uint32_t status);
};

// A colour matrix row by row: red from red, green and blue, and so on.
using Matrix = std::array<double, 9>;
constexpr Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

class Converter {
public:
    explicit Converter(bool trueSense);

    // Throws std::runtime_error that names `option`, where the value comes from, and what would be accepted.
    void Set(const std::string& option, const std::string& name, const std::string& value);
    std::string Get(const std::string& name) const;

    void SetAlgorithm(int algorithm);
    int Algorithm() const { return std::stoi(Get(AlgorithmName())); }
    const char* AlgorithmName() const { return trueSense_ ? "TrueSenseAlgType" : "BayerAlgType"; }
    int Family() const { return trueSense_ ? OrvFamilyTrueSense : OrvFamilyBayer; }
    // Algorithm numbers of the family: 0 to one below.
    int AlgorithmCount() const { return trueSense_ ? 5 : 3; }
    // False when the algorithm in force takes no notice of the parameter.
    bool Reads(const std::string& name) const;

    // The colour matrix of a TrueSense component; the identity for Bayer, where it cannot be set.
    Matrix ColourMatrix() const;
    void SetColourMatrix(const Matrix& matrix);

    // Forgets all earlier frames: the adaptive engine above 8 bits lets one frame show in the next.
    void Reset();

    // Converts; `eightBits` asks for 8-bit colour from deeper frames. `out` keeps its memory from frame to frame.
    // Throws LibraryError.
    void Convert(const Frame& frame, bool eightBits, ColourFrame* out);
    // The status of the same call in place of an exception.
    uint32_t TryConvert(const Frame& frame, bool eightBits, ColourFrame* out);

private:
    bool trueSense_;
    std::unique_ptr<OrvBayer, void (*)(OrvBayer*)> bayer_;
    std::unique_ptr<OrvTrueSense, void (*)(OrvTrueSense*)> truesense_;
    OrvComponent* component_;
    std::vector<uint8_t> bytes_;    // 8-bit samples
    std::vector<uint8_t> scratch_;  // of the helpers
    int lastWidth_ = 0;
    int lastHeight_ = 0;
};

}  // namespace orvtool

#endif
