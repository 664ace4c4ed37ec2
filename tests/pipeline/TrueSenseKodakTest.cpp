#include "pipeline/TrueSenseKodak.h"

#include <gtest/gtest.h>

#include "support/EngineVector.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

class KodakVectors : public testing::TestWithParam<std::string> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(KodakVectors);

TEST_P(KodakVectors, AreReproduced) { orvtest::CheckEngineVector<TrueSenseKodak>(GetParam()); }

// The other engine's files have a letter here.
INSTANTIATE_TEST_SUITE_P(Files, KodakVectors, testing::ValuesIn([] {
                             std::vector<std::string> files = orvtest::VectorFiles("truesense_kodak_");
                             for (size_t i = files.size(); i-- > 0;) {
                                 if (files[i].find("kodak_like") != std::string::npos) {
                                     files.erase(files.begin() + static_cast<ptrdiff_t>(i));
                                 }
                             }
                             return files;
                         }()));

}  // namespace
