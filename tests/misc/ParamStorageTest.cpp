#include "OrvParamStorage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

constexpr uint32_t kTooShort = 0x80010006U;
constexpr uint32_t kNull = 0x80010007U;
constexpr uint32_t kNotFound = 0x8001000AU;
constexpr uint32_t kWrongType = 0x8001000BU;
constexpr uint32_t kOutOfRange = 0x8001000CU;

class ParamStorage : public testing::Test {
protected:
    ParamStorage() : storage(0) {
        _OrvStParam param = {};
        param.flags = 3;
        std::strcpy(param.name, "count");
        param.maxValue.asInt = 6;
        param.value = &count;
        EXPECT_EQ(storage.AddParam(&param), 0u);
        param = {};
        param.type = 2;
        std::strcpy(param.name, "gain");
        param.minValue.asFloat = std::numeric_limits<double>::min();
        param.maxValue.asFloat = std::numeric_limits<double>::max();
        param.value = &gain;
        EXPECT_EQ(storage.AddParam(&param), 0u);
        param = {};
    }

    std::string Text(char* name, const char* format) {
        char buffer[64] = "unchanged";
        unsigned length = sizeof(buffer);
        const uint32_t status = storage.GetParamAsString(name, buffer, &length, format);
        return status == 0 ? buffer : std::to_string(status & 0xFFFF);
    }

    OrvParamStorage storage;
    long count = 3;
    double gain = 1.5;
    char countName[8] = "count";
    char gainName[8] = "gain";
    char otherName[8] = "Gain";
};

TEST_F(ParamStorage, WritesLandInTheBoundVariables) {
    EXPECT_EQ(storage.paramCount, 2u);
    EXPECT_EQ(storage.SetParamInt(countName, 6, true), 0u);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(storage.SetParamInt(countName, 7, true), kOutOfRange);
    EXPECT_EQ(storage.SetParamInt(countName, -1, true), kOutOfRange);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(storage.SetParamInt(countName, 7, false), 0u);
    EXPECT_EQ(count, 7);
    EXPECT_EQ(storage.SetParamBool(countName, true, true), 0u);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(storage.SetParamFloat(gainName, -0.5325, true), 0u);  // the minimum is no bound for floats
    EXPECT_EQ(gain, -0.5325);
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(storage.SetParamFloat(gainName, bad, true), kOutOfRange);
    }
    EXPECT_EQ(storage.SetParamInt(gainName, 1L << 53, true), 0u);
    EXPECT_EQ(gain, 0x1p53);
    EXPECT_EQ(storage.SetParamInt(gainName, (1L << 53) + 1, true), kOutOfRange);
    EXPECT_EQ(storage.SetParamInt(gainName, std::numeric_limits<long>::max(), true), kOutOfRange);
    EXPECT_EQ(gain, 0x1p53);
    gain = 2.25;
    double read = 0;
    EXPECT_EQ(storage.GetParamFloat(gainName, &read), 0u);
    EXPECT_EQ(read, 2.25);
}

TEST_F(ParamStorage, TextsMustBeWholeNumbersOfTheType) {
    const auto set = [&](char* name, std::string text) { return storage.SetParamAsString(name, text.data(), true); };
    for (const char* good : {"5", "+5"}) {
        count = 0;
        EXPECT_EQ(set(countName, good), 0u) << good;
        EXPECT_EQ(count, 5);
    }
    for (const char* bad : {"", "+", "5 ", " 5", "5x", "0x5", "7", "-1", "2.0", "99999999999999999999"}) {
        EXPECT_EQ(set(countName, bad), kOutOfRange) << bad;
        EXPECT_EQ(count, 5);
    }
    for (const char* bad : {"", "1,5", "nan", "inf", "1e999", "1.5f"}) {
        EXPECT_EQ(set(gainName, bad), kOutOfRange) << bad;
        EXPECT_EQ(gain, 1.5);
    }
    EXPECT_EQ(set(gainName, "-1.25e-2"), 0u);
    EXPECT_EQ(gain, -0.0125);
}

TEST_F(ParamStorage, ValuesReadBackAsText) {
    gain = 0.1;
    EXPECT_EQ(Text(gainName, nullptr), "0.1");
    EXPECT_EQ(Text(gainName, "%.3f"), "0.100");
    EXPECT_EQ(Text(gainName, "%lf"), "0.100000");
    EXPECT_EQ(Text(gainName, "%.1le"), "1.0e-01");
    EXPECT_EQ(Text(countName, "%04ld%%"), "0003%");
    // Formats that would read other arguments than the one value.
    for (const char* bad : {"%d", "%s", "%ld%ld", "none", "%", "%l", "%*ld", "%n", "%f", "%lf"}) {
        EXPECT_EQ(Text(countName, bad), "12") << bad;
    }
    for (const char* bad : {"%ld", "%Lf", "%llf", "%l"}) {
        EXPECT_EQ(Text(gainName, bad), "12") << bad;
    }
    char small[3] = "#";
    unsigned length = 3;
    EXPECT_EQ(storage.GetParamAsString(gainName, small, &length, nullptr), kTooShort);
    EXPECT_EQ(length, 4u);
    EXPECT_STREQ(small, "#");
}

TEST_F(ParamStorage, RefusalsNameTheirReasonAndChangeNothing) {
    long integer = 42;
    double number = 42;
    bool flag = true;
    char text[8] = "text";
    unsigned length = 8;
    EXPECT_EQ(storage.GetParamInt(otherName, &integer), kNotFound);
    EXPECT_EQ(storage.GetParamInt(gainName, &integer), kWrongType);
    EXPECT_EQ(storage.GetParamFloat(countName, &number), kWrongType);
    EXPECT_EQ(storage.GetParamBool(gainName, &flag), kWrongType);
    EXPECT_EQ(storage.GetParamInt(nullptr, &integer), kNull);
    EXPECT_EQ(storage.GetParamBool(countName, nullptr), kNull);
    EXPECT_EQ(storage.SetParamFloat(countName, 1.0, true), kWrongType);
    EXPECT_EQ(storage.SetParamBool(gainName, true, true), kWrongType);
    EXPECT_EQ(storage.SetParamString(countName, text, true), kWrongType);
    EXPECT_EQ(storage.SetParamArray(otherName, text, 8, true), kNotFound);
    EXPECT_EQ(storage.GetParamString(countName, text, &length), kWrongType);
    EXPECT_EQ(storage.GetParamArray(countName, nullptr, &length), kNull);
    EXPECT_EQ(storage.RunCommand(countName), kNotFound);
    EXPECT_EQ(storage.RunCommand(nullptr), kNull);
    EXPECT_EQ(integer, 42);
    EXPECT_EQ(number, 42);
    EXPECT_TRUE(flag);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(gain, 1.5);
}

TEST_F(ParamStorage, RecordsComeByIndexAndBadOnesAreRefused) {
    _OrvStParam param = {};
    EXPECT_EQ(storage.GetParamByIdx(1, &param), 0u);
    EXPECT_STREQ(param.name, "gain");
    EXPECT_EQ(param.value, &gain);
    std::memset(param.name, 'x', sizeof(param.name));
    EXPECT_EQ(storage.AddParam(&param), kOutOfRange);  // no terminating zero
    EXPECT_EQ(storage.GetParamByIdx(2, &param), kNotFound);
    EXPECT_EQ(param.name[0], 'x');
    std::strcpy(param.name, "gain");
    EXPECT_EQ(storage.AddParam(&param), kOutOfRange);  // a name twice
    std::strcpy(param.name, "new");
    param.type = 1;
    EXPECT_EQ(storage.AddParam(&param), kWrongType);
    EXPECT_EQ(storage.paramCount, 2u);
}

}  // namespace
