#include "component/OrvComponentImp.h"

#include <cfloat>
#include <cstring>

#include "component/PixelTypes.h"

static_assert(sizeof(_OrvImage) == 96, "the image record crosses the library boundary");
static_assert(sizeof(_OrvStParam) == 344, "the parameter record crosses the library boundary");

OrvComponentImp::OrvComponentImp(uint8_t typeId) : storage_(0), typeId_(typeId) {}

int OrvComponentImp::GetComponentTypeID() { return typeId_; }
int OrvComponentImp::GetParamCount() { return static_cast<int>(storage_.paramCount); }

uint32_t OrvComponentImp::GetParamName(unsigned index, char* name, unsigned* length) {
    if (length == nullptr) {
        return orv::StatusOf(GetComponentTypeID(), orv::kCodeBadArgument);
    }
    _OrvStParam param = {};
    param.flags = 3;
    storage_.GetParamByIdx(index, &param);  // leaves the empty name for an index out of range
    const unsigned needed = static_cast<unsigned>(strnlen(param.name, sizeof(param.name) - 1)) + 1;
    if (needed > *length) {
        *length = needed;
        return orv::StatusOf(GetComponentTypeID(), OrvStatusBufferTooShort);
    }
    if (name == nullptr) {
        return orv::StatusOf(GetComponentTypeID(), orv::kCodeBadArgument);
    }
    std::strncpy(name, param.name, *length);
    return 0;
}

uint32_t OrvComponentImp::GetParamAsString(char* name, char* value, unsigned* length, char const* format) {
    return storage_.GetParamAsString(name, value, length, format);
}
uint32_t OrvComponentImp::SetParamAsString(char* name, char* value) {
    return storage_.SetParamAsString(name, value, true);
}
uint32_t OrvComponentImp::SetParamBool(char* name, bool value) { return storage_.SetParamBool(name, value, true); }
uint32_t OrvComponentImp::SetParamInt(char* name, long value) { return storage_.SetParamInt(name, value, true); }
uint32_t OrvComponentImp::SetParamFloat(char* name, double value) { return storage_.SetParamFloat(name, value, true); }
uint32_t OrvComponentImp::SetParamString(char* name, char* value) { return storage_.SetParamString(name, value, true); }
uint32_t OrvComponentImp::SetParamArray(char* name, void* value, unsigned length) {
    return storage_.SetParamArray(name, value, length, true);
}
uint32_t OrvComponentImp::GetParamBool(char* name, bool* value) { return storage_.GetParamBool(name, value); }
uint32_t OrvComponentImp::GetParamInt(char* name, long* value) { return storage_.GetParamInt(name, value); }
uint32_t OrvComponentImp::GetParamFloat(char* name, double* value) { return storage_.GetParamFloat(name, value); }
uint32_t OrvComponentImp::GetParamString(char* name, char* value, unsigned* length) {
    return storage_.GetParamString(name, value, length);
}
uint32_t OrvComponentImp::GetParamArray(char* name, void* value, unsigned* length) {
    return storage_.GetParamArray(name, value, length);
}
uint32_t OrvComponentImp::RunCommand(char* command) { return storage_.RunCommand(command); }

void OrvComponentImp::RegisterInt(const char* name, long* value, long defaultValue, long maxValue) {
    _OrvStParam param = {};
    param.type = 0;
    param.flags = 3;
    std::strncpy(param.name, name, sizeof(param.name) - 1);
    param.defaultValue.asInt = defaultValue;
    param.maxValue.asInt = maxValue;
    param.value = value;
    *value = defaultValue;
    storage_.AddParam(&param);
}

void OrvComponentImp::RegisterFloat(const char* name, double* value, double defaultValue) {
    _OrvStParam param = {};
    param.type = 2;
    param.flags = 3;
    std::strncpy(param.name, name, sizeof(param.name) - 1);
    param.defaultValue.asFloat = defaultValue;
    param.minValue.asFloat = DBL_MIN;
    param.maxValue.asFloat = DBL_MAX;
    param.value = value;
    *value = defaultValue;
    storage_.AddParam(&param);
}
