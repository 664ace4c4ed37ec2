// The TrueSense engines by algorithm number.
#ifndef ORV_TRUESENSE_ENGINES_H
#define ORV_TRUESENSE_ENGINES_H

#include "truesense/IDemosaicing.h"

namespace orv {

// One engine class for sources of sample type T; both members null for a number that no engine serves.
template <class T>
struct EngineClass {
    IDemConvertion<T>* (*make)();             // a new engine; owned by the caller
    bool (*made)(IDemConvertion<T>* engine);  // true when `engine` is of this very class
};

template <template <class> class Engine, class T>
constexpr EngineClass<T> EngineClassOf() {
    return {[]() -> IDemConvertion<T>* { return new Engine<T>; },
            [](IDemConvertion<T>* engine) { return dynamic_cast<Engine<T>*>(engine) != nullptr; }};
}

constexpr unsigned kAlgorithmCount = 5;

// Every engine in both sample widths.
struct TrueSenseEngines {
    EngineClass<unsigned char> bytes[kAlgorithmCount];
    EngineClass<unsigned short> words[kAlgorithmCount];

    template <class T>
    const EngineClass<T>* Find(long algorithm) const {
        const EngineClass<T>* classes = nullptr;
        if constexpr (sizeof(T) == 1) {
            classes = bytes;
        } else {
            classes = words;
        }
        const unsigned number = static_cast<unsigned>(algorithm);  // the low 32 bits decide
        return number < kAlgorithmCount && classes[number].make != nullptr ? &classes[number] : nullptr;
    }
    template <template <class> class Engine>
    constexpr void Add(unsigned algorithm) {
        bytes[algorithm] = EngineClassOf<Engine, unsigned char>();
        words[algorithm] = EngineClassOf<Engine, unsigned short>();
    }
};

// The engines of the library.
extern const TrueSenseEngines kTrueSenseEngines;

}  // namespace orv

#endif
