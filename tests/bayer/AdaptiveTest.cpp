// The adaptive Bayer conversion through the component, against the site-by-site reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "bayer/AdaptiveReference.h"
#include "bayer/OrvBayerImp.h"
#include "component/PixelTypes.h"
#include "rows/Simd.h"
#include "support/Components.h"
#include "support/Levels.h"
#include "support/Noise.h"

namespace {

using orvtest::AdaptiveReference;
using orvtest::Image;

// GR, RG, GB, BG of each depth.
const uint32_t kFirstWords[] = {OrvPixelBayerGR8, OrvPixelBayerGR10, OrvPixelBayerGR12, OrvPixelBayerGR14,
                                OrvPixelBayerGR16};
int DepthOf(int index) { return 8 + 2 * index; }

enum class Content { Noise, Smooth, Zero, Maximum, Spots, Checks };
const Content kContents[] = {Content::Noise,   Content::Smooth, Content::Zero,
                             Content::Maximum, Content::Spots,  Content::Checks};

template <class T>
std::vector<T> Mosaic(Content content, int width, int height, uint32_t top, uint64_t seed) {
    orvtest::Noise noise(seed);
    std::vector<T> samples;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint32_t any = noise.Next();
            uint32_t sample = any % (top + 1);
            switch (content) {
            case Content::Noise: break;
            case Content::Smooth: sample = static_cast<uint32_t>(x * 3 + y * 5) % (top + 1) / 2 + any % 4; break;
            case Content::Zero: sample = 0; break;
            case Content::Maximum: sample = top; break;
            case Content::Spots: sample = any % 16 == 0 ? top : 0; break;
            case Content::Checks: sample = (x / 2 + y / 2) % 2 == 0 ? top : 0; break;
            }
            samples.push_back(static_cast<T>(sample));
        }
    }
    return samples;
}

// A component with algorithm 1, and the reference that has seen the same frames.
template <class T>
class Pair {
public:
    Pair(int width, int height) : reference_(width, height), width_(width), height_(height) {}

    // Converts one frame both ways and compares.
    void Check(uint32_t word, int bitDepth, uint32_t destinationWord, const std::vector<T>& samples) {
        const int bytes = sizeof(T);
        const uint32_t pattern = word - FirstWord(word);
        const int evenWidth = (width_ + 1) / 2 * 2;
        Image source(word, bitDepth, width_, height_, evenWidth * bytes);
        for (int y = 0; y < height_; ++y) {
            std::copy_n(samples.begin() + y * width_, width_, source.Row<T>(y));
        }
        Image destination(destinationWord, bitDepth, width_, height_, (width_ * 3 + 5) * bytes);
        ASSERT_EQ(component_.Convert(source, destination), 0u);
        reference_.Convert(samples, pattern % 2 == 0 ? 0 : 1, bitDepth);
        const bool evenFirst = EvenRowColourFirst(pattern, destinationWord);
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                const T* pixel = destination.Row<T>(y) + 3 * x;
                auto& first = evenFirst ? reference_.even : reference_.odd;
                auto& third = evenFirst ? reference_.odd : reference_.even;
                ASSERT_TRUE(pixel[0] == first(y, x) && pixel[1] == reference_.green(y, x) && pixel[2] == third(y, x))
                    << width_ << " by " << height_ << ", word " << word << ", row " << y << ", column " << x << ": "
                    << pixel[0] << ' ' << pixel[1] << ' ' << pixel[2] << ", not " << first(y, x) << ' '
                    << reference_.green(y, x) << ' ' << third(y, x);
            }
        }
        EXPECT_TRUE(destination.OutsideUntouched(static_cast<size_t>(width_) * 3 * sizeof(T)));
    }

private:
    static uint32_t FirstWord(uint32_t word) {
        for (const uint32_t first : kFirstWords) {
            if (word >= first && word < first + 4) {
                return first;
            }
        }
        return word;
    }
    static bool EvenRowColourFirst(uint32_t pattern, uint32_t destinationWord) {
        const bool redOnEvenRows = pattern <= 1;
        if (sizeof(T) == 1 && destinationWord != OrvPixelRGB8 && destinationWord != OrvPixelBGR8) {
            return true;
        }
        const uint32_t serial = destinationWord & 0xFF;
        if (serial < 113 || serial > 124) {
            return true;
        }
        return redOnEvenRows == (serial % 2 == 1);
    }

    AdaptiveReference<T> reference_;
    int width_, height_;
    const orvtest::BayerComponent component_{1};
};

const uint32_t kDestinations[] = {OrvPixelRGB8,  OrvPixelBGR8,  OrvPixelRGBA8,   OrvPixelBGRA8,
                                  OrvPixelRGB12, OrvPixelBGR16, OrvPixelBayerGR8};

// Two frames of every content through one engine; the second one of another mosaic.
template <class T>
void CheckSize(int width, int height, uint32_t firstWord, int bitDepth, uint32_t top) {
    uint64_t seed = static_cast<uint64_t>(width * 1000 + height);
    for (uint32_t pattern = 0; pattern < 4; ++pattern) {
        Pair<T> pair(width, height);
        for (const Content content : kContents) {
            for (const uint32_t second : {0U, 1U}) {
                const uint32_t word = firstWord + (pattern + second) % 4;
                ++seed;
                pair.Check(word, bitDepth, kDestinations[seed % 7], Mosaic<T>(content, width, height, top, seed));
                if (testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

class AdaptiveLevels : public orvtest::EveryLevel {};
ORV_EVERY_LEVEL(AdaptiveLevels);

TEST_P(AdaptiveLevels, SmallestFramesEqualTheReference) {
    for (int height = 1; height <= 13; ++height) {
        for (int width = 1; width <= 13; ++width) {
            ASSERT_NO_FATAL_FAILURE(CheckSize<uint8_t>(width, height, OrvPixelBayerGR8, 8, 255));
            ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(width, height, OrvPixelBayerGR12, 12, 4095));
        }
    }
}

TEST_P(AdaptiveLevels, FramesEqualTheReference) {
    for (const auto& size : {std::pair<int, int>{97, 45}, {64, 33}, {34, 71}}) {
        ASSERT_NO_FATAL_FAILURE(CheckSize<uint8_t>(size.first, size.second, OrvPixelBayerGR8, 8, 255));
        for (int depth = 1; depth <= 4; ++depth) {
            ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(size.first, size.second, kFirstWords[depth], DepthOf(depth),
                                                        (1U << DepthOf(depth)) - 1));
        }
    }
}

// Integrals far above 2^24, in rows and down the frame.
TEST_P(AdaptiveLevels, RoundingIntegralsEqualTheReference) {
    ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(1100, 60, OrvPixelBayerGR16, 16, 65535));
    ASSERT_NO_FATAL_FAILURE(CheckSize<uint16_t>(57, 900, OrvPixelBayerGR16, 16, 65535));
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

// The order of additions that the engine and the reference keep is that of cv::integral.
TEST(Adaptive, ReferenceIntegralsAreThoseOfOpenCv) {
    const int width = 613;
    const int height = 211;
    orvtest::Noise noise(5);
    cv::Mat_<float> values(height, width);
    for (float& value : values) {
        value = static_cast<float>(noise.Below(1 << 20)) - 1000.0F;
    }
    cv::Mat_<float> integral;
    cv::integral(values, integral, CV_32F);
    for (int r = 0; r < height; ++r) {
        float row = 0;
        for (int c = 0; c < width; ++c) {
            row += values(r, c);
            ASSERT_EQ(integral(r + 1, c + 1), integral(r, c + 1) + row) << r << ' ' << c;
        }
    }
}

struct Component : orvtest::BayerComponent {
    Component() : BayerComponent(1) {}
};

// A noise frame and room for its result.
struct Frame {
    Frame(uint32_t word, int bitDepth, int width, int height, uint64_t seed)
        : source(word, bitDepth, width, height, (width + 1) / 2 * 2 * (bitDepth == 8 ? 1 : 2)),
          destination(OrvPixelRGB12, bitDepth, width, height, width * 3 * (bitDepth == 8 ? 1 : 2)) {
        const auto samples = orvtest::NoiseSamples<uint16_t>(seed, source.bytes.size() / 2, (1U << bitDepth) - 1);
        std::memcpy(source.Data(), samples.data(), source.bytes.size() - 2 * source.guard);
    }
    // Through a new component.
    std::vector<uint8_t> Expected() {
        Component fresh;
        destination.Refill();
        EXPECT_EQ(fresh.Convert(source, destination), 0u);
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

TEST(Adaptive, OneComponentTakesBothSampleWidthsInTurn) {
    Component component;
    Frame narrow(OrvPixelBayerRG8, 8, 31, 18, 1);
    Frame wide(OrvPixelBayerBG14, 14, 44, 21, 2);  // any size: the other width's engine is gone
    for (int round = 0; round < 2; ++round) {
        narrow.Check(component);
        wide.Check(component);
    }
}

TEST(Adaptive, AnotherSizeNeedsReleaseOrAlloc) {
    for (const int bitDepth : {8, 10}) {
        const uint32_t word = bitDepth == 8 ? OrvPixelBayerGB8 : OrvPixelBayerGB10;
        Component component;
        Frame first(word, bitDepth, 34, 20, 3);
        Frame sameEvenSize(word, bitDepth, 33, 19, 4);
        Frame other(word, bitDepth, 36, 20, 5);
        ASSERT_EQ(component.Convert(first.source, first.destination), 0u);
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

TEST(Adaptive, RefusesWhatItCannotReadOrWrite) {
    Component component;
    Frame frame(OrvPixelBayerRG12, 12, 22, 14, 6);
    Image larger(OrvPixelRGB12, 12, 22, 15, 22 * 6);
    larger.record.stride = 0;  // nothing to write
    EXPECT_EQ(component.Convert(frame.source, larger), 0u);
    EXPECT_TRUE(larger.Untouched());
    OrvBayer_ReleaseData(component.Get());
    for (const int width : {0, -3, 0x7FFFFFFF, 0}) {
        frame.source.record.width = frame.destination.record.width = width;
        EXPECT_EQ(component.Convert(frame.source, frame.destination), 0x80050009U) << width;
    }
    EXPECT_TRUE(frame.destination.Untouched());
    frame.source.record.width = frame.destination.record.width = 22;
    frame.Check(component);
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

// Rows of both widths take the same memory.
TEST(Adaptive, PlanesOfANewSizeStartAtZero) {
    DemosaicingIPP_16 engine;
    Frame first(OrvPixelBayerGR12, 12, 26, 16, 4);
    Frame second(OrvPixelBayerGR12, 12, 28, 16, 5);
    ASSERT_EQ(engine.Init(&first.destination.record, &first.source.record), 0);
    second.source.record.imageSize = 0;
    const auto expected = second.Expected();
    ASSERT_EQ(engine.Init(&second.destination.record, &second.source.record), 0);
    ASSERT_EQ(engine.Calculate(), 0);
    EXPECT_EQ(second.destination.bytes, expected);
}

}  // namespace
