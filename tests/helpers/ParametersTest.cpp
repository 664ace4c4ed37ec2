// The table of parameters against what components register and engines read.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "OrvHelpers.h"
#include "support/Components.h"
#include "support/Frames.h"

namespace {

std::string TextOf(OrvComponent* component, const char* name) {
    char text[64] = "";
    unsigned length = sizeof(text);
    EXPECT_EQ(0U, OrvParam_GetText(component, name, text, &length)) << name;
    return text;
}

TEST(Parameters, TableIsWhatComponentsRegister) {
    const orvtest::BayerComponent bayer(0);
    const orvtest::TrueSenseComponent trueSense(0);
    for (OrvComponent* component : {bayer->GetComponent(), trueSense->GetComponent()}) {
        const int family = OrvParam_Family(component);
        ASSERT_EQ(OrvParam_Count(component), OrvParam_InfoCount(family));
        for (int i = 0; i < OrvParam_Count(component); ++i) {
            const OrvParamInfo* info = OrvParam_InfoAt(family, i);
            char name[64] = "";
            unsigned length = sizeof(name);
            ASSERT_EQ(0U, OrvParam_Name(component, i, name, &length));
            ASSERT_STREQ(name, info->name);
            SCOPED_TRACE(name);
            EXPECT_EQ(info, OrvParam_Info(family, name));
            EXPECT_EQ(info->standardText, TextOf(component, name));
            EXPECT_EQ(info->standard, std::stod(info->standardText));
            EXPECT_TRUE(info->meaning[0] != '\0' && info->range[0] != '\0');
            int64_t integer = -1;
            double number = -1;
            if (info->type == OrvParamInteger) {
                EXPECT_EQ(0U, OrvParam_SetInteger(component, name, info->integerLimit));
                EXPECT_EQ(0x8001000CU, info->integerLimit == INT64_MAX
                                           ? OrvParam_SetText(component, name, "9223372036854775808")
                                           : OrvParam_SetInteger(component, name, info->integerLimit + 1));
                EXPECT_EQ(0U, OrvParam_GetInteger(component, name, &integer));
                EXPECT_EQ(info->integerLimit, integer);
                EXPECT_EQ(0x8001000BU, OrvParam_GetFloat(component, name, &number));
            } else {
                EXPECT_EQ(0U, OrvParam_SetFloat(component, name, -1.25));
                EXPECT_EQ(0U, OrvParam_GetFloat(component, name, &number));
                EXPECT_EQ(-1.25, number);
                EXPECT_EQ(0x8001000BU, OrvParam_GetInteger(component, name, &integer));
            }
        }
    }
}

using Settings = std::vector<std::pair<std::string, std::string>>;

// A dim frame of noise, whose pixels depend on all that an engine reads.
std::vector<uint8_t> Convert(int algorithm, const Settings& settings) {
    constexpr int kSide = 32;
    const orvtest::TrueSenseComponent component(algorithm);
    for (const auto& each : settings) {
        EXPECT_EQ(0U, OrvParam_SetText(component->GetComponent(), each.first.c_str(), each.second.c_str()));
    }
    orvtest::Image frame = orvtest::FrameOf(OrvPixelTrueSense12, 12, kSide, kSide);
    FillFrame(frame, orvtest::Content::Noise, 9, 1500);
    orvtest::Image result = orvtest::FrameOf(OrvPixelRGB12, 12, kSide, kSide);
    EXPECT_EQ(0U, component.Convert(frame, result));
    return result.bytes;
}

// What the table says about who reads a parameter.
TEST(Parameters, ChangeTheResultsOfTheAlgorithmsThatReadThem) {
    for (int algorithm = 0; algorithm < 5; ++algorithm) {
        for (int i = 2; i < OrvParam_InfoCount(OrvFamilyTrueSense); ++i) {
            const OrvParamInfo* info = OrvParam_InfoAt(OrvFamilyTrueSense, i);
            const std::string name = info->name;
            // All passes of the cleaning on, and the noise model read in the row that the name ends with.
            static const char* const kRows[] = {"11.04", "17.69", "23.96", "29.91", "36.77"};
            const bool row = name.rfind("ISO", 0) == 0;
            const int n = row ? name.back() - '0' : 0;
            Settings settings = {{"sharpnessEnable", "1"}, {"panSigma1", "1"},   {"panSigma2", "1"},
                                 {"colorRadius2", "1"},    {"colorSigma2", "1"}, {"maxSharpen", "3"}};
            settings.emplace_back("analogGain", name.find("AnalogGain") != std::string::npos ? "20" : kRows[n]);
            const std::vector<uint8_t> before = Convert(algorithm, settings);
            static const std::map<std::string, std::string> kOthers = {
                {"analogGain", "30"}, {"sharpnessEnable", "0"}, {"colorRadius2", "0"}, {"darkFloor", "100"}};
            std::string value = info->type == OrvParamInteger ? (info->standard == 0 ? "1" : "0")
                                                              : std::to_string(3 * info->standard + 40);
            value = kOthers.count(name) != 0 ? kOthers.at(name) : value;
            settings.emplace_back(name, value);
            // Rows 1 and 2 surround an analog gain of 20, as long as row 0 stays below it.
            const bool unread = (info->algorithms >> algorithm & 1) == 0 || name == "threads_num" ||
                                name == "ISOAnalogGain_3" || name == "ISOAnalogGain_4";
            EXPECT_EQ(unread, before == Convert(algorithm, settings)) << name << " by " << algorithm;
        }
    }
}

TEST(Parameters, RefuseWhatIsNotThere) {
    const orvtest::BayerComponent bayer(0);
    OrvComponent* component = bayer->GetComponent();
    int64_t integer = 5;
    double number = 5;
    char text[8] = "before";
    unsigned length = sizeof(text);
    EXPECT_TRUE(OrvParam_Family(nullptr) == 0 && OrvParam_Count(nullptr) == 0);
    const std::pair<OrvComponent*, const char*> missing[] = {{component, nullptr}, {nullptr, "NoRealloc"}};
    for (const auto& [each, name] : missing) {
        for (const uint32_t status :
             {OrvParam_GetInteger(each, name, &integer), OrvParam_SetInteger(each, name, 1),
              OrvParam_GetFloat(each, name, &number), OrvParam_SetFloat(each, name, 1),
              OrvParam_GetText(each, name, text, &length), OrvParam_SetText(each, name, "1"),
              OrvParam_GetInteger(component, "NoRealloc", nullptr), OrvParam_SetText(component, "NoRealloc", nullptr),
              OrvParam_Name(component, 2, text, &length), OrvParam_Name(component, -1, text, &length)}) {
            EXPECT_EQ(0x80070007, status);
        }
    }
    EXPECT_EQ(0x8001000AU, OrvParam_GetInteger(component, "norealloc", &integer));
    EXPECT_EQ(5, integer);
    EXPECT_EQ(5, number);
    EXPECT_STREQ("before", text);
    EXPECT_EQ(0x80050006, OrvParam_Name(component, 0, text, &length));
    EXPECT_EQ(13U, length);
    EXPECT_TRUE(OrvParam_InfoAt(OrvFamilyTrueSense, 66) == nullptr && OrvParam_InfoAt(4, 0) == nullptr);
    EXPECT_TRUE(OrvParam_Info(OrvFamilyBayer, "darkFloor") == nullptr && OrvParam_Info(5, nullptr) == nullptr);
}

}  // namespace
