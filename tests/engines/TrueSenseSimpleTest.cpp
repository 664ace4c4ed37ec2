#include "engines/TrueSenseSimple.h"

#include "support/EngineVectors.h"

namespace {

TEST(TrueSenseSimple, Vectors) { orvtest::RunVectors<TrueSenseSimple>("truesense_simple_"); }

}  // namespace
