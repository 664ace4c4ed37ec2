#include "OrvParamStorage.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

static_assert(sizeof(_OrvStParam) == 344 && offsetof(_OrvStParam, name) == 8 &&
                  offsetof(_OrvStParam, defaultValue) == 304 && offsetof(_OrvStParam, minValue) == 312 &&
                  offsetof(_OrvStParam, maxValue) == 320 && offsetof(_OrvStParam, value) == 336,
              "the parameter record crosses library boundaries");

namespace {

constexpr uint32_t kFailure = 0x80010000U;
constexpr uint32_t kBufferTooShort = kFailure | 6U;
constexpr uint32_t kNullArgument = kFailure | 7U;
constexpr uint32_t kNotFound = kFailure | 10U;
constexpr uint32_t kWrongType = kFailure | 11U;
constexpr uint32_t kOutOfRange = kFailure | 12U;

constexpr int32_t kTypeInt = 0;
constexpr int32_t kTypeFloat = 2;

long& IntOf(const _OrvStParam& param) { return *static_cast<long*>(param.value); }
double& FloatOf(const _OrvStParam& param) { return *static_cast<double*>(param.value); }

uint32_t StoreInt(const _OrvStParam& param, long value, bool checkRange) {
    if (param.type == kTypeFloat) {
        const double converted = static_cast<double>(value);
        // 2^63 itself is the one rounded result that does not convert back.
        if (converted >= 0x1p63 || static_cast<long>(converted) != value) {
            return kOutOfRange;
        }
        FloatOf(param) = converted;
        return 0;
    }
    if (checkRange && (value < param.minValue.asInt || value > param.maxValue.asInt)) {
        return kOutOfRange;
    }
    IntOf(param) = value;
    return 0;
}

uint32_t StoreFloat(const _OrvStParam& param, double value) {
    if (param.type != kTypeFloat) {
        return kWrongType;
    }
    if (!std::isfinite(value)) {
        return kOutOfRange;
    }
    FloatOf(param) = value;
    return 0;
}

// The value of a whole text; the sign '+' is accepted, blanks are not.
template <class T>
bool Parse(const char* text, T* value) {
    const char* end = text + std::strlen(text);
    if (*text == '+' && text[1] != '-') {
        ++text;
    }
    const auto result = std::from_chars(text, end, *value);
    return result.ec == std::errc() && result.ptr == end && text != end;
}

// True for a printf format with exactly one conversion, fit for a `long` ("%ld", "%5lx") or a `double` ("%.3f", "%lf"),
// so that a format from outside can't read arguments that are not there.
bool FormatFits(const char* format, bool isFloat) {
    int conversions = 0;
    for (const char* p = format; *p != '\0'; ++p) {
        if (*p != '%') {
            continue;
        }
        ++p;
        if (*p == '%') {
            continue;
        }
        p += std::strspn(p, "-+ #0'");
        p += std::strspn(p, "0123456789");
        if (*p == '.') {
            ++p;
            p += std::strspn(p, "0123456789");
        }
        if (*p == 'l') {
            ++p;
        } else if (!isFloat) {
            return false;
        }
        if (*p == '\0' || std::strchr(isFloat ? "fFeEgGaA" : "diuxXo", *p) == nullptr) {
            return false;
        }
        ++conversions;
    }
    return conversions == 1;
}

}  // namespace

struct OrvParamStorage::Impl {
    std::vector<_OrvStParam> params;

    const _OrvStParam* Find(const char* name) const {
        for (const _OrvStParam& param : params) {
            if (std::strcmp(param.name, name) == 0) {
                return &param;
            }
        }
        return nullptr;
    }

    // Looks a name up for a call that also needs `argument`.
    uint32_t Look(const char* name, const void* argument, const _OrvStParam** param) const {
        if (name == nullptr || argument == nullptr) {
            return kNullArgument;
        }
        *param = Find(name);
        return *param == nullptr ? kNotFound : 0U;
    }

    // The result of a text or array call: no parameter of those types exists.
    uint32_t Refuse(const char* name, const void* argument) const {
        const _OrvStParam* param = nullptr;
        const uint32_t status = Look(name, argument, &param);
        return status != 0 ? status : kWrongType;
    }
};

OrvParamStorage::OrvParamStorage(unsigned /*reserved*/) : paramCount(0), impl_(new Impl) {}
OrvParamStorage::~OrvParamStorage() { delete impl_; }

uint32_t OrvParamStorage::AddParam(_OrvStParam* param) {
    if (param == nullptr || param->value == nullptr) {
        return kNullArgument;
    }
    if (param->type != kTypeInt && param->type != kTypeFloat) {
        return kWrongType;
    }
    if (strnlen(param->name, sizeof(param->name)) == sizeof(param->name) || impl_->Find(param->name) != nullptr) {
        return kOutOfRange;
    }
    impl_->params.push_back(*param);
    paramCount = static_cast<unsigned>(impl_->params.size());
    return 0;
}

uint32_t OrvParamStorage::GetParamByIdx(unsigned index, _OrvStParam* param) {
    if (param == nullptr) {
        return kNullArgument;
    }
    if (index >= impl_->params.size()) {
        return kNotFound;
    }
    *param = impl_->params[index];
    return 0;
}

uint32_t OrvParamStorage::GetParamInt(char* name, long* value) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, value, &param)) {
        return status;
    }
    if (param->type != kTypeInt) {
        return kWrongType;
    }
    *value = IntOf(*param);
    return 0;
}

uint32_t OrvParamStorage::GetParamBool(char* name, bool* value) {
    long number = 0;
    if (const uint32_t status = GetParamInt(name, value == nullptr ? nullptr : &number)) {
        return status;
    }
    *value = number != 0;
    return 0;
}

uint32_t OrvParamStorage::GetParamFloat(char* name, double* value) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, value, &param)) {
        return status;
    }
    if (param->type != kTypeFloat) {
        return kWrongType;
    }
    *value = FloatOf(*param);
    return 0;
}

uint32_t OrvParamStorage::GetParamString(char* name, char* value, unsigned* length) {
    return impl_->Refuse(name, value == nullptr ? nullptr : length);
}

uint32_t OrvParamStorage::GetParamArray(char* name, void* value, unsigned* length) {
    return impl_->Refuse(name, value == nullptr ? nullptr : length);
}

uint32_t OrvParamStorage::GetParamAsString(char* name, char* value, unsigned* length, char const* format) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, length, &param)) {
        return status;
    }
    const bool isFloat = param->type == kTypeFloat;
    std::string text;
    if (format == nullptr) {
        char buffer[64];
        const auto end = isFloat ? std::to_chars(buffer, buffer + sizeof(buffer), FloatOf(*param))
                                 : std::to_chars(buffer, buffer + sizeof(buffer), IntOf(*param));
        text.assign(buffer, end.ptr);
    } else {
        if (!FormatFits(format, isFloat)) {
            return kOutOfRange;
        }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        const int size = isFloat ? std::snprintf(nullptr, 0, format, FloatOf(*param))
                                 : std::snprintf(nullptr, 0, format, IntOf(*param));
        if (size < 0) {
            return kOutOfRange;
        }
        text.resize(static_cast<size_t>(size) + 1);
        if (isFloat) {
            std::snprintf(&text[0], text.size(), format, FloatOf(*param));
        } else {
            std::snprintf(&text[0], text.size(), format, IntOf(*param));
        }
#pragma GCC diagnostic pop
        text.pop_back();
    }
    const unsigned needed = static_cast<unsigned>(text.size()) + 1;
    if (needed > *length) {
        *length = needed;
        return kBufferTooShort;
    }
    if (value == nullptr) {
        return kNullArgument;
    }
    std::memcpy(value, text.c_str(), needed);
    return 0;
}

uint32_t OrvParamStorage::SetParamInt(char* name, long value, bool checkRange) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, name, &param)) {
        return status;
    }
    return StoreInt(*param, value, checkRange);
}

uint32_t OrvParamStorage::SetParamBool(char* name, bool value, bool checkRange) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, name, &param)) {
        return status;
    }
    return param->type == kTypeInt ? StoreInt(*param, value ? 1 : 0, checkRange) : kWrongType;
}

uint32_t OrvParamStorage::SetParamFloat(char* name, double value, bool /*checkRange*/) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, name, &param)) {
        return status;
    }
    return StoreFloat(*param, value);
}

uint32_t OrvParamStorage::SetParamString(char* name, char* value, bool /*checkRange*/) {
    return impl_->Refuse(name, value);
}

uint32_t OrvParamStorage::SetParamArray(char* name, void* value, unsigned /*length*/, bool /*checkRange*/) {
    return impl_->Refuse(name, value);
}

uint32_t OrvParamStorage::SetParamAsString(char* name, char* value, bool checkRange) {
    const _OrvStParam* param = nullptr;
    if (const uint32_t status = impl_->Look(name, value, &param)) {
        return status;
    }
    if (param->type == kTypeFloat) {
        double number = 0;
        return Parse(value, &number) ? StoreFloat(*param, number) : kOutOfRange;
    }
    long number = 0;
    return Parse(value, &number) ? StoreInt(*param, number, checkRange) : kOutOfRange;
}

uint32_t OrvParamStorage::RunCommand(char* command) { return command == nullptr ? kNullArgument : kNotFound; }
