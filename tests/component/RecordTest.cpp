// Records and words that cross the library boundary: layout, equality, texts.
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

#include "OrvTrueSense.h"
#include "component/PixelTypes.h"

namespace {

static_assert(sizeof(_OrvImage) == 96 && offsetof(_OrvImage, pixelType) == 8 && offsetof(_OrvImage, bitDepth) == 12 &&
                  offsetof(_OrvImage, reserved0) == 16 && offsetof(_OrvImage, width) == 36 &&
                  offsetof(_OrvImage, height) == 40 && offsetof(_OrvImage, imageSize) == 44 &&
                  offsetof(_OrvImage, stride) == 48 && offsetof(_OrvImage, reserved5) == 56 &&
                  offsetof(_OrvImage, data) == 80 && offsetof(_OrvImage, reserved8) == 88,
              "image record");
static_assert(sizeof(_OrvRect) == 16 && offsetof(_OrvRect, width) == 8 && sizeof(_OrvSize) == 8, "rectangle and size");
static_assert(sizeof(tagTrueSenseParam) == 65 * 8 && offsetof(tagTrueSenseParam, redGain) == 64 &&
                  offsetof(tagTrueSenseParam, toneTable) == 64 * 8,
              "TrueSense settings");
static_assert(OrvPixelTrueSense(OrvPixelTrueSense8, 4) == 0x04080133U &&
                  OrvPixelTrueSense(OrvPixelTrueSense14, 15) == 0x04100470U,
              "words by grid code");

TEST(Records, RectanglesAndSizesCompareEveryField) {
    _OrvRect base = {1, 2, 3, 4};
    _OrvRect same = base;
    EXPECT_TRUE(base == same && !(base != same));
    for (int32_t _OrvRect::*field : {&_OrvRect::x, &_OrvRect::y, &_OrvRect::width, &_OrvRect::height}) {
        _OrvRect other = base;
        other.*field = 9;
        EXPECT_TRUE(base != other && !(base == other));
    }
    _OrvSize size = {5, 6};
    _OrvSize wide = {7, 6};
    _OrvSize high = {5, 7};
    EXPECT_TRUE(size != wide && size != high && !(size == wide) && size == size);
}

TEST(Records, StatusWordsHaveTextsOfTheirOwn) {
    std::set<std::string> texts;
    for (uint32_t word : {0u, 0x80050001u, 0x80060006u, 0x80050007u, 0x80010007u, 0x80060008u, 0x80060009u, 0x8001000Au,
                          0x8001000Bu, 0x8001000Cu, 0x80050063u, 5u}) {
        texts.insert(OrvStatusText(word));
    }
    EXPECT_EQ(texts.size(), 12u);
    EXPECT_EQ(orv::StatusOf(orv::kFamilyTrueSense, 9), 0x80060009u);
    EXPECT_EQ(orv::StatusOf(orv::kFamilyBayer, 0), 0u);
    EXPECT_FALSE(orv::IsContainerFailure(0x80000000u));
    EXPECT_TRUE(orv::IsContainerFailure(0x80000001u));
}

}  // namespace
