// Status words of the helpers.
#ifndef ORV_HELPERS_STATUS_H
#define ORV_HELPERS_STATUS_H

#include <new>

#include "OrvImage.h"

namespace orv::helpers {

constexpr uint32_t kFamily = 0x80070000U;
constexpr uint32_t kFailure = kFamily | OrvStatusOpenCv;
constexpr uint32_t kBufferTooShort = kFamily | OrvStatusBufferTooShort;
constexpr uint32_t kBadArgument = kFamily | OrvStatusBadArgument;
constexpr uint32_t kNoMemory = kFamily | OrvStatusNoMemory;

// The status of a call of a component, which may throw: exceptions do not reach callers in C.
template <class Call>
uint32_t Guarded(const Call& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return kNoMemory;
    } catch (...) {
        return kFailure;
    }
}

}  // namespace orv::helpers

#endif
