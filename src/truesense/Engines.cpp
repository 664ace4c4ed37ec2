#include "truesense/Engines.h"

#include "engines/TrueSenseToRgb.h"

namespace orv {
namespace {

constexpr TrueSenseEngines MakeEngines() {
    TrueSenseEngines engines = {};
    engines.Add<TrueSenseToRgb>(0);
    return engines;
}

}  // namespace

constexpr TrueSenseEngines kTrueSenseEngines = MakeEngines();

}  // namespace orv
