#include "truesense/Engines.h"

namespace orv {
namespace {

constexpr TrueSenseEngines MakeEngines() {
    TrueSenseEngines engines = {};
    return engines;
}

}  // namespace

constexpr TrueSenseEngines kTrueSenseEngines = MakeEngines();

}  // namespace orv
