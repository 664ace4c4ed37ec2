#include "truesense/Engines.h"

#include "engines/TrueSenseBayerLike.h"
#include "engines/TrueSenseSimple.h"
#include "engines/TrueSenseToRgb.h"
#include "pipeline/TrueSenseKodak.h"
#include "pipeline/TrueSenseKodakLike.h"

namespace orv {
namespace {

constexpr TrueSenseEngines MakeEngines() {
    TrueSenseEngines engines = {};
    engines.Add<TrueSenseToRgb>(0);
    engines.Add<TrueSenseSimple>(1);
    engines.Add<TrueSenseBayerLike>(2);
    engines.Add<TrueSenseKodakLike>(3);
    engines.Add<TrueSenseKodak>(4);
    return engines;
}

}  // namespace

constexpr TrueSenseEngines kTrueSenseEngines = MakeEngines();

}  // namespace orv
