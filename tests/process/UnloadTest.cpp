// Loads the library, converts and unloads it, again and again. The program is not linked with it, nor with OpenMP.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "OrvTrueSense.h"
#include "support/Image.h"
#include "support/Threads.h"

namespace {

template <class Function>
Function* Find(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

TEST(Unload, ConvertsAfterEveryLoad) {
    constexpr int kSide = 128, kTeam = 3;
    orvtest::Image source(OrvPixelTrueSense8, 8, kSide, kSide, kSide), result(OrvPixelRGB8, 8, kSide, kSide, 3 * kSide);
    for (int round = 0; round < 10; ++round) {
        for (int algorithm = 0; algorithm < 5; ++algorithm) {
            void* const library = dlopen(ORV_LIBRARY, RTLD_NOW);
            ASSERT_NE(nullptr, library) << dlerror();
            OrvTrueSense* const component =
                Find<decltype(OrvTrueSense_CreateComponent)>(library, "OrvTrueSense_CreateComponent")();
            OrvSetParam(*component->GetComponent(), "TrueSenseAlgType", algorithm);
            OrvSetParam(*component->GetComponent(), "threads_num", kTeam);
            EXPECT_EQ(0U, component->ConvertImage(&source.record, &result.record));
            Find<decltype(OrvTrueSense_DeleteComponent)>(library, "OrvTrueSense_DeleteComponent")(component);
            EXPECT_EQ(0, dlclose(library));
            EXPECT_EQ(kTeam, orvtest::CountThreads());  // no thread is lost, none is left behind
        }
    }
}

}  // namespace
