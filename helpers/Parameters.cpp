#include <cstring>

#include "OrvHelpers.h"
#include "ParameterTable.h"
#include "Status.h"

using namespace orv::helpers;

namespace {

// The component view takes names and texts that are not const, and leaves them alone.
char* Mutable(const char* text) { return const_cast<char*>(text); }

}  // namespace

int OrvParam_InfoCount(int family) { return ParametersOf(family).count; }

const OrvParamInfo* OrvParam_InfoAt(int family, int index) {
    const ParameterTable table = ParametersOf(family);
    return index >= 0 && index < table.count ? table.first + index : nullptr;
}

const OrvParamInfo* OrvParam_Info(int family, const char* name) {
    const ParameterTable table = ParametersOf(family);
    for (int i = 0; name != nullptr && i < table.count; ++i) {
        if (std::strcmp(table.first[i].name, name) == 0) {
            return table.first + i;
        }
    }
    return nullptr;
}

int OrvParam_Family(OrvComponent* component) { return component == nullptr ? 0 : component->GetComponentTypeID(); }

int OrvParam_Count(OrvComponent* component) { return component == nullptr ? 0 : component->GetParamCount(); }

uint32_t OrvParam_Name(OrvComponent* component, int index, char* name, unsigned* length) {
    if (index < 0 || index >= OrvParam_Count(component) || name == nullptr || length == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] { return component->GetParamName(static_cast<unsigned>(index), name, length); });
}

uint32_t OrvParam_GetInteger(OrvComponent* component, const char* name, int64_t* value) {
    if (component == nullptr || name == nullptr || value == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] {
        long number = 0;
        const uint32_t status = component->GetParamInt(Mutable(name), &number);
        if (status == 0) {
            *value = number;
        }
        return status;
    });
}

uint32_t OrvParam_SetInteger(OrvComponent* component, const char* name, int64_t value) {
    if (component == nullptr || name == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] { return component->SetParamInt(Mutable(name), value); });
}

uint32_t OrvParam_GetFloat(OrvComponent* component, const char* name, double* value) {
    if (component == nullptr || name == nullptr || value == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] { return component->GetParamFloat(Mutable(name), value); });
}

uint32_t OrvParam_SetFloat(OrvComponent* component, const char* name, double value) {
    if (component == nullptr || name == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] { return component->SetParamFloat(Mutable(name), value); });
}

uint32_t OrvParam_GetText(OrvComponent* component, const char* name, char* text, unsigned* length) {
    if (component == nullptr || name == nullptr || text == nullptr || length == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] { return component->GetParamAsString(Mutable(name), text, length, nullptr); });
}

uint32_t OrvParam_SetText(OrvComponent* component, const char* name, const char* text) {
    if (component == nullptr || name == nullptr || text == nullptr) {
        return kBadArgument;
    }
    return Guarded([&] { return component->SetParamAsString(Mutable(name), Mutable(text)); });
}
