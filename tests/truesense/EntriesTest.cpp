// What the entries of all engines have in common.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstring>
#include <memory>
#include <vector>

#include "engines/TrueSenseBayerLike.h"
#include "engines/TrueSenseSimple.h"
#include "engines/TrueSenseToRgb.h"
#include "pipeline/parallel/TrueSenseKodak.h"
#include "pipeline/parallel/TrueSenseKodakLike.h"
#include "support/DriverScope.h"
#include "truesense/Engines.h"

namespace {

// The place of a virtual operation in the table of its class.
template <class Member>
size_t SlotOf(Member member) {
    size_t place = 0;
    std::memcpy(&place, &member, sizeof(place));
    return place / sizeof(void*);
}

template <class Engine>
void CheckSlots() {
    // After two destructors.
    EXPECT_EQ(2U, SlotOf(&Engine::CleanMemory));
    EXPECT_EQ(3U, SlotOf(&Engine::IsThis));
    EXPECT_EQ(4U, SlotOf(&Engine::SetOutputPixelType));
    EXPECT_EQ(5U, SlotOf(&Engine::Init));
    EXPECT_EQ(6U, SlotOf(&Engine::Calculate));
    EXPECT_EQ(7U, SlotOf(&Engine::InitRGB));
    EXPECT_EQ(8U, SlotOf(&Engine::CalculateRGB));
}

TEST(Entries, StandInOneOrder) {
    CheckSlots<TrueSenseToRgb<unsigned char>>();
    CheckSlots<TrueSenseSimple<unsigned char>>();
    CheckSlots<TrueSenseBayerLike<unsigned short>>();
    CheckSlots<TrueSenseKodakLike<unsigned short>>();
    CheckSlots<TrueSenseKodak<unsigned char>>();
}

// The process's default team size, whatever the code.

constexpr int kSide = 40;
constexpr int kDefault = 3;
constexpr int kTeam = 2;

struct Call {
    int code;
    bool source;
    int bits;
    unsigned char grid;
    int width;
};
constexpr Call kCalls[] = {{0, true, 12, 0, kSide},  {8, false, 12, 0, kSide}, {7, true, 11, 0, kSide},
                           {7, true, 12, 16, kSide}, {9, true, 12, 0, -1},     {0, true, 10, 3, kSide}};

template <class T>
void CheckEntries(unsigned algorithm) {
    const std::vector<T> source(kSide * kSide);
    const std::vector<unsigned short> wide(kSide * kSide);
    std::vector<T> result(3 * kSide * kSide);
    std::vector<unsigned char> bytes(result.size());
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    param.threads_num = kTeam;
    const std::unique_ptr<IDemConvertion<T>> engine(orv::kTrueSenseEngines.Find<T>(algorithm)->make());
    for (const Call& call : kCalls) {
        for (const bool rgb : {false, true}) {
            SCOPED_TRACE(testing::Message() << algorithm << ", " << call.bits << " bits, " << call.code << ", " << rgb);
            omp_set_num_threads(kDefault);
            const _OrvRect rect = {0, 0, call.width, kSide};
            // The reference engine alone refuses 10 bits to 8.
            const int code = algorithm == 4 && rgb && call.bits == 10 ? 7 : call.code;
            if (rgb) {
                EXPECT_EQ(code, engine->InitRGB(call.source ? wide.data() : nullptr, rect, {kSide, kSide}, 2 * kSide,
                                                call.bits, bytes.data(), 3 * kSide, call.grid, &param));
            } else {
                EXPECT_EQ(code, engine->Init(call.source ? source.data() : nullptr, rect, {kSide, kSide},
                                             kSide * static_cast<int>(sizeof(T)), call.bits, result.data(),
                                             3 * kSide * static_cast<int>(sizeof(T)), call.grid, &param));
            }
            const int left = algorithm == 0 && rgb && code != 8 ? kTeam : kDefault;
            EXPECT_EQ(left, omp_get_max_threads());
            if (code == 0) {
                EXPECT_EQ(0, rgb ? engine->CalculateRGB() : engine->Calculate());
                EXPECT_EQ(left, omp_get_max_threads());
            }
        }
    }
}

TEST(Entries, OnlyInitRgbOfTheFastEngineChangesTheDefault) {
    const orvtest::DriverScope restore;
    for (unsigned algorithm = 0; algorithm < orv::kAlgorithmCount; ++algorithm) {
        CheckEntries<unsigned char>(algorithm);
        CheckEntries<unsigned short>(algorithm);
    }
}

}  // namespace
