// Loads the library at run time. The program is linked with neither it nor OpenMP.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <thread>

#include "OrvTrueSense.h"
#include "support/Child.h"
#include "support/Image.h"
#include "support/Threads.h"

namespace {

constexpr int kTeam = 3;

template <class Function>
Function* Find(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

// Loads the library, converts a frame on kTeam threads and unloads it.
void LoadAndConvert(int algorithm) {
    constexpr int kSide = 128;
    orvtest::Image source(OrvPixelTrueSense8, 8, kSide, kSide, kSide), result(OrvPixelRGB8, 8, kSide, kSide, 3 * kSide);
    void* const library = dlopen(ORV_LIBRARY, RTLD_NOW);
    ASSERT_NE(nullptr, library) << dlerror();
    OrvTrueSense* const component =
        Find<decltype(OrvTrueSense_CreateComponent)>(library, "OrvTrueSense_CreateComponent")();
    OrvSetParam(*component->GetComponent(), "TrueSenseAlgType", algorithm);
    OrvSetParam(*component->GetComponent(), "threads_num", kTeam);
    EXPECT_EQ(0U, component->ConvertImage(&source.record, &result.record));
    Find<decltype(OrvTrueSense_DeleteComponent)>(library, "OrvTrueSense_DeleteComponent")(component);
    EXPECT_EQ(0, dlclose(library));
}

// Pools of the parent do not work in its child, whoever made them.
TEST(Load, InTheChildOfAProcessWithThreads) {
    const auto expectThreads = [](int count) {
        orvtest::ExpectInChild([count] {
            LoadAndConvert(0);
            return orvtest::CountThreads() == count;
        });
    };
    expectThreads(kTeam);
    std::thread([] {}).join();
    expectThreads(1);
}

TEST(Load, AgainAfterEveryUnload) {
    for (int round = 0; round < 10; ++round) {
        for (int algorithm = 0; algorithm < 5; ++algorithm) {
            LoadAndConvert(algorithm);
            EXPECT_EQ(kTeam, orvtest::CountThreads());  // no thread is lost, none is left behind
        }
    }
}

}  // namespace
