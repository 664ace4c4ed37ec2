#include "truesense/Engines.h"

#include "engines/TrueSenseBayerLike.h"
#include "engines/TrueSenseSimple.h"
#include "engines/TrueSenseToRgb.h"
#include "pipeline/parallel/TrueSenseKodak.h"
#include "pipeline/parallel/TrueSenseKodakLike.h"

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
