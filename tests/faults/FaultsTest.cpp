// Every allocation of a conversion fails once: a status word or std::bad_alloc tells, the destination keeps its bytes,
// nothing leaks, and the next frame is right. Frames after the first allocate nothing. Threads that do not start leave
// the result as it is.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "support/AllocationCounter.h"
#include "support/Child.h"
#include "support/Components.h"
#include "support/Noise.h"
#include "support/Threads.h"

namespace {

using orvtest::Image;
using Convert = std::function<uint32_t(const _OrvImage&, _OrvImage&)>;

struct Kind {
    uint32_t bayer, trueSense, colour;
    int bits, sourceBytes, colourBytes;
};
constexpr Kind kBytes = {OrvPixelBayerGB8, OrvPixelTrueSense(OrvPixelTrueSense8, 5), OrvPixelRGB8, 8, 1, 1};
constexpr Kind kWords = {OrvPixelBayerGB12, OrvPixelTrueSense(OrvPixelTrueSense12, 2), OrvPixelBGR12, 12, 2, 2};
constexpr Kind kNarrow = {OrvPixelBayerGB12, OrvPixelTrueSense(OrvPixelTrueSense12, 2), OrvPixelRGB8, 12, 2, 1};

enum class Stays { Nothing, OneSize, AnySize, Process };  // from frame to frame

// A way to convert frames.
struct Way {
    std::string name;
    bool trueSense;
    std::vector<Kind> kinds;
    Stays stays;
    int threads;
    std::function<Convert(bool oneShot)> make;  // from the start; `oneShot`: without what stays in the process
};

uint32_t Narrow(const _OrvImage& from, const _OrvImage& to, int algorithm) {
    return BayerToRGB_16u8u_C1C3R(static_cast<const unsigned short*>(from.data), {0, 0, to.width, to.height},
                                  {from.width, from.height}, from.stride, 12, static_cast<unsigned char*>(to.data),
                                  to.stride, 3, algorithm);
}

void AddBayer(int algorithm, std::vector<Way>* ways) {
    const std::string name = "Bayer " + std::to_string(algorithm);
    const auto component = [=](bool) -> Convert {
        const auto made = std::make_shared<orvtest::BayerComponent>(algorithm);
        return [=](auto& from, auto& to) { return (*made)->ConvertImage(&from, &to); };
    };
    const auto function = [=](bool) -> Convert {
        return [=](auto& from, auto& to) { return BayerToColor(&from, &to, algorithm); };
    };
    const auto narrow = [=](bool) -> Convert {
        return [=](auto& from, auto& to) { return Narrow(from, to, algorithm); };
    };
    const Stays stays = algorithm == 1 ? Stays::OneSize : Stays::AnySize;
    ways->push_back({name, false, {kBytes, kWords}, stays, 1, component});
    ways->push_back({name + ", function", false, {kBytes, kWords}, Stays::Nothing, 1, function});
    ways->push_back({name + ", cut to 8 bits", false, {kNarrow}, Stays::Nothing, 1, narrow});
}

void AddTrueSense(int algorithm, int threads, std::vector<Way>* ways) {
    // Beyond the 8 bits of algorithm 4, which goes another road for them.
    static const std::vector<uint16_t> tones = orvtest::NoiseSamples<uint16_t>(3, 4096, 4095);
    const std::string name = "TrueSense " + std::to_string(algorithm) + ", threads " + std::to_string(threads);
    const auto component = [=](bool) -> Convert {
        const auto made = std::make_shared<orvtest::TrueSenseComponent>(algorithm, threads);
        made->Set("impulseFilterEnable", 1);
        made->Set("sharpnessEnable", 1);
        made->Set("panRadius2", 40);  // over whole planes
        return [=](auto& from, auto& to) { return (*made)->ConvertImage(&from, &to); };
    };
    const auto function = [=](bool oneShot) -> Convert {
        const auto param = std::make_shared<tagTrueSenseParam>();
        TrueSense_DefaultValues(param.get());
        param->threads_num = threads;
        param->toneTable = reinterpret_cast<const int16_t*>(tones.data());
        return [=](auto& from, auto& to) { return TrueSenseToColor(&from, &to, param.get(), algorithm, oneShot); };
    };
    const std::vector<Kind> kinds = {kBytes, kWords, kNarrow};
    ways->push_back({name, true, kinds, Stays::AnySize, threads, component});
    ways->push_back({name + ", one shot", true, kinds, Stays::Nothing, threads, [=](bool) { return function(true); }});
    if (threads > 1) {
        ways->push_back({name + ", function", true, kinds, Stays::Process, threads, function});
    }
}

std::vector<Way> Ways() {
    std::vector<Way> ways;
    for (const int algorithm : {0, 1, 2}) {
        AddBayer(algorithm, &ways);
    }
    for (const int algorithm : {0, 1, 2, 3, 4}) {
        AddTrueSense(algorithm, 1, &ways);
        AddTrueSense(algorithm, 2, &ways);
    }
    return ways;
}

// A square frame of noise.
struct Frame {
    Image source, result;
    Frame(const Way& way, const Kind& kind, int size)
        : source(way.trueSense ? kind.trueSense : kind.bayer, kind.bits, size, size, size * kind.sourceBytes),
          result(kind.colour, kind.bits, size, size, (3 * size + 2) * kind.colourBytes) {
        orvtest::Noise noise(7);
        // Some samples beyond their depth go another road in algorithm 2, where OpenCV allocates for every frame.
        const uint32_t top = way.stays == Stays::Nothing ? 0xFF : 0x0F;
        for (int i = 0; i < source.record.imageSize; ++i) {
            source.Data()[i] = static_cast<uint8_t>(noise.Next() & (i % 2 != 0 ? top : 0xFF));
        }
    }
    uint32_t Run(const Convert& convert) { return convert(source.record, result.record); }
};

// Each in a process of its own, which has no threads as long as this one has none: so this test comes first. No thread
// starts, or one allocation of OpenCV's pool fails.
TEST(Faults, PoolsStartWithLess) {
    const std::vector<Way> ways = Ways();
    for (size_t i = 0; i < ways.size() + 24; ++i) {
        const Way& way = ways[i < ways.size() ? i : 0];
        const long k = i < ways.size() ? 0 : static_cast<long>(i - ways.size()) + 1;
        SCOPED_TRACE(way.name + ", allocation " + std::to_string(k));
        orvtest::ExpectInChild([&] {
            const Kind& kind = way.kinds[0];
            const int size = way.trueSense ? 132 : 322;  // shared by threads
            Frame frame(way, kind, size), expected(way, kind, size);
            const Convert convert = way.make(false);
            orvtest::RefuseThreads(k == 0);
            orvtest::RefuseAllocation(k == 0 ? 1000000 : k);
            const bool converts = frame.Run(convert) == 0 && (k != 0 || orvtest::CountThreads() == 1);
            orvtest::StopRefusing();
            orvtest::RefuseThreads(false);
            return converts && expected.Run(way.make(true)) == 0 && frame.result.bytes == expected.result.bytes &&
                   (!way.trueSense || orvtest::CountThreads() == way.threads);
        });
    }
}

// The allocation number `k` fails, on what `first` has been converted by, if any. False when there are fewer.
bool FailOne(const Way& way, Frame* first, Frame& frame, long k, const std::vector<uint8_t>& expected) {
    const Convert convert = way.make(false);
    EXPECT_TRUE(first == nullptr || first->Run(convert) == 0);
    uint32_t status = OrvStatusNoMemory;
    orvtest::RefuseAllocation(k);
    try {
        status = frame.Run(convert);
    } catch (const std::bad_alloc&) {
    }
    const bool refused = orvtest::StopRefusing();
    if (status != 0) {
        EXPECT_TRUE(refused);
        EXPECT_EQ(status & 0xFFFFU, unsigned{OrvStatusNoMemory});
        EXPECT_TRUE(frame.result.Untouched());
        EXPECT_EQ(frame.Run(convert), 0U);
    }
    EXPECT_TRUE(frame.result.bytes == expected) << "another picture";
    const long count = orvtest::AllocationCount();
    EXPECT_EQ(frame.Run(convert), 0U);
    EXPECT_TRUE(way.stays == Stays::Nothing || orvtest::AllocationCount() == count) << "a second frame allocates";
    return refused;
}

TEST(Faults, EveryAllocationFailsOnce) {
    for (const Way& way : Ways()) {
        long faults = 0;
        for (const Kind& kind : way.kinds) {
            Frame other(way, kind.bits == 8 ? kWords : kBytes, 68);
            Frame smaller(way, kind, 68);
            std::vector<Frame*> befores = {nullptr};
            if (way.stays == Stays::OneSize || way.stays == Stays::AnySize) {
                befores.push_back(&other);
            }
            if (way.stays == Stays::AnySize) {
                befores.push_back(&smaller);
            }
            for (Frame* before : befores) {
                SCOPED_TRACE(way.name + ", " + std::to_string(kind.bits) + " bits to " +
                             std::to_string(8 * kind.colourBytes) + (before == nullptr ? "" : ", warm"));
                bool refused = true;
                for (long k = 1; refused; ++k) {
                    const bool process = way.stays == Stays::Process;
                    const int size = process ? 132 + 64 * static_cast<int>(k) : 132;  // beyond what stays
                    Frame expected(way, kind, size);
                    Frame frame(way, kind, size);
                    long live = orvtest::LiveBlocks();
                    ASSERT_EQ(expected.Run(way.make(true)), 0U);
                    live = process ? live : orvtest::LiveBlocks();
                    refused = FailOne(way, before, frame, k, expected.result.bytes);
                    EXPECT_TRUE((process && k == 1) || orvtest::LiveBlocks() == live)
                        << "allocation " << k << " leaves " << orvtest::LiveBlocks() - live;
                    faults += refused ? 1 : 0;
                }
            }
        }
        EXPECT_TRUE(faults > 0 || way.name.find("Bayer") == 0);
        RecordProperty(way.name, std::to_string(faults));
    }
}

}  // namespace
