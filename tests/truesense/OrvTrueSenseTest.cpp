#include <gtest/gtest.h>

#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "truesense/OrvTrueSenseImp.h"
#include "truesense/StandIn.h"

namespace {

using orvtest::g_log;

constexpr uint32_t kBadArgument = 0x80060007U;

std::string TakeCalls() {
    std::string calls;
    calls.swap(g_log.calls);
    return calls;
}

class TrueSenseComponent : public testing::Test {
protected:
    TrueSenseComponent() : engines_(orvtest::StandIns()), component_(engines_) {
        g_log = {};
        source_.width = 12;
        source_.height = 10;
        source_.stride = 40;
        source_.data = &source_;  // never read
        destination_.width = 1;   // never read either
        destination_.stride = 77;
        destination_.data = &destination_;
        Words(OrvPixelTrueSense8, 8, OrvPixelRGB8);
    }
    void Words(uint32_t source, int bits, uint32_t destination) {
        source_.pixelType = source;
        source_.bitDepth = bits;
        destination_.pixelType = destination;
    }
    uint32_t Convert() { return component_.ConvertImage(&source_, &destination_); }
    uint32_t Set(const char* name, long value) { return OrvSetParam(*component_.GetComponent(), name, value); }
    long Get(std::string name) {
        long value = -1;
        component_.GetComponent()->GetParamInt(&name[0], &value);
        return value;
    }

    orv::TrueSenseEngines engines_;
    OrvTrueSenseImp component_;
    _OrvImage source_ = {};
    _OrvImage destination_ = {};
};

TEST_F(TrueSenseComponent, AcceptedDestinations) {
    constexpr size_t kAccepted = 12, kOfBytes = 4;
    const uint32_t words[] = {0x02180171, 0x02180172, 0x02200173, 0x02200174, 0x02300275, 0x02300276,
                              0x02300377, 0x02300378, 0x02300479, 0x0230047A, 0x0230057B, 0x0230057C,
                              0,          0x02180173, 0x0230057D, 0x04080131, 0x03080171};
    for (const OrvPixelType first :
         {OrvPixelTrueSense8, OrvPixelTrueSense10, OrvPixelTrueSense12, OrvPixelTrueSense14}) {
        const uint32_t source = OrvPixelTrueSense(first, 6);
        const bool byteSource = first == OrvPixelTrueSense8;
        for (size_t i = 0; i < std::size(words); ++i) {
            Words(source, 12, words[i]);
            Convert();
            TakeCalls();
            const bool accepted = i < (byteSource ? kOfBytes : kAccepted);
            const std::string layout = std::string(i / 2 == 1 ? "4" : "3") + (i % 2 == 0 ? "rgb" : "bgr");
            const std::string entry = i < kOfBytes && !byteSource ? "RGB " : " ";
            EXPECT_EQ(Convert(), accepted ? 0U : kBadArgument) << std::hex << source << " " << words[i];
            EXPECT_EQ(TakeCalls(), accepted ? layout + " Init" + entry + "Calculate" + entry : "");
        }
        EXPECT_EQ(g_log.source, source_.data);
        EXPECT_EQ(g_log.destination, destination_.data);
        EXPECT_EQ(g_log.numbers, (std::vector<long>{0, 0, 12, 10, 12, 10, 40, 12, 77, 6}));
    }
}

TEST_F(TrueSenseComponent, KeepsAndReplacesEngines) {
    ASSERT_EQ(Convert(), 0U);
    EXPECT_EQ(TakeCalls(), "+A8 3rgb Init Calculate ");
    source_.width = 99;  // another size is the engine's own business
    ASSERT_EQ(Convert(), 0U);
    EXPECT_EQ(TakeCalls(), "3rgb Init Calculate ");
    Set("TrueSenseAlgType", 1);
    ASSERT_EQ(Convert(), 0U);
    EXPECT_EQ(TakeCalls(), "-A8 +B8 3rgb Init Calculate ");
    Set("TrueSenseAlgType", 4);  // the same class under another number
    ASSERT_EQ(Convert(), 0U);
    EXPECT_EQ(TakeCalls(), "3rgb Init Calculate ");
    Words(OrvPixelTrueSense10, 10, OrvPixelRGB8);
    ASSERT_EQ(Convert(), 0U);
    EXPECT_EQ(TakeCalls(), "-B8 +B16 3rgb InitRGB CalculateRGB ");
}

TEST_F(TrueSenseComponent, OtherWidthGoesBeforeTheChecks) {
    ASSERT_EQ(Convert(), 0U);
    TakeCalls();
    Set("TrueSenseAlgType", 5);
    Words(OrvPixelTrueSense12, 12, OrvPixelRGB8);
    EXPECT_EQ(Convert(), kBadArgument);
    EXPECT_EQ(TakeCalls(), "-A8 ");
    Set("TrueSenseAlgType", 0);
    destination_.pixelType = 0;  // refused only after the engine was built, and the engine stays
    EXPECT_EQ(Convert(), kBadArgument);
    EXPECT_EQ(TakeCalls(), "+A16 ");
    Words(OrvPixelTrueSense8, 8, OrvPixelRGB10);
    EXPECT_EQ(Convert(), kBadArgument);
    EXPECT_EQ(TakeCalls(), "-A16 +A8 ");
}

TEST_F(TrueSenseComponent, BadRecordsTouchNoEngine) {
    ASSERT_EQ(Convert(), 0U);
    TakeCalls();
    EXPECT_EQ(component_.ConvertImage(nullptr, &destination_), kBadArgument);
    EXPECT_EQ(component_.ConvertImage(&source_, nullptr), kBadArgument);
    EXPECT_EQ(component_.AllocData(nullptr, &destination_), kBadArgument);
    EXPECT_EQ(component_.AllocData(&source_, nullptr), kBadArgument);
    for (const uint32_t word : {0x04100571U, 0x04080141U, 0x0308010DU, 0x02180171U}) {
        source_.pixelType = word;
        EXPECT_EQ(Convert(), kBadArgument);
    }
    source_.pixelType = OrvPixelBayerGR12;
    EXPECT_EQ(component_.AllocData(&source_, &destination_), kBadArgument);
    EXPECT_EQ(TakeCalls(), "");
}

TEST_F(TrueSenseComponent, AllocAndRelease) {
    destination_.pixelType = 0;  // not looked at
    EXPECT_EQ(component_.AllocData(&source_, &destination_), 0U);
    EXPECT_EQ(TakeCalls(), "+A8 ");
    source_.pixelType = OrvPixelTrueSense14;
    EXPECT_EQ(component_.AllocData(&source_, &destination_), 0U);
    EXPECT_EQ(TakeCalls(), "-A8 +A16 ");
    Words(OrvPixelTrueSense14, 14, OrvPixelRGB14);
    EXPECT_EQ(Convert(), 0U);
    EXPECT_EQ(TakeCalls(), "3rgb Init Calculate ");
    component_.ReleaseData();
    component_.ReleaseData();
    EXPECT_EQ(TakeCalls(), "-A16 ");
    // Refusals after the release: a word of the class that no table holds, an algorithm out of range.
    ASSERT_EQ(Convert(), 0U);
    source_.pixelType = 0x04100371;
    EXPECT_EQ(component_.AllocData(&source_, &destination_), kBadArgument);
    EXPECT_EQ(TakeCalls(), "+A16 3rgb Init Calculate -A16 ");
    source_.pixelType = OrvPixelTrueSense14;
    for (const long algorithm : {3L, 5L, 6L}) {
        ASSERT_EQ(Set("TrueSenseAlgType", algorithm), 0U);
        EXPECT_EQ(component_.AllocData(&source_, &destination_), kBadArgument);
        EXPECT_EQ(Convert(), kBadArgument);
    }
    EXPECT_EQ(TakeCalls(), "");
}

TEST_F(TrueSenseComponent, NormalizationIsOffForBytesAndComesBack) {
    Set("normalizationEnable", 1);
    ASSERT_EQ(Convert(), 0U);
    EXPECT_EQ(g_log.param.normalizationEnable, 0);
    EXPECT_EQ(Get("normalizationEnable"), 1);
    g_log.initCode = 7;
    EXPECT_EQ(Convert(), kBadArgument);
    EXPECT_EQ(Get("normalizationEnable"), 1);
    g_log.throws = true;
    EXPECT_THROW(Convert(), std::runtime_error);
    EXPECT_EQ(Get("normalizationEnable"), 0);

    g_log.throws = false;
    g_log.initCode = 0;
    Set("normalizationEnable", 1);
    for (const uint32_t word : {OrvPixelRGB8, OrvPixelRGB16}) {
        Words(OrvPixelTrueSense12, 12, word);
        ASSERT_EQ(Convert(), 0U);
        EXPECT_EQ(g_log.param.normalizationEnable, 1);
    }
}

TEST_F(TrueSenseComponent, EngineCodesBecomeStatusWords) {
    for (const uint32_t word : {OrvPixelTrueSense8, OrvPixelTrueSense12}) {
        Words(word, 8, OrvPixelRGB8);
        for (const int code : {1, 7, 8, 9}) {
            g_log.initCode = code;
            g_log.calculateCode = 0;
            TakeCalls();
            EXPECT_EQ(Convert(), 0x80060000U + static_cast<uint32_t>(code));
            EXPECT_EQ(TakeCalls().find("Calculate"), std::string::npos);
            g_log.initCode = 0;
            g_log.calculateCode = code;
            EXPECT_EQ(Convert(), 0x80060000U + static_cast<uint32_t>(code));
        }
    }
}

TEST(TrueSenseExports, AcceptNull) {
    _OrvImage image = {};
    EXPECT_EQ(OrvTrueSense_GetComponent(nullptr), nullptr);
    EXPECT_EQ(OrvTrueSense_ConvertImage(nullptr, &image, &image), kBadArgument);
    EXPECT_EQ(OrvTrueSense_AllocData(nullptr, &image, &image), kBadArgument);
    OrvTrueSense_ReleaseData(nullptr);
    OrvTrueSense_DeleteComponent(nullptr);
    OrvTrueSense::DeleteComponent(nullptr);
}

}  // namespace
