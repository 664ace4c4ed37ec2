// What the entries of all engines have in common.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstring>
#include <limits>
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

constexpr int kSide = 40;
constexpr int kDefault = 3;
constexpr int kTeam = 2;
constexpr int kMost = std::numeric_limits<int>::max();

// Refused ones have reasons for later refusals, too.
struct Call {
    int code;
    bool source, result;
    int width, height, bits, grid;
};
constexpr Call kCalls[] = {
    {0, true, true, kSide, kSide, 12, 0}, {8, false, true, -1, -1, 9, 16},       {8, true, false, -1, -1, 9, 16},
    {7, true, true, -1, -1, 9, 16},       {7, true, true, 0, 0, 12, 240},        {9, true, true, 0, 0, 9, 0},
    {9, true, true, -1, 8, 12, 3},        {0, true, true, kSide, kSide, 10, 3},  {9, true, true, 8, -5, 12, 15},
    {9, true, true, 0, 8, 12, 4},         {9, true, true, kMost, kMost, 12, 15}, {7, true, true, kSide, kSide, 0, 3},
    {7, true, true, kSide, kSide, 7, 3},  {7, true, true, kSide, kSide, 9, 3},   {7, true, true, kSide, kSide, 11, 3},
    {7, true, true, kSide, kSide, 13, 3}, {7, true, true, kSide, kSide, 15, 3},  {7, true, true, kSide, kSide, 17, 3}};

template <class T>
void CheckEntries(unsigned algorithm) {
    const std::vector<T> source(kSide * kSide);
    const std::vector<unsigned short> wide(kSide * kSide);
    const std::vector<T> untouched(3 * kSide * kSide, 0x5A);
    std::vector<T> result = untouched;
    const std::vector<unsigned char> untouchedBytes(result.size(), 0x5A);
    std::vector<unsigned char> bytes = untouchedBytes;
    tagTrueSenseParam param;
    TrueSense_DefaultValues(&param);
    param.threads_num = kTeam;
    const std::unique_ptr<IDemConvertion<T>> engine(orv::kTrueSenseEngines.Find<T>(algorithm)->make());
    const auto init = [&](const Call& call, bool rgb) {
        constexpr int kRow = kSide * static_cast<int>(sizeof(T));
        const _OrvRect rect = {0, 0, call.width, call.height};
        const auto grid = static_cast<unsigned char>(call.grid);
        return rgb ? engine->InitRGB(call.source ? wide.data() : nullptr, rect, {kSide, kSide}, 2 * kSide, call.bits,
                                     call.result ? bytes.data() : nullptr, 3 * kSide, grid, &param)
                   : engine->Init(call.source ? source.data() : nullptr, rect, {kSide, kSide}, kRow, call.bits,
                                  call.result ? result.data() : nullptr, 3 * kRow, grid, &param);
    };
    for (const Call& call : kCalls) {
        for (const bool rgb : {false, true}) {
            SCOPED_TRACE(testing::Message() << algorithm << ", " << call.bits << " bits, " << call.code << ", " << rgb);
            EXPECT_EQ(0, init(kCalls[0], rgb));
            omp_set_num_threads(kDefault);
            // The reference engine looks at the depth before the size, and refuses 10 bits to 8.
            const bool depth = algorithm == 4 && (call.bits == 9 || (rgb && call.bits == 10));
            const int code = depth && call.code != 8 ? 7 : call.code;
            EXPECT_EQ(code, init(call, rgb));
            // The process's default team size, whatever the code.
            const int left = algorithm == 0 && rgb && code != 8 ? kTeam : kDefault;
            EXPECT_EQ(left, omp_get_max_threads());
            if (code != 8) {  // after a null pointer the frame before remains
                const int calculated = rgb ? engine->CalculateRGB() : engine->Calculate();
                EXPECT_EQ(0, code == 0 ? calculated : 0);
                EXPECT_EQ(left, omp_get_max_threads());
            }
            EXPECT_EQ(code != 0, result == untouched && bytes == untouchedBytes);
            result = untouched;
            bytes = untouchedBytes;
        }
    }
    // The reference engine counts five bytes per sample in 32 bits.
    EXPECT_EQ(9, algorithm == 4 ? init({0, true, true, 29312, 29312, 12, 0}, false) : 9);
    EXPECT_EQ(7, init(kCalls[std::size(kCalls) - 1], false));
    EXPECT_NE(0, engine->Calculate());
    EXPECT_EQ(0, init(kCalls[0], false));
    dynamic_cast<IDemosaicing&>(*engine).CleanMemory();
    EXPECT_EQ(algorithm == 4, engine->Calculate() != 0);
    EXPECT_EQ(untouched, result);
}

TEST(Entries, RefuseInOrderAndOnlyInitRgbOfTheFastEngineChangesTheDefault) {
    const orvtest::DriverScope restore;
    for (unsigned algorithm = 0; algorithm < orv::kAlgorithmCount; ++algorithm) {
        CheckEntries<unsigned char>(algorithm);
        CheckEntries<unsigned short>(algorithm);
    }
}

}  // namespace
