// The adaptive Bayer conversion through the component, against the site-by-site reference.
#include <gtest/gtest.h>

#include <vector>

#include "bayer/AdaptiveReference.h"
#include "bayer/OrvBayerImp.h"
#include "support/Components.h"
#include "support/Frames.h"
#include "support/Levels.h"

namespace {

using orvtest::AdaptiveReference;
using orvtest::Image;

// GR, RG, GB, BG of each depth of 8 bits and 2 more each.
const uint32_t kFirstWords[] = {OrvPixelBayerGR8, OrvPixelBayerGR10, OrvPixelBayerGR12, OrvPixelBayerGR14,
                                OrvPixelBayerGR16};
const uint32_t kDestinations[] = {OrvPixelRGB8,  OrvPixelBGR8,  OrvPixelRGBA8,   OrvPixelBGRA8,
                                  OrvPixelRGB12, OrvPixelBGR16, OrvPixelBayerGR8};

// The first channel of the result is the colour of the mosaic's even rows. Words that are no colours, or for bytes of
// no three, count as such.
bool EvenRowColourFirst(size_t bytes, uint32_t pattern, uint32_t destinationWord) {
    const uint32_t serial = destinationWord & 0xFF;
    const bool known = bytes == 1 ? serial == 113 || serial == 114 : serial >= 113 && serial <= 124;
    return !known || (pattern <= 1) == (serial % 2 == 1);
}

// Noise, slopes, the two ends of the range, spots, checks.
constexpr int kContents = 6;
uint32_t Sample(int content, uint32_t y, uint32_t x, uint32_t any, uint32_t top) {
    switch (content) {
    case 0: return any % (top + 1);
    case 1: return (x * 3 + y * 5) % (top + 1) / 2 + any % 4;
    case 2: return 0;
    case 3: return top;
    case 4: return any % 16 == 0 ? top : 0;
    default: return (x / 2 + y / 2) % 2 == 0 ? top : 0;
    }
}

// One frame by the component, and by the reference that has seen the same frames.
template <class T>
void CheckFrame(const orvtest::BayerComponent& component, AdaptiveReference<T>& reference, Image& source,
                uint32_t pattern, uint32_t word) {
    const int width = source.record.width, height = source.record.height;
    Image result(word, source.record.bitDepth, width, height, (width * 3 + 5) * static_cast<int>(sizeof(T)));
    ASSERT_EQ(component.Convert(source, result), 0u);
    std::vector<T> samples;
    for (int y = 0; y < height; ++y) {
        samples.insert(samples.end(), source.Row<T>(y), source.Row<T>(y) + width);
    }
    reference.Convert(samples, pattern % 2 == 0 ? 0 : 1, source.record.bitDepth);
    const bool evenFirst = EvenRowColourFirst(sizeof(T), pattern, word);
    auto& first = evenFirst ? reference.even : reference.odd;
    auto& third = evenFirst ? reference.odd : reference.even;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const T* pixel = result.Row<T>(y) + 3 * x;
            ASSERT_TRUE(pixel[0] == first(y, x) && pixel[1] == reference.green(y, x) && pixel[2] == third(y, x))
                << width << " by " << height << ", pattern " << pattern << ", row " << y << ", column " << x << ": "
                << pixel[0] << ' ' << pixel[1] << ' ' << pixel[2] << ", not " << first(y, x) << ' '
                << reference.green(y, x) << ' ' << third(y, x);
        }
    }
    EXPECT_TRUE(result.OutsideUntouched(static_cast<size_t>(width) * 3 * sizeof(T)));
}

// Two frames of every content through one engine; the second one of another mosaic.
template <class T>
void CheckSize(int width, int height, int depth) {
    const int bits = 8 + 2 * depth;
    orvtest::Noise noise(static_cast<uint64_t>(width * 1000 + height));
    for (uint32_t pattern = 0; pattern < 4; ++pattern) {
        const orvtest::BayerComponent component(1);
        AdaptiveReference<T> reference(width, height);
        for (int i = 0; i < 2 * kContents && !testing::Test::HasFatalFailure(); ++i) {
            const uint32_t now = (pattern + static_cast<uint32_t>(i % 2)) % 4;
            Image source = orvtest::FrameOf(kFirstWords[depth] + now, bits, width, height,
                                            width % 2 * static_cast<int>(sizeof(T)));
            orvtest::Fill(source,
                          [&](uint32_t y, uint32_t x) { return Sample(i / 2, y, x, noise.Next(), (1U << bits) - 1); });
            CheckFrame<T>(component, reference, source, now, kDestinations[noise.Below(7)]);
        }
    }
}

TEST(AdaptiveLevels, SmallestFramesEqualTheReference) {
    orvtest::AtEveryLevel([] {
        for (int height = 1; height <= 13; ++height) {
            for (int width = 1; width <= 13; ++width) {
                ASSERT_NO_FATAL_FAILURE(CheckSize<uint8_t>(width, height, 0));
                ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(width, height, 2));
            }
        }
    });
}

TEST(AdaptiveLevels, FramesEqualTheReference) {
    orvtest::AtEveryLevel([] {
        for (const auto& size : {std::pair<int, int>{97, 45}, {64, 33}, {34, 71}}) {
            ASSERT_NO_FATAL_FAILURE(CheckSize<uint8_t>(size.first, size.second, 0));
            for (int depth = 1; depth <= 4; ++depth) {
                ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(size.first, size.second, depth));
            }
        }
    });
}

// Integrals far above 2^24, in rows and down the frame.
TEST(AdaptiveLevels, RoundingIntegralsEqualTheReference) {
    orvtest::AtEveryLevel([] {
        ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(1100, 60, 4));
        ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(57, 900, 4));
    });
}

TEST(Adaptive, QuotientsRoundAsDivisions) {
    for (const float area : {1.0F, 5.0F, 13.0F, 25.0F, 41.0F}) {
        EXPECT_EQ(orv::Quotient(0, area, 1 / area), 0);
        for (int mantissa = 1 << 23; mantissa < 1 << 24; mantissa += 3) {
            const auto x = static_cast<float>(mantissa);
            ASSERT_EQ(orv::Quotient(x, area, 1 / area), x / area) << x << ' ' << area;
        }
    }
}

// Differences of sums at the edge of what counts as larger, in windows of all sizes near a border and off it.
template <orv::Step S>
void CheckContrasts(int smaller, int larger, int most0, int most1) {
    const orv::PerSite<S> perSite(smaller, larger);
    for (int x = 0; x <= most0; ++x) {
        const int edge = x * larger / smaller;
        for (const int y : {0, edge - 1, edge, edge + 1, most1}) {
            if (y >= 0 && y <= most1) {
                const bool less = static_cast<float>(x) / static_cast<float>(smaller) <
                                  static_cast<float>(y) / static_cast<float>(larger);
                ASSERT_EQ(perSite.Less(static_cast<int16_t>(x), static_cast<int16_t>(y)), less)
                    << x << '/' << smaller << ' ' << y << '/' << larger;
            }
        }
    }
}

TEST(Adaptive, ContrastsCompareAsQuotients) {
    for (const auto& areas : {std::pair<int, int>{1, 1}, {5, 5}, {5, 13}}) {
        CheckContrasts<orv::Step::Cross>(areas.first, areas.second, areas.first * 255, areas.second * 255);
    }
    // Sites on rows at even distance count.
    for (const auto& areas : {std::pair<int, int>{1, 1}, {5, 5}, {13, 13}, {13, 25}, {13, 41}}) {
        CheckContrasts<orv::Step::Diagonal>(areas.first, areas.second, 9 * 255, 25 * 255);
    }
}

struct Component : orvtest::BayerComponent {
    Component() : BayerComponent(1) {}
};

// A noise frame and room for its result.
struct Frame {
    Frame(uint32_t word, int bitDepth, int width, int height, uint64_t seed)
        : source(orvtest::FrameOf(word, bitDepth, width, height, width % 2 * (bitDepth == 8 ? 1 : 2))),
          destination(OrvPixelRGB12, bitDepth, width, height, width * 3 * (bitDepth == 8 ? 1 : 2)) {
        orvtest::FillFrame(source, orvtest::Content::Noise, seed, (1U << bitDepth) - 1);
    }
    // Through a new component.
    std::vector<uint8_t> Expected() {
        destination.Refill();
        EXPECT_EQ(Component().Convert(source, destination), 0u);
        std::vector<uint8_t> bytes = destination.bytes;
        destination.Refill();
        return bytes;
    }
    void Check(Component& component) {
        const auto expected = Expected();
        EXPECT_EQ(component.Convert(source, destination), 0u);
        EXPECT_EQ(destination.bytes, expected);
    }
    Image source, destination;
};

constexpr uint32_t kBadArgument = 0x80050007U;

TEST(Adaptive, AnotherSizeNeedsReleaseOrAllocOrTheOtherSampleWidth) {
    Component component;
    Frame narrow(OrvPixelBayerRG8, 8, 31, 18, 1), wide(OrvPixelBayerBG14, 14, 44, 21, 2);
    for (Frame* frame : {&narrow, &wide, &narrow, &wide}) {
        frame->Check(component);
    }
    for (const int bitDepth : {8, 10}) {
        OrvBayer_ReleaseData(component.Get());
        const uint32_t word = bitDepth == 8 ? OrvPixelBayerGB8 : OrvPixelBayerGB10;
        Frame first(word, bitDepth, 34, 20, 3);
        Frame sameEvenSize(word, bitDepth, 33, 19, 4);
        Frame other(word, bitDepth, 36, 20, 5);
        first.Check(component);
        first.destination.Refill();
        EXPECT_EQ(component.Convert(other.source, other.destination), kBadArgument);
        EXPECT_TRUE(other.destination.Untouched());
        EXPECT_EQ(component.Convert(sameEvenSize.source, sameEvenSize.destination), 0u);
        OrvBayer_ReleaseData(component.Get());
        other.Check(component);
        EXPECT_EQ(component.Convert(first.source, first.destination), kBadArgument);
        EXPECT_EQ(OrvBayer_AllocData(component.Get(), &first.source.record, &first.destination.record), 0u);
        first.Check(component);
    }
}

// Codes of a fresh engine and of one that has converted; each refusal with all later reasons present too.
TEST(Adaptive, RefusalsComeInOrderAndChangeNothing) {
    Frame frame(OrvPixelBayerGB8, 8, 24, 12, 9);
    frame.destination.record.pixelType = OrvPixelBGR8;
    const auto expected = frame.Expected();
    DemosaicingIPP_8 engine;
    EXPECT_EQ(engine.Calculate(), 8);
    for (int round = 0; round < 2; ++round) {
        _OrvImage source = frame.source.record;
        _OrvImage destination = frame.destination.record;
        destination.height = 13;
        EXPECT_EQ(engine.Init(&destination, &source), 7);
        destination.stride = 0;  // nothing to write
        EXPECT_EQ(engine.Init(&destination, &source), 0);
        source.width = 0x7FFFFFFF;
        EXPECT_EQ(engine.Init(&destination, &source), round == 0 ? 9 : 7);
        source.width = source.height = 0;
        EXPECT_EQ(engine.Init(&destination, &source), 9);
        source.width = 24;
        source.height = -1;
        EXPECT_EQ(engine.Init(&destination, &source), 9);
        source.pixelType = OrvPixelTrueSense8;
        EXPECT_EQ(engine.Init(&destination, &source), 7);
        source.data = nullptr;
        EXPECT_EQ(engine.Init(&destination, &source), 8);
        source.data = frame.source.Data();
        destination.data = nullptr;
        EXPECT_EQ(engine.Init(&destination, &source), 8);
        EXPECT_EQ(engine.Init(nullptr, &source), 8);
        EXPECT_EQ(engine.Init(&destination, nullptr), 8);
        ASSERT_EQ(engine.Init(&frame.destination.record, &frame.source.record), 0);
        EXPECT_EQ(engine.Calculate(), 0);
        EXPECT_EQ(frame.destination.bytes, expected);
        frame.destination.Refill();
        EXPECT_EQ(engine.CleanMemory(), 0);
    }
}

TEST(Adaptive, PlanesOfANewSizeStartAtZero) {
    DemosaicingIPP_16 engine;
    Frame first(OrvPixelBayerGR12, 12, 26, 16, 4), second(OrvPixelBayerGR12, 12, 24, 16, 5);
    second.source.record.imageSize = 0;
    const auto expected = second.Expected();
    for (Frame* frame : {&first, &second}) {
        ASSERT_EQ(engine.Init(&frame->destination.record, &frame->source.record), 0);
    }
    ASSERT_EQ(engine.Calculate(), 0);
    EXPECT_EQ(second.destination.bytes, expected);
}

}  // namespace
