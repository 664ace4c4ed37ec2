#include "truesense/Params.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "truesense/OrvTrueSenseImp.h"

namespace {

static_assert(sizeof(tagTrueSenseParam) == 65 * 8 && offsetof(tagTrueSenseParam, toneTable) == 64 * 8,
              "the settings record crosses the library boundary");

constexpr uint32_t kWrongType = 0x8001000BU;
constexpr uint32_t kOutOfRange = 0x8001000CU;

// Names in order; a trailing '_' or digit family stands in full. `maximum` of integers, -1 for floats.
struct Group {
    const char* names;
    long maximum;
    std::vector<double> defaults;
};

const std::vector<Group>& Groups() {
    static const std::vector<Group> groups = {
        {"threads_num", 32, {0}},
        {"normalizationEnable horMirrored verMirrored monoEnable impulseFilterEnable sharpnessEnable",
         1,
         {0, 0, 0, 0, 0, 0}},
        {"darkFloor", 4096, {0}},
        {"redGain greenGain blueGain panGain globalGain analogGain", -1, {1, 1, 1, 1, 1, 1}},
        {"ISOAnalogGain_", -1, {11.04, 17.69, 23.96, 29.91, 36.77}},
        {"ISOPanSlope_", -1, {0.3179309, 0.6009852, 1.16587611, 2.26059552, 5.11044291}},
        {"ISOPanIntercept_", -1, {-25.07685652, 17.01752105, 185.43026, 831.07495077, 4154.73883603}},
        {"ISOColorSlope_", -1, {0.16289523, 0.30242107, 0.58180185, 1.15281985, 2.53400236}},
        {"ISOColorIntercept_", -1, {-2.97408598, 15.97559859, 92.84640595, 399.49923562, 2080.24259272}},
        {"panRadius", LONG_MAX, {1, 1, 1}},
        {"panSigma", -1, {1.7, 0, 0}},
        {"colorRadius", 1024, {1, 2, 0}},
        {"colorSigma", -1, {2, 2, 0}},
        {"RR RG RB GR GG GB BR BG BB", -1, {1.657, -0.5325, -0.1245, -0.106, 1.443, -0.337, 0.131, -0.445, 1.314}},
        {"sharpenParam maxSharpen highLumaNoise lowLumaNoise", -1, {40, 1, 2, 0.5}},
    };
    return groups;
}

struct Field {
    std::string name;
    long maximum;
    double value;
    bool IsFloat() const { return maximum < 0; }
};

std::vector<Field> Fields() {
    std::vector<Field> fields;
    for (const Group& group : Groups()) {
        std::istringstream names(group.names);
        std::string name;
        names >> name;
        for (size_t i = 0; i < group.defaults.size(); ++i) {
            const bool numbered = std::strchr(group.names, ' ') == nullptr && group.defaults.size() > 1;
            fields.push_back({numbered ? name + std::to_string(i) : name, group.maximum, group.defaults[i]});
            names >> name;
        }
    }
    return fields;
}

template <class T>
T FieldAt(const tagTrueSenseParam& record, size_t index) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + 8 * index, sizeof(value));
    return value;
}

struct ComponentDeleter {
    void operator()(OrvTrueSense* component) const { OrvTrueSense_DeleteComponent(component); }
};

TEST(TrueSenseParams, NamesOrderTypesAndBounds) {
    const std::unique_ptr<OrvTrueSense, ComponentDeleter> owner(OrvTrueSense_CreateComponent());
    OrvComponent& view = *OrvTrueSense_GetComponent(owner.get());
    std::vector<Field> fields = Fields();
    fields.insert(fields.begin(), {{"TrueSenseAlgType", 6, 0}, {"NoRealloc", 1, 0}});
    ASSERT_EQ(fields.size(), 66U);
    EXPECT_EQ(view.GetParamCount(), 66);
    EXPECT_EQ(view.GetComponentTypeID(), 6);
    for (unsigned i = 0; i < fields.size(); ++i) {
        const Field& field = fields[i];
        SCOPED_TRACE(field.name);
        char name[256];
        unsigned length = sizeof(name);
        ASSERT_EQ(view.GetParamName(i, name, &length), 0U);
        ASSERT_STREQ(name, field.name.c_str());
        long integer = -1;
        double real = -1;
        if (field.IsFloat()) {
            EXPECT_EQ(view.GetParamFloat(name, &real), 0U);
            EXPECT_EQ(real, field.value);
            EXPECT_EQ(view.GetParamInt(name, &integer), kWrongType);
            EXPECT_EQ(view.SetParamFloat(name, -3.5), 0U);
        } else {
            EXPECT_EQ(view.GetParamInt(name, &integer), 0U);
            EXPECT_EQ(integer, static_cast<long>(field.value));
            EXPECT_EQ(view.GetParamFloat(name, &real), kWrongType);
            EXPECT_EQ(view.SetParamInt(name, field.maximum), 0U);
            EXPECT_EQ(view.SetParamInt(name, -1), kOutOfRange);
            if (field.maximum != LONG_MAX) {
                EXPECT_EQ(view.SetParamInt(name, field.maximum + 1), kOutOfRange);
            }
            EXPECT_EQ(view.GetParamInt(name, &integer), 0U);
            EXPECT_EQ(integer, field.maximum);
        }
    }
    unsigned length = 3;
    char name[4];
    EXPECT_EQ(view.GetParamName(0, name, &length), 0x80060006U);
    EXPECT_EQ(length, sizeof("TrueSenseAlgType"));
}

TEST(TrueSenseParams, PlainDefaultsAreNarrowed) {
    tagTrueSenseParam record;
    std::memset(&record, 0xFF, sizeof(record));
    EXPECT_EQ(TrueSense_DefaultValues(&record), 0U);
    const std::vector<Field> fields = Fields();
    ASSERT_EQ(fields.size(), 64U);
    for (size_t i = 0; i < fields.size(); ++i) {
        const std::string& name = fields[i].name;
        if (fields[i].IsFloat()) {
            const double expected =
                name == "ISOPanSlope_0" ? 0.3179309666156769 : static_cast<double>(static_cast<float>(fields[i].value));
            EXPECT_EQ(FieldAt<double>(record, i), expected) << name;
        } else {
            long expected = static_cast<long>(fields[i].value);
            expected = name == "impulseFilterEnable" || name == "sharpnessEnable" ? 1 : expected;
            expected = name == "panRadius1" || name == "panRadius2" ? 0 : expected;
            EXPECT_EQ(FieldAt<long>(record, i), expected) << name;
        }
    }
    EXPECT_EQ(record.ISOAnalogGain_0, 11.039999961853027);
    EXPECT_EQ(record.toneTable, nullptr);
}

// Keeps the record it was given.
tagTrueSenseParam g_seen;
template <class T>
class RecordKeeper final : public IDemosaicing, public IDemConvertion<T> {
public:
    void CleanMemory() override {}
    bool IsThis(IDemosaicing* other) override { return other == this; }
    void SetOutputPixelType(bool, bool) override {}
    int Init(T const*, _OrvRect, _OrvSize, int, int, T*, int, unsigned char, tagTrueSenseParam* param) override {
        g_seen = *param;
        return 0;
    }
    int Calculate() override { return 0; }
    int InitRGB(unsigned short const*, _OrvRect, _OrvSize, int, int, unsigned char*, int, unsigned char,
                tagTrueSenseParam*) override {
        return 7;
    }
    int CalculateRGB() override { return 7; }
};

TEST(TrueSenseParams, ReachTheEngineInTheField) {
    orv::TrueSenseEngines engines = {};
    engines.Add<RecordKeeper>(0);
    OrvTrueSenseImp component(engines);
    _OrvImage source = {};
    source.pixelType = OrvPixelTrueSense12;
    _OrvImage destination = {};
    destination.pixelType = OrvPixelRGB12;
    const std::vector<Field> fields = Fields();
    ASSERT_EQ(component.ConvertImage(&source, &destination), 0U);
    for (size_t i = 0; i < fields.size(); ++i) {
        const double fresh =
            fields[i].IsFloat() ? FieldAt<double>(g_seen, i) : static_cast<double>(FieldAt<long>(g_seen, i));
        EXPECT_EQ(fresh, fields[i].value) << fields[i].name;
    }
    for (size_t i = 0; i < fields.size(); ++i) {
        const double value = fields[i].IsFloat() ? 0.25 + static_cast<double>(i) : 1;
        ASSERT_EQ(fields[i].IsFloat()
                      ? OrvSetParam(*component.GetComponent(), fields[i].name.c_str(), value)
                      : OrvSetParam(*component.GetComponent(), fields[i].name.c_str(), static_cast<long>(value)),
                  0U);
        ASSERT_EQ(component.ConvertImage(&source, &destination), 0U);
        const double seen =
            fields[i].IsFloat() ? FieldAt<double>(g_seen, i) : static_cast<double>(FieldAt<long>(g_seen, i));
        EXPECT_EQ(seen, value) << fields[i].name;
    }
    EXPECT_EQ(g_seen.toneTable, nullptr);
}

TEST(TrueSenseGrid, CodesOfAllWords) {
    const int codes[16] = {0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15};
    for (const OrvPixelType first :
         {OrvPixelTrueSense8, OrvPixelTrueSense10, OrvPixelTrueSense12, OrvPixelTrueSense14}) {
        for (unsigned position = 0; position < 16; ++position) {
            EXPECT_EQ(PixelTypeToTruesenseGrid(first + position), codes[position]);
            EXPECT_EQ(PixelTypeToTruesenseGrid(OrvPixelTrueSense(first, position)), static_cast<int>(position));
        }
        EXPECT_EQ(PixelTypeToTruesenseGrid(first - 1UL), 255);
        EXPECT_EQ(PixelTypeToTruesenseGrid(first + 16UL), 255);
        EXPECT_EQ(PixelTypeToTruesenseGrid(first + (1UL << 32)), 255);
    }
    for (const unsigned long word : {0UL, 0x03080131UL, 0x04100131UL, 0x04100571UL, 0x02180171UL}) {
        EXPECT_EQ(PixelTypeToTruesenseGrid(word), 255);
    }
}

}  // namespace
