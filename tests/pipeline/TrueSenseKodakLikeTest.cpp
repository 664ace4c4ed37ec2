#include "pipeline/TrueSenseKodakLike.h"

#include <gtest/gtest.h>

#include "support/EngineVectors.h"

namespace {

TEST(TrueSenseKodakLike, GivenFrames) { orvtest::RunVectors<TrueSenseKodakLike>("truesense_kodak_like_"); }

}  // namespace
