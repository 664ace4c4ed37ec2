#include "truesense/Params.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "truesense/OrvTrueSenseImp.h"
#include "truesense/StandIn.h"

namespace {

using orvtest::g_log;

// The record in order: "name default" of floats, "name/maximum default" of integers.
const char* const kFields =
    "threads_num/32 0 normalizationEnable/1 0 horMirrored/1 0 verMirrored/1 0 monoEnable/1 0 impulseFilterEnable/1 0 "
    "sharpnessEnable/1 0 darkFloor/4096 0 redGain 1 greenGain 1 blueGain 1 panGain 1 globalGain 1 analogGain 1 "
    "ISOAnalogGain_0 11.04 ISOAnalogGain_1 17.69 ISOAnalogGain_2 23.96 ISOAnalogGain_3 29.91 ISOAnalogGain_4 36.77 "
    "ISOPanSlope_0 0.3179309 ISOPanSlope_1 0.6009852 ISOPanSlope_2 1.16587611 ISOPanSlope_3 2.26059552 "
    "ISOPanSlope_4 5.11044291 ISOPanIntercept_0 -25.07685652 ISOPanIntercept_1 17.01752105 "
    "ISOPanIntercept_2 185.43026 ISOPanIntercept_3 831.07495077 ISOPanIntercept_4 4154.73883603 "
    "ISOColorSlope_0 0.16289523 ISOColorSlope_1 0.30242107 ISOColorSlope_2 0.58180185 ISOColorSlope_3 1.15281985 "
    "ISOColorSlope_4 2.53400236 ISOColorIntercept_0 -2.97408598 ISOColorIntercept_1 15.97559859 "
    "ISOColorIntercept_2 92.84640595 ISOColorIntercept_3 399.49923562 ISOColorIntercept_4 2080.24259272 "
    "panRadius0/9223372036854775807 1 panRadius1/9223372036854775807 1 panRadius2/9223372036854775807 1 "
    "panSigma0 1.7 panSigma1 0 panSigma2 0 colorRadius0/1024 1 colorRadius1/1024 2 colorRadius2/1024 0 "
    "colorSigma0 2 colorSigma1 2 colorSigma2 0 RR 1.657 RG -0.5325 RB -0.1245 GR -0.106 GG 1.443 GB -0.337 "
    "BR 0.131 BG -0.445 BB 1.314 sharpenParam 40 maxSharpen 1 highLumaNoise 2 lowLumaNoise 0.5";

struct Field {
    std::string name;
    bool isFloat;
    long maximum;
    double value;
};

std::vector<Field> Fields() {
    std::vector<Field> fields;
    std::istringstream text(kFields);
    Field field;
    while (text >> field.name >> field.value) {
        const size_t slash = field.name.find('/');
        field.isFloat = slash == std::string::npos;
        field.maximum = field.isFloat ? 0 : std::stol(field.name.substr(slash + 1));
        field.name.resize(field.isFloat ? field.name.size() : slash);
        fields.push_back(field);
    }
    return fields;
}

// Every field is 8 bytes wide.
double At(const tagTrueSenseParam& record, size_t index, bool isFloat) {
    double real;
    long integer;
    std::memcpy(&real, reinterpret_cast<const char*>(&record) + 8 * index, 8);
    std::memcpy(&integer, &real, 8);
    return isFloat ? real : static_cast<double>(integer);
}

TEST(TrueSenseParams, NamesDefaultsBoundsAndBinding) {
    orvtest::g_log = {};
    const orv::TrueSenseEngines engines = orvtest::StandIns();
    OrvTrueSenseImp component(engines);
    OrvComponent& view = *component.GetComponent();
    _OrvImage source = {};
    source.pixelType = OrvPixelTrueSense12;
    _OrvImage destination = {};
    destination.pixelType = OrvPixelRGB12;
    ASSERT_EQ(component.ConvertImage(&source, &destination), 0U);
    const tagTrueSenseParam fresh = g_log.param;
    EXPECT_EQ(fresh.toneTable, nullptr);

    std::vector<Field> fields = Fields();
    ASSERT_EQ(fields.size(), 64U);
    EXPECT_EQ(view.GetComponentTypeID(), 6);
    EXPECT_EQ(view.GetParamCount(), 66);
    fields.insert(fields.begin(), {{"TrueSenseAlgType", false, 6, 0}, {"NoRealloc", false, 1, 0}});
    for (unsigned i = 0; i < fields.size(); ++i) {
        const Field& field = fields[i];
        SCOPED_TRACE(field.name);
        char name[256];
        unsigned length = sizeof(name);
        ASSERT_EQ(view.GetParamName(i, name, &length), 0U);
        ASSERT_STREQ(name, field.name.c_str());
        constexpr uint32_t wrongType = 0x8001000BU;
        constexpr uint32_t outOfRange = 0x8001000CU;
        long integer = -1;
        double real = -1;
        EXPECT_EQ(view.GetParamInt(name, &integer), field.isFloat ? wrongType : 0U);
        EXPECT_EQ(view.GetParamFloat(name, &real), field.isFloat ? 0U : wrongType);
        EXPECT_EQ(field.isFloat ? real : static_cast<double>(integer), field.value);
        if (field.isFloat) {
            EXPECT_EQ(view.SetParamFloat(name, -0.25 - i), 0U);
        } else {
            EXPECT_EQ(view.SetParamInt(name, -1), outOfRange);
            EXPECT_EQ(view.SetParamInt(name, field.maximum), 0U);
            if (field.maximum != std::numeric_limits<long>::max()) {
                EXPECT_EQ(view.SetParamInt(name, field.maximum + 1), outOfRange);
            }
        }
        if (i >= 2) {
            EXPECT_EQ(At(fresh, i - 2, field.isFloat), field.value);
            OrvSetParam(view, "TrueSenseAlgType", 0);
            ASSERT_EQ(component.ConvertImage(&source, &destination), 0U);
            const double written = field.isFloat ? -0.25 - i : static_cast<double>(field.maximum);
            EXPECT_EQ(At(g_log.param, i - 2, field.isFloat), written);
        }
    }
}

TEST(TrueSenseParams, PlainDefaultsAreNarrowed) {
    tagTrueSenseParam record;
    std::memset(&record, 0xFF, sizeof(record));
    EXPECT_EQ(TrueSense_DefaultValues(&record), 0U);
    const std::vector<Field> fields = Fields();
    for (size_t i = 0; i < fields.size(); ++i) {
        const std::string& name = fields[i].name;
        double expected = static_cast<double>(static_cast<float>(fields[i].value));
        expected = name == "ISOPanSlope_0" ? 0.3179309666156769 : expected;
        expected = name == "impulseFilterEnable" || name == "sharpnessEnable" ? 1 : expected;
        expected = name == "panRadius1" || name == "panRadius2" ? 0 : expected;
        EXPECT_EQ(At(record, i, fields[i].isFloat), expected) << name;
    }
    EXPECT_EQ(record.ISOAnalogGain_0, 11.039999961853027);
    EXPECT_EQ(record.toneTable, nullptr);
}

TEST(TrueSenseGrid, OtherWordsHaveNone) {
    for (const unsigned long word : {0UL, OrvPixelTrueSense8 - 1UL, OrvPixelTrueSense14 + 16UL, 0x03080131UL,
                                     OrvPixelTrueSense12 + (1UL << 32), 0x04100131UL, 0x04100571UL, 0x02180171UL}) {
        EXPECT_EQ(PixelTypeToTruesenseGrid(word), 255);
    }
}

}  // namespace
