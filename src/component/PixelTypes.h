// Fields of pixel type words and the making of status words.
#ifndef ORV_COMPONENT_PIXELTYPES_H
#define ORV_COMPONENT_PIXELTYPES_H

#include "OrvImage.h"

namespace orv {

constexpr uint32_t kClassMask = 0xFF000000U;
constexpr uint32_t kClassBayer = 0x03000000U;
constexpr uint32_t kClassTrueSense = 0x04000000U;

// Component type identifiers, the family of status words.
constexpr int kFamilyBayer = 5;
constexpr int kFamilyTrueSense = 6;

// Bare codes, as engines return them.
constexpr int kCodeOk = 0;
constexpr int kCodeOpenCv = OrvStatusOpenCv;
constexpr int kCodeBadArgument = OrvStatusBadArgument;
constexpr int kCodeNullPointer = OrvStatusNullPointer;
constexpr int kCodeNoMemory = OrvStatusNoMemory;

constexpr bool IsBayer(uint32_t word) { return (word & kClassMask) == kClassBayer; }
constexpr bool IsTrueSense(uint32_t word) { return (word & kClassMask) == kClassTrueSense; }
// All other depths store a sample in 16 bits.
constexpr bool HasByteSamples(uint32_t word) { return (word & 0xFF00U) == 0x100U; }

// Status word of a bare code; 0 stays 0.
constexpr uint32_t StatusOf(int family, int code) {
    return code == 0 ? 0U : 0x80000000U | (static_cast<uint32_t>(family) << 16) | static_cast<uint32_t>(code);
}
// A failure of the parameter container.
constexpr bool IsContainerFailure(uint32_t status) { return status > 0x80000000U; }

}  // namespace orv

#endif
